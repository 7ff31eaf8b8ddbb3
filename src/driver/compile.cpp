// The compile tool: stores a script that can be parsed as a compiled file.
#include "driver/compile.h"

#include "base/output.h"
#include "compiled/compiled.h"
#include "driver/install.h"
#include "driver/run.h"
#include "driver/source.h"
#include "front/parse.h"
#include "front/report.h"
#include "platform/paths.h"
#include "platform/stack.h"
#include "platform/strings.h"

namespace {

constexpr int exit_usage = 1;
constexpr int exit_not_opened = 2;
constexpr int exit_not_read = 3;
constexpr int exit_not_written = 5;
constexpr int invalid_compiled = 76;
constexpr unsigned output_mode = 0755;

struct compile_request {
    std::string input;
    std::string output;
    std::string home;
    int code = 0;
};

/// Takes the command line apart: false with the exit code when there is nothing to compile.
bool read_words(int count, char **words, compile_request &request) {
    int i = 1;
    for (; i < count; i++) {
        std::string_view word = words[i];
        if (word.size() < 2 || word[0] != '-') break;
        if (word == "--") {
            i++;
            break;
        }
        bool attached = word.size() > 2;
        if (word[1] != 'o' || (!attached && i + 1 >= count)) {
            rx_print_error("vcmp: invalid argument");
            return false;
        }
        request.output = attached ? word.substr(2) : std::string_view(words[++i]);
    }
    if (i >= count) {
        rx_print_error("vcmp usage: vcmp {-o file-name} file-in");
        request.code = exit_usage;
        return false;
    }
    std::string_view name = words[i];
    if (name.starts_with('"') || name.starts_with('\'')) {
        char quote = name[0];
        name.remove_prefix(1);
        if (name.ends_with(quote)) name.remove_suffix(1);
    }
    request.input = name;
    if (request.output.empty()) request.output = request.input + ".vn";
    return true;
}

int not_written(const compile_request &request, const char *what) {
    std::string reason = rx_system_error();
    rx_print_error(std::string("vcmp: unable to ") + what + " file \"" + request.output + "\".\n   (" + reason + ".)");
    return exit_not_written;
}

/// Checks the syntax of what was scanned and writes it to the output, which is there already.
int write_output(const compile_request &request, rx_program &program, const rx_scan_result &scanned) {
    rx_new_file output;
    if (!output.create(request.output, output_mode)) return not_written(request, "open");
    // Parsing links tokens to each other and so comes behind their writing.
    std::string home = rx_expand_name(request.home);
    if (home.ends_with('/')) home.pop_back();
    std::string bytes = rx_compiled_bytes(scanned.tokens, home + "/vandra", program.source, scanned.lines);
    rx_error.number = 55;
    try {
        rx_parse_tokens(scanned.tokens, {program.arena, program.labels, nullptr});
    } catch (const rx_jmp_parse &) {
        rx_report(program, rx_error.line, rx_error.column, false);
        output.discard();
        return rx_error.number;
    }
    if (output.write(bytes) && output.close()) return 0;
    int code = not_written(request, "write in");
    output.discard();
    return code;
}

int compile(const compile_request &request) {
    rx_program program;
    rx_read_failure failure;
    program.source = rx_read_file(request.input, failure);
    if (failure != rx_read_failure::none) {
        bool closed = failure == rx_read_failure::open;
        rx_print_error("vcmp: unable to " + std::string(closed ? "open" : "read") + " file " + request.input);
        return closed ? exit_not_opened : exit_not_read;
    }
    program.rc_lines = rx_load_rc(program.source, request.home);
    rx_source_entry entry;
    entry.name = request.input;
    program.entries.push_back(entry);
    bool compiled;
    rx_scan_result scanned = rx_scan_source(program.source, program.arena, true, compiled);
    // What is compiled already has no words to be compiled.
    if (compiled) scanned.error = invalid_compiled;
    program.entries[0].length = program.source.size();
    program.entries[0].last_line = static_cast<int>(scanned.lines);
    if (scanned.error) {
        rx_error.number = scanned.error;
        rx_error.has_extra = false;
        rx_report(program, scanned.error_line, scanned.error_column, false);
        return scanned.error;
    }
    return write_output(request, program, scanned);
}

} // namespace

bool rx_is_compile_tool(std::string_view name) {
    return rx_lowered(name).starts_with("vcmp");
}

int rx_compile_main(int count, char **words, const std::string &home) {
    compile_request request;
    request.home = home;
    if (!read_words(count, words, request)) return request.code;
    rx_install();
    rx_on_interpreter_stack(
        [](void *argument) {
            auto &asked = *static_cast<compile_request *>(argument);
            asked.code = compile(asked);
        },
        &request);
    return request.code;
}
