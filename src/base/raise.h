// Errors and the ways out of a run.
//
// An error of the language is a number of the message catalogue and, sometimes, an extra text that says more.
// `rx_raise` ends the evaluation with one; it never returns. Where it lands is decided by SIGNAL ON SYNTAX: when that
// trap is armed the engine takes over through `rx_syntax_trap`, otherwise an rx_jmp_syntax flies to the run driver (or
// to the INTERPRET clause) that reports it.
//
// The five ways out are exceptions, so that every frame in between releases what it holds. The frequent ones (RETURN,
// LEAVE, ITERATE, the end of a list) are results of the clause walk instead: calling a small routine must not throw.
#pragma once

#include "base/run_local.h"

#include <string>
#include <string_view>

struct rx_jmp_exit {};   ///< EXIT: the run ends; code and text are in rx_exit.
struct rx_jmp_return {}; ///< RETURN from a line typed at the trace prompt.
struct rx_jmp_signal {}; ///< SIGNAL: the routine's clause walk goes on at its pending target.
struct rx_jmp_syntax {}; ///< An error that no trap took: rx_error tells which.
struct rx_jmp_parse {};  ///< An error while the source was parsed: rx_error tells which and where.

/// The error in hand and the place that evaluation has reached. Not saved for nested runs.
struct rx_error_state {
    int number = 0;
    std::string extra;      ///< Shown below the report; consumed by it.
    bool has_extra = false; ///< An empty extra text is still shown.
    unsigned line = 0;      ///< Position of the clause or expression being evaluated, from 0.
    unsigned column = 0;
};
inline rx_error_state rx_error;

/// What EXIT leaves behind for the caller of a run.
struct rx_exit_state {
    int code = 0;
    std::string text;
    bool has_text = false;
};
inline rx_run_local<rx_exit_state> rx_exit_value;

/// Called by rx_raise when set; returns only when SYNTAX is not trapped. The engine sets it.
inline void (*rx_syntax_trap)(int number, const std::string *extra) = nullptr;

/// Ends evaluation with an error of the catalogue at the position in rx_error. Never returns.
[[noreturn]] void rx_raise(int number);
[[noreturn]] void rx_raise(int number, std::string extra);

/// The same at a given position (line and column from 0).
[[noreturn]] void rx_raise_at(unsigned line, unsigned column, int number);
[[noreturn]] void rx_raise_at(unsigned line, unsigned column, int number, std::string extra);

/// An error during parsing: stores number and text and throws rx_jmp_parse without looking at any trap.
[[noreturn]] void rx_raise_parse(int number);
[[noreturn]] void rx_raise_parse(int number, std::string extra);

/// Ends the run from anywhere with this code and no exit text.
[[noreturn]] void rx_exit_run(int code);

/// A fault of the interpreter itself: prints "vandra: <where>: internal error <n>\n" on standard error and ends the
/// process with code 1.
[[noreturn]] void rx_internal_error(std::string_view where, int n);
