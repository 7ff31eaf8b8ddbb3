// The capture of a command's output, for backquotes and for whoever else reads what a program writes.
#include "base/output.h"
#include "engine/host.h"
#include "engine/host_resolve.h"
#include "platform/process.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr int no_pipe = 58, unreadable_pipe = 59, not_started = 86;
constexpr size_t block_size = 65536;

/// Cuts an output into lines. A carriage return at a line's end goes, and so does a last line that only holds the
/// end-of-file character of old systems.
std::vector<std::string> lines_of(std::string_view output) {
    constexpr std::string_view old_end_of_file = "\x1A";
    std::vector<std::string> lines;
    while (!output.empty()) {
        size_t end = output.find('\n');
        std::string_view line = output.substr(0, end);
        output.remove_prefix(end == std::string_view::npos ? output.size() : end + 1);
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (output.empty() && line == old_end_of_file) break;
        lines.emplace_back(line);
    }
    return lines;
}

/// Reads a pipe to its end; false when that fails.
bool read_all(const rx_pipe &pipe, std::string &output) {
    for (;;) {
        size_t before = output.size();
        output.resize(before + block_size);
        long got = pipe.read(output.data() + before, block_size);
        output.resize(before + static_cast<size_t>(got > 0 ? got : 0));
        if (got <= 0) return got == 0;
    }
}

} // namespace

rx_capture rx_capture_command(std::string_view command) {
    rx_capture capture;
    bool background = command.ends_with('&');
    if (background) command.remove_suffix(1);

    rx_pipe pipe;
    if (!background && !pipe.open()) {
        capture.error = no_pipe;
        return capture;
    }
    rx_command_line resolved = rx_resolve_command(command);
    int error = ENOENT;
    int process = -1;
    if (!resolved.path.empty()) {
        process = rx_start_process({.path = resolved.path,
                                    .arguments = std::move(resolved.arguments),
                                    .output = pipe.write_end,
                                    .background = background},
                                   error);
    }
    pipe.close_write_end();
    if (process < 0) {
        rx_print_error("Unable to create process; Error is: \"" + std::string(std::strerror(error)) + "\"");
        capture.error = not_started;
        return capture;
    }
    if (background) {
        capture.code = static_cast<int>(rx_keep_process(process));
        return capture;
    }
    std::string output;
    if (!read_all(pipe, output)) capture.error = unreadable_pipe;
    int code = rx_wait_process(process);
    capture.code = code < 0 ? 128 - code : code;
    capture.lines = lines_of(output);
    return capture;
}
