// The variable store.
//
// A level is one scope; PROCEDURE pushes one, its routine's return leaves it. What a script can observe is a flat table
// of entries keyed by their full resolved names, a stem's default being the entry named "A+". What runs is two small
// open-addressing tables a level: one for simple names, and one for stems. Each stem has its compounds in a table of
// its own, but for tails that are whole numbers written plainly (A.1, A.2, ...): those lie side by side by their
// number, so that a loop over a stem neither hashes nor spells its numbers. What two tails led to is noted beside the
// tables (values/pairs.h). Entries never move, and all but those of a large stem that was dropped live as long as their
// level. What names mean is found once for each level and noted in its row, at the place of the name (values/symbol.h).
// Other caches are valid for one serial number of the scope: every push and EXPOSE makes a new one and empties the row,
// a pop brings back the older ones.
//
// An exposed entry (or stem key) only says "look in the next older level". Listings sort by the slot that the name has
// under `rx_hash_name`, then by order of entry.
//
// Whoever changes the value of an entry goes through `rx_var_writable`. A value that is lent out for longer than one
// step (the left end of `s = s || f(x)`) is pinned; a writer then saves the old value to the pin first.
#pragma once

#include "base/raise.h"
#include "base/run_local.h"
#include "values/arithmetic.h"
#include "values/symbol.h"
#include "values/value.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum rx_var_state : uint8_t { RX_DROPPED = 0, RX_SET = 1, RX_EXPOSED = 2 };

/// An entry. A record of zero bytes is one that nobody has entered: unset, its order 0. Half a line of the processor's
/// cache, so that an element of a stem never lies in two.
struct rx_var {
    rx_value value;     ///< of kind none in all states but RX_SET
    uint32_t order = 0; ///< of entry in its level, from 1
    uint16_t pins = 0;  ///< how many rx_pin hold the value, usually none; the largest number stands for more
    rx_var_state state = RX_DROPPED;
    uint8_t marks = 0; ///< rx_var_mark
};
static_assert(sizeof(rx_var) == 32);

/// An entry with a name behind it: a simple one, a stem's key, or the tail of a compound. All have one but the elements
/// of a stem.
struct rx_named_var {
    rx_var var;
    size_t length;

    std::string_view name() const { return {reinterpret_cast<const char *>(this + 1), length}; }
};
inline std::string_view rx_name_of(const rx_var &var) {
    return reinterpret_cast<const rx_named_var &>(var).name();
}

/// Every writer takes the marks away; a change in place (UPPER, `x[i] =`) leaves the last one.
enum rx_var_mark : uint8_t {
    RX_REMEMBERED = 1, ///< set by the word functions, which remember a text's words
    RX_LEFT_OVER = 2,  ///< the entry was made by an earlier call of the routine and is unset: it isn't shown
    RX_CONTROLLED = 4, ///< set by a loop that has given the variable its value: nobody has assigned it since
};

struct rx_level;
struct rx_stem;

/// The entries of a stem by number, where the numbers lie densely enough. They lie in segments that never move, the
/// first for 16 entries, each further one for as many as there are before it.
struct rx_elements {
    static constexpr unsigned segment_count = 26;
    static constexpr uint64_t most = uint64_t{16} << (segment_count - 1); ///< numbers below can be had; nine digits
    uintptr_t start[segment_count] = {}; ///< where entry 0 would lie if the segment went back that far
    uint64_t count = 0;                  ///< numbers below have a record here, perhaps one that nobody has entered
    double limit = 0;                    ///< the same, to be compared with numbers
    rx_stem *stem = nullptr;             ///< whose they are

    static uint64_t first_of(unsigned segment) { return segment ? uint64_t{8} << segment : 0; }
    static uint64_t size_of(unsigned segment) { return segment ? first_of(segment) : 16; }
    static unsigned segment_of(uint64_t index) { return static_cast<unsigned>(std::bit_width(index | 15)) - 4; }
    rx_var *at(uint64_t index) const { return in_segment(segment_of(index), index); }
    rx_var *in_segment(unsigned segment, uint64_t index) const {
        return reinterpret_cast<rx_var *>(start[segment] + index * sizeof(rx_var));
    }
};

/// What a name means that wasn't found yet: taken for a variable, one that is unset; for the entries of a stem, none.
/// Who only reads thus needs no test. Nobody ever writes here.
alignas(rx_elements) inline constinit unsigned char rx_unmet[std::max(sizeof(rx_var), sizeof(rx_elements))] = {};

/// What a name means in a level: the variable of a simple name, or the entries of a stem. Exposed names have been
/// followed to their owner.
struct rx_meaning {
    void *found = rx_unmet;

    bool met() const { return found != rx_unmet; }
    rx_var *var() const { return static_cast<rx_var *>(found); }
    rx_elements *elements() const { return static_cast<rx_elements *>(found); }
};

/// The scope in force. `serial` is unique for every change of what names mean.
struct rx_scope_record {
    rx_level *level = nullptr;
    uint64_t serial = 0;
    const rx_meaning *row = nullptr; ///< the level's, with an element for every place that was given out
};
inline rx_run_local<rx_scope_record> rx_scope;

/// Pushes an empty level; the older one is reached through exposed entries.
void rx_push_level();
/// Leaves the newest level; its values are freed.
void rx_pop_level();
/// Marks the newest level as that of a PROCEDURE clause that exposes just what its names say: a later call of the same
/// clause from the same scope may have it back, see rx_push_level_again. `procedure` is the clause's own number, from
/// 1.
void rx_keep_level(uint32_t procedure);
/// Pushes the level that the clause of that number made in the scope in force before, when it was kept: its names mean
/// what they meant then, exposed ones included, and all that aren't exposed are unset. False: there is none, as for 0,
/// the number of a clause that hasn't made any.
bool rx_push_level_again(uint32_t procedure);
/// To be called when a run has ended inside another one, whose scope is in force again: names may have got places
/// meanwhile.
void rx_settle_row();
/// True for the level that rx_push_level made first in this run.
bool rx_at_outermost_level();

/// How the uninitialised path of a read behaves.
enum class rx_read { normal, quiet };

/// What the read of an unset symbol calls in rx_read::normal; the engine raises NOVALUE there.
inline void (*rx_novalue_hook)(std::string_view name) = nullptr;

/// Reads a symbol. The result is lent: the variable's own record, valid until the next write, or `scratch`, which
/// receives the value of a symbol that has none (its name). Error 31 for a symbol that begins with ".".
const rx_value &rx_var_get(const rx_symbol &symbol, rx_value &scratch, rx_read how = rx_read::normal);

/// The value of a simple symbol or compound that is set and can be had without side effects, else null. Never raises.
const rx_value *rx_var_peek(const rx_symbol &symbol);

/// The value of a compound with two tails that was found before and is still set; null says nothing.
const rx_value *rx_var_peek_pair(const rx_symbol &symbol);

/// The value of a simple symbol that was found before and is still set; null says nothing. Symbols that reach the
/// process environment are never found this way.
inline const rx_value *rx_var_cached(const rx_symbol &symbol) {
    const rx_var *var = rx_scope.value.row[symbol.place].var();
    return var->state == RX_SET ? &var->value : nullptr;
}

/// The entry of a simple symbol that was found before, perhaps unset; null says nothing.
inline rx_var *rx_var_met(const rx_symbol &symbol) {
    rx_meaning meaning = rx_scope.value.row[symbol.place];
    return meaning.met() ? meaning.var() : nullptr;
}

/// The value of a simple symbol for a look: of kind none when the symbol is unset, or wasn't found before.
inline const rx_value &rx_var_glance(const rx_symbol &symbol) {
    return rx_scope.value.row[symbol.place].var()->value;
}

/// Finds what rx_var_element needs of a compound symbol; null when its only tail isn't a variable that is there.
const rx_value *rx_find_elements(const rx_symbol &symbol);

/// The value of the only tail of a compound symbol, where that is a variable; else null.
inline const rx_value *rx_var_index(const rx_symbol &symbol) {
    const rx_meaning *row = rx_scope.value.row;
    rx_meaning index = row[symbol.index_place];
    return index.met() && row[symbol.stem_place].met() ? &index.var()->value : rx_find_elements(symbol);
}

/// What rx_var_element says for a tail that is a constant, or where the row doesn't tell yet what the names mean.
rx_var *rx_find_element(const rx_symbol &symbol);

/// The entry of a compound whose only tail is a plain whole number, or a variable with one, found without spelling it;
/// null says nothing. The entry may be unset, exposed or not entered yet: its value is of kind none then.
inline rx_var *rx_var_element(const rx_symbol &symbol) {
    const rx_meaning *row = rx_scope.value.row;
    const rx_value &tail = row[symbol.index_place].var()->value;
    // Ten digits don't show under NUMERIC DIGITS 9, but no element has so many; a negative zero isn't spelled like one.
    if (rx_head_of(tail) == rx_whole_head && rx_numeric.value.digits >= 9 && !std::signbit(tail.real)) [[likely]] {
        const rx_elements &elements = *row[symbol.stem_place].elements();
        if (tail.real < elements.limit) [[likely]]
            return elements.at(static_cast<uint64_t>(static_cast<int64_t>(tail.real)));
    }
    return rx_find_element(symbol);
}

/// Enters an element that rx_var_element has found and nobody has entered; false when the general way has to be taken.
bool rx_enter_element(const rx_symbol &symbol, rx_var &element);

/// Stores a value under a symbol, resolving its tails. A whole stem drops its entries first.
void rx_var_assign(const rx_symbol &symbol, rx_value &&value);

/// Assigns a whole number to a simple symbol that is rarely read: where the level in force has no entry for it, the
/// entry is made when somebody looks for it.
void rx_var_promise(const rx_symbol &symbol, double whole);

/// The same where it was the last promise of the level in force, which nobody has called in; else false.
bool rx_var_promise_again(const rx_symbol &symbol, double whole);

/// The entry that an assignment to the symbol goes to; a missing one is made (state RX_DROPPED).
rx_var &rx_var_entry(const rx_symbol &symbol);

/// The existing entry that a read of the symbol would use, or null; never a stem's default.
rx_var *rx_var_find(const rx_symbol &symbol);

/// Moves the value of a pinned variable to its pins.
void rx_save_pinned(rx_var &var);

/// The record of a set entry, for changing it. Saves the old value for whoever pinned it.
inline rx_value &rx_var_writable(rx_var &var) {
    if (var.pins) [[unlikely]]
        rx_save_pinned(var);
    var.marks &= RX_CONTROLLED;
    return var.value;
}

/// The same for an assignment.
inline rx_value &rx_var_assigned(rx_var &var) {
    rx_value &record = rx_var_writable(var);
    var.marks = 0;
    return record;
}

/// Stores into an entry that an assignment has found or made. A new one has state RX_DROPPED and order of entry only.
inline void rx_var_store(rx_var &var, rx_value &&value) {
    rx_var_assigned(var) = std::move(value);
    var.state = RX_SET;
}

/// The name of a compound with its tails replaced; the name itself for a simple symbol.
std::string rx_resolve_name(const rx_symbol &symbol);

/// A resolved name as a symbol that needs no resolving: its only tail is all that follows the first dot. The name must
/// outlive it.
struct rx_resolved_symbol {
    rx_tail tail;
    rx_symbol symbol;

    explicit rx_resolved_symbol(std::string_view name);
    rx_resolved_symbol(const rx_resolved_symbol &) = delete;
    rx_resolved_symbol &operator=(const rx_resolved_symbol &) = delete;
};

// -- by name: names are already folded and, where told, resolved -----------------------------------------------------

/// Reads a resolved name ("A.7", "X", "A+"); null when it has no value (a stem's default counts).
const rx_value *rx_var_peek_name(std::string_view resolved);

/// Sets the variable of a name, which is taken as resolved. Error 31 when it begins with a digit or a dot.
void rx_set_resolved(std::string_view name, rx_value &&value);

/// Sets a variable by the name that a program would write: folded by the case mode, its tails parsed and resolved.
/// With `quoted` false a text that is a number is stored as one.
void rx_set_var(std::string_view name, std::string_view text, bool quoted = true);
void rx_set_var_number(std::string_view name, double number);
/// The same with "%d" or ".%d" appended to the name.
void rx_set_var_indexed(std::string_view name, int index, std::string_view text);
void rx_set_var_stem(std::string_view name, int index, std::string_view text);

/// Reads a variable by the name that a program would write (folded, tails resolved), without NOVALUE; null if unset.
const rx_value *rx_get_var(std::string_view name);

// -- DROP, EXPOSE, lists ----------------------------------------------------------------------------------------------

/// DROP of one name.
void rx_drop(const rx_symbol &symbol);

/// The same for a simple symbol that hardly ever has an entry where this is called.
void rx_drop_rare(const rx_symbol &symbol);

/// PROCEDURE EXPOSE of one name; `symbol` is resolved in the newest level.
void rx_expose(const rx_symbol &symbol);

/// The symbols that the value of a list variable names, in the arena. Error 46 for a word that is no variable name.
std::vector<rx_symbol *> rx_var_list(const rx_symbol &list, rx_arena &arena);

/// The tails of a stem that are set, joined by blanks, in the order of the defined hash. `prefix` is "A.".
std::string rx_list_tails(std::string_view prefix);

/// The listing of a level's entries (the newest is level 0), as the debugger shows it.
std::string rx_show_vars(unsigned level);

/// The hash that fixes the order of listings: h starts as the first byte, then takes in every byte and the NUL.
unsigned rx_hash_name(std::string_view name, unsigned mask);

// -- lending for longer
// ------------------------------------------------------------------------------------------------

/// Keeps the value that a variable has now readable while other code runs. While it lives, a writer of the variable
/// moves the old value here first.
struct rx_pin {
    explicit rx_pin(rx_var &var);
    ~rx_pin();
    rx_pin(const rx_pin &) = delete;
    rx_pin &operator=(const rx_pin &) = delete;

    /// The value as it was when the pin was made.
    const rx_value &value() const { return saved_.is_none() ? var_->value : saved_; }
    /// True while the variable still holds that value itself.
    bool untouched() const { return saved_.is_none(); }

private:
    friend void rx_save_pinned(rx_var &var);
    rx_var *var_;
    rx_pin *outer_;
    rx_value saved_;
};
