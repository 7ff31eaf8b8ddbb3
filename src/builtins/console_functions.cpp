// The standard streams as such, and the console: STDIN, STDOUT, STDERR, DUP2, SCRIPT, OPEN_CONS and its kin.
#include "base/output.h"
#include "builtins/file_names.h"
#include "builtins/handlers.h"
#include "platform/console.h"
#include "platform/files.h"
#include "platform/session_log.h"

#include <climits>

namespace {

rx_value test_stream(const rx_expr *list, const char *function, int descriptor, const char *library) {
    bu_args args(list, function);
    args.expect(0, 1, 0, "must receive 0 or 1 argument.");
    if (args.given(0)) {
        std::string text(args.text(0)), name = descriptor == 1 ? "stdout" : "stderr";
        std::string printed = library + bu_quoted(text.substr(0, text.find('\0'))) + "\n";
        if (descriptor == 1)
            rx_write(printed);
        else
            rx_console_write(2, printed);
        rx_console_write(descriptor, name + "(write): " + bu_quoted(text) + "\n");
    }
    return bu_number(descriptor);
}

int descriptor_argument(bu_args &args, size_t i) {
    std::string complaint = "argument " + std::to_string(i + 1) + " should be a whole number.";
    double number = args.number(i, complaint);
    if (!rx_is_whole(number)) args.fail(i, complaint);
    return number < 0 || number > INT_MAX ? -1 : static_cast<int>(number);
}

} // namespace

/// stdin()
/// The number of the standard input.
/// Result: number
/// Errors: 40 for an argument
/// Example: stdin() -> 0
rx_value bu_stdin(const rx_expr *list) {
    bu_args(list, "STDIN").expect_none("must receive 0 argument.");
    return bu_number(0);
}

/// stdout([text])
/// The number of the standard output. A text is written on the two ways that output can take, as a test of both.
/// Result: number
/// Errors: 40 for a wrong count
/// Example: stdout() -> 1
rx_value bu_stdout(const rx_expr *list) {
    return test_stream(list, "STDOUT", 1, "stdout(printf): ");
}

/// stderr([text])
/// The number of the standard error. A text is written on the two ways that output can take, as a test of both.
/// Result: number
/// Errors: 40 for a wrong count
/// Example: stderr() -> 2
rx_value bu_stderr(const rx_expr *list) {
    return test_stream(list, "STDERR", 2, "stderr: ");
}

/// dup2(old, new)
/// Makes the descriptor new the same as old.
/// Result: number: new
/// Errors: 40 for a wrong count, a number that isn't whole, a refusal of the system
/// Example: dup2(1, 1) -> 1
rx_value bu_dup2(const rx_expr *list) {
    bu_args args(list, "DUP2", 2, 2, "must receive 2 arguments.");
    int from = descriptor_argument(args, 0), to = descriptor_argument(args, 1);
    if (!rx_duplicate_descriptor(from, to)) {
        std::string reason = rx_system_error();
        rx_arg_error(list, 0, "DUP2() system error: " + bu_quoted(reason) + ".");
    }
    return bu_number(to);
}

/// script(file)
/// From now on all that the program and its commands write is also appended to a file, until the program ends or the
/// next call.
/// Result: number: 0
/// Errors: 40 for a wrong count, a file that can't be opened
/// Example: script('/dev/null') -> 0
rx_value bu_script(const rx_expr *list) {
    bu_args args(list, "SCRIPT", 1, 1, "must receive 1 argument.");
    std::string path = bu_solve_argument(args, 0, "SCRIPT: Invalid " + bu_quoted(args.text(0)) + " file");
    switch (rx_begin_log(path)) {
    case rx_log_failure::none: return bu_number(0);
    case rx_log_failure::open: rx_arg_error(list, 0, "SCRIPT: " + bu_unable("open file", args.text(0)));
    case rx_log_failure::pipe: rx_arg_error(list, 0, "SCRIPT: Unable to create pipe");
    default: rx_arg_error(list, 0, "SCRIPT: Unable to create a child");
    }
}

// ---- the console ----------------------------------------------------------------------------------------------------

namespace {

int size_argument(bu_args &args, size_t i) {
    if (!args.given(i)) return 0;
    std::string argument = "argument " + std::to_string(i + 1) + " must be a ";
    double size = args.number(i, argument + "whole number.");
    if (!rx_is_whole(size)) args.fail(i, argument + "whole number.");
    if (size < 1 || size > 10000) args.fail(i, argument + "positive integer.");
    return static_cast<int>(size);
}

} // namespace

/// open_cons([title], [width], [height])
/// Gives the terminal a title and a size in columns and lines, as far as it understands that.
/// Result: number: 0, or -1 when the output is no terminal
/// Errors: 40 for a wrong count, sizes that aren't whole and above 0
/// Example: open_cons('A title', 80, 25) -> -1
rx_value bu_open_cons(const rx_expr *list) {
    bu_args args(list, "OPEN_CONS");
    args.expect(0, 3, 0, "must receive between 0 and 3 arguments.");
    int width = size_argument(args, 1), height = size_argument(args, 2);
    if (!rx_is_terminal(1)) return bu_number(-1);
    std::string orders;
    if (args.given(0)) {
        orders = "\x1B]2;";
        for (char c : args.text(0))
            if (static_cast<unsigned char>(c) >= ' ' && c != '\x7F') orders += c;
        orders += '\a';
    }
    // An omitted size stays as it is.
    if (width || height)
        orders += "\x1B[8;" + (height ? std::to_string(height) : "") + ";" + (width ? std::to_string(width) : "") + "t";
    rx_console_write(1, orders);
    return bu_number(0);
}

/// close_cons()
/// The counterpart of OPEN_CONS: the terminal stays, without a title.
/// Result: number: 0, or -1 when the output is no terminal
/// Errors: 40 for an argument
/// Example: close_cons() -> -1
rx_value bu_close_cons(const rx_expr *list) {
    bu_args(list, "CLOSE_CONS").expect_none("must receive 0 argument.");
    if (!rx_is_terminal(1)) return bu_number(-1);
    rx_console_write(1, "\x1B]2;\a");
    return bu_number(0);
}

/// askcons(ON|OFF)
/// Whether a console opens by itself when one is needed. Here a program has its terminal or none, so that it changes
/// nothing.
/// Result: number: 0
/// Errors: 40 for a wrong count, another word
/// Example: askcons('OFF') -> 0
rx_value bu_askcons(const rx_expr *list) {
    bu_args args(list, "ASKCONS", 1, 1, "must receive 1 argument.");
    bool on;
    if (!bu_on_off(args, 0, on)) args.fail(0, "must receive ON or OFF.");
    return bu_number(0);
}
