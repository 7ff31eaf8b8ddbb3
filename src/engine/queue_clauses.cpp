// PUSH and QUEUE.
#include "engine/clauses.h"
#include "engine/trace.h"

void rx_push(const rx_expr_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    rx_value text = clause.expr ? rx_to_string(do_exec(clause.expr, shown.level)) : rx_string("");
    rx_trace_result(shown.level, text.text());
    if (clause.kind == CL_PUSH)
        rx_queue_door.push(std::move(text));
    else
        rx_queue_door.queue(std::move(text));
}
