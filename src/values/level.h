// The insides of a variable level; only the store and its listings include this.
#pragma once

#include "values/store.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <memory>
#include <string>

/// Equality of two names whose lookup hashes are equal: short ones are then equal when their lengths are.
inline bool rx_same_name(std::string_view a, std::string_view b) {
    return a.size() == b.size() && (a.size() <= rx_exact_hash_length || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

/// Open addressing with linear probing over pointers; grows at three quarters. The hash is kept beside each pointer, so
/// that growing needs no names and most misses touch one line.
template <class T> struct rx_pointer_table {
    struct slot {
        uint64_t hash = 0;
        T *item = nullptr;
    };
    std::vector<slot> slots;
    size_t used = 0;
    /// What is shifted off a hash to leave its highest bits, which all of a name has a say in, as the first slot to try.
    unsigned shift = 0;

    template <class Same> T *find(uint64_t hash, Same same) const {
        if (used == 0) return nullptr;
        size_t mask = slots.size() - 1;
        for (size_t at = hash >> shift; slots[at].item; at = (at + 1) & mask) {
            if (slots[at].hash == hash && same(*slots[at].item)) return slots[at].item;
        }
        return nullptr;
    }
    template <class Use> void for_each(Use use) const {
        if (used == 0) return;
        for (const slot &each : slots) {
            if (each.item) use(*each.item);
        }
    }
    void enter(uint64_t hash, T *item) {
        if (used * 4 >= slots.size() * 3) grow();
        place(hash, item);
        used++;
    }
    /// Forgets everything; small tables keep their storage.
    void clear() {
        if (used == 0) return;
        if (slots.size() > 64)
            slots = {};
        else
            std::memset(static_cast<void *>(slots.data()), 0, slots.size() * sizeof(slot));
        used = 0;
    }

private:
    void place(uint64_t hash, T *item) {
        size_t mask = slots.size() - 1, at = hash >> shift;
        while (slots[at].item) at = (at + 1) & mask;
        slots[at] = {hash, item};
    }
    void grow() {
        std::vector<slot> old = std::move(slots);
        slots.assign(old.empty() ? 8 : old.size() * 2, slot{});
        shift = static_cast<unsigned>(std::countl_zero(slots.size())) + 1;
        for (const slot &each : old) {
            if (each.item) place(each.hash, each.item);
        }
    }
};

/// A stem of one level: its key entry (the default), and its compounds. A tail that is a plain whole number is found
/// through `elements` when it lies in the dense range, any other through `tails`.
struct rx_stem {
    std::string_view name;
    uint64_t id; ///< no other stem's, and a new one when the entries have been forgotten
    rx_level *level;
    rx_var *key = nullptr;
    rx_elements elements;
    size_t in_elements = 0; ///< entered ones
    bool sparse = false;    ///< some plain numbers are in `tails`
    rx_pointer_table<rx_var> tails;
    rx_arena arena{256}; ///< the entries in `tails` and their names

    rx_stem();
    rx_stem(const rx_stem &) = delete;
    rx_stem &operator=(const rx_stem &) = delete;
    ~rx_stem() { forget_all(); }

    rx_var *find(uint32_t index) const;
    rx_var *find(std::string_view tail, uint64_t hash) const {
        return tails.find(hash, [&](const rx_var &var) { return rx_same_name(rx_name_of(var), tail); });
    }
    rx_var &enter(uint32_t index);
    void enter_element(rx_var &element);
    rx_var &enter(std::string_view tail, uint64_t hash);
    rx_var &enter_key();
    /// Takes the values of all compounds and of the default; exposed entries stay. The entries of a large stem are
    /// forgotten, so that their memory is free again; what is assigned later is entered anew.
    void drop_all();
    /// Calls `use` for each segment of elements: its first number and how many there are.
    template <class Use> void for_each_segment(Use use) const {
        for (uint64_t first = 0; first < elements.count; first = first ? first * 2 : 16)
            use(first, first ? first : uint64_t{16});
    }
    /// Calls `use` for each compound that was entered.
    template <class Use> void for_each(Use use) const {
        for_each_segment([&](uint64_t first, uint64_t count) {
            for (rx_var *var = elements.at(first), *end = var + count; var != end; var++) {
                if (var->order) use(*var);
            }
        });
        tails.for_each(use);
    }
    /// The same with the tail of each.
    template <class Use> void for_each_tail(Use use) const {
        for (uint64_t i = 0; i < elements.count; i++) {
            if (elements.at(i)->order) use(*elements.at(i), std::to_string(i));
        }
        tails.for_each([&](const rx_var &var) { use(var, std::string(rx_name_of(var))); });
    }

private:
    void make_room(uint64_t index);
    void forget_all();
};

/// A level that its routine has left can be kept for the next call of the routine: the entries stay, unset, and so do
/// the row and the serial number. That holds as long as the names of the level below mean the same; it is looked for
/// there, among `kept`, by the number of the PROCEDURE clause and the serial number of that level. It stays in that
/// list while it is in use again.
struct rx_level {
    rx_level *older = nullptr;
    uint64_t older_serial = 0; ///< the serial number to go back to with the older level
    uint32_t depth = 0;        ///< how many levels are below
    uint64_t serial = 0;       ///< of a kept level: its own
    uint32_t procedure = 0;    ///< the clause that may have it back; 0: none
    bool is_kept = false;      ///< it is in the list of the older level
    bool own_stems = false;    ///< of a kept level: it has stems that aren't just exposed
    uint32_t kept_count = 0;
    uint32_t entered_kept = 0; ///< of a kept level: `entered` as the next call finds it
    rx_level *kept = nullptr;  ///< kept levels of routines called from here, newest first
    rx_level *next_kept = nullptr;
    rx_arena arena; ///< entries and their names
    rx_pointer_table<rx_var> names;
    std::vector<rx_var *> entries; ///< those in `names`
    rx_pointer_table<rx_stem> stem_table;
    std::vector<std::unique_ptr<rx_stem>> stems;
    uint32_t entered = 0; ///< entries made so far

    rx_meaning *row = nullptr; ///< what names mean here, by their places; null: the level has no row of its own
    uint32_t row_size = 0;
    uint32_t row_used = 0; ///< places from here on hold nothing

    rx_level() = default;
    rx_level(const rx_level &) = delete;
    rx_level &operator=(const rx_level &) = delete;
    ~rx_level();

    /// Notes a meaning at a place that a name has; only for the level in force.
    void note(uint32_t place, rx_meaning meaning) {
        if (place >= row_size && !lengthen_row()) return;
        row[place] = meaning;
        if (place >= row_used) row_used = place + 1;
    }
    void empty_row() {
        std::fill(row, row + row_used, rx_meaning());
        row_used = 0;
    }

    /// A number assigned to a simple name that has no entry here yet (see rx_var_promise): the entry is made when
    /// somebody looks for it. Null, or no place in the order of entry: nothing is promised.
    const rx_symbol *promised = nullptr;
    uint32_t promised_order = 0;
    double promised_number = 0;

    /// A simple name that was looked for and had no entry here, and how many names had one then: as long as no other is
    /// entered, it still has none (see rx_drop_rare).
    const rx_symbol *lacking = nullptr;
    size_t lacking_among = 0;

    rx_var *find(std::string_view name, uint64_t hash) {
        if (promised && promised->hash == hash) [[unlikely]]
            keep_promise();
        return names.find(hash, [&](const rx_var &var) { return rx_same_name(rx_name_of(var), name); });
    }
    void keep_promise();
    bool lengthen_row();
    rx_stem *find_stem(std::string_view name, uint64_t hash) const {
        return stem_table.find(hash, [&](const rx_stem &stem) { return rx_same_name(stem.name, name); });
    }
    rx_var &enter(std::string_view name, uint64_t hash);
    rx_stem &enter_stem(std::string_view name, uint64_t hash);
};

/// True when a tail is known to have no entry as a variable in the level in force.
inline bool rx_lacks(const rx_tail &tail) {
    const rx_level &level = *rx_scope.value.level;
    return tail.lacking_serial == rx_scope.value.serial && tail.lacking_among == level.names.used &&
           !(level.promised && level.promised->hash == tail.hash);
}

/// The level that an exposed entry leads to. An exposed entry has no value, so its record holds the pointer.
inline rx_level *rx_owner_of(const rx_var &var) {
    rx_level *owner;
    std::memcpy(&owner, var.value.bytes, sizeof owner);
    return owner;
}
inline void rx_set_owner(rx_var &var, rx_level *owner) {
    std::memcpy(var.value.bytes, &owner, sizeof owner);
}

/// What rx_plain_index says of a number's text, as it would be under the NUMERIC settings in force.
int64_t rx_plain_index(const rx_value &number);

/// To be called when the meaning of names changes in the scope in force: empties its row, and gives it a new serial
/// number, which makes other caches look again.
void rx_new_serial();
