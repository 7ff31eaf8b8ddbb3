// TRACE: the lines that it prints and the interactive prompt. Every line begins with as many blanks as its level; level
// 0 means that nothing below the clauses is shown. The walk calls these only behind a test of the trace bits.
#pragma once

#include "engine/engine.h"

/// Interactive tracing. `clause_count` is raised by each clause that is shown.
struct rx_trace_record {
    int prompts_to_skip = 0;
    int lines_to_skip = 0;
    int clause_count = 0;
};
inline rx_run_local<rx_trace_record> rx_trace_state;

/// True when intermediate lines (">V> ", ">O> ", ...) are to be shown at this level.
inline bool rx_intermediates(int level) {
    return level != 0 && (rx_settings->trace & TRACE_I) != 0;
}

/// Attaches the debugger (TRACE X); set by the debugger's room. False when that can't be done.
inline bool (*rx_attach_debugger)() = nullptr;

// Nothing is printed at level 0. What a clause evaluates to is shown under RESULTS and INTERMEDIATES; a command that
// was shown for whatever reason is followed by its text.
void rx_trace_result(int level, std::string_view value);                            // >>> "v"
void rx_trace_command(int level, std::string_view command);                         // >>> "v"
void rx_trace_assignment(int level, std::string_view name, std::string_view value); // >>> name <-- "v"
void rx_trace_index_assignment(int level, std::string_view name, size_t from, size_t to, std::string_view value);
void rx_trace_placeholder(int level, std::string_view value);                        // >.> . <-- "v"
void rx_trace_variable(int level, std::string_view name, std::string_view value);    // >V>
void rx_trace_compound(int level, std::string_view name, std::string_view resolved); // >C>
void rx_trace_function(int level, std::string_view name, const rx_value &value);     // >F>, none: No Result
void rx_trace_prefix(int level, std::string_view symbol, std::string_view operand, std::string_view value); // >P>
void rx_trace_backquote(int level, std::string_view operand, std::string_view value);                       // >U>
void rx_trace_dyadic(int level, std::string_view symbol, std::string_view left, std::string_view right,
                     std::string_view value);                                                          // >O>
void rx_trace_index(int level, std::string_view text, size_t from, size_t to, std::string_view value); // >O>
void rx_trace_code(int level, int code);                                                               // >>> RC(n)

/// Shows a structure's line again (DO on later rounds, END, WHEN, OTHERWISE) when clauses are traced; the new level.
int rx_trace_line(unsigned line);

/// Reads a setting as TRACE does; false when it is invalid.
bool rx_trace_set(std::string_view letters);

/// The TRACE instruction.
void rx_trace_instruction(const rx_trace_clause &clause);

/// The interactive prompt between clauses: true to go on, false to run the last clause again. `flow` receives a SIGNAL
/// or RETURN that the typed line made.
bool rx_trace_prompt(rx_flow &flow);
