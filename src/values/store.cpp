#include "values/store.h"

#include "base/modes.h"
#include "platform/environment.h"
#include "platform/strings.h"
#include "values/level.h"
#include "values/numbers.h"
#include "values/pairs.h"

#include <algorithm>
#include <cstring>

namespace {

bool refreshes(const rx_symbol &symbol) {
    return symbol.environment && rx_modes->env_mode == RX_SETENV;
}

/// `$NAME` and `$?NAME` take their value from the process environment at each read.
void refresh_from_environment(std::string_view name) {
    if (name[1] == '?') {
        if (name.size() > 2) rx_set_resolved(name, rx_string(rx_getenv(name.substr(2)) ? "1" : "0"));
    } else {
        rx_set_resolved(name, rx_string(rx_getenv(name.substr(1)).value_or("")));
    }
}

void export_to_environment(std::string_view name, const rx_value &value) {
    if (rx_modes->env_mode != RX_SETENV || name.size() < 2 || name[0] != '$' || name[1] == '?') return;
    rx_number_buffer buffer;
    rx_setenv(name.substr(1), rx_arg_text(value, buffer));
}

/// Notes in the row of the level in force what a name means, once the name has a place.
void note_meaning(uint32_t &place, std::string_view name, bool stem, void *found) {
    if (place < RX_PLACELESS) place = place == RX_SEEN_ONCE ? rx_place_of(name, stem) : RX_SEEN_ONCE;
    if (place >= RX_FIRST_PLACE) rx_scope->level->note(place, {found});
}

/// The owner of a simple name as a read sees it, or null, where the row doesn't tell.
[[gnu::noinline]] rx_var *search_simple(std::string_view name, uint64_t hash, uint32_t &place) {
    for (rx_level *level = rx_scope->level; level;) {
        rx_var *var = level->find(name, hash);
        if (!var) return nullptr;
        if (var->state != RX_EXPOSED) {
            note_meaning(place, name, false, var);
            return var;
        }
        level = rx_owner_of(*var);
    }
    return nullptr;
}

inline rx_var *find_simple(const rx_symbol &symbol) {
    rx_var *var = rx_var_met(symbol);
    return var ? var : search_simple(symbol.name, symbol.hash, symbol.place);
}

/// The value of a tail that the row doesn't know.
[[gnu::noinline]] const rx_value *search_tail(const rx_tail &tail) {
    if (tail.lent) return &tail.lent->value;
    if (tail.constant || rx_lacks(tail)) return nullptr;
    if (tail.text.size() >= 2 && tail.text[0] == '$') {
        tail.place = RX_PLACELESS;
        if (rx_modes->env_mode == RX_SETENV) refresh_from_environment(tail.text);
    }
    if (rx_level &level = *rx_scope->level; tail.place != RX_PLACELESS && !level.find(tail.text, tail.hash)) {
        tail.lacking_serial = rx_scope->serial;
        tail.lacking_among = level.names.used;
        return nullptr;
    }
    const rx_var *var = search_simple(tail.text, tail.hash, tail.place);
    return var && var->state == RX_SET ? &var->value : nullptr;
}

/// The value of a tail as a simple symbol: lent, or null when it stands for itself.
inline const rx_value *tail_value(const rx_tail &tail) {
    rx_meaning meaning = rx_scope->row[tail.place];
    if (!meaning.met()) return search_tail(tail);
    return meaning.var()->state == RX_SET ? &meaning.var()->value : nullptr;
}

/// True for a tail that is a constant, or is known to have no value as a variable.
inline bool stands_for_itself(const rx_tail &tail) {
    rx_meaning meaning = rx_scope->row[tail.place];
    return tail.constant || (meaning.met() ? meaning.var()->value.is_none() : rx_lacks(tail));
}

/// The stem that owns the compounds of a name, followed through exposed keys, searched from a level. Null when the
/// level that the search ends in (`level` on return) has no such stem.
rx_stem *find_stem(rx_level *&level, std::string_view stem_name, uint64_t hash) {
    for (;;) {
        rx_stem *stem = level->find_stem(stem_name, hash);
        if (!stem || !stem->key || stem->key->state != RX_EXPOSED) return stem;
        level = rx_owner_of(*stem->key);
    }
}

rx_stem *owner_stem(const rx_symbol &symbol, rx_level *&level) {
    if (rx_meaning meaning = rx_scope->row[symbol.stem_place]; meaning.met()) [[likely]] {
        level = meaning.elements()->stem->level;
        return meaning.elements()->stem;
    }
    level = rx_scope->level;
    rx_stem *stem = find_stem(level, symbol.stem, symbol.stem_hash);
    if (stem) note_meaning(symbol.stem_place, symbol.stem, true, &stem->elements);
    return stem;
}

/// What the tails of a compound come to: a plain whole number, or a text and its hash. The text may lie with the variable
/// that is the only tail.
struct resolved_tails {
    int64_t index = -1; ///< -1: the text counts
    std::string_view text;
    uint64_t hash;
    char room[128];
    std::string more_room;
};

/// The tails with their values, joined by dots, whatever they are and however long.
[[gnu::noinline]] void join_with_care(const rx_symbol &symbol, resolved_tails &tails) {
    std::string &name = tails.more_room;
    for (uint32_t i = 0; i < symbol.tail_count; i++) {
        if (i) name += '.';
        rx_number_buffer buffer;
        const rx_value *value = tail_value(symbol.tails[i]);
        name += value ? rx_arg_text(*value, buffer) : symbol.tails[i].text;
    }
    tails.text = name;
}

/// The same in the record itself. False: there is no room for them, or a number is spelled in another way than by its
/// digits; the tails were only read.
bool join(const rx_symbol &symbol, resolved_tails &tails) {
    char *at = tails.room;
    for (uint32_t i = 0; i < symbol.tail_count; i++) {
        if (i) *at++ = '.';
        const rx_value *value = tail_value(symbol.tails[i]);
        auto left = static_cast<size_t>(tails.room + sizeof tails.room - at);
        if (value && value->is_number()) {
            uint32_t number;
            if (left < 10 || !rx_short_natural(*value, number)) return false;
            rx_digits digits = rx_digits_of(number);
            std::memcpy(at, &digits.bytes, sizeof digits.bytes);
            at += digits.length;
        } else {
            std::string_view text = value ? value->text() : symbol.tails[i].text;
            if (left < text.size() + 1) return false;
            rx_copy_bytes(at, text.data(), text.size());
            at += text.size();
        }
    }
    tails.text = {tails.room, static_cast<size_t>(at - tails.room)};
    return true;
}

void resolve_tails(const rx_symbol &symbol, resolved_tails &tails) {
    const rx_tail &first = symbol.tails[0];
    if (symbol.tail_count > 1) {
        if (!join(symbol, tails)) join_with_care(symbol, tails);
    } else if (const rx_value *value = tail_value(first); !value) {
        tails.text = first.text;
        tails.index = first.index;
        tails.hash = first.hash;
        return;
    } else if (value->is_number()) {
        tails.index = rx_plain_index(*value);
        if (tails.index >= 0) return;
        join_with_care(symbol, tails);
        tails.index = rx_plain_index(tails.text);
    } else {
        tails.text = value->text();
        tails.index = rx_plain_index(tails.text);
    }
    tails.hash = rx_lookup_hash(tails.text);
}

/// find_by_tail for two tails.
[[gnu::always_inline]] inline rx_var *find_by_pair(const rx_symbol &symbol, const rx_stem *&stem, bool &known) {
    known = false;
    rx_meaning meaning = rx_scope.value.row[symbol.stem_place];
    rx_pair pair;
    if (!meaning.met() || !rx_pair_of(symbol, pair)) return nullptr;
    stem = meaning.elements()->stem;
    return rx_find_pair(*stem, pair, known);
}

/// Notes for find_by_pair what the tails of a symbol led to in a stem; null: the stem has no such entry.
[[gnu::noinline]] void note_pair(const rx_symbol &symbol, const rx_stem &stem, const rx_var *var) {
    rx_pair pair;
    if (rx_pair_of(symbol, pair)) rx_note_pair(stem, pair, var);
}

/// The entry that the tail or both tails of a compound lead to, when the names are known, and the stem that it is in; it
/// is not exposed. Null: it has to be looked for. With `known` null says that there is no entry.
inline rx_var *find_by_tail(const rx_symbol &symbol, const rx_stem *&stem, bool &known) {
    if (symbol.tail_count != 1) {
        rx_var *var = find_by_pair(symbol, stem, known);
        if (var) known = var->state != RX_EXPOSED;
        return known ? var : nullptr;
    }
    known = false;
    const rx_tail &tail = symbol.tails[0];
    const rx_value *value = tail.constant ? nullptr : rx_var_index(symbol);
    std::string_view text = tail.text;
    uint64_t hash = tail.hash;
    int64_t index = tail.index;
    if (value && value->is_number()) {
        index = rx_plain_index(*value);
        if (index < 0) return nullptr;
    } else if (value && value->is_string()) {
        text = value->text();
        index = rx_plain_index(text);
        if (index < 0) hash = rx_lookup_hash(text);
    } else if (symbol.whole_stem || symbol.environment || !stands_for_itself(tail) ||
               !rx_scope->row[symbol.stem_place].met()) {
        return nullptr;
    }
    stem = rx_scope->row[symbol.stem_place].elements()->stem;
    rx_var *var = nullptr;
    if (index >= 0) {
        if (static_cast<uint64_t>(index) < stem->elements.count) var = stem->elements.at(static_cast<uint64_t>(index));
        if (!var || !var->order) {
            known = !stem->sparse;
            return nullptr;
        }
    } else {
        var = stem->find(text, hash);
        if (!var) {
            known = true;
            return nullptr;
        }
    }
    known = var->state != RX_EXPOSED;
    return known ? var : nullptr;
}

rx_var *find_tail(const rx_stem &stem, const resolved_tails &tails) {
    return tails.index >= 0 ? stem.find(static_cast<uint32_t>(tails.index)) : stem.find(tails.text, tails.hash);
}

rx_var &enter_tail(rx_stem &stem, const resolved_tails &tails) {
    return tails.index >= 0 ? stem.enter(static_cast<uint32_t>(tails.index)) : stem.enter(tails.text, tails.hash);
}

/// The entry of a compound that a read ends at (never exposed), and the stem of that level for its default.
rx_var *find_compound(const rx_symbol &symbol, const resolved_tails &tails, rx_stem *&stem) {
    rx_level *level;
    stem = owner_stem(symbol, level);
    while (stem) {
        rx_var *var = find_tail(*stem, tails);
        if (!var || var->state != RX_EXPOSED) {
            note_pair(symbol, *stem, var);
            return var;
        }
        level = rx_owner_of(*var);
        stem = find_stem(level, symbol.stem, symbol.stem_hash);
    }
    return nullptr;
}

const rx_value *default_of(const rx_stem *stem) {
    return stem && stem->key && stem->key->state == RX_SET ? &stem->key->value : nullptr;
}

/// The stem key that a read or an assignment of `A.` uses; null when there is none.
rx_var *find_key(const rx_symbol &symbol) {
    rx_level *level;
    rx_stem *stem = owner_stem(symbol, level);
    return stem ? stem->key : nullptr;
}

bool all_digits(std::string_view name) {
    return std::all_of(name.begin(), name.end(), rx_is_digit);
}

/// The value of a symbol that isn't set: its name, after NOVALUE had its say.
const rx_value &uninitialised(std::string_view name, rx_value &scratch, rx_read how) {
    if (how == rx_read::normal && rx_novalue_hook && !all_digits(name)) rx_novalue_hook(name);
    scratch = rx_string(name);
    return scratch;
}

std::string compound_name(const rx_symbol &symbol, const resolved_tails &tails) {
    std::string name(symbol.stem);
    name += '.';
    if (tails.index >= 0)
        name += std::to_string(tails.index);
    else
        name += tails.text;
    return name;
}

const rx_value &get_compound(const rx_symbol &symbol, rx_value &scratch, rx_read how) {
    if (symbol.whole_stem) {
        const rx_var *key = find_key(symbol);
        return key && key->state == RX_SET ? key->value : uninitialised(symbol.name, scratch, how);
    }
    resolved_tails tails;
    resolve_tails(symbol, tails);
    if (refreshes(symbol)) refresh_from_environment(compound_name(symbol, tails));
    rx_stem *stem;
    const rx_var *var = find_compound(symbol, tails, stem);
    if (var && var->state == RX_SET) return var->value;
    if (const rx_value *value = default_of(stem)) return *value;
    return uninitialised(compound_name(symbol, tails), scratch, how);
}

/// The entry of a compound for an assignment; one that was left over from an earlier call takes its place in the order
/// anew.
rx_var &entered_again(rx_stem &stem, rx_var &var) {
    if (var.marks & RX_LEFT_OVER) [[unlikely]]
        var.order = ++stem.level->entered;
    return var;
}

rx_var &simple_entry(rx_level *level, std::string_view name, uint64_t hash) {
    for (;;) {
        rx_var *var = level->find(name, hash);
        if (!var) return level->enter(name, hash);
        if (var->state != RX_EXPOSED) return *var;
        level = rx_owner_of(*var);
    }
}

[[gnu::noinline]] rx_var &compound_entry_with_care(const rx_symbol &symbol) {
    rx_level *level;
    rx_stem *stem = owner_stem(symbol, level);
    if (!stem) {
        stem = &level->enter_stem(symbol.stem, symbol.stem_hash);
        note_meaning(symbol.stem_place, symbol.stem, true, &stem->elements);
    }
    if (symbol.whole_stem) return stem->enter_key();
    resolved_tails tails;
    resolve_tails(symbol, tails);
    for (;;) {
        rx_var *var = find_tail(*stem, tails);
        if (!var || var->state != RX_EXPOSED) {
            var = var ? &entered_again(*stem, *var) : &enter_tail(*stem, tails);
            note_pair(symbol, *stem, var);
            return *var;
        }
        level = rx_owner_of(*var);
        stem = find_stem(level, symbol.stem, symbol.stem_hash);
        if (!stem) stem = &level->enter_stem(symbol.stem, symbol.stem_hash);
    }
}

inline rx_var &compound_entry(const rx_symbol &symbol) {
    const rx_stem *stem;
    bool known;
    rx_var *var = find_by_tail(symbol, stem, known);
    return var && !(var->marks & RX_LEFT_OVER) ? *var : compound_entry_with_care(symbol);
}

void drop_entry(rx_var &var) {
    if (var.state == RX_SET) rx_var_writable(var) = rx_value();
    var.state = RX_DROPPED;
}

/// A name as a program would write it, folded by the case mode and parsed.
struct written_symbol {
    rx_arena arena;
    const rx_symbol *symbol;

    explicit written_symbol(std::string_view name) : symbol(rx_parse_tails(arena, arena.copy(rx_folded(name)))) {}
};

} // namespace

rx_resolved_symbol::rx_resolved_symbol(std::string_view name) {
    symbol.name = name;
    symbol.place = symbol.stem_place = symbol.index_place = RX_PLACELESS;
    symbol.bad_name = name.empty() || name[0] == '.' || rx_is_digit(name[0]);
    symbol.environment = name.size() >= 2 && name[0] == '$';
    size_t dot = name.find('.');
    bool key = !name.empty() && name.back() == '+' && dot == std::string_view::npos;
    if (dot == std::string_view::npos && !key) {
        symbol.hash = rx_lookup_hash(name);
        return;
    }
    symbol.stem = name.substr(0, key ? name.size() - 1 : dot);
    symbol.stem_hash = rx_lookup_hash(symbol.stem);
    symbol.whole_stem = key;
    tail.text = key ? std::string_view() : name.substr(dot + 1);
    tail.hash = rx_lookup_hash(tail.text);
    tail.index = rx_plain_index(tail.text);
    tail.constant = true;
    symbol.tails = &tail;
    symbol.tail_count = 1;
}

const rx_value &rx_var_get(const rx_symbol &symbol, rx_value &scratch, rx_read how) {
    if (!symbol.name.empty() && symbol.name[0] == '.') rx_raise(31);
    if (symbol.compound()) return get_compound(symbol, scratch, how);
    if (refreshes(symbol)) refresh_from_environment(symbol.name);
    const rx_var *var = find_simple(symbol);
    return var && var->state == RX_SET ? var->value : uninitialised(symbol.name, scratch, how);
}

const rx_value *rx_find_elements(const rx_symbol &symbol) {
    if (symbol.tail_count != 1 || symbol.whole_stem || symbol.environment) return nullptr;
    const rx_tail &tail = symbol.tails[0];
    const rx_value *value = tail_value(tail);
    rx_level *level;
    if (!value || !owner_stem(symbol, level)) return nullptr;
    // Both are noted only when both names have places.
    symbol.index_place = tail.place;
    const rx_meaning *row = rx_scope->row;
    return row[symbol.index_place].met() && row[symbol.stem_place].met() ? value : nullptr;
}

rx_var *rx_find_element(const rx_symbol &symbol) {
    if (symbol.tail_count != 1) return nullptr;
    const rx_meaning *row = rx_scope->row;
    if (const rx_tail &tail = symbol.tails[0]; tail.constant) {
        // `a.1` needs no look at a variable. An index of -1 turns into one that is larger than any count.
        const rx_elements &elements = *row[symbol.stem_place].elements();
        auto index = static_cast<uint64_t>(int64_t{tail.index});
        return index < elements.count && !symbol.environment ? elements.at(index) : nullptr;
    }
    if (row[symbol.index_place].met() && row[symbol.stem_place].met()) return nullptr;
    return rx_find_elements(symbol) ? rx_var_element(symbol) : nullptr;
}

bool rx_enter_element(const rx_symbol &symbol, rx_var &element) {
    rx_stem &stem = *rx_scope->row[symbol.stem_place].elements()->stem;
    // A sparse stem may hold the number in its table.
    if (element.order || stem.sparse) return false;
    stem.enter_element(element);
    return true;
}

namespace {

[[gnu::noinline]] const rx_value *peek_compound(const rx_symbol &symbol) {
    if (symbol.whole_stem) {
        const rx_var *key = find_key(symbol);
        return key && key->state == RX_SET ? &key->value : nullptr;
    }
    resolved_tails tails;
    resolve_tails(symbol, tails);
    rx_stem *stem;
    const rx_var *var = find_compound(symbol, tails, stem);
    return var && var->state == RX_SET ? &var->value : default_of(stem);
}

} // namespace

const rx_value *rx_var_peek(const rx_symbol &symbol) {
    if (refreshes(symbol)) return nullptr;
    if (!symbol.compound()) {
        const rx_var *var = find_simple(symbol);
        return var && var->state == RX_SET ? &var->value : nullptr;
    }
    const rx_stem *stem;
    bool known;
    const rx_var *var = find_by_tail(symbol, stem, known);
    if (!known) return peek_compound(symbol);
    return var && var->state == RX_SET ? &var->value : default_of(stem);
}

const rx_value *rx_var_peek_pair(const rx_symbol &symbol) {
    const rx_stem *stem;
    bool known;
    const rx_var *var = find_by_pair(symbol, stem, known);
    return var && var->state == RX_SET ? &var->value : nullptr;
}

rx_var *rx_var_find(const rx_symbol &symbol) {
    if (!symbol.compound()) return find_simple(symbol);
    if (symbol.whole_stem) return find_key(symbol);
    resolved_tails tails;
    resolve_tails(symbol, tails);
    rx_stem *stem;
    return find_compound(symbol, tails, stem);
}

rx_var &rx_var_entry(const rx_symbol &symbol) {
    if (symbol.compound()) return compound_entry(symbol);
    if (rx_var *var = find_simple(symbol)) return *var;
    rx_var &var = simple_entry(rx_scope->level, symbol.name, symbol.hash);
    note_meaning(symbol.place, symbol.name, false, &var);
    return var;
}

void rx_var_assign(const rx_symbol &symbol, rx_value &&value) {
    // The drop that goes with a stem's assignment works in the level in force, even when the stem is exposed.
    if (symbol.whole_stem) {
        if (rx_stem *stem = rx_scope->level->find_stem(symbol.stem, symbol.stem_hash)) stem->drop_all();
    }
    rx_var &var = rx_var_entry(symbol);
    rx_var_store(var, std::move(value));
    if (symbol.environment) export_to_environment(rx_resolve_name(symbol), var.value);
}

void rx_var_promise(const rx_symbol &symbol, double whole) {
    rx_level &level = *rx_scope->level;
    // Nothing may be promised, and no entry stand in the way.
    bool free = !level.promised || !level.promised_order;
    if (!free || level.find(symbol.name, symbol.hash))
        return rx_var_assign(symbol, rx_value_of({whole, rx_whole_head}));
    level.promised = &symbol;
    level.promised_order = ++level.entered;
    level.promised_number = whole;
}

bool rx_var_promise_again(const rx_symbol &symbol, double whole) {
    rx_level &level = *rx_scope->level;
    // A kept level still knows of which symbol it had a promise: then it has no entry for it.
    if (level.promised != &symbol) return false;
    if (!level.promised_order) level.promised_order = ++level.entered;
    level.promised_number = whole;
    return true;
}

std::string rx_resolve_name(const rx_symbol &symbol) {
    if (!symbol.compound()) return std::string(symbol.name);
    if (symbol.whole_stem) return std::string(symbol.stem) + "+";
    resolved_tails tails;
    resolve_tails(symbol, tails);
    return compound_name(symbol, tails);
}

const rx_value *rx_var_peek_name(std::string_view resolved) {
    return rx_var_peek(rx_resolved_symbol(resolved).symbol);
}

void rx_set_resolved(std::string_view name, rx_value &&value) {
    rx_resolved_symbol made(name);
    if (made.symbol.bad_name) rx_raise(31);
    rx_var_assign(made.symbol, std::move(value));
}

void rx_set_var(std::string_view name, std::string_view text, bool quoted) {
    rx_value value = rx_string(text);
    if (!quoted) rx_is_number(value);
    written_symbol made(name);
    if (made.symbol->bad_name) rx_raise(31);
    rx_var_assign(*made.symbol, std::move(value));
}

void rx_set_var_number(std::string_view name, double number) {
    written_symbol made(name);
    if (made.symbol->bad_name) rx_raise(31);
    rx_var_assign(*made.symbol, rx_number(number));
}

void rx_set_var_indexed(std::string_view name, int index, std::string_view text) {
    rx_set_var(std::string(name) + rx_int_text(index), text);
}

void rx_set_var_stem(std::string_view name, int index, std::string_view text) {
    rx_set_var(std::string(name) + "." + rx_int_text(index), text);
}

const rx_value *rx_get_var(std::string_view name) {
    return rx_var_peek(*written_symbol(name).symbol);
}

void rx_drop(const rx_symbol &symbol) {
    if (symbol.whole_stem) {
        rx_level *level = rx_scope->level;
        if (rx_stem *stem = find_stem(level, symbol.stem, symbol.stem_hash)) stem->drop_all();
        return;
    }
    if (rx_var *var = rx_var_find(symbol)) drop_entry(*var);
}

void rx_drop_rare(const rx_symbol &symbol) {
    rx_level &level = *rx_scope->level;
    if (level.lacking == &symbol && level.lacking_among == level.names.used) [[likely]]
        return;
    if (level.find(symbol.name, symbol.hash)) return rx_drop(symbol);
    level.lacking = &symbol;
    level.lacking_among = level.names.used;
}

namespace {

/// The level that an exposed entry leads to, when the search goes on in `level`: that one, or where its own exposed
/// entry leads. It can't change while a newer level is in force.
rx_level *owner_in(rx_level *level, const rx_symbol &symbol, const resolved_tails &tails) {
    const rx_var *var = nullptr;
    if (!symbol.compound()) {
        var = level->find(symbol.name, symbol.hash);
    } else if (const rx_stem *stem = level->find_stem(symbol.stem, symbol.stem_hash)) {
        bool by_key = symbol.whole_stem || (stem->key && stem->key->state == RX_EXPOSED);
        var = by_key ? stem->key : find_tail(*stem, tails);
    }
    return var && var->state == RX_EXPOSED ? rx_owner_of(*var) : level;
}

} // namespace

void rx_expose(const rx_symbol &symbol) {
    rx_level *level = rx_scope->level;
    level->procedure = 0;
    rx_var *var;
    resolved_tails tails;
    if (!symbol.compound()) {
        var = level->find(symbol.name, symbol.hash);
        if (!var) var = &level->enter(symbol.name, symbol.hash);
    } else {
        rx_stem *stem = level->find_stem(symbol.stem, symbol.stem_hash);
        if (!stem) stem = &level->enter_stem(symbol.stem, symbol.stem_hash);
        if (!symbol.whole_stem) resolve_tails(symbol, tails);
        var = symbol.whole_stem ? stem->key : find_tail(*stem, tails);
        if (!var) var = symbol.whole_stem ? &stem->enter_key() : &enter_tail(*stem, tails);
    }
    drop_entry(*var);
    var->state = RX_EXPOSED;
    if (var->marks & RX_LEFT_OVER) var->order = ++level->entered;
    var->marks = 0;
    rx_set_owner(*var, owner_in(level->older, symbol, tails));
    rx_new_serial();
}

std::vector<rx_symbol *> rx_var_list(const rx_symbol &list, rx_arena &arena) {
    rx_value scratch;
    rx_number_buffer buffer;
    std::string text(rx_arg_text(rx_var_get(list, scratch), buffer));
    std::vector<rx_symbol *> symbols;
    for (std::string_view word : rx_split_words(text)) {
        if (!rx_is_variable_name(word))
            rx_raise(46, "vandra: string \"" + std::string(word) + "\" is not a valid REXX variable.");
        symbols.push_back(rx_parse_tails(arena, arena.copy(rx_uppered(word))));
    }
    return symbols;
}

// ---- pins ----------------------------------------------------------------------------------------------------------

namespace {
/// The pins in force, newest first; process-wide, since nested runs end before the pins around them.
constinit rx_pin *all_pins = nullptr;
} // namespace

rx_pin::rx_pin(rx_var &var) : var_(&var), outer_(all_pins) {
    all_pins = this;
    if (var.pins != UINT16_MAX) var.pins++;
}

rx_pin::~rx_pin() {
    all_pins = outer_;
    if (var_ && var_->pins != UINT16_MAX) var_->pins--;
}

void rx_save_pinned(rx_var &var) {
    for (rx_pin *pin = all_pins; pin; pin = pin->outer_) {
        if (pin->var_ != &var) continue;
        pin->saved_ = rx_copy_value(var.value);
        pin->var_ = nullptr;
    }
    var.pins = 0;
}
