// The capture of a command's output, for backquotes and for whoever else reads what a program writes.
#include "base/output.h"
#include "engine/host.h"
#include "engine/host_resolve.h"
#include "engine/line_cutter.h"
#include "platform/capture.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr int no_pipe = 58, unreadable_pipe = 59, not_started = 86;

} // namespace

rx_capture rx_capture_command(std::string_view command, const rx_capture_options &options) {
    rx_capture capture;
    bool background = command.ends_with('&');
    if (background) command.remove_suffix(1);

    rx_pipe pipe;
    if (!background && !pipe.open()) {
        capture.error = no_pipe;
        return capture;
    }
    rx_command_line resolved = rx_resolve_command(command, options.shell_variable);
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
    rx_line_cutter lines([&](std::string_view line) {
        capture.lines.emplace_back(line);
        if (options.echo && (!options.shows || options.shows(line))) rx_write(capture.lines.back() + "\n");
    });
    bool well = rx_read_pipes(pipe, rx_pipe(), [&](std::string_view block, bool) { lines.take(block); });
    if (!well) capture.error = unreadable_pipe;
    lines.finish();
    int code = rx_wait_process(process);
    capture.code = code < 0 ? 128 - code : code;
    return capture;
}
