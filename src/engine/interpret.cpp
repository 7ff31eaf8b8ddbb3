// INTERPRET, and the running of text as a fragment of the program, which the trace prompt uses as well.
#include "engine/clauses.h"
#include "engine/trace.h"
#include "front/parse.h"
#include "front/report.h"
#include "front/scan.h"

namespace {

/// The text in force and the nesting, which a signal changes, put back however the fragment ends.
struct fragment_state {
    const std::string_view *outer_text = rx_routine->interpreted;
    int nesting = rx_routine->nesting;

    explicit fragment_state(const std::string_view *text) { rx_routine->interpreted = text; }
    ~fragment_state() { end(); }
    void end() {
        rx_routine->interpreted = outer_text;
        rx_routine->nesting = nesting;
    }
};

bool syntax_trapped() {
    return rx_settings->traps[RX_SYNTAX] == RX_TRAP_SIGNAL;
}

} // namespace

bool rx_run_fragment(std::string_view text, rx_flow &flow) {
    rx_check_stack();
    rx_arena arena;
    rx_scan_result scanned = lex(text, arena);
    if (scanned.error) {
        (*rx_program_now)->spoiled = true;
        rx_error.number = scanned.error;
        rx_error.has_extra = false;
        rx_report_interpreted(text, scanned.error_line, scanned.error_column, syntax_trapped());
        rx_change_condition_text() = text;
        return false;
    }
    // Labels of a fragment are entered in a table of their own, which nobody asks.
    rx_label_table labels;
    rx_clause_cell *head;
    rx_error.number = 55;
    try {
        head = rx_parse_tokens(scanned.tokens, {arena, labels, nullptr});
    } catch (const rx_jmp_parse &) {
        (*rx_program_now)->spoiled = true;
        rx_report_interpreted(text, rx_error.line, rx_error.column, syntax_trapped());
        return false;
    }
    fragment_state state(&text);
    try {
        flow = rx_run_block(head);
    } catch (const rx_jmp_syntax &) {
        state.end();
        if (rx_raised_in_interpret)
            rx_report_interpreted(text, rx_error.line, rx_error.column, false);
        else
            rx_report(**rx_program_now, rx_error.line, rx_error.column, false);
        return false;
    }
    // The name of a loop to be left lies in the fragment's own text.
    if (!rx_walk->loop_name.empty()) rx_walk->loop_name = *rx_intern(rx_walk->loop_name);
    return true;
}

rx_flow rx_interpret(const rx_expr_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return rx_flow::next;
    rx_value text = rx_to_string(do_exec(clause.expr, shown.level));
    if (shown.level) rx_trace_result(shown.level, text.text());
    unsigned column = clause.expr->column;
    rx_flow flow = rx_flow::next;
    if (!rx_run_fragment(text.text(), flow)) rx_raise_at(clause.line, column, rx_error.number);
    return flow;
}
