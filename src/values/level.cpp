#include "values/level.h"

#include "platform/pages.h"
#include "values/numbers.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <new>

namespace {

/// Numbers above this aren't looked up in a stem's elements; nine digits are spelled alike under the default settings.
constexpr double largest_index = 999999999.0;
constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};

constinit uint64_t last_serial = 0;

/// Levels that were popped, linked by `older`: kept so that a PROCEDURE doesn't allocate.
constinit rx_level *spare_levels = nullptr;
constinit unsigned spare_count = 0;
constexpr unsigned most_spare = 64;

void free_value(rx_var &var) {
    var.~rx_var();
}

} // namespace

int64_t rx_plain_index(const rx_value &number) {
    double real = number.real;
    if (!(real >= 0 && real <= largest_index) || number.decimals > 0) return -1;
    int64_t index = static_cast<int64_t>(real);
    if (static_cast<double>(index) != real || std::signbit(real)) return -1;
    int digits = rx_numeric->digits;
    return digits >= 9 || real < powers[digits] ? index : -1;
}

namespace {

/// Bytes that the rows of all levels take. A recursion that goes so deep that they come to this goes on without rows.
constinit size_t row_bytes = 0;
constexpr size_t most_row_bytes = size_t{64} << 20;

/// Makes the row of a level the one in force; it must reach as far as places were given out.
void use_row(rx_level &level) {
    if (level.row_size >= rx_next_place) [[likely]]
        rx_scope->row = level.row;
    else
        level.lengthen_row();
}

} // namespace

rx_level::~rx_level() {
    row_bytes -= row_size * sizeof(rx_meaning);
    std::free(row);
}

/// Makes the row of the level in force reach as far as needed; false when it has none afterwards.
bool rx_level::lengthen_row() {
    uint32_t size = std::bit_ceil(std::max(rx_next_place, 8U));
    size_t more = (size - row_size) * sizeof(rx_meaning);
    auto *longer = row_bytes + more > most_row_bytes
                       ? nullptr
                       : static_cast<rx_meaning *>(std::realloc(row, size * sizeof(rx_meaning)));
    if (!longer) {
        row_bytes -= row_size * sizeof(rx_meaning);
        std::free(row);
        row = nullptr;
        row_size = row_used = 0;
        static const std::vector<rx_meaning> empty(rx_most_places);
        rx_scope->row = empty.data();
        return false;
    }
    std::fill(longer + row_size, longer + size, rx_meaning());
    row_bytes += more;
    row = longer;
    row_size = size;
    rx_scope->row = row;
    return true;
}

void rx_new_serial() {
    rx_scope->serial = ++last_serial;
    rx_scope->level->empty_row();
}

void rx_push_level() {
    rx_level *level = spare_levels;
    if (level) {
        spare_levels = level->older;
        spare_count--;
    } else {
        level = new rx_level;
    }
    level->older = rx_scope->level;
    level->older_serial = rx_scope->serial;
    level->depth = level->older ? level->older->depth + 1 : 0;
    rx_scope->level = level;
    use_row(*level);
    rx_new_serial();
}

namespace {

/// Levels that are kept, all together, and those of one level. A level that finds no room takes all that are kept for
/// it with it. So that one recursion doesn't fill the room alone, it keeps only its outermost levels.
constinit unsigned all_kept = 0;
constexpr unsigned most_kept = 6144, deepest_kept = 4096, most_kept_here = 8;
/// A level that has made more entries, or has taken more memory for them, isn't kept.
constexpr size_t most_entries_kept = 256;
constexpr size_t most_blocks_kept = 3;

void unset(rx_var &var) {
    if (var.state == RX_EXPOSED) return;
    if (var.state == RX_SET) {
        var.value.~rx_value();
        new (&var.value) rx_value;
    }
    var.state = RX_DROPPED;
    var.marks = RX_LEFT_OVER;
}

[[gnu::noinline]] void unset_all(rx_level &level) {
    for (rx_var *var : level.entries) unset(*var);
    for (auto &stem : level.stems) {
        if (stem->elements.count || stem->tails.used) stem->for_each(unset);
        if (stem->key) unset(*stem->key);
    }
}

/// Unsets the entries of a level, most of which need no release.
inline void unset_entries(rx_level &level) {
    bool more = level.own_stems;
    for (rx_var *var : level.entries) {
        if (var->state == RX_EXPOSED) continue;
        if (var->value.storage != RX_INLINE) {
            more = true;
            continue;
        }
        var->value.forget();
        var->state = RX_DROPPED;
        var->marks = RX_LEFT_OVER;
    }
    if (more) [[unlikely]]
        unset_all(level);
}

/// Takes a kept level out of the list that it is in.
void take_out(rx_level &level) {
    rx_level &older = *level.older;
    rx_level **link = &older.kept;
    while (*link != &level) link = &(*link)->next_kept;
    *link = level.next_kept;
    older.kept_count--;
    all_kept--;
    level.is_kept = false;
}

/// Empties a level that keeps none; it becomes a spare one or is freed.
void empty(rx_level *level) {
    for (rx_var *var : level->entries) free_value(*var);
    level->entries.clear();
    for (auto &stem : level->stems) {
        if (stem->key) free_value(*stem->key);
    }
    level->stems.clear();
    level->promised = nullptr;
    level->lacking = nullptr;
    level->procedure = 0;
    level->entered_kept = 0;
    level->names.clear();
    level->stem_table.clear();
    level->arena.reset();
    level->entered = 0;
    if (spare_count == most_spare) {
        delete level;
        return;
    }
    level->older = spare_levels;
    spare_levels = level;
    spare_count++;
}

/// Empties a level and all that are kept for it, from the deepest up, for a recursion may have left thousands.
void discard(rx_level *level) {
    for (rx_level *last = level;;) {
        while (last->kept) last = last->kept;
        if (last == level) break;
        rx_level *older = last->older;
        take_out(*last);
        empty(last);
        last = older;
    }
    empty(level);
}

/// Puts a level that was left for the first time in the list of those kept; false when there is no room.
bool put_in(rx_level &level) {
    if (level.procedure == 0 || level.depth > deepest_kept || all_kept == most_kept) return false;
    rx_level &older = *level.older;
    if (older.kept_count == most_kept_here) {
        // The one used longest ago goes. None is in force, for this level is the only one right above the older one.
        rx_level *oldest = older.kept;
        while (oldest->next_kept) oldest = oldest->next_kept;
        take_out(*oldest);
        discard(oldest);
    }
    level.next_kept = older.kept;
    older.kept = &level;
    older.kept_count++;
    all_kept++;
    level.is_kept = true;
    return true;
}

/// Notes of a level that is left what its next call finds. True when it isn't too large to be kept.
bool survey(rx_level &level) {
    size_t entries = level.entries.size();
    level.own_stems = false;
    for (auto &stem : level.stems) {
        entries += stem->in_elements + stem->tails.used;
        bool exposed = stem->key && stem->key->state == RX_EXPOSED;
        level.own_stems |= !exposed || stem->elements.count || stem->tails.used;
    }
    // What is entered from now on comes behind what the PROCEDURE exposed.
    level.entered_kept = static_cast<uint32_t>(entries + level.stems.size());
    return entries <= most_entries_kept && level.arena.blocks() <= most_blocks_kept;
}

/// Keeps a level that is left with new entries or for the first time, if it may be; else discards it.
[[gnu::noinline]] bool keep_or_discard(rx_level &level) {
    if (survey(level) && level.procedure && (level.is_kept || put_in(level))) return true;
    if (level.is_kept) take_out(level);
    discard(&level);
    return false;
}

} // namespace

void rx_pop_level() {
    rx_level &level = *rx_scope->level;
    level.serial = rx_scope->serial;
    // Names mean again what they meant before, so the row of then and what was cached are good again.
    rx_scope->level = level.older;
    rx_scope->serial = level.older_serial;
    if (level.older) [[likely]]
        use_row(*level.older);
    // Nearly always the call has entered nothing, but for a promise.
    bool as_before =
        level.is_kept && level.procedure && level.entered - (level.promised_order != 0) == level.entered_kept;
    if (!as_before && !keep_or_discard(level)) return;
    level.promised_order = 0;
    level.entered = level.entered_kept;
    unset_entries(level);
}

void rx_keep_level(uint32_t procedure) {
    rx_scope->level->procedure = procedure;
}

bool rx_push_level_again(uint32_t procedure) {
    rx_level &older = *rx_scope->level;
    rx_level *before = nullptr;
    for (rx_level *level = older.kept; level; before = level, level = level->next_kept) {
        if (level->procedure != procedure || level->older_serial != rx_scope->serial) continue;
        if (before) [[unlikely]] {
            // The list begins with those used last.
            before->next_kept = level->next_kept;
            level->next_kept = older.kept;
            older.kept = level;
        }
        rx_scope->level = level;
        rx_scope->serial = level->serial;
        use_row(*level);
        return true;
    }
    return false;
}

void rx_settle_row() {
    if (rx_scope->level) use_row(*rx_scope->level);
}

bool rx_at_outermost_level() {
    return rx_scope->level->older == nullptr;
}

namespace {

/// A new entry in an arena, and in the order of the level.
rx_var *make_entry(rx_level &level, rx_arena &arena, std::string_view name) {
    char *place = static_cast<char *>(arena.allocate(sizeof(rx_named_var) + name.size()));
    auto *entry = new (place) rx_named_var{{}, name.size()};
    std::memcpy(place + sizeof(rx_named_var), name.data(), name.size());
    entry->var.order = ++level.entered;
    return &entry->var;
}

} // namespace

rx_var &rx_level::enter(std::string_view name, uint64_t hash) {
    rx_var *var = make_entry(*this, arena, name);
    names.enter(hash, var);
    entries.push_back(var);
    return *var;
}

void rx_level::keep_promise() {
    const rx_symbol &symbol = *promised;
    promised = nullptr;
    if (!promised_order) return;
    rx_var &var = enter(symbol.name, symbol.hash);
    entered--; // its place in the order was taken when the promise was made
    var.order = std::exchange(promised_order, 0);
    rx_var_store(var, rx_value_of({promised_number, rx_whole_head}));
}

rx_stem &rx_level::enter_stem(std::string_view name, uint64_t hash) {
    stems.push_back(std::make_unique<rx_stem>());
    rx_stem *stem = stems.back().get();
    stem->name = arena.copy(name);
    stem->level = this;
    stem_table.enter(hash, stem);
    return *stem;
}

namespace {
constinit uint64_t last_stem_id = 0;
} // namespace

rx_stem::rx_stem() : id(++last_stem_id) {
    elements.stem = this;
}

rx_var *rx_stem::find(uint32_t index) const {
    if (index < elements.count) {
        if (rx_var *var = elements.at(index); var->order) return var;
    }
    if (!sparse) return nullptr;
    std::string tail = rx_int_text(index);
    return find(tail, rx_lookup_hash(tail));
}

rx_var &rx_stem::enter(uint32_t index) {
    if (index >= elements.count) {
        if (index > in_elements * 2 + 64 || index >= rx_elements::most) {
            sparse = true;
            std::string tail = rx_int_text(index);
            return enter(tail, rx_lookup_hash(tail));
        }
        make_room(index);
    }
    rx_var *var = elements.at(index);
    enter_element(*var);
    return *var;
}

void rx_stem::enter_element(rx_var &element) {
    element.order = ++level->entered;
    in_elements++;
}

namespace {

/// Memory for a segment of elements, all zero. From this size on it comes straight from the system.
constexpr size_t large_segment = size_t{1} << 20;

void *take_segment(size_t size) {
    void *place = size >= large_segment ? rx_take_pages(size) : std::calloc(size, 1);
    if (!place) throw std::bad_alloc();
    return place;
}

void give_back_segment(void *place, size_t size) {
    if (size >= large_segment)
        rx_give_back_pages(place, size);
    else
        std::free(place);
}

} // namespace

/// Makes the segments up to that of a number.
void rx_stem::make_room(uint64_t index) {
    for (unsigned segment = elements.count ? rx_elements::segment_of(elements.count) : 0;
         segment <= rx_elements::segment_of(index); segment++) {
        uint64_t first = elements.count, size = first ? first : 16;
        void *place = take_segment(size * sizeof(rx_var));
        elements.start[segment] = reinterpret_cast<uintptr_t>(place) - first * sizeof(rx_var);
        elements.count = first + size;
        elements.limit = static_cast<double>(elements.count);
    }
}

rx_var &rx_stem::enter(std::string_view tail, uint64_t hash) {
    rx_var *var = make_entry(*level, arena, tail);
    tails.enter(hash, var);
    return *var;
}

rx_var &rx_stem::enter_key() {
    if (!key) key = make_entry(*level, level->arena, std::string(name) + "+");
    return *key;
}

void rx_stem::drop_all() {
    bool exposed = false;
    auto drop = [&](rx_var &var) {
        exposed |= var.state == RX_EXPOSED;
        if (var.state != RX_SET) return;
        rx_var_writable(var) = rx_value();
        var.state = RX_DROPPED;
    };
    for_each(drop);
    constexpr size_t large = 1000;
    if (!exposed && in_elements + tails.used > large) forget_all();
    if (key) drop(*key);
}

/// Frees the entries of all compounds with their values.
void rx_stem::forget_all() {
    for_each([](rx_var &var) { var.~rx_var(); });
    for_each_segment([&](uint64_t first, uint64_t count) {
        give_back_segment(elements.at(first), count * sizeof(rx_var));
        elements.start[rx_elements::segment_of(first)] = 0;
    });
    id = ++last_stem_id;
    elements.count = 0;
    elements.limit = 0;
    in_elements = 0;
    sparse = false;
    tails.clear();
    arena.reset();
}
