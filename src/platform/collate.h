// The national collating order, over Latin-1 text.
//
// Two texts are compared by their letters first, an accented letter counting as the letter beneath; texts that are
// equal so far are told apart by their accents, and, where case counts, those that are equal still by their capitals:
// the small letter comes first. Marks come before digits and digits before letters.
#pragma once

#include <cstdint>
#include <string_view>

/// Below, at or above 0 as `a` sorts before, with or behind `b`; only texts that differ in case alone are equal.
int rx_collate_nocase(std::string_view a, std::string_view b);

/// The same with case; only equal texts are equal.
int rx_collate(std::string_view a, std::string_view b);

/// The first letters of a text as an integer: texts with different heads sort as these do, in both orders.
uint64_t rx_collate_head(std::string_view text);
