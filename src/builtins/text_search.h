// Searching texts for texts, at memory speed. All results are positions from 0, or std::string_view::npos.
#pragma once

#include <cstddef>
#include <string_view>

/// The first occurrence of a needle that isn't empty, at `from` or behind.
size_t bu_search(std::string_view haystack, std::string_view needle, size_t from);

/// The same without regard to the case of ASCII letters.
size_t bu_search_nocase(std::string_view haystack, std::string_view needle, size_t from);

/// The last occurrence of a needle that isn't empty.
size_t bu_search_last(std::string_view haystack, std::string_view needle);

/// The position of the first byte that differs, or the length of the shorter text.
size_t bu_mismatch(std::string_view one, std::string_view two);
