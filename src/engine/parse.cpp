// PARSE, ARG and PULL: where the text comes from, and the walk of the template.
//
// A template falls into stretches: some variables, then a cut (a pattern, a position, a comma or the end). The cut is
// looked for first; it is where the last variable of the stretch ends. Each variable before the last one takes a
// word of the text in front of it. A relative position counts from the place of the last cut, which for a pattern is
// where it was found, not where the text goes on behind it.
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

// ---- the template ---------------------------------------------------------------------------------------------------

/// Notes the entry of a variable if its symbol knows it.
void note_entry(const rx_template &made, rx_template_item &item) {
    bool known = item.step == step::variable && item.symbol->serial == made.serial;
    item.var = known ? item.symbol->var : nullptr;
}

/// Notes the entries of all variables. A walk that does more for each field than to store it (TRACE, UPPER) is `watched`
/// and goes without them.
[[gnu::noinline]] void find_entries(rx_template &made, bool watched) {
    made.serial = watched ? 0 : rx_scope->serial;
    for (rx_template_item *item = made.items; item->step != step::end; item++) note_entry(made, *item);
}

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
/// text of a variable is used where it stands, and pinned before anything could happen to it.
struct parsed_text {
    std::string_view text;
    rx_var *owner = nullptr; ///< the variable whose buffer holds the text

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
        text = argument_ < rx_args->count ? rx_args->args[argument_].text.text() : std::string_view();
        argument_++;
    }

    /// To be called before anything is done by which the owner may lose the text.
    void hold() {
        if (owner && !pin_) pin_.emplace(*owner);
    }

    /// To be called behind that: the text may have moved.
    void settle() {
        if (pin_ && !pin_->untouched()) text = pin_->value().text();
    }

    /// Gives up the claim on the owner: its last use may overwrite the text where it stands.
    void let_go() {
        owner = nullptr;
        if (pin_ && pin_->untouched()) pin_.reset();
    }

private:
    [[gnu::noinline]] void take(rx_value &&value) {
        value_ = std::move(value);
        text = rx_arg_text(value_, buffer_);
    }

    [[gnu::always_inline]] void lend(const rx_expr &name) {
        rx_error.line = name.line;
        rx_error.column = name.column;
        const rx_symbol &symbol = *name.symbol;
        if (rx_var_cached(symbol) && !symbol.environment) [[likely]]
            lend(*symbol.var);
        else
            lend_uncached(symbol);
    }

    [[gnu::noinline]] void lend_uncached(const rx_symbol &symbol) {
        rx_value scratch;
        const rx_value &value = rx_var_get(symbol, scratch);
        if (&value == &scratch) return take(std::move(scratch));
        rx_var *var = rx_var_find(symbol);
        if (var && &var->value == &value) return lend(*var);
        take(rx_copy_value(value));
    }

    /// A text in a buffer of its own is used there, any other is copied.
    [[gnu::always_inline]] void lend(rx_var &var) {
        if (!var.value.is_string() || var.value.storage != RX_HEAP) return take(rx_copy_value(var.value));
        owner = &var;
        text = var.value.text();
    }

    rx_value value_;
    rx_number_buffer buffer_;
    std::optional<rx_pin> pin_;
    size_t argument_ = 0;
};

// ---- assigning ------------------------------------------------------------------------------------------------------

/// Copies a short text; an ordinary call would take longer than the copy. Where `readable` bytes can be read from the
/// text on, 16 are taken at once: the record has room for them.
[[gnu::always_inline]] inline void copy_short(char *to, const char *from, size_t length, size_t readable) {
    if (readable >= 16) [[likely]] {
        uint64_t first, second;
        std::memcpy(&first, from, 8);
        std::memcpy(&second, from + 8, 8);
        std::memcpy(to, &first, 8);
        std::memcpy(to + 8, &second, 8);
    } else if (length >= 8) {
        uint64_t head, tail;
        std::memcpy(&head, from, 8);
        std::memcpy(&tail, from + length - 8, 8);
        std::memcpy(to, &head, 8);
        std::memcpy(to + length - 8, &tail, 8);
    } else if (length >= 4) {
        uint32_t head, tail;
        std::memcpy(&head, from, 4);
        std::memcpy(&tail, from + length - 4, 4);
        std::memcpy(to, &head, 4);
        std::memcpy(to + length - 4, &tail, 4);
    } else {
        for (size_t i = 0; i < length; i++) to[i] = from[i];
    }
}

/// The place of the first blank in a part of a text, or the part's end. Eight bytes are looked at at once as long as
/// the text has them: after the exclusive or a blank is a zero byte, and the subtraction carries out of the first zero
/// into its highest bit.
[[gnu::always_inline]] inline size_t find_blank(std::string_view text, size_t from, size_t end) {
    constexpr uint64_t blanks = 0x2020202020202020, ones = 0x0101010101010101, highest = 0x8080808080808080;
    while (std::endian::native == std::endian::little && from + 8 <= text.size()) {
        uint64_t bytes;
        std::memcpy(&bytes, text.data() + from, 8);
        bytes ^= blanks;
        if (uint64_t zeros = (bytes - ones) & ~bytes & highest)
            return std::min(end, from + static_cast<size_t>(std::countr_zero(zeros)) / 8);
        from += 8;
        if (from >= end) return end;
    }
    while (from < end && text[from] != ' ') from++;
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

/// Puts a part of a text in the entry of a variable, in the record itself where it can. False when that takes more: the
/// entry isn't known, or somebody has a view on its value.
[[gnu::always_inline]] inline bool put(rx_var *var, std::string_view text, size_t from, size_t to) {
    if (!var || var->pins) [[unlikely]]
        return false;
    var->generation++;
    var->remembered = false;
    var->state = RX_SET;
    rx_value &record = var->value;
    uint16_t kind_and_storage;
    std::memcpy(&kind_and_storage, &record, sizeof kind_and_storage);
    size_t length = to - from;
    if (kind_and_storage == (RX_HEAP << 8 | RX_STRING) || length > rx_value::inline_capacity) [[unlikely]] {
        store_long(record, std::string_view(text.data() + from, length));
        return true;
    }
    // The fields of the head in one store, as rx_number does it.
    uint64_t head = uint64_t{length} << 32 | RX_INLINE << 8 | RX_STRING;
    std::memcpy(static_cast<void *>(&record), &head, sizeof head);
    copy_short(record.bytes, text.data() + from, length, text.size() - from);
    record.bytes[length] = '\0';
    return true;
}

/// Where a pattern is found from a place on, or npos; an empty one is nowhere.
[[gnu::always_inline]] inline size_t find(std::string_view text, std::string_view pattern, size_t from) {
    if (pattern.empty() || from >= text.size()) return std::string_view::npos;
    if (pattern.size() > 1) return text.find(pattern, from);
    const void *hit = std::memchr(text.data() + from, pattern[0], text.size() - from);
    return hit ? static_cast<size_t>(static_cast<const char *>(hit) - text.data()) : std::string_view::npos;
}

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

// ---- the walk -------------------------------------------------------------------------------------------------------

struct template_walk {
    const rx_parse_clause &clause;
    parsed_text &source;
    int level;
    long long last_match = 0; ///< where relative positions count from; may lie outside the text

    size_t size() const { return source.text.size(); }

    size_t clamp(long long position) const {
        return static_cast<size_t>(std::clamp(position, 0LL, static_cast<long long>(size())));
    }

    /// The value of the variable in parentheses. It is read each time that it is needed, for the template itself may
    /// assign it.
    const rx_value &read(const rx_template_item &cut, rx_value &scratch) {
        rx_error.line = cut.token->line;
        rx_error.column = cut.token->column;
        source.hold();
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

    /// A pattern, and where it is found.
    struct match {
        size_t place; ///< npos: nowhere
        size_t length;
    };
    match find_variable(const rx_template_item &cut, size_t start) {
        rx_value scratch;
        rx_number_buffer buffer;
        std::string_view pattern = rx_arg_text(read(cut, scratch), buffer);
        return {find(source.text, pattern, start), pattern.size()};
    }

    /// Where the variables in front of a cut have to stop.
    [[gnu::noinline]] size_t find_stop(const rx_template_item &cut, size_t start) {
        long long stop = static_cast<long long>(size());
        switch (cut.step) {
        case step::pattern_in: return std::min(find_variable(cut, start).place, size());
        case step::forward:
            if (long long distance = number_of(cut)) stop = static_cast<long long>(start) + distance;
            break;
        case step::backward: number_of(cut); break;
        case step::position:
            if (long long position = number_of(cut) - 1; position > 0 && position >= static_cast<long long>(start))
                stop = position;
            break;
        case step::unknown: return find_stop(*(&cut + 1)->cut, start);
        case step::broken: fail(cut, static_cast<int>(cut.number));
        default: break;
        }
        return clamp(stop);
    }

    /// Gives a variable its field in the long way and notes its entry for the next time. The text, which may have moved.
    [[gnu::noinline]] std::string_view put_special(rx_template_item &item, size_t from, size_t to) {
        if (item.step == step::placeholder && !level) return source.text;
        source.hold();
        std::string_view field = source.text.substr(from, to - from);
        if (level) {
            std::string copy(field);
            if (item.step != step::placeholder) assign_field(item, copy, clause.upper);
            trace_field(item, copy, clause.upper, level);
        } else {
            assign_field(item, field, clause.upper);
            if (!clause.upper) note_entry(*clause.made, item);
        }
        source.settle();
        return source.text;
    }

    /// Where the next field starts behind a cut that isn't a pattern written out.
    [[gnu::noinline]] size_t pass(const rx_template_item &cut, size_t start) {
        switch (cut.step) {
        case step::pattern_in: {
            match found = find_variable(cut, start);
            if (found.place == std::string_view::npos) return size();
            last_match = static_cast<long long>(found.place);
            return found.place + found.length;
        }
        case step::forward: last_match += number_of(cut); break;
        case step::backward: last_match -= number_of(cut); break;
        case step::position: last_match = number_of(cut) - 1; break;
        case step::comma:
            if (clause.source != PARSE_ARG) fail(cut, 38, "A comma may be used only within a PARSE ARG instructin");
            source.next_argument();
            last_match = 0;
            break;
        default: fail(cut, cut.step == step::broken ? static_cast<int>(cut.number) : 38);
        }
        return clamp(last_match);
    }

    [[noreturn]] static void fail(const rx_template_item &item, int error) {
        rx_raise_at(item.token->line, item.token->column, error);
    }
    [[noreturn]] static void fail(const rx_template_item &item, int error, const char *extra) {
        rx_raise_at(item.token->line, item.token->column, error, extra);
    }

    // What is stored may lie anywhere, for all the compiler knows: what the loops work with is kept in locals.
    [[gnu::always_inline]] void run() {
        rx_template &made = *clause.made;
        const bool watched = level != 0 || clause.upper;
        if (watched) made.serial = 0;
        std::string_view text = source.text;
        size_t start = 0;
        for (rx_template_item *item = made.items;;) {
            rx_template_item *cut = item->cut;
            size_t stop = text.size(), behind = stop;
            if (cut->step == step::pattern) [[likely]] {
                size_t place = find(text, cut->text, start);
                if (place != std::string_view::npos) {
                    last_match = static_cast<long long>(place);
                    behind = place + cut->text.size();
                    stop = place;
                }
            } else if (cut->step != step::end && cut != item) {
                stop = find_stop(*cut, start);
                text = source.text;
            }
            if (cut != item) {
                if (made.serial != rx_scope->serial) [[unlikely]]
                    find_entries(made, watched);
                for (; item + 1 != cut; item++) {
                    while (start < stop && text[start] == ' ') start++;
                    size_t end = find_blank(text, start, stop);
                    if (!put(item->var, text, start, end)) [[unlikely]]
                        text = put_special(*item, start, end);
                    start = std::min(end + 1, stop);
                }
                if (cut->step >= step::end) {
                    if (cut->step == step::unknown) fail(*cut, 38);
                    source.let_go();
                }
                if (!put(item->var, text, start, stop)) [[unlikely]]
                    text = put_special(*item, start, stop);
                start = stop;
            }
            if (cut->step == step::pattern) [[likely]] {
                start = behind;
            } else {
                if (cut->step == step::end) return;
                start = pass(*cut, start);
                text = source.text;
            }
            item = cut + 1;
        }
    }
};

} // namespace

// Out of line: the frame of the walk through the clauses has to stay small.
[[gnu::noinline]] void rx_parse(const rx_parse_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    parsed_text source(clause, shown.level);
    if (!clause.made) return;
    template_walk{.clause = clause, .source = source, .level = shown.level}.run();
}
