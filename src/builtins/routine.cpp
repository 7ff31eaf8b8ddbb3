// ARG and SETARG: the arguments of the running routine and the words of the command line.
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "builtins/hooks.h"
#include "engine/engine.h"

namespace {

/// Word n of the command line, the program being word 0; empty when there is none.
rx_value command_word(size_t n) {
    const std::vector<std::string> &words = *bu_command_words;
    return rx_string(n < words.size() ? std::string_view(words[n]) : std::string_view());
}

/// Argument n of the routine, empty when there is none.
rx_value routine_argument(size_t n) {
    return n >= 1 && n <= rx_routine->arg_count ? rx_copy_value(rx_routine->args[n - 1].text) : rx_string({});
}

} // namespace

/// arg([n], [option])
/// Argument n of the routine; without n the count of its arguments; arg(0) is the name of the program. With an option:
/// 1 when the argument exists (E) or is omitted (O), else 0; word n of the command line (C), the same in the main
/// program only (X).
/// Result: string; a number for the count and for E and O
/// Errors: 40 for a wrong count, an n that isn't whole and 0 or more, another option, an option without n
/// Example: arg(1, 'O') -> 1
rx_value bu_arg(const rx_expr *list) {
    // arg(1) and its like are the commonest calls of all: a constant needs no checks.
    if (list && !list->next && list->type == STRING && list->literal->number) {
        double n = list->literal->number->real;
        if (n >= 1 && n <= static_cast<double>(rx_routine->arg_count) && rx_is_whole(n))
            return routine_argument(static_cast<size_t>(n));
    }
    bu_args args(list, "ARG");
    args.expect(1, 2, 0, "must receive 1 or 2 arguments.");
    if (!args.given(0)) {
        if (args.given(1)) args.fail(0, "first argument missing.");
        return bu_count(rx_routine->arg_count);
    }
    size_t n = static_cast<size_t>(
        args.whole(0, BU_CAPPED, 0, "argument 1 must be an integer", "argument 1 must be a positive integer"));
    if (!args.given(1)) return n == 0 ? command_word(0) : routine_argument(n);
    if (args.text(1).size() > 1) args.fail(1, "argument 2 must be \"e\" or \"o\"");
    bool exists = n >= 1 && n <= rx_routine->arg_count && !rx_routine->args[n - 1].omitted;
    switch (args.option(1, 0)) {
    case 'e': return bu_number(exists);
    case 'o': return bu_number(!exists);
    case 'c': return command_word(n);
    case 'x': return n == 0 || rx_routine->nesting == 1 ? command_word(n) : routine_argument(n);
    default: args.fail(1, "argument 2 must be \"e\", \"o\" , \"c\" or \"x\"");
    }
}

/// setarg(n, text)
/// Replaces word n of the command line, as arg(n, 'C') gives it. A word that isn't there stays so.
/// Result: the number 0
/// Errors: 40 for a wrong count, an n that isn't whole and above 0
/// Example: setarg(99, 'new') -> 0
rx_value bu_setarg(const rx_expr *list) {
    bu_args args(list, "SETARG", 2, 2, "must receive 2 arguments.");
    double n =
        args.whole(0, BU_ROUNDED, 1, "argument 1 must be a whole number.", "argument 1 must be a positive integer.");
    std::vector<std::string> &words = *bu_command_words;
    if (n < static_cast<double>(words.size())) words[static_cast<size_t>(n)] = args.text(1);
    return bu_number(0);
}
