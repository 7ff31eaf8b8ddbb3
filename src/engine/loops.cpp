// DO in all its forms. Every form is a record with its own end test and step; `run_rounds` goes round.
#include "engine/clauses.h"
#include "engine/control.h"
#include "engine/trace.h"
#include "values/arithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

/// The words for what WHILE and UNTIL say.
struct loop_words {
    rx_condition_words while_words, until_words;
};
constexpr loop_words plain_words{rx_plain_condition, rx_plain_condition};
constexpr loop_words forever_words{{"WHILE expression evaluates to ", ""}, {"UNTIL expression evaluates to ", ""}};
constexpr loop_words controlled_words{{"WHILE expression evaluates to \"", "\""},
                                      {"UNTIL expression evaluates to \"", "\""}};

bool tracing_clauses() {
    return (rx_settings->trace & TRACE_CLAUSES) != 0;
}

/// Goes round. `more` is the loop's own end test, called ahead of each round; `body` runs the clauses; `step` prepares
/// the next round.
/// `show_first` tells that the DO line is shown a second time in the first round instead of in the later ones.
template <class More, class Body, class Step>
[[gnu::always_inline]] inline rx_flow run_rounds(const rx_do_clause &loop, int level, const loop_words &words,
                                                 bool show_first, More more, Body body, Step step) {
    for (bool first = true;; first = false) {
        if (level && first == show_first) [[unlikely]]
            level = rx_trace_line(loop.line);
        if (!more()) return rx_flow::next;
        if (loop.cond_kind == DO_WHILE && !rx_condition_holds(loop.cond, level, words.while_words))
            return rx_flow::next;
        rx_flow flow = body();
        if (flow != rx_flow::next) [[unlikely]] {
            if (flow == rx_flow::leave && rx_is_of_loop(loop)) return rx_flow::next;
            if (flow != rx_flow::iterate || !rx_is_of_loop(loop)) return flow;
        }
        if (loop.cond_kind == DO_UNTIL && rx_condition_holds(loop.cond, level, words.until_words)) return rx_flow::next;
        if (tracing_clauses()) [[unlikely]]
            level = rx_trace_line(loop.end_line);
        step();
        // A round without a clause, or one that ITERATE ended, hasn't come to the poll between clauses.
        if (flow != rx_flow::next || !loop.body->clause) [[unlikely]]
            rx_poll_between_clauses();
    }
}

/// "Expression evaluates to " and the value, at the expression.
[[noreturn]] void refuse_number(const rx_expr *expr, const rx_value &value, const char *quote) {
    rx_number_buffer buffer;
    std::string message = std::string("Expression evaluates to ") + quote;
    message.append(rx_arg_text(value, buffer)).append(quote);
    rx_raise_at(expr->line, expr->column, 26, std::move(message));
}

/// A count: rounded at NUMERIC DIGITS, whole and not negative.
double count_of(const rx_expr *expr, int level, const char *quote) {
    rx_value value = do_exec(expr, level), number;
    if (level) {
        rx_number_buffer buffer;
        rx_trace_result(level, rx_arg_text(value, buffer));
    }
    if (!rx_number_of(value, number)) refuse_number(expr, value, quote);
    double count = rx_round_digits(number.real, rx_numeric->digits);
    if (!(count >= 0) || !rx_is_whole(count)) refuse_number(expr, number, quote);
    return count;
}

/// The body for this round, and for the next ones as long as nothing else happens.
rx_flow run_counted(const rx_do_clause &loop, int level, double &round, double count) {
    bool plain = loop.cond_kind == DO_NO_CONDITION && !level && loop.body->clause;
    return plain ? rx_run_counted_rounds(loop, round, count) : rx_run_clauses(loop.body);
}

rx_flow do_count(const rx_do_clause &loop, int level) {
    double count = count_of(loop.expr, level, "");
    double round = 0;
    return run_rounds(
        loop, level, plain_words, false, [&] { return round < count; },
        [&] { return run_counted(loop, level, round, count); }, [&] { round++; });
}

rx_flow do_forever(const rx_do_clause &loop, int level) {
    double round = 0;
    return run_rounds(
        loop, level, forever_words, false, [] { return true; },
        [&] { return run_counted(loop, level, round, HUGE_VAL); }, [] {});
}

/// A control variable is assigned like any other.
void check_control(const rx_do_clause &loop) {
    if (loop.control->symbol->bad_name) rx_raise_at(loop.control->line, loop.control->column, 31);
}

rx_flow do_words(const rx_do_clause &loop, int level) {
    rx_value text = rx_to_string(do_exec(loop.expr, level));
    if (level) rx_trace_result(level, text.text());
    std::string_view left = text.text();
    constexpr std::string_view separators = " \t\n";
    auto next_word = [&] {
        size_t start = left.find_first_not_of(separators);
        if (start == std::string_view::npos) return false;
        check_control(loop);
        left.remove_prefix(start);
        size_t end = std::min(left.find_first_of(separators), left.size());
        rx_var_assign(*loop.control->symbol, rx_string(left.substr(0, end)));
        left.remove_prefix(end);
        return true;
    };
    return run_rounds(
        loop, level, plain_words, true, next_word, [&] { return rx_run_clauses(loop.body); }, [] {});
}

// ---- the controlled loop -------------------------------------------------------------------------------------------

/// A loop marks its variable as long as it lasts. When it ends the mark goes, so that a loop around it, of the same
/// variable, notices that it was there.
struct controlled {
    const rx_do_clause &loop;
    int level;
    double current = 0; ///< the value that the loop keeps
    double by = 1, to = 0, rounds_left = 0;
    bool has_to = false, has_for = false;
    rx_var *entry = nullptr; ///< of a simple control variable
    uint64_t serial = 0;     ///< of the scope in which the entry was found
    bool swift = false;      ///< the variable is simple, and the kept value and the step are whole

    controlled(const rx_do_clause &clause, int trace_level) : loop(clause), level(trace_level) {}
    controlled(const controlled &) = delete;
    controlled &operator=(const controlled &) = delete;
    ~controlled() { let_go(); }

    void let_go() {
        if (entry) entry->marks &= static_cast<uint8_t>(~RX_CONTROLLED);
    }
};

/// A whole number of at most this size is spelled with nine digits, and so is the next one.
constexpr double longest_swift = 1e8;

const rx_symbol &control_of(const controlled &state) {
    return *state.loop.control->symbol;
}

[[noreturn]] void refuse_control(const controlled &state, const rx_value &value, int number) {
    rx_number_buffer buffer;
    std::string message = "The control variable ";
    message.append(state.loop.control->text).append(" evaluates to \"").append(rx_arg_text(value, buffer)).append("\"");
    rx_raise_at(state.loop.line, 0, number, std::move(message));
}

/// The start value goes into the variable as its text with 15 digits, and comes back as a number.
rx_value start_value(double start) {
    if (rx_is_whole(start) && std::fabs(start) < 1e15 && !(start == 0 && std::signbit(start)))
        return rx_number(start, 0, 1);
    char text[64];
    std::snprintf(text, sizeof text, "%.15g", start);
    rx_value value = rx_string(text);
    rx_is_number(value);
    return value;
}

void remember(controlled &state) {
    rx_var *var = control_of(state).compound() ? nullptr : rx_var_find(control_of(state));
    if (state.entry != var) state.let_go();
    state.entry = var;
    if (var) var->marks |= RX_CONTROLLED;
    state.serial = rx_scope->serial;
    state.swift = var && rx_is_whole(state.current) && rx_is_whole(state.by);
}

/// The number of what a loop begins with or ends at, where nothing has to run or to be shown for it. False: it has to be
/// evaluated.
inline bool number_at_hand(const rx_expr *expr, int level, double &number) {
    if (level) return false;
    rx_error.line = expr->line;
    rx_error.column = expr->column;
    if (rx_plain plain; rx_try_quick(expr, plain)) {
        number = plain.real;
        return true;
    }
    const rx_value *value = nullptr;
    if (expr->type == STRING) value = expr->literal->number;
    if (expr->type == SYMBOL) value = rx_var_cached(*expr->symbol);
    if (value && value->is_number())
        number = value->real;
    else if (value && value->carries_number())
        number = value->carried.number;
    else
        return false;
    return true;
}

/// Rounded at NUMERIC DIGITS.
inline double rounded(double number) {
    // A short whole number stays as it is.
    if (rx_numeric.value.digits >= 9 && std::fabs(number) <= longest_swift && rx_is_whole(number)) [[likely]]
        return number;
    return rx_round_digits(number, rx_numeric->digits);
}

void evaluate_phrase(controlled &state, rx_do_phrase phrase) {
    const rx_do_clause &loop = state.loop;
    if (phrase == DO_FOR) {
        state.rounds_left = count_of(loop.for_, state.level, "\"");
        state.has_for = true;
        return;
    }
    const rx_expr *expr = phrase == DO_TO ? loop.to : loop.by;
    double bound;
    if (!number_at_hand(expr, state.level, bound)) {
        rx_value value = do_exec(expr, state.level), number;
        if (state.level) {
            rx_number_buffer buffer;
            rx_trace_result(state.level, rx_arg_text(value, buffer));
        }
        if (!rx_number_of(value, number)) refuse_number(expr, value, "\"");
        bound = number.real;
    }
    if (phrase == DO_TO) {
        state.to = bound;
        state.has_to = true;
    } else {
        state.by = rounded(bound);
    }
}

void begin(controlled &state) {
    const rx_do_clause &loop = state.loop;
    double start;
    if (!number_at_hand(loop.expr, state.level, start)) {
        rx_value value = do_exec(loop.expr, state.level), number;
        if (!rx_number_of(value, number)) refuse_control(state, value, 26);
        start = number.real;
    }
    for (rx_do_phrase phrase : loop.order) {
        if (phrase != DO_NO_PHRASE) evaluate_phrase(state, phrase);
    }
    check_control(loop);
    rx_value value = start_value(start);
    if (state.level) {
        rx_number_buffer buffer;
        rx_trace_assignment(state.level, rx_resolve_name(control_of(state)), rx_arg_text(value, buffer));
    }
    rx_var_assign(control_of(state), std::move(value));
    state.current = rounded(start);
    remember(state);
}

bool has_more(controlled &state) {
    // A step of 0 never gets anywhere, so it isn't ended by TO.
    if (state.has_to && state.by != 0 && (state.by > 0 ? state.current > state.to : state.to > state.current))
        return false;
    if (state.has_for && state.rounds_left-- == 0) return false;
    return true;
}

/// A value that reaches NUMERIC DIGITS is what its text says; below that, binary error may gather behind the text.
double guarded(double value) {
    int digits = rx_numeric->digits;
    if (digits >= 15 || value == 0) return value;
    double limit = rx_tens(digits - 1);
    double size = std::fabs(value);
    if (digits > 1 && size <= limit) [[likely]]
        return value;
    if (rx_is_whole(value) && size < limit * 10) return value;
    rx_number_buffer buffer;
    double read;
    return rx_scan_number(rx_number_text(value, digits, buffer), read) ? read : value;
}

/// True when the body has left the variable alone.
bool is_untouched(const controlled &state) {
    const rx_var *var = state.entry;
    return var && var->state == RX_SET && var->marks & RX_CONTROLLED;
}

/// The step where the variable is no plain number that the body left alone, or where the value grows long.
[[gnu::noinline]] void step_with_care(controlled &state) {
    rx_var *var = state.entry;
    if (!is_untouched(state)) {
        rx_value scratch, number;
        const rx_value &value = rx_var_get(control_of(state), scratch);
        if (!rx_number_of(value, number)) refuse_control(state, value, 41);
        state.current = rx_round_digits(number.real, rx_numeric->digits);
        remember(state);
        var = state.entry;
    }
    state.current = guarded(state.current + state.by);
    state.swift = state.swift && rx_is_whole(state.current);
    if (!var || var->state != RX_SET) {
        char text[32];
        std::snprintf(text, sizeof text, "%g", state.current);
        rx_var_assign(control_of(state), rx_string(text));
    } else {
        rx_value &record = rx_var_writable(*var);
        if (!record.is_number()) record = rx_number(0);
        rx_put_plain(record, {state.current, rx_plain_head(0, rx_is_whole(state.current) ? 1 : 0)});
        var->marks |= RX_CONTROLLED;
    }
}

/// While the variable holds the kept value as a plain whole number, it is of no interest whether it was assigned. (A
/// PROCEDURE in the body gives its name to another one.)
inline void step(controlled &state) {
    double next = state.current + state.by;
    if (state.swift && state.serial == rx_scope.value.serial && rx_head_of(state.entry->value) == rx_whole_head &&
        state.entry->value.real == state.current && std::fabs(next) <= longest_swift && rx_numeric.value.digits >= 9)
        [[likely]] {
        state.entry->value.real = state.current = next;
    } else {
        step_with_care(state);
    }
    if (state.level) [[unlikely]] {
        rx_number_buffer buffer;
        rx_trace_assignment(state.level, rx_resolve_name(control_of(state)), rx_number_text(state.current, 0, buffer));
    }
}

/// The body for this round, and for the next ones as long as they can be had the short way.
rx_flow run_body(controlled &state) {
    const rx_do_clause &loop = state.loop;
    if (!state.swift || state.serial != rx_scope->serial || state.by == 0 || state.has_for || state.level ||
        loop.cond_kind != DO_NO_CONDITION || !loop.body->clause)
        return rx_run_clauses(loop.body);
    bool up = state.by > 0;
    double bound = up ? longest_swift : -longest_swift;
    if (state.has_to) bound = up ? std::min(bound, state.to) : std::max(bound, state.to);
    if (up ? state.current > bound : state.current < bound) return rx_run_clauses(loop.body);
    rx_swift_rounds rounds{
        .loop = &loop, .control = state.entry, .current = state.current, .by = state.by, .up = up, .bound = bound};
    rx_flow flow = rx_run_swift_rounds(loop.body, rounds);
    state.current = rounds.current;
    return flow;
}

rx_flow do_controlled(const rx_do_clause &loop, int level) {
    controlled state(loop, level);
    begin(state);
    return run_rounds(
        loop, level, controlled_words, false, [&] { return has_more(state); }, [&] { return run_body(state); },
        [&] { step(state); });
}

} // namespace

[[gnu::noinline]] rx_flow rx_do(const rx_do_clause &loop) {
    rx_shown shown = rx_show_clause(&loop);
    if (shown.skip) {
        rx_flow flow = rx_run_clauses(loop.body);
        rx_trace_line(loop.end_line);
        return flow;
    }
    switch (loop.form) {
    case DO_COUNT: return do_count(loop, shown.level);
    case DO_FOREVER: return do_forever(loop, shown.level);
    case DO_CONTROLLED: return do_controlled(loop, shown.level);
    case DO_WORDS: return do_words(loop, shown.level);
    case DO_PLAIN: break;
    }
    if (loop.cond_kind != DO_NO_CONDITION) return do_forever(loop, shown.level);
    rx_flow flow = rx_run_clauses(loop.body);
    if (flow == rx_flow::next && tracing_clauses()) rx_trace_line(loop.end_line);
    return flow;
}
