// Symbols: the names of variables as the program writes them.
//
// A symbol's name is split once, when the tree is built, into the parts at its dots, and the hashes of all parts are
// kept with it. `A.I.3` has the tails "A" (the stem), "I" and "3"; its stem key is "A+", a name that no symbol can
// have, under which the stem's default value is stored. Besides, the record holds caches that are invisible from
// outside: the entry found last, valid for one serial number of the variable store.
#pragma once

#include "base/arena.h"

#include <cstdint>
#include <string_view>

struct rx_var;
struct rx_stem;
struct rx_elements;

struct rx_tail {
    std::string_view text;
    uint64_t hash = 0;
    bool constant = false; ///< empty or beginning with a digit: always stands for itself
    mutable uint64_t serial = 0;
    mutable rx_var *var = nullptr;
};

struct rx_symbol {
    std::string_view name; ///< folded; followed by a NUL
    uint64_t hash = 0;
    std::string_view stem; ///< the part before the first dot; empty for a simple symbol
    uint64_t stem_hash = 0;
    rx_tail *tails = nullptr; ///< parts behind the first dot; null for a simple symbol
    uint32_t tail_count = 0;
    bool whole_stem = false;  ///< `A.`: the stem itself
    bool environment = false; ///< begins with "$" and has two characters at least
    bool bad_name = false;    ///< begins with "." or a digit: can't be assigned
    mutable uint64_t serial = 0;
    mutable rx_var *var = nullptr;         ///< simple symbols, valid for `serial`
    mutable rx_stem *stem_entry = nullptr; ///< compound symbols, valid for `serial`
    /// Compound symbols with a single tail whose variable was found: that variable and the stem's entries by number,
    /// both valid as long as the scope has this serial number.
    mutable const rx_var *index = nullptr;
    mutable const rx_elements *elements = nullptr;
    mutable uint64_t elements_serial = 0;

    bool compound() const { return tails != nullptr; }
};

/// The hash that the variable store looks names up with. Two names of one length up to `rx_exact_hash_length` have the
/// same hash only when they are the same.
uint64_t rx_lookup_hash(std::string_view name);
constexpr size_t rx_exact_hash_length = 8;

/// Splits a name, already folded, into a symbol record. Text and records live in the arena.
rx_symbol *rx_parse_tails(rx_arena &arena, std::string_view name);

/// True when the text can name a variable: symbol characters only, the first no digit and no dot.
bool rx_is_variable_name(std::string_view text);
