// The clause handlers, one a clause kind. Each begins with the prologue of engine.h.
#pragma once

#include "engine/engine.h"

void rx_assign(const rx_assign_clause &clause);
void rx_say(const rx_expr_clause &clause);
rx_flow rx_exit(const rx_expr_clause &clause);
rx_flow rx_return(const rx_expr_clause &clause);
rx_flow rx_interpret(const rx_expr_clause &clause);
void rx_cd(const rx_expr_clause &clause);
void rx_case_clause(const rx_names_clause &clause);
void rx_drop_clause(const rx_names_clause &clause);
void rx_procedure(const rx_names_clause &clause);

/// The first PROCEDURE of a routine, for which a level is kept; false: nothing has happened. Raises nothing.
bool rx_procedure_again(const rx_names_clause &clause);
void rx_numeric_instruction(const rx_numeric_clause &clause);
rx_flow rx_if_traced(const rx_if_clause &clause); ///< the walk has one of its own while nobody traces
rx_flow rx_do(const rx_do_clause &clause);
rx_flow rx_select(const rx_select_clause &clause);
void rx_call(const rx_call_clause &clause);
rx_flow rx_signal(const rx_signal_clause &clause);
void rx_parse(const rx_parse_clause &clause);

/// True for a PARSE ARG with one simple variable for each argument.
bool rx_takes_each(const rx_parse_clause &clause);

/// Runs such a clause while nobody traces. Raises nothing.
void rx_take_each(const rx_parse_clause &clause);

void rx_push(const rx_expr_clause &clause); ///< PUSH and QUEUE

/// What PARSE PULL, PARSE LINEIN, PUSH and QUEUE need of the queue; the driver sets them.
struct rx_queue_doors {
    rx_value (*pull)() = nullptr;      ///< the head of the queue, or a line of standard input
    rx_value (*read_line)() = nullptr; ///< a line of standard input; sets RC
    void (*push)(rx_value &&text) = nullptr;
    void (*queue)(rx_value &&text) = nullptr;
};
inline rx_queue_doors rx_queue_door;

/// Runs a typed or interpreted text as a program fragment in the current scope. False after an error, which was
/// reported in the "*interpreted*" form; its number is in rx_error.number.
bool rx_run_fragment(std::string_view text, rx_flow &flow);
