// Where compounds of two tails were found.
//
// `cell.i.j` is an entry of its stem under the name that both tails make, joined by a dot. What two short tails led to
// is noted here, so that using the entry again needs no joining, and no hash of the joined text. A table of notes that
// anything may overwrite serves all stems: a note counts only for the very stem and tails that it names. A stem gets a
// new `id` when its entries are forgotten, and with that all notes of it are void.
#pragma once

#include "values/level.h"

#include <bit>
#include <cstring>

struct rx_pair {
    uint64_t first = 0, second = 0; ///< words of the tails, see rx_short_tail_word and rx_pair_of
};

/// The word of a tail that has a value; 0: it is no text of one to seven bytes in the record, or no number that is
/// spelled by its digits. That of a number has the highest bit, which that of a text never has.
[[gnu::always_inline]] inline uint64_t rx_pair_word(const rx_value &value) {
    if (rx_head_of(value) == rx_whole_head) [[likely]]
        return rx_is_natural_to(value.real, 999999999) ? std::bit_cast<uint64_t>(value.real) | uint64_t{1} << 63 : 0;
    if (value.kind != RX_STRING || value.storage != RX_INLINE) return 0;
    uint64_t bytes;
    std::memcpy(&bytes, value.bytes, sizeof bytes);
    return rx_short_tail_word(bytes, value.length);
}

/// The words of both tails of a symbol; false when it has no two, when one of them has no word or isn't known without a
/// search, or when the symbol reaches into the environment.
[[gnu::always_inline]] inline bool rx_pair_of(const rx_symbol &symbol, rx_pair &pair) {
    if (symbol.tail_count != 2 || symbol.environment) return false;
    auto word_of = [](const rx_tail &tail) __attribute__((always_inline)) {
        rx_meaning meaning = rx_scope.value.row[tail.place];
        const rx_value &value = meaning.var()->value;
        if (!value.is_none()) [[likely]]
            return rx_pair_word(value);
        return tail.constant || meaning.met() || rx_lacks(tail) ? tail.word : 0;
    };
    pair.first = word_of(symbol.tails[0]);
    pair.second = word_of(symbol.tails[1]);
    // Nine digits show as they are from this setting on.
    return pair.first && pair.second && rx_numeric.value.digits >= 9;
}

/// What is known of a pair of tails in a stem.
struct rx_pair_note {
    uint64_t stem; ///< its id
    rx_pair pair;
    /// The address of the entry; or 2n + 1: there was none while the stem had n entries with names. Every joined name
    /// is among those, for it has a dot.
    uintptr_t found;
};
static_assert(sizeof(rx_pair_note) == 32);

constexpr unsigned rx_pair_note_bits = 14;
inline constinit rx_pair_note rx_pair_notes[size_t{1} << rx_pair_note_bits] = {};

/// Where the note of a pair would be.
inline rx_pair_note &rx_pair_note_at(const rx_stem &stem, rx_pair pair) {
    constexpr uint64_t factor = 0x9E3779B97F4A7C15u, other_factor = 0xC2B2AE3D27D4EB4Fu;
    uint64_t mixed = (pair.first + stem.id) * factor + pair.second * other_factor;
    return rx_pair_notes[mixed >> (64 - rx_pair_note_bits)];
}

/// The entry of a pair, perhaps one that is exposed; null with `known`: the stem has none.
inline rx_var *rx_find_pair(const rx_stem &stem, rx_pair pair, bool &known) {
    const rx_pair_note &note = rx_pair_note_at(stem, pair);
    known = note.stem == stem.id && note.pair.first == pair.first && note.pair.second == pair.second;
    if (!known) return nullptr;
    if ((note.found & 1) == 0) [[likely]]
        return reinterpret_cast<rx_var *>(note.found);
    known = note.found >> 1 == stem.tails.used;
    return nullptr;
}

/// Notes the entry of a pair; null: the stem has none.
inline void rx_note_pair(const rx_stem &stem, rx_pair pair, const rx_var *var) {
    uintptr_t found = var ? reinterpret_cast<uintptr_t>(var) : stem.tails.used << 1 | 1;
    rx_pair_note_at(stem, pair) = {stem.id, pair, found};
}
