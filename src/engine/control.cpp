// IF, SELECT and what the loops share with them: conditions.
#include "engine/control.h"

#include "engine/clauses.h"
#include "engine/trace.h"

[[gnu::noinline]] bool rx_condition_with_care(const rx_expr *cond, int level, const rx_condition_words &words) {
    rx_value scratch;
    const rx_value &value = rx_view(cond, level, scratch);
    if (level) {
        rx_number_buffer buffer;
        rx_trace_result(level, rx_arg_text(value, buffer));
    }
    bool truth;
    if (value.is_number() && (value.real == 0 || value.real == 1)) return value.real != 0;
    if (rx_logical(value, truth)) return truth;
    rx_number_buffer buffer;
    std::string message(words.before);
    message.append(rx_arg_text(value, buffer)).append(words.behind);
    rx_raise_at(cond->line, cond->column, 34, std::move(message));
}

[[gnu::noinline]] rx_flow rx_if_traced(const rx_if_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) {
        rx_flow flow = rx_run_clauses(clause.then_chain);
        return flow == rx_flow::next && clause.else_chain ? rx_run_clauses(clause.else_chain) : flow;
    }
    if (rx_condition_holds(clause.cond, shown.level, rx_plain_condition)) return rx_run_clauses(clause.then_chain);
    return clause.else_chain ? rx_run_clauses(clause.else_chain) : rx_flow::next;
}

namespace {

rx_flow scan_select(const rx_select_clause &clause) {
    for (const rx_when *when = clause.whens; when->next; when = when->next) {
        rx_trace_line(when->line);
        rx_flow flow = rx_run_clauses(when->body);
        if (flow != rx_flow::next) return flow;
    }
    if (clause.otherwise) {
        rx_trace_line(clause.otherwise_line);
        rx_flow flow = rx_run_clauses(clause.otherwise);
        if (flow != rx_flow::next) return flow;
    }
    rx_trace_line(clause.end_line);
    return rx_flow::next;
}

/// Shows a line of a structure while its clauses are shown; the level for what follows.
int show_again(int level, unsigned line) {
    return level ? rx_trace_line(line) : 0;
}

} // namespace

[[gnu::noinline]] rx_flow rx_select(const rx_select_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return scan_select(clause);
    const rx_clause_cell *arm = nullptr;
    for (const rx_when *when = clause.whens; when->next && !arm; when = when->next) {
        int level = show_again(shown.level, when->line);
        if (rx_condition_holds(when->cond, level, rx_plain_condition)) arm = when->body;
    }
    if (!arm) {
        if (!clause.otherwise) rx_raise_at(clause.line, 0, 57);
        show_again(shown.level, clause.otherwise_line);
        arm = clause.otherwise;
    }
    rx_flow flow = rx_run_clauses(arm);
    if (flow == rx_flow::next && rx_settings->trace & TRACE_CLAUSES) show_again(shown.level, clause.end_line);
    return flow;
}
