// The function table and what a built-in function sees of a call.
//
// One written table of names and handlers serves the three ways in which a program can fold its symbols: as written,
// in lower and in upper case. Each form has its own index, built when a run first needs it and kept for the process.
// A handler receives the head of the argument chain and evaluates it itself, so a handler that doesn't look never
// evaluates. It returns a value, or none when there is no result.
#pragma once

#include "front/tree.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

using rx_handler = rx_value (*)(const rx_expr *arguments);

/// A second form of a function that gives a number, for the quick road: it receives the values of its arguments, at
/// most rx_quick_arguments and none of them omitted, lent, and gives the number, or refuses by a fault in it; then the
/// handler is called. It neither raises an error nor does anything that could be noticed.
using rx_quick_form = rx_plain (*)(const rx_value *const *args, size_t count);
constexpr size_t rx_quick_arguments = 3;

struct rx_function_row {
    const char *name;
    rx_handler handler;
    rx_quick_form quick = nullptr;
};

/// Hands over the written table; the driver does it once, before the first run. The rows must live as long as the
/// process.
void rx_set_function_table(const rx_function_row *rows, size_t count);

/// The row of a name that is spelled as the case mode has it, or null.
const rx_function_row *bu_lookup_row(std::string_view name);

/// Its handler, or null.
inline rx_handler bu_lookup(std::string_view name) {
    const rx_function_row *row = bu_lookup_row(name);
    return row ? row->handler : nullptr;
}

/// The handler of ARG, which the driver sets: `arg(1)` and its like are answered by the walk itself.
inline rx_handler rx_arg_handler = nullptr;

/// The secondary table, of an embedding program: names match exactly (by length and bytes), and the handler receives
/// the table with the arguments.
struct rx_extra_function;
using rx_extra_table = std::vector<rx_extra_function>;
struct rx_extra_function {
    std::string name;
    rx_value (*handler)(const rx_expr *arguments, const rx_extra_table &table);
};
/// Process-wide; an embedding program fills it before a run.
inline rx_extra_table rx_extra_functions;

/// Evaluated arguments, in order; none for an omitted one. `f()` has one omitted argument, `f(,)` two.
struct rx_arguments {
    const rx_expr *list = nullptr;
    std::vector<rx_value> more; ///< used instead of `few` when there are more than those
    std::array<rx_value, 4> few;
    size_t count = 0;

    rx_value &operator[](size_t i) { return count > few.size() ? more[i] : few[i]; }
    const rx_value &operator[](size_t i) const { return count > few.size() ? more[i] : few[i]; }
    /// False for an argument that was omitted or lies behind the last one.
    bool given(size_t i) const { return i < count && !(*this)[i].is_none(); }
};

/// Evaluates the arguments of the call in order, with the trace level in force for the call.
void rx_eval_args(const rx_expr *list, rx_arguments &arguments);

/// Ends a handler with an error at the position of argument `index` (from 0; the last one when there are fewer).
[[noreturn]] void rx_arg_error(const rx_expr *list, size_t index, std::string message, int number = 40);

/// The name of the function being called, as the program has it (folded): for the messages of shared handlers.
inline constinit std::string_view rx_called_name = {};
