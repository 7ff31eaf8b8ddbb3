// UNIX and its kin: run a command, show or keep what it writes. WAITPID and the functions for processes.
//
// A command goes to a shell as one argument, whatever it holds. EXEC takes it apart itself, at blanks and by quotes,
// and starts the program without a shell.
#include "base/output.h"
#include "builtins/file_names.h"
#include "builtins/handlers.h"
#include "builtins/stems.h"
#include "engine/engine.h"
#include "engine/host_resolve.h"
#include "engine/line_cutter.h"
#include "platform/capture.h"
#include "platform/clock.h"
#include "platform/console.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/strings.h"

#include <algorithm>
#include <optional>

namespace {

constexpr int not_started = 28;

/// How one of the functions runs its command.
struct command_style {
    const char *shell_variable = nullptr; ///< names the shell; null: the system's own
    bool shell = true;
    bool tee = false;    ///< shows what it captures
    bool reports = true; ///< tells of a code that isn't 0
};

/// Fills a stem with the lines of an output.
struct line_filler {
    bu_stem stem;
    size_t count = 0;
    rx_line_cutter lines{[this](std::string_view line) { stem.set(++count, rx_string(line)); }};

    explicit line_filler(std::string_view name) : stem(name) {}
    void finish() {
        lines.finish();
        stem.set(0, bu_count(count));
    }
};

// ---- the program ----------------------------------------------------------------------------------------------------

/// The program file of a name; empty when there is none.
std::string program_of(std::string_view name) {
    std::string quoted = "'";
    for (char c : name) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return rx_resolve_command(quoted + "'").path;
}

rx_process_start start_of(const command_style &style, std::string command) {
    std::vector<std::string> words;
    if (!style.shell) {
        words = rx_split_quoted(command);
    } else if (style.shell_variable) {
        words = rx_split_quoted(rx_getenv(style.shell_variable).value_or(""));
        if (words.size() == 1) words.emplace_back("-c");
        if (!words.empty()) words.push_back(std::move(command));
    }
    if (style.shell && words.empty()) return {.path = "/bin/sh", .arguments = {"sh", "-c", std::move(command)}};
    // Without a program the start finds no file of that empty name.
    std::string path = words.empty() ? std::string() : program_of(words[0]);
    if (words.empty()) words.emplace_back();
    return {.path = std::move(path), .arguments = std::move(words)};
}

rx_value not_started_because(int error) {
    rx_print_error("Unable to create process; Error is: \"" + rx_system_error(error) + "\"");
    return bu_status(not_started);
}

/// The name of a stem that is given, else empty.
std::string stem_of(bu_args &args, size_t i) {
    const rx_expr *node = args.list;
    for (size_t k = i; node && k--;) node = node->next;
    if (!node || node->type == VIDE) return {};
    if (node->type != SYMBOL) args.fail(i, "argument " + std::to_string(i + 1) + " is not a valid REXX symbol.");
    return std::string(args.symbol(i));
}

rx_value run_command(const rx_expr *list, const command_style &style) {
    bu_args args(list, "UNIX", 1u << 1 | 1u << 2);
    args.require(0, "argument 1 missing.");
    if (args.count() > 3) args.fail(0, "up to 3 arguments allowed.");
    std::string stems[2] = {stem_of(args, 1), stem_of(args, 2)};
    std::string command(args.text(0));
    bool background = command.ends_with('&');
    if (background) command.pop_back();

    rx_process_start start = start_of(style, std::move(command));
    start.background = background;
    int error;
    if (background) {
        int process = rx_start_process(start, error);
        if (process < 0) return not_started_because(error);
        rx_set_code(RX_RC, 0);
        return bu_count(rx_keep_process(process));
    }

    rx_pipe pipes[2];
    for (int i = 0; i < 2; i++)
        if ((!stems[i].empty() || style.tee) && !pipes[i].open()) rx_raise(58);
    start.output = pipes[0].write_end;
    start.errors = pipes[1].write_end;
    int process = rx_start_process(start, error);
    for (rx_pipe &pipe : pipes) pipe.close_write_end();
    std::optional<line_filler> fillers[2];
    for (int i = 0; i < 2; i++)
        if (!stems[i].empty()) fillers[i].emplace(stems[i]);
    auto take = [&](std::string_view block, bool errors) {
        if (fillers[errors]) fillers[errors]->lines.take(block);
        if (style.tee && errors) rx_console_write(2, block);
        if (style.tee && !errors) rx_write(block);
    };
    if (process >= 0) rx_read_pipes(pipes[0], pipes[1], take);
    for (auto &filler : fillers)
        if (filler) filler->finish();
    if (process < 0) return not_started_because(error);
    int code = rx_wait_process(process);
    if (code < 0) code = 128 - code;
    bool captured = !stems[0].empty() || !stems[1].empty();
    if (code && style.reports && !captured) rx_print_error("Vandra: command ended with code " + std::to_string(code));
    return bu_status(code);
}

} // namespace

/// popen(command, [output], [errors]), also sh, also unix, also windows
/// Runs a command in the system's shell. The lines of its output go to a stem, written as a symbol, with their count
/// as .0, those of its error output to another; what has no stem goes to the terminal. A code that isn't 0 is told on
/// the error output when no stem is given. A command that ends in "&" runs in the background, and the result is for
/// WAITPID.
/// Result: number: the command's exit code (128 + n after signal n), which is also in RC; 28 when it can't be started
/// Errors: 40 for a wrong count, a missing command, a stem that is no symbol
/// Example: call unix 'echo one && echo two', a; a.0 a.1 a.2 rc -> 2 one two 0
rx_value bu_popen(const rx_expr *list) {
    return run_command(list, {});
}

/// windows_ne(command, [output], [errors])
/// As UNIX, without a word about a code that isn't 0.
/// Result: number: the command's exit code
/// Errors: 40 for a wrong count, a missing command, a stem that is no symbol
/// Example: windows_ne('exit 3') -> 3
rx_value bu_windows_ne(const rx_expr *list) {
    return run_command(list, {.reports = false});
}

/// csh(command, [output], [errors])
/// As UNIX, with the shell that the environment variable CSH names, if it is set.
/// Result: number: the command's exit code
/// Errors: 40 for a wrong count, a missing command, a stem that is no symbol
/// Example: call csh 'echo hello', a; a.1 -> hello
rx_value bu_csh(const rx_expr *list) {
    return run_command(list, {.shell_variable = "CSH"});
}

/// tcsh(command, [output], [errors])
/// As UNIX, with the shell that the environment variable TCSH names, if it is set.
/// Result: number: the command's exit code
/// Errors: 40 for a wrong count, a missing command, a stem that is no symbol
/// Example: call tcsh 'echo hello', a; a.1 -> hello
rx_value bu_tcsh(const rx_expr *list) {
    return run_command(list, {.shell_variable = "TCSH"});
}

/// ksh(command, [output], [errors])
/// As UNIX, with the shell that the environment variable KSH names, if it is set.
/// Result: number: the command's exit code
/// Errors: 40 for a wrong count, a missing command, a stem that is no symbol
/// Example: call ksh 'echo hello', a; a.1 -> hello
rx_value bu_ksh(const rx_expr *list) {
    return run_command(list, {.shell_variable = "KSH"});
}

/// exec(command, [output], [errors])
/// As UNIX, without a shell: the words of the command, which may be quoted, are the program and its arguments.
/// Result: number: the program's exit code
/// Errors: 40 for a wrong count, a missing command, a stem that is no symbol
/// Example: call exec 'echo $HOME "a  b"', a; a.1 -> $HOME a  b
rx_value bu_exec(const rx_expr *list) {
    return run_command(list, {.shell = false});
}

/// tee(command, [output], [errors])
/// As UNIX, with the shell that the environment variable SH names, if it is set; what goes to stems is also shown.
/// Result: number: the command's exit code
/// Errors: 40 for a wrong count, a missing command, a stem that is no symbol
/// Example: call tee 'true', a; a.0 rc -> 0 0
rx_value bu_tee(const rx_expr *list) {
    return run_command(list, {.shell_variable = "SH", .tee = true});
}

/// teec(command, [output], [errors])
/// As TEE, with the shell that the environment variable CSH names.
/// Result: number: the command's exit code
/// Errors: 40 for a wrong count, a missing command, a stem that is no symbol
/// Example: call teec 'true', a; a.0 rc -> 0 0
rx_value bu_teec(const rx_expr *list) {
    return run_command(list, {.shell_variable = "CSH", .tee = true});
}

/// teek(command, [output], [errors])
/// As TEE, with the shell that the environment variable KSH names.
/// Result: number: the command's exit code
/// Errors: 40 for a wrong count, a missing command, a stem that is no symbol
/// Example: call teek 'true', a; a.0 rc -> 0 0
rx_value bu_teek(const rx_expr *list) {
    return run_command(list, {.shell_variable = "KSH", .tee = true});
}

// ---- processes ------------------------------------------------------------------------------------------------------

namespace {

constexpr int still_running = 259;

} // namespace

/// waitpid(handle, [flag])
/// Waits for a background command, whose handle is what a function or a backquoted command gave for it, and tells its
/// exit code. With a flag that isn't 0 it doesn't wait: STILL_ACTIVE() then says that the command runs.
/// Result: number
/// Errors: 40 for a wrong count, a handle that isn't whole or none
/// Example: h = unix('exit 7 &'); waitpid(h) -> 7
rx_value bu_waitpid(const rx_expr *list) {
    bu_args args(list, "WAITPID", 1, 2, "must receive 1 or 2 arguments.");
    const char *complaint = "the first argument must be a whole number.";
    double handle = args.number(0, complaint);
    if (!rx_is_whole(handle)) args.fail(0, complaint);
    bool wait = !args.given(1) || (rx_is_number(args.values[1]) && args.values[1].real == 0);
    int code = -1;
    bool known = handle >= 0 && handle < static_cast<double>(rx_kept_processes());
    if (!known) args.fail(0, "invalid handlde.");
    if (!rx_process_ended(static_cast<size_t>(handle), wait, code)) return bu_number(still_running);
    return bu_number(code < 0 ? 128 - code : code);
}

/// still_active()
/// What WAITPID gives for a command that still runs.
/// Result: number
/// Errors: 40 for an argument
/// Example: still_active() -> 259
rx_value bu_still_active(const rx_expr *list) {
    bu_args(list, "STILL_ACTIVE").expect_none("must receive 0 argument.");
    return bu_number(still_running);
}

/// kill(pid, [signal])
/// Does nothing: there is no such operation here.
/// Result: number: -1
/// Errors: 40 for a wrong count, a pid that isn't a number
/// Example: kill(1) -> -1
rx_value bu_kill(const rx_expr *list) {
    bu_args args(list, "KILL", 1, 2, "must receive 1 or 2 arguments.");
    args.number(0, "the first argument must be a number.");
    return bu_number(-1);
}

/// qpid(pid)
/// Does nothing: there is no such operation here.
/// Result: number: -1
/// Errors: 40 for a wrong count, a pid that isn't a number
/// Example: qpid(1) -> -1
rx_value bu_qpid(const rx_expr *list) {
    bu_args args(list, "QPID", 1, 1, "must receive 1 argument.");
    args.number(0, "the argument must be a number.");
    return bu_number(-1);
}

/// fork()
/// Does nothing; it is there for programs written for other systems.
/// Result: number: -1
/// Example: fork() -> -1
rx_value bu_fork(const rx_expr *list) {
    bu_args(list, "FORK");
    return bu_number(-1);
}

/// getpid()
/// The number of the interpreter's process.
/// Result: number
/// Errors: 40 for an argument
/// Example: datatype(getpid(), 'W') -> 1
rx_value bu_getpid(const rx_expr *list) {
    bu_args(list, "GETPID").expect_none("must receive 0 argument.");
    return bu_number(static_cast<double>(rx_process_number()));
}

/// ismain()
/// 1 in the main program, 0 in a routine.
/// Result: number
/// Errors: 40 for an argument
/// Example: ismain() -> 1
rx_value bu_ismain(const rx_expr *list) {
    bu_args(list, "ISMAIN").expect_none("does not take any argument.");
    return bu_number(rx_routine->nesting == 1);
}

namespace {

rx_value wait_for(const rx_expr *list, const char *function, double unit) {
    bu_args args(list, function);
    args.require(0, "argument 1 missing.");
    if (args.count() > 1) args.fail(0, "up to 1 argument allowed.");
    const char *complaint = "argument 1 must be a whole number.";
    double time = args.whole(0, BU_EXACT, 0, complaint, complaint);
    rx_sleep(static_cast<long long>(std::min(time * unit, 1e15)));
    return bu_number(0);
}

} // namespace

/// sleep(n)
/// Waits n seconds.
/// Result: number: 0
/// Errors: 40 for a wrong count, an n that isn't whole or negative
/// Example: sleep(0) -> 0
rx_value bu_sleep(const rx_expr *list) {
    return wait_for(list, "SLEEP", 1e6);
}

/// SysSleep(n)
/// Waits n seconds.
/// Result: number: 0
/// Errors: 40 for a wrong count, an n that isn't whole or negative
/// Example: syssleep(0) -> 0
rx_value bu_syssleep(const rx_expr *list) {
    return wait_for(list, "SLEEP", 1e6);
}

/// usleep(n)
/// Waits n microseconds.
/// Result: number: 0
/// Errors: 40 for a wrong count, an n that isn't whole or negative
/// Example: usleep(100) -> 0
rx_value bu_usleep(const rx_expr *list) {
    return wait_for(list, "USLEEP", 1);
}
