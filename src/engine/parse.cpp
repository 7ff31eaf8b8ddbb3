// PARSE, ARG and PULL: where the text comes from, and the walk of the template.
//
// A template falls into stretches: some variables, then a cut (a pattern, a position, a comma or the end). The cut is
// looked for first; it is where the last variable of the stretch ends. Each variable before the last one takes a
// word of the text in front of it. A relative position counts from the place of the last cut, which for a pattern is
// where it was found, not where the text goes on behind it.
#include "engine/clauses.h"
#include "engine/parse_template.h"
#include "engine/trace.h"
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

/// Reads the template at the clause's first run and keeps its items with the program. Those of an interpreted text,
/// whose tree goes away with it, are put in `own`.
const rx_template_item *read_items(const rx_parse_clause &clause, std::vector<rx_template_item> &own) {
    rx_read_template(clause.template_, own);
    if (rx_walk->interpret_depth || rx_walk->interactive) return own.data();
    auto *kept =
        static_cast<rx_template_item *>((*rx_program_now)->arena.allocate(own.size() * sizeof(rx_template_item)));
    std::uninitialized_copy(own.begin(), own.end(), kept);
    clause.compiled = kept;
    return kept;
}

// ---- the text -------------------------------------------------------------------------------------------------------

std::string word_or_quotes(std::string_view text) {
    return text.empty() ? "\"\"" : std::string(text);
}

/// The line of PARSE SOURCE: system, call type, and the parts of the program's path.
std::string source_line() {
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

std::string numeric_line() {
    return rx_int_text(rx_numeric->digits) + " " + rx_int_text(rx_numeric->fuzz) +
           (rx_numeric->form == 0 ? " SCIENTIFIC" : " ENGINEERING");
}

/// The text that is taken apart. It stays as it is while the template assigns variables, its own one among them.
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
        case PARSE_VAR: lend(clause.operand); break;
        case PARSE_VERSION: text = version; break;
        case PARSE_NUMERIC: take(rx_string(numeric_line())); break;
        }
    }

    /// Moves on to the next argument of the routine; behind the last one there are empty texts.
    void next_argument() {
        text = argument_ < rx_args->count ? rx_args->args[argument_].text.text() : std::string_view();
        argument_++;
    }

    /// To be called when variables were assigned: the text may have moved.
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

    void lend(const rx_expr *name) {
        rx_error.line = name->line;
        rx_error.column = name->column;
        const rx_symbol &symbol = *name->symbol;
        if (rx_var_cached(symbol) && !symbol.environment) return lend(*symbol.var);
        rx_value scratch;
        const rx_value &value = rx_var_get(symbol, scratch);
        if (&value == &scratch) return take(std::move(scratch));
        rx_var *var = rx_var_find(symbol);
        if (var && &var->value == &value) return lend(*var);
        take(rx_copy_value(value));
    }

    /// A text in a buffer of its own stays there while the variable is pinned, any other is copied.
    void lend(rx_var &var) {
        if (!var.value.is_string() || var.value.storage != RX_HEAP) return take(rx_copy_value(var.value));
        pin_.emplace(var);
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

/// The same; `readable` is the number of bytes from the text's start to the end of what it is a part of.
[[gnu::always_inline]] inline void store_text(rx_value &record, std::string_view text, size_t readable) {
    bool has_buffer = record.is_string() && record.storage == RX_HEAP;
    if (has_buffer || text.size() > rx_value::inline_capacity) [[unlikely]]
        return store_long(record, text);
    record.kind = RX_STRING;
    record.storage = RX_INLINE;
    record.rounded = 0;
    record.length = static_cast<uint32_t>(text.size());
    copy_short(record.bytes, text.data(), text.size(), readable);
    record.bytes[text.size()] = '\0';
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
    bool watched = level != 0 || clause.upper; ///< more is to be done for a field than to store it
    size_t start = 0;                          ///< of the next field
    bool found = false;                        ///< a pattern that is written out was found at the stop
    long long last_match = 0;                  ///< where relative positions count from; may lie outside the text

    size_t size() const { return source.text.size(); }

    size_t clamp(long long position) const {
        return static_cast<size_t>(std::clamp(position, 0LL, static_cast<long long>(size())));
    }

    /// The text of a pattern. One that a variable gives is read each time that it is needed, for the template itself
    /// may assign it.
    std::string_view pattern_of(const rx_template_item &cut, rx_value &scratch, rx_number_buffer &buffer) {
        if (!cut.symbol) return cut.text;
        return rx_arg_text(read(cut, scratch), buffer);
    }

    /// The number of a position or a distance.
    long long number_of(const rx_template_item &cut) {
        if (!cut.symbol) return cut.number;
        rx_value scratch, number;
        if (!rx_number_of(read(cut, scratch), number) || !rx_is_whole(number.real) || number.real < 0)
            rx_raise_at(cut.token->line, cut.token->column, 26);
        return static_cast<long long>(std::min(number.real, 1e12));
    }

    const rx_value &read(const rx_template_item &cut, rx_value &scratch) {
        rx_error.line = cut.token->line;
        rx_error.column = cut.token->column;
        const rx_value &value = rx_var_get(*cut.symbol, scratch);
        source.settle();
        return value;
    }

    /// Where a pattern is found from the start of the field on, or npos; an empty one is nowhere.
    size_t find(std::string_view pattern) const {
        if (pattern.empty() || start >= size()) return std::string_view::npos;
        if (pattern.size() > 1) return source.text.find(pattern, start);
        const void *hit = std::memchr(source.text.data() + start, pattern[0], size() - start);
        return hit ? static_cast<size_t>(static_cast<const char *>(hit) - source.text.data()) : std::string_view::npos;
    }

    /// Looks for a pattern from the start of the field on; the end of the text when there is none.
    size_t find_pattern(const rx_template_item &cut) {
        size_t place;
        if (!cut.symbol) {
            place = find(cut.text);
            found = place != std::string_view::npos;
        } else {
            rx_value scratch;
            rx_number_buffer buffer;
            place = find(pattern_of(cut, scratch, buffer));
        }
        return std::min(place, size());
    }

    /// Where the variables in front of a cut have to stop.
    size_t find_stop(const rx_template_item &cut) {
        long long stop = static_cast<long long>(size());
        switch (cut.step) {
        case step::pattern: return find_pattern(cut);
        case step::forward:
            if (long long distance = number_of(cut)) stop = static_cast<long long>(start) + distance;
            break;
        case step::backward: number_of(cut); break;
        case step::position:
            if (long long position = number_of(cut) - 1; position > 0 && position >= static_cast<long long>(start))
                stop = position;
            break;
        case step::broken: fail(cut, static_cast<int>(cut.number));
        default: break;
        }
        return clamp(stop);
    }

    /// Gives the variables of a stretch their fields; the start of the next field ends up at the stop.
    void assign(const rx_template_item *item, const rx_template_item *cut, size_t stop) {
        // What is stored may lie anywhere, for all the compiler knows: members would be read again after each field.
        std::string_view text = source.text;
        size_t at = start;
        start = stop;
        for (const rx_template_item *last = cut - 1; item != last; item++) {
            while (at < stop && text[at] == ' ') at++;
            size_t end = find_blank(text, at, stop);
            put(*item, text, at, end);
            at = std::min(end + 1, stop);
        }
        if (cut->step == step::unknown) fail(*cut, 38);
        if (cut->step == step::end) source.let_go();
        put(*item, text, at, stop);
    }

    /// Gives a variable its field of the text. Nearly always its entry is at hand and nothing watches.
    [[gnu::always_inline]] void put(const rx_template_item &item, std::string_view &text, size_t from, size_t to) {
        const rx_symbol *symbol = item.symbol;
        rx_var *var = symbol->var;
        std::string_view field(text.data() + from, to - from);
        bool special =
            item.step != step::variable || watched || symbol->serial != rx_scope->serial || !var || var->pins;
        if (special) [[unlikely]] {
            put_special(item, field);
            text = source.text;
            return;
        }
        var->generation++;
        var->state = RX_SET;
        store_text(var->value, field, text.size() - from);
    }

    void put_special(const rx_template_item &item, std::string_view field) {
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

    void pass_pattern(const rx_template_item &cut) {
        rx_value scratch;
        rx_number_buffer buffer;
        std::string_view pattern = pattern_of(cut, scratch, buffer);
        size_t place = found ? start : find(pattern);
        found = false;
        if (place == std::string_view::npos) {
            start = size();
        } else {
            last_match = static_cast<long long>(place);
            start = place + pattern.size();
        }
    }

    /// Moves the start of the next field behind a cut.
    void pass(const rx_template_item &cut) {
        switch (cut.step) {
        case step::pattern: return pass_pattern(cut);
        case step::forward: last_match += number_of(cut); break;
        case step::backward: last_match -= number_of(cut); break;
        case step::position: last_match = number_of(cut) - 1; break;
        case step::comma:
            if (clause.source != PARSE_ARG) fail(cut, 38, "A comma may be used only within a PARSE ARG instructin");
            source.next_argument();
            last_match = 0;
            break;
        case step::unknown: fail(cut, 38);
        case step::broken: fail(cut, static_cast<int>(cut.number));
        default: return;
        }
        start = clamp(last_match);
    }

    [[noreturn]] static void fail(const rx_template_item &item, int error) {
        rx_raise_at(item.token->line, item.token->column, error);
    }
    [[noreturn]] static void fail(const rx_template_item &item, int error, const char *extra) {
        rx_raise_at(item.token->line, item.token->column, error, extra);
    }

    void run(const rx_template_item *item) {
        for (;;) {
            const rx_template_item *cut = item + item->targets;
            if (cut != item) assign(item, cut, find_stop(*cut));
            if (cut->step == step::end) return;
            pass(*cut);
            item = cut + 1;
        }
    }
};

} // namespace

void rx_parse(const rx_parse_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    parsed_text source(clause, shown.level);
    if (!clause.template_) return;
    template_walk walk{.clause = clause, .source = source, .level = shown.level};
    if (clause.compiled) [[likely]]
        return walk.run(static_cast<const rx_template_item *>(clause.compiled));
    std::vector<rx_template_item> own;
    walk.run(read_items(clause, own));
}
