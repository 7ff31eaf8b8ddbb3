// Symbols: the names of variables as the program writes them.
//
// A symbol's name is split once, when the tree is built, into the parts at its dots, and the hashes of all parts are
// kept with it. `A.I.3` has the tails "A" (the stem), "I" and "3"; its stem key is "A+", a name that no symbol can
// have, under which the stem's default value is stored.
//
// A name that a program uses more than once gets a place: a number that is the same wherever the process meets the
// name again. A level of variables has a row with what the names at the places mean there (values/store.h), so that a
// symbol finds its variable by one index, in whichever call of a routine it stands. Places are few; names that come
// when all are taken are looked up by their hashes.
#pragma once

#include "base/arena.h"

#include <cstdint>
#include <string_view>

/// Places that stand for no name: nothing is ever noted there.
enum rx_no_place : uint32_t {
    RX_NEW_NAME = 0,  ///< never looked up
    RX_SEEN_ONCE = 1, ///< what is looked up once, as in most interpreted texts, needs no place
    RX_PLACELESS = 2, ///< for good
    RX_FIRST_PLACE = 3,
};
constexpr uint32_t rx_most_places = 1024;

/// The place that is given out next.
inline constinit uint32_t rx_next_place = RX_FIRST_PLACE;

/// The place of a simple name, or of a stem (then with `stem`); RX_PLACELESS when all are taken.
uint32_t rx_place_of(std::string_view name, bool stem);

struct rx_var;

struct rx_tail {
    std::string_view text;
    uint64_t hash = 0;
    uint64_t word = 0;     ///< of the text, see rx_short_tail_word
    bool constant = false; ///< empty or beginning with a digit: always stands for itself
    int32_t index = -1;    ///< of the text, see rx_plain_index
    mutable uint32_t place = RX_NEW_NAME;
    mutable uint64_t lacking_serial = 0; ///< of a level that had no entry for the name, see rx_lacks
    mutable size_t lacking_among = 0;    ///< the entries for simple names that it had
    const rx_var *lent = nullptr;        ///< stands for the tail instead of a variable of that name
};

struct rx_symbol {
    std::string_view name; ///< folded; followed by a NUL
    uint64_t hash = 0;
    std::string_view stem; ///< the part before the first dot; empty for a simple symbol
    uint64_t stem_hash = 0;
    rx_tail *tails = nullptr; ///< parts behind the first dot; null for a simple symbol
    uint32_t tail_count = 0;
    bool whole_stem = false;                    ///< `A.`: the stem itself
    bool environment = false;                   ///< begins with "$" and has two characters at least
    bool bad_name = false;                      ///< begins with "." or a digit: can't be assigned
    mutable uint32_t place = RX_NEW_NAME;       ///< of a simple symbol
    mutable uint32_t stem_place = RX_NEW_NAME;  ///< of a compound's stem
    mutable uint32_t index_place = RX_NEW_NAME; ///< of a compound's only tail, once it was found to be a variable

    bool compound() const { return tails != nullptr; }
};

/// The hash that the variable store looks names up with. Two names of one length up to `rx_exact_hash_length` have the
/// same hash only when they are the same.
uint64_t rx_lookup_hash(std::string_view name);
constexpr size_t rx_exact_hash_length = 8;

/// A text of one to seven bytes, which a word begins with, as a word that no other text has, its highest byte from 1 to
/// 7; 0 for other lengths.
inline uint64_t rx_short_tail_word(uint64_t bytes, size_t length) {
    return length - 1 < 7 ? (bytes & ~uint64_t{0} >> (64 - 8 * length)) | uint64_t{length} << 56 : 0;
}

/// What rx_plain_index says of a tail that begins with a digit.
int32_t rx_plain_digits(std::string_view tail);

/// The number that a tail is when it is written plainly (no sign, no leading zero, at most nine digits), else -1.
inline int32_t rx_plain_index(std::string_view tail) {
    return tail.empty() || tail[0] < '0' || tail[0] > '9' ? -1 : rx_plain_digits(tail);
}

/// Splits a name, already folded, into a symbol record. Text and records live in the arena.
rx_symbol *rx_parse_tails(rx_arena &arena, std::string_view name);

/// True when the text can name a variable: symbol characters only, the first no digit and no dot.
bool rx_is_variable_name(std::string_view text);
