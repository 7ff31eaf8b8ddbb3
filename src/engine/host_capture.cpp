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

/// Cuts an output into lines as it comes. A carriage return at a line's end goes, and so does a last line that only
/// holds the end-of-file character of old systems.
class line_cutter {
public:
    line_cutter(std::vector<std::string> &lines, const rx_capture_options &options)
        : lines_(lines), options_(options) {}

    void take(std::string_view block) {
        for (size_t feed; (feed = block.find('\n')) != std::string_view::npos; block.remove_prefix(feed + 1)) {
            rest_ += block.substr(0, feed);
            finish_line();
        }
        rest_ += block;
    }

    /// To be called at the end of the output.
    void finish() {
        if (!rest_.empty()) finish_line();
    }

private:
    static constexpr std::string_view old_end_of_file = "\x1A";

    void finish_line() {
        if (held_back_) add(std::string(old_end_of_file));
        if (rest_.ends_with('\r')) rest_.pop_back();
        held_back_ = rest_ == old_end_of_file;
        if (!held_back_) add(std::move(rest_));
        rest_.clear();
    }

    void add(std::string &&line) {
        if (options_.echo && (!options_.shows || options_.shows(line))) rx_write(line + "\n");
        lines_.push_back(std::move(line));
    }

    std::vector<std::string> &lines_;
    const rx_capture_options &options_;
    std::string rest_;       ///< the beginning of a line that isn't complete
    bool held_back_ = false; ///< the last line holds that character: it counts only when another follows
};

/// Reads a pipe to its end; false when that fails.
bool read_all(const rx_pipe &pipe, line_cutter &lines) {
    char block[block_size];
    for (;;) {
        long got = pipe.read(block, block_size);
        if (got <= 0) return got == 0;
        lines.take({block, static_cast<size_t>(got)});
    }
}

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
    line_cutter lines(capture.lines, options);
    if (!read_all(pipe, lines)) capture.error = unreadable_pipe;
    lines.finish();
    int code = rx_wait_process(process);
    capture.code = code < 0 ? 128 - code : code;
    return capture;
}
