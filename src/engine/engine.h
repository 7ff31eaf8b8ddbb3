// The walker's own state and its doors.
//
// The engine walks chains of clauses (`rx_run_clauses`) and evaluates expression nodes (`do_exec`). There is no byte
// code. How a clause ends is an rx_flow: ordinary clauses give `next`; RETURN, LEAVE, ITERATE and SIGNAL give theirs,
// and every block handler on the way out looks at it. Jumps out of the middle of an expression (a trap, an error, EXIT)
// are the exceptions of base/raise.h.
//
// Every clause handler begins with the same prologue: `rx_clause_shown(clause)` prints the clause's source when TRACE
// asks for it and tells the trace level for the clause's expressions; under TRACE SCAN the handler stops there.
#pragma once

#include "base/raise.h"
#include "base/run_local.h"
#include "engine/functions.h"
#include "front/tree.h"
#include "values/numbers.h"
#include "values/store.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// ---- how a walk ends -----------------------------------------------------------------------------------------------

enum class rx_flow : uint8_t {
    next,      ///< go on behind
    leave,     ///< LEAVE is pending; its loop is in rx_walk->loop_name
    iterate,   ///< ITERATE is pending
    returned,  ///< RETURN; the value is in rx_walk->result
    signalled, ///< SIGNAL; the cell to go on at is in rx_walk->signal_target
};

/// State of the clause walk.
struct rx_walk_record {
    std::string_view loop_name; ///< of a pending LEAVE or ITERATE; empty for the innermost loop
    const rx_clause_cell *signal_target = nullptr;
    const rx_build_frame *signal_frame = nullptr; ///< the enclosing chain of the target
    rx_value result;                              ///< what a RETURN hands over
    unsigned interactive = 0;                     ///< a line typed at the trace prompt runs
    unsigned command_line = 0;                    ///< position of the last host command
    unsigned command_column = 0;
};
inline rx_run_local<rx_walk_record> rx_walk;

/// The program in force; the driver sets it.
inline rx_run_local<rx_program *> rx_program_now;

/// Counts clauses, process-wide: the clock functions read the time once per number.
inline constinit uint64_t rx_clause_count = 0;

// ---- conditions ----------------------------------------------------------------------------------------------------

enum rx_condition : int {
    RX_ERROR = 0,
    RX_FAILURE = 1,
    RX_HALT = 2,
    RX_NOVALUE = 3,
    RX_SYNTAX = 4,
    RX_NOTREADY = 5,
    RX_NO_CONDITION = 6
};
enum rx_trap_state : int8_t { RX_TRAP_OFF = 0, RX_TRAP_SIGNAL = 1, RX_TRAP_CALL = 2, RX_TRAP_DELAYED = -2 };

/// The name of a condition in upper or lower case by the case mode ("" for RX_NO_CONDITION).
std::string_view rx_condition_name(int condition);

// ---- what a routine inherits and gets back -------------------------------------------------------------------------

/// Settings that a routine may change and that its return restores. Few routines change any, so a call copies nothing:
/// the first change does.
struct rx_settings_record {
    std::array<rx_trap_state, 6> traps{};
    std::array<const std::string *, 6> handlers{}; ///< interned NAME of each trap; null: the condition's own name
    int env_current = 0;                           ///< ADDRESS: indexes into the table of environments
    int env_previous = 0;
    unsigned trace = 2;            ///< bits of TRACE, below
    long long elapsed_seconds = 0; ///< TIME's elapsed clock; both 0: not started
    long long elapsed_microseconds = 0;
    int condition = RX_NO_CONDITION; ///< the condition in hand
};
inline rx_run_local<rx_settings_record, const rx_settings_record> rx_settings;

/// Description of the condition in hand; saved and restored with the settings.
inline rx_run_local<std::string, const std::string> rx_condition_text;

/// The settings of a caller, put aside by a routine that changes one. Those of NUMERIC are among them.
struct rx_kept_settings {
    rx_settings_record settings;
    rx_numeric_settings numeric;
    std::string condition_text;
};

/// To be called ahead of any change: puts the settings of the caller aside, unless that has been done.
void rx_keep_settings();

/// The settings and the description, to be changed.
inline rx_settings_record &rx_change_settings() {
    rx_keep_settings();
    return rx_settings.value;
}
inline std::string &rx_change_condition_text() {
    rx_keep_settings();
    return rx_condition_text.value;
}

/// A process-wide copy of a name that is never freed, one for each spelling.
const std::string *rx_intern(std::string_view name);

/// One argument of the running routine: always text.
struct rx_arg {
    rx_value text; ///< a string; empty when omitted
    bool omitted = false;
};

/// What the running routine has for itself. That of its caller comes back when it ends.
struct rx_routine_record {
    rx_arg *args = nullptr;
    std::optional<rx_kept_settings> *kept = nullptr; ///< where the settings of the caller go; null in the main program
    const std::string_view *interpreted = nullptr;   ///< the text that runs under INTERPRET, if one does
    uint32_t arg_count = 0;
    unsigned call_depth = 1;
    int nesting = 1;        ///< 1 in the main program
    int call_level = 0;     ///< trace level in force for the built-in being called
    bool procedure = false; ///< PROCEDURE has run
};
inline rx_run_local<rx_routine_record> rx_routine;

// ---- trace ---------------------------------------------------------------------------------------------------------

// clang-format off
enum rx_trace_bits : unsigned {
    TRACE_C = 1, TRACE_E = 2, TRACE_I = 4, TRACE_L = 8, TRACE_F = 16, TRACE_R = 32, TRACE_S = 64, TRACE_A = 128,
    TRACE_PROMPT = 0x100, TRACE_NO_COMMANDS = 0x200, TRACE_DEBUGGER = 0x400, TRACE_Y = 0x800,
    TRACE_CLAUSES = TRACE_I | TRACE_R | TRACE_S | TRACE_A
};
// clang-format on

// ---- the system's own variables -------------------------------------------------------------------------------------

enum rx_system_variable : int { RX_RC = 0, RX_RESULT = 1, RX_SIGL = 2, RX_RC_D = 3 };

/// The symbol of one of them, spelled by the case mode.
const rx_symbol &rx_system_symbol(rx_system_variable name);

/// Sets RC, or RC_D, to a number.
void rx_set_code(rx_system_variable name, double number);

/// Sets SIGL to a line of its own source, from 1.
void rx_set_sigl(unsigned own_line);

// ---- the walk ------------------------------------------------------------------------------------------------------

/// Walks a chain from a cell to its end, or until a clause ends in anything but `next`.
rx_flow rx_run_clauses(const rx_clause_cell *cell);

/// The guarded walk of a program, a routine or an interpreted text: takes signals up, refuses a LEAVE or ITERATE
/// without a loop (error 28). `frame` is the enclosing chain when the walk starts inside a structure.
rx_flow rx_run_block(const rx_clause_cell *cell, const rx_build_frame *frame = nullptr);

/// Evaluates an expression to a new value. `level` 0: no intermediate trace lines here.
rx_value do_exec(const rx_expr *node, int level);

/// The value of an expression for reading only: lent by a variable or a constant, or put in `scratch`. No other code
/// of the script may run before the view was used.
const rx_value &rx_view(const rx_expr *node, int level, rx_value &scratch);

/// What a call node was found to call; part of its `target_serial`.
enum rx_call_target : uint64_t { RX_CALLS_LABEL = 0, RX_CALLS_BUILTIN = 1, RX_CALLS_EXTRA = 2 };

/// True when the node's target is of that kind, and known since the last source was added to the program.
inline bool rx_calls(const rx_op &call, rx_call_target kind) {
    return call.target_serial == (rx_program_now.value->serial << 2 | kind);
}

/// Runs the routine of a call node: label, built-in, secondary table, external script. None: no value came back.
rx_value rx_invoke(const rx_op *call, int level);

/// Calls a condition handler or any routine by name, without arguments; its value is ignored.
void rx_call_handler(std::string_view name);

/// Raises error 5 when the native stack is nearly used up; everything that recurses calls it.
void rx_check_stack();

// ---- clause prologue -----------------------------------------------------------------------------------------------

struct rx_shown {
    int level = 0;     ///< trace level for the clause's expressions
    bool skip = false; ///< TRACE SCAN: nothing more is to be done
};

/// Prints the clause when one of `bits` is on; see the head of this file.
rx_shown rx_show_clause_slow(unsigned line, unsigned bits);
inline rx_shown rx_show_clause(const rx_clause *clause, unsigned bits = TRACE_CLAUSES) {
    if ((rx_settings->trace & bits) == 0) [[likely]]
        return {};
    return rx_show_clause_slow(clause->line, bits);
}

// ---- doors of the other rooms --------------------------------------------------------------------------------------

/// Set by the driver: loads or runs an external routine. 0 not found, 1 loaded (search again), 2 ran, `result` is set.
inline int (*rx_load_external)(std::string_view name, bool fold, const rx_expr *arguments, rx_value &result,
                               int level) = nullptr;

/// Sets the hooks of the lower floors (errors, NOVALUE); the driver calls it once.
void rx_arm_hooks();

/// Where the last raised error came from: an interpreted or typed text, or the program itself.
inline constinit bool rx_raised_in_interpret = false;

/// Traps: `rx_signal_to` never returns. Used where a condition arises in the middle of an expression.
[[noreturn]] void rx_signal_to(std::string_view name, unsigned line, unsigned column);

/// Goes through the trap of a condition that is armed (state 1 or 2): sets SIGL to `sigl_line` + 1 and the condition in
/// hand, then calls the handler or signals to it. `description` null leaves the text as it is.
void rx_trap(int condition, const std::string *description, unsigned sigl_line);

/// The stream library's failure: see conditions.cpp. Returns the empty string after a CALL ON handler.
rx_value rx_notready(bool fatal, std::string message, std::string description);

/// The halt poll between clauses; `rx_halt_pending` is set by the interrupt handler.
void rx_halt_poll();

/// What happens between two clauses besides the trace prompt; a loop with an empty body calls it too.
void rx_poll_between_clauses();
