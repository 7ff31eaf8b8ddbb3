#include "driver/run.h"

#include "base/output.h"
#include "builtins/hooks.h"
#include "commands/execio.h"
#include "commands/globalv_store.h"
#include "driver/install.h"
#include "driver/source.h"
#include "engine/host.h"
#include "front/parse.h"
#include "front/report.h"
#include "front/scan.h"
#include "platform/directories.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/signals.h"
#include "platform/stack.h"
#include "platform/strings.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

constexpr int code_not_readable = -1;
constexpr int code_not_scanned = -2;

// How many runs are active; process-wide.
int rx_run_depth = 0;

/// What a run is asked for, and where its answer goes.
struct run_request {
    std::string_view command;
    std::string_view home;
    std::unique_ptr<rx_program> *program = nullptr;
    const std::vector<rx_run_argument> *arguments = nullptr;
    std::optional<std::string> *result = nullptr;
    int code = 0;
};

// ---- arguments -----------------------------------------------------------------------------------------------------

rx_arg argument(std::string_view text, bool omitted = false) {
    rx_arg arg;
    arg.text = rx_string(text);
    arg.omitted = omitted;
    return arg;
}

std::string from_hexadecimal(std::string_view digits) {
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        unsigned char byte = 0;
        std::from_chars(digits.data() + i, digits.data() + i + 2, byte, 16);
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

/// The arguments that a parent run left in the environment.
std::vector<rx_arg> arguments_of_child(const std::string &count_text) {
    std::vector<rx_arg> args;
    int count = std::atoi(count_text.c_str());
    for (int i = 0; i < count; i++)
        args.push_back(argument(from_hexadecimal(rx_getenv("vandra_ARG" + std::to_string(i)).value_or(""))));
    rx_unsetenv("vandra_NB_ARGS");
    return args;
}

/// Builds the arguments of the main program; there is one element at least, which counts when `count` says so.
std::vector<rx_arg> main_arguments(const run_request &request, std::string_view rest, size_t &count) {
    std::vector<rx_arg> args;
    if (std::optional<std::string> of_child = rx_getenv("vandra_NB_ARGS")) {
        args = arguments_of_child(*of_child);
    } else if (request.arguments) {
        for (const rx_run_argument &each : *request.arguments) args.push_back(argument(each.text, each.omitted));
    } else if (!rest.empty()) {
        args.push_back(argument(rest));
    }
    count = args.size();
    if (args.empty()) args.push_back(argument("", true));
    return args;
}

/// The command line of a run that doesn't come from the process's own.
std::vector<std::string> words_of(const rx_split_line &split) {
    std::vector<std::string> words{split.script};
    for (std::string_view word : rx_split_words(split.rest)) words.emplace_back(word);
    return words;
}

// ---- programs ------------------------------------------------------------------------------------------------------

/// True when the files of a kept program are the ones that it was made from.
bool is_current(const rx_program &program, const std::string &script) {
    if (!program.filled || program.entries.empty() || program.entries[0].name != script) return false;
    for (const rx_source_entry &entry : program.entries) {
        std::optional<int64_t> time = rx_file_time(entry.name);
        if (!time || *time > entry.mtime) return false;
    }
    return true;
}

void settle_modes() {
    rx_modes_record &modes = *rx_modes;
    if (modes.case_mode == RX_CASE_UNSET) modes.case_mode = RX_UPPER;
    if (modes.env_mode == RX_ENV_UNSET) modes.env_mode = RX_UNSETENV;
    if (modes.load_mode == RX_LOAD_UNSET) modes.load_mode = RX_LOAD;
}

/// Reads, scans and parses the script into an empty program; `typed` is its name for messages about the file. 0, or the
/// code with which the run ends.
int load_program(rx_program &program, const std::string &script, const std::string &typed) {
    rx_read_failure failure;
    program.source = rx_read_file(script, failure);
    if (failure != rx_read_failure::none) {
        rx_print_error(rx_unreadable(failure, typed));
        return code_not_readable;
    }
    program.rc_lines = rx_load_rc(program.source, *rx_home_directory);
    rx_source_entry entry;
    entry.name = script;
    entry.mtime = rx_file_time(script).value_or(0);
    program.entries.push_back(entry);

    bool compiled;
    rx_scan_result scanned = rx_scan_source(program.source, program.arena, true, compiled);
    program.entries[0].length = program.source.size();
    program.entries[0].last_line = static_cast<int>(scanned.lines);
    if (scanned.error) {
        rx_error.number = scanned.error;
        rx_error.has_extra = false;
        rx_report(program, scanned.error_line, scanned.error_column, false);
        return code_not_scanned;
    }
    settle_modes();
    program.modes = *rx_modes;
    rx_error.number = 55;
    try {
        program.head = rx_parse_tokens(scanned.tokens, {program.arena, program.labels, &program.exec_lines});
    } catch (const rx_jmp_parse &) {
        rx_report(program, rx_error.line, rx_error.column, false);
        return rx_error.number;
    }
    program.serial = rx_next_program_serial();
    program.filled = true;
    return 0;
}

/// Whether GLOBALV answers is settled by the first run of the process; unless it doesn't, its store is set up then.
void settle_globalv() {
    static std::optional<rx_globalv_mode> settled;
    if (!settled) {
        settled = rx_modes->globalv_mode;
        if (settled != RX_NOGLOBALV) rx_globalv_start();
    }
    rx_modes->globalv_mode = *settled;
}

/// Walks the main chain; all ways out of a run end here.
int run_main_chain(const rx_program &program) {
    rx_push_level();
    rx_halt_pending = 0;
    rx_catch_interrupt();
    int code = 0;
    try {
        rx_run_block(program.head);
    } catch (const rx_jmp_exit &) {
        code = rx_exit_value->code;
    } catch (const rx_jmp_syntax &) {
        code = rx_error.number;
        rx_report(program, rx_error.line, rx_error.column, false);
    }
    while (rx_scope->level) rx_pop_level();
    return code;
}

int run_script(const run_request &request) {
    rx_split_line split = rx_split_command(request.command);
    std::string script = rx_find_script(split.script);
    size_t count;
    std::vector<rx_arg> args = main_arguments(request, split.rest, count);
    rx_routine->args = args.data();
    rx_routine->arg_count = static_cast<uint32_t>(count);
    *bu_command_words = rx_run_depth == 1 && !rx_command_words.empty() ? rx_command_words : words_of(split);

    std::unique_ptr<rx_program> own;
    std::unique_ptr<rx_program> &program = request.program ? *request.program : own;
    if (program && is_current(*program, script)) {
        *rx_modes = program->modes;
    } else {
        program = std::make_unique<rx_program>();
        if (int code = load_program(*program, script, split.script)) {
            program.reset();
            return code;
        }
    }
    settle_globalv();
    *rx_program_now = program.get();
    int code = run_main_chain(*program);
    if (program->spoiled) program.reset();
    return code;
}

/// What isn't a directory names the program file in it.
void settle_home(std::string_view home) {
    std::string path = rx_path_to_slashes(home);
    *rx_program_name = "vandra";
    if (!rx_is_directory(path)) {
        size_t name = path.rfind('/') + 1;
        *rx_program_name = path.substr(name);
        path.resize(name);
    }
    if (!path.ends_with('/')) path += '/';
    *rx_home_directory = path;
}

/// The body of a run, on the interpreter's stack.
void run_guarded(void *argument_pointer) {
    auto &request = *static_cast<run_request *>(argument_pointer);
    // The environment in force outside the run is the one that the run begins with.
    int env_current = rx_settings->env_current, env_previous = rx_settings->env_previous;
    struct row_settler {
        ~row_settler() { rx_settle_row(); }
    } behind_the_run;
    rx_context outer;
    rx_install();
    rx_env_defaults();
    rx_change_settings().env_current = env_current;
    rx_change_settings().env_previous = env_previous;
    settle_home(request.home);
    rx_run_depth++;
    try {
        request.code = run_script(request);
    } catch (const rx_jmp_exit &) {
        request.code = rx_exit_value->code;
    }
    rx_run_depth--;
    if (request.result) {
        *request.result = std::nullopt;
        if (rx_exit_value->has_text) *request.result = std::move(rx_exit_value->text);
    }
}

/// The last word when memory ends: the run ends with code 1.
void no_more_memory() {
    rx_print_error("Vandra: no more memory.");
    if (rx_run_depth == 0) std::exit(1);
    rx_exit_run(1);
}

int rx_run(run_request request) {
    std::new_handler before = std::set_new_handler(no_more_memory);
    rx_on_interpreter_stack(run_guarded, &request);
    std::set_new_handler(before);
    return request.code;
}

std::string home_or_exit(const char *home) {
    if (home) return home;
    if (std::optional<std::string> set = rx_getenv("REXXHOME")) return *set;
    rx_print_error("run_rx: you must pass the installation directory \n"
                   "        or set up a REXXHOME environment variable pointing to that directory.");
    std::exit(1);
}

} // namespace

int run_rx(std::string_view command, const char *home, std::unique_ptr<rx_program> *program,
           std::optional<std::string> *result) {
    std::string directory = home_or_exit(home);
    return rx_run({.command = command, .home = directory, .program = program, .result = result});
}

int rx_run_args(std::string_view command, const char *home, std::unique_ptr<rx_program> *program,
                const std::vector<rx_run_argument> &arguments, std::optional<std::string> *result) {
    std::string directory = home_or_exit(home);
    return rx_run(
        {.command = command, .home = directory, .program = program, .arguments = &arguments, .result = result});
}

void rx_final_exit(int code) {
    rx_execio_close_printer();
    std::exit(code);
}
