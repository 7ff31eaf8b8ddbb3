// PARSE, ARG and PULL: where the text comes from, and the walk of the template.
//
// A template falls into stretches: some variables, then a cut (a pattern, a position, a comma or the end). The cut is
// looked for first; it is where the last variable of the stretch ends. Each variable before the last one takes a
// word of the text in front of it. A relative position counts from the place of the last cut, which for a pattern is
// where it was found, not where the text goes on behind it.
//
// There are two walks. The careful one does all of that. The plain one is for templates of which nothing surprising can
// come: simple variables whose entries are known, cuts that are written out, nobody who traces. It stores the fields in
// the records where the variables have them, and nearly every PARSE in a loop takes it.
#include "engine/clauses.h"
#include "engine/trace.h"
#include "front/template.h"
#include "platform/paths.h"
#include "platform/strings.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <optional>

namespace {

constexpr std::string_view version = "REXX 4.00 10 Apr 2020 - Vandra(x64) 3.08b1";

using step = rx_template_step;

// ---- the text -------------------------------------------------------------------------------------------------------

std::string word_or_quotes(std::string_view text) {
    return text.empty() ? "\"\"" : std::string(text);
}

/// The line of PARSE SOURCE: system, call type, and the parts of the program's path.
[[gnu::noinline]] std::string source_line() {
    std::string path = rx_path_to_slashes((*rx_program_now)->entries[0].name);
    std::string_view name = path, directory, type;
    if (size_t slash = name.rfind('/'); slash != std::string_view::npos) {
        directory = name.substr(0, std::max<size_t>(slash, 1));
        name.remove_prefix(slash + 1);
    }
    // A dot at the beginning belongs to the name.
    if (size_t dot = name.rfind('.'); dot != std::string_view::npos && dot != 0) {
        type = name.substr(dot + 1);
        name = name.substr(0, dot);
    }
    std::string base = word_or_quotes(name);
    return "WINDOWS COMMAND " + base + " " + word_or_quotes(type) + " " + word_or_quotes(directory) + " " + base;
}

[[gnu::noinline]] std::string numeric_line() {
    return rx_int_text(rx_numeric->digits) + " " + rx_int_text(rx_numeric->fuzz) +
           (rx_numeric->form == 0 ? " SCIENTIFIC" : " ENGINEERING");
}

/// The text that is taken apart. It stays as it is while the template assigns variables, its own one among them: a long
/// text of a variable is used where it stands, and pinned before the careful walk.
struct parsed_text {
    std::string_view text;

    parsed_text(const rx_parse_clause &clause, int level) {
        switch (clause.source) {
        case PARSE_ARG: next_argument(); break;
        case PARSE_LINEIN: take(rx_queue_door.read_line()); break;
        case PARSE_PULL: take(rx_queue_door.pull()); break;
        case PARSE_SOURCE: take(rx_string(source_line())); break;
        case PARSE_VALUE:
            take(do_exec(clause.operand, level));
            rx_trace_result(level, text);
            break;
        case PARSE_VAR: lend(*clause.operand); break;
        case PARSE_VERSION: text = version; break;
        case PARSE_NUMERIC: take(rx_string(numeric_line())); break;
        }
    }

    /// Moves on to the next argument of the routine; behind the last one there are empty texts.
    void next_argument() {
        text = argument_ < rx_routine->arg_count ? rx_routine->args[argument_].text.text() : std::string_view();
        argument_++;
    }

    /// To be called before variables are assigned with care.
    void hold() {
        if (owner_) pin_.emplace(*owner_);
    }

    /// To be called when variables were assigned or read: the text may have moved.
    void settle() {
        if (pin_ && !pin_->untouched()) text = pin_->value().text();
    }

    /// Gives up the claim on the variable that holds the text: its last use may overwrite it where it stands.
    void let_go() {
        if (pin_ && pin_->untouched()) pin_.reset();
    }

private:
    void take(rx_value &&value) {
        value_ = std::move(value);
        text = rx_arg_text(value_, buffer_);
    }

    void lend(const rx_expr &name) {
        rx_error.line = name.line;
        rx_error.column = name.column;
        const rx_symbol &symbol = *name.symbol;
        rx_value scratch;
        const rx_value &value = rx_var_get(symbol, scratch);
        if (&value == &scratch) return take(std::move(scratch));
        rx_var *var = rx_var_find(symbol);
        if (!var || &var->value != &value || !value.is_string() || value.storage != RX_HEAP)
            return take(rx_copy_value(value));
        owner_ = var;
        text = value.text();
    }

    rx_value value_;
    rx_number_buffer buffer_;
    rx_var *owner_ = nullptr; ///< the variable in whose buffer the text lies
    std::optional<rx_pin> pin_;
    size_t argument_ = 0;
};

// ---- assigning ------------------------------------------------------------------------------------------------------

/// The place of the first such byte in a part of a text, or the part's end. Eight bytes are looked at at once as long
/// as the text has them: after the exclusive or the byte is a zero, and the subtraction carries out of the first zero
/// into its highest bit.
[[gnu::always_inline]] inline size_t find_byte(std::string_view text, size_t from, size_t end, char byte) {
    constexpr uint64_t ones = 0x0101010101010101, highest = 0x8080808080808080;
    const uint64_t wanted = ones * static_cast<unsigned char>(byte);
    while (std::endian::native == std::endian::little && from + 8 <= text.size()) {
        uint64_t bytes;
        std::memcpy(&bytes, text.data() + from, 8);
        bytes ^= wanted;
        if (uint64_t zeros = (bytes - ones) & ~bytes & highest)
            return std::min(end, from + static_cast<size_t>(std::countr_zero(zeros)) / 8);
        from += 8;
        if (from >= end) return end;
    }
    while (from < end && text[from] != byte) from++;
    return from;
}

/// Puts a text in a record whose present text isn't worth keeping: in its buffer when that fits without waste. The text
/// may lie in that buffer.
void store_long(rx_value &record, std::string_view text) {
    bool has_buffer = record.is_string() && record.storage == RX_HEAP;
    if (has_buffer && text.size() <= record.heap.capacity && text.size() >= record.heap.capacity / 4) {
        std::memmove(record.heap.data, text.data(), text.size());
        record.heap.data[text.size()] = '\0';
        record.length = static_cast<uint32_t>(text.size());
    } else {
        record = rx_string(text);
    }
}

/// Assigns a part of a text to a variable, in the record itself where it can.
[[gnu::always_inline]] inline void put(rx_var &var, std::string_view text, size_t from, size_t to) {
    rx_value &record = rx_var_assigned(var);
    var.state = RX_SET;
    uint16_t kind_and_storage;
    std::memcpy(&kind_and_storage, &record, sizeof kind_and_storage);
    size_t length = to - from;
    if (kind_and_storage == (RX_HEAP << 8 | RX_STRING) || length > rx_value::inline_capacity) [[unlikely]]
        return store_long(record, std::string_view(text.data() + from, length));
    // The fields of the head in one store, as rx_number does it.
    uint64_t head = uint64_t{length} << 32 | RX_INLINE << 8 | RX_STRING;
    std::memcpy(static_cast<void *>(&record), &head, sizeof head);
    const char *bytes = text.data() + from;
    if (text.size() - from >= sizeof record.bytes) [[likely]] {
        // The record has room for more than the field.
        std::memcpy(record.bytes, bytes, sizeof record.bytes);
        record.bytes[length] = '\0';
    } else {
        rx_short_text field = rx_load_short(bytes, length);
        std::memcpy(record.bytes, &field, sizeof field);
    }
}

/// Where a pattern is found from a place on, or npos; an empty one is nowhere.
[[gnu::always_inline]] inline size_t find(std::string_view text, std::string_view pattern, size_t from) {
    if (pattern.size() != 1) return pattern.empty() ? std::string_view::npos : text.find(pattern, from);
    // Most are near; a call would take longer than to look there.
    size_t near = std::min(from + 32, text.size());
    size_t place = find_byte(text, from, near, pattern[0]);
    if (place < near) [[likely]]
        return place;
    const void *hit = std::memchr(text.data() + near, pattern[0], text.size() - near);
    return hit ? static_cast<size_t>(static_cast<const char *>(hit) - text.data()) : std::string_view::npos;
}

size_t clamp(long long position, size_t size) {
    return static_cast<size_t>(std::clamp(position, 0LL, static_cast<long long>(size)));
}

/// Where the variables in front of a position have to stop. `number` is what it says.
size_t stop_in_front(step cut, long long number, size_t start, size_t size) {
    long long from = static_cast<long long>(start);
    if (cut == step::forward && number != 0) return clamp(from + number, size);
    if (cut == step::position && number > 1 && number - 1 >= from) return clamp(number - 1, size);
    return size;
}

/// Where a position leads from the last one. The result may lie outside the text.
long long place_of(step cut, long long number, long long last_match) {
    if (cut == step::position) return number - 1;
    return cut == step::forward ? last_match + number : last_match - number;
}

// ---- the plain walk -------------------------------------------------------------------------------------------------

/// Notes the entries of all variables; false when one isn't known.
[[gnu::noinline]] bool find_entries(rx_template &made) {
    made.serial = 0;
    for (rx_template_item *item = made.items; item->step != step::end; item++) {
        if (item->step != step::variable) continue;
        item->var = rx_var_met(*item->symbol);
        if (!item->var) return false;
    }
    made.serial = rx_scope->serial;
    return true;
}

bool is_plain(rx_template &made) {
    return made.serial == rx_scope->serial || (made.simple && find_entries(made));
}

/// Walks a template with its entries noted.
[[gnu::noinline]] void walk_plainly(const rx_template_item *item, std::string_view text) {
    size_t start = 0;
    long long last_match = 0;
    for (;;) {
        const rx_template_item *cut = item->cut;
        size_t stop = text.size(), behind = stop;
        if (cut->step == step::pattern) {
            size_t place = find(text, cut->text, start);
            if (place != std::string_view::npos) {
                last_match = static_cast<long long>(place);
                behind = place + cut->text.size();
                stop = place;
            }
        } else if (cut->step != step::end) {
            stop = stop_in_front(cut->step, cut->number, start, text.size());
            last_match = place_of(cut->step, cut->number, last_match);
            behind = clamp(last_match, text.size());
        }
        if (cut != item) {
            for (; item + 1 != cut; item++) {
                while (start < stop && text[start] == ' ') start++;
                size_t end = find_byte(text, start, stop, ' ');
                if (item->var) [[likely]]
                    put(*item->var, text, start, end);
                start = std::min(end + 1, stop);
            }
            if (item->var) [[likely]]
                put(*item->var, text, start, stop);
        }
        if (cut->step == step::end) return;
        start = behind;
        item = cut + 1;
    }
}

[[gnu::noinline]] void fold_fields(const rx_template &made) {
    for (const rx_template_item *item = made.items; item->step != step::end; item++) {
        if (item->var) rx_upper(rx_bytes(item->var->value), item->var->value.length);
    }
}

// ---- the careful walk -----------------------------------------------------------------------------------------------

void assign_field(const rx_template_item &item, std::string_view field, bool upper) {
    const rx_symbol &symbol = *item.symbol;
    if (symbol.bad_name) rx_raise_at(item.token->line, item.token->column, 31);
    rx_value value = rx_string(field);
    if (upper) rx_upper(rx_bytes(value), value.length);
    rx_var_assign(symbol, std::move(value));
}

void trace_field(const rx_template_item &item, std::string_view field, bool upper, int level) {
    if ((rx_settings->trace & (TRACE_I | TRACE_R)) == 0) return;
    if (item.step == step::placeholder) return rx_trace_placeholder(level, field);
    std::string name = item.symbol->whole_stem ? std::string(item.symbol->name) : rx_resolve_name(*item.symbol);
    rx_trace_assignment(level, name, upper ? rx_uppered(field) : std::string(field));
}

struct careful_walk {
    const rx_parse_clause &clause;
    parsed_text &source;
    int level;
    size_t start = 0;         ///< of the next field
    long long last_match = 0; ///< where relative positions count from; may lie outside the text

    size_t size() const { return source.text.size(); }

    /// The value of the variable in parentheses. It is read each time that it is needed, for the template itself may
    /// assign it.
    const rx_value &read(const rx_template_item &cut, rx_value &scratch) {
        rx_error.line = cut.token->line;
        rx_error.column = cut.token->column;
        const rx_value &value = rx_var_get(*cut.symbol, scratch);
        source.settle();
        return value;
    }

    /// The number of a position or a distance.
    long long number_of(const rx_template_item &cut) {
        if (!cut.symbol) return cut.number;
        rx_value scratch, number;
        if (!rx_number_of(read(cut, scratch), number) || !rx_is_whole(number.real) || number.real < 0)
            rx_raise_at(cut.token->line, cut.token->column, 26);
        return static_cast<long long>(std::min(number.real, 1e12));
    }

    /// A pattern, and where it is found from the start of the field on.
    struct match {
        size_t place; ///< npos: nowhere
        size_t length;
    };
    match find_pattern(const rx_template_item &cut) {
        if (cut.step == step::pattern) return {find(source.text, cut.text, start), cut.text.size()};
        rx_value scratch;
        rx_number_buffer buffer;
        std::string_view pattern = rx_arg_text(read(cut, scratch), buffer);
        return {find(source.text, pattern, start), pattern.size()};
    }

    /// Where the variables in front of a cut have to stop.
    size_t find_stop(const rx_template_item &cut) {
        switch (cut.step) {
        case step::pattern:
        case step::pattern_in: return std::min(find_pattern(cut).place, size());
        case step::position:
        case step::forward:
        case step::backward: return stop_in_front(cut.step, number_of(cut), start, size());
        case step::unknown: return find_stop(*(&cut + 1)->cut);
        case step::broken: fail(cut, static_cast<int>(cut.number));
        default: return size();
        }
    }

    /// Gives the variables of a stretch their fields; the start of the next field ends up at the stop.
    void assign(const rx_template_item *item, const rx_template_item *cut, size_t stop) {
        for (; item + 1 != cut; item++) {
            while (start < stop && source.text[start] == ' ') start++;
            size_t end = find_byte(source.text, start, stop, ' ');
            give(*item, source.text.substr(start, end - start));
            start = std::min(end + 1, stop);
        }
        if (cut->step == step::unknown) fail(*cut, 38);
        if (cut->step == step::end) source.let_go();
        give(*item, source.text.substr(start, stop - start));
        start = stop;
    }

    void give(const rx_template_item &item, std::string_view field) {
        bool assigns = item.step != step::placeholder;
        if (level) {
            std::string copy(field);
            if (assigns) assign_field(item, copy, clause.upper);
            trace_field(item, copy, clause.upper, level);
        } else if (assigns) {
            assign_field(item, field, clause.upper);
        }
        source.settle();
    }

    /// Moves the start of the next field behind a cut.
    void pass(const rx_template_item &cut) {
        switch (cut.step) {
        case step::pattern:
        case step::pattern_in: {
            match found = find_pattern(cut);
            if (found.place != std::string_view::npos) {
                last_match = static_cast<long long>(found.place);
                start = found.place + found.length;
            } else {
                start = size();
            }
            return;
        }
        case step::comma:
            if (clause.source != PARSE_ARG) fail(cut, 38, "A comma may be used only within a PARSE ARG instructin");
            source.next_argument();
            last_match = 0;
            break;
        case step::position:
        case step::forward:
        case step::backward: last_match = place_of(cut.step, number_of(cut), last_match); break;
        default: fail(cut, cut.step == step::broken ? static_cast<int>(cut.number) : 38);
        }
        start = clamp(last_match, size());
    }

    [[noreturn]] static void fail(const rx_template_item &item, int error) {
        rx_raise_at(item.token->line, item.token->column, error);
    }
    [[noreturn]] static void fail(const rx_template_item &item, int error, const char *extra) {
        rx_raise_at(item.token->line, item.token->column, error, extra);
    }

    void run() {
        source.hold();
        for (const rx_template_item *item = clause.made->items;;) {
            const rx_template_item *cut = item->cut;
            if (cut != item) assign(item, cut, find_stop(*cut));
            if (cut->step == step::end) return;
            pass(*cut);
            item = cut + 1;
        }
    }
};

[[gnu::noinline]] void parse_in_general(const rx_parse_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    parsed_text source(clause, shown.level);
    if (!clause.made) return;
    if (shown.level || !is_plain(*clause.made)) return careful_walk{clause, source, shown.level}.run();
    walk_plainly(clause.made->items, source.text);
    if (clause.upper) fold_fields(*clause.made);
}

} // namespace

namespace {
const rx_value no_argument = rx_string({});
} // namespace

bool rx_takes_each(const rx_parse_clause &clause) {
    return clause.source == PARSE_ARG && clause.made && clause.made->each;
}

namespace {

/// The variables from an argument on, whatever they hold and lack.
[[gnu::noinline]] void take_with_care(const rx_parse_clause &clause, uint32_t first) {
    const rx_template &made = *clause.made;
    for (uint32_t i = first; i < made.each_count; i++) {
        rx_var &var = rx_var_entry(*made.each[i]);
        rx_put_copy(rx_var_assigned(var), i < rx_routine->arg_count ? rx_routine->args[i].text : no_argument);
        var.state = RX_SET;
        if (clause.upper) rx_upper(rx_bytes(var.value), var.value.length);
    }
}

} // namespace

void rx_take_each(const rx_parse_clause &clause) {
    const rx_template &made = *clause.made;
    if (made.each_count > rx_routine.value.arg_count) return take_with_care(clause, 0);
    for (uint32_t i = 0; i < made.each_count; i++) {
        rx_meaning meaning = rx_scope.value.row[made.each[i]->place];
        rx_var &var = *meaning.var();
        const rx_value &text = rx_routine.value.args[i].text;
        if (!meaning.met() || var.pins || text.storage != RX_INLINE || var.value.storage != RX_INLINE ||
            (clause.upper && !text.carries_number()))
            return take_with_care(clause, i);
        // The whole value, with the number that it carries.
        var.value.copy_words(text);
        var.state = RX_SET;
        var.marks = 0;
    }
}

void rx_parse(const rx_parse_clause &clause) {
    bool traced = (rx_settings->trace & TRACE_CLAUSES) != 0;
    if (!traced && rx_takes_each(clause)) return rx_take_each(clause);
    // What is usual in loops doesn't even look for the text.
    if (clause.plain && !traced) {
        const rx_value *value = rx_var_cached(*clause.operand->symbol);
        bool at_hand = value && value->is_string() && value->storage == RX_HEAP;
        if (at_hand && is_plain(*clause.made)) return walk_plainly(clause.made->items, value->text());
    }
    parse_in_general(clause);
}
