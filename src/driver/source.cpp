#include "driver/source.h"

#include "base/output.h"
#include "compiled/compiled.h"
#include "platform/directories.h"
#include "platform/files.h"
#include "platform/paths.h"

#include <algorithm>

std::string rx_find_script(std::string_view name) {
    if (rx_path_exists(name)) return std::string(name);
    std::string path = rx_path_to_slashes(name);
    bool is_path = path.starts_with("/") || path.starts_with("./") || path.starts_with("../") ||
                   (path.size() > 1 && path[1] == ':');
    if (is_path) return path;
    for (const std::string &directory : rx_path_list()) {
        std::string candidate = directory + "/" + path;
        if (rx_path_exists(candidate)) return candidate;
    }
    return std::string(name);
}

namespace {

/// A compiled file announces itself on its second line.
bool is_compiled(std::string_view text) {
    size_t end = text.find('\n');
    return end != std::string_view::npos && end + 7 < text.size() && text.substr(end + 1).starts_with("@vcmp");
}

} // namespace

std::string rx_unreadable(rx_read_failure failure, std::string_view name) {
    std::string_view what = failure == rx_read_failure::open ? "open" : "read";
    return std::string("vandra: unable to ").append(what).append(" file ").append(name);
}

unsigned rx_load_rc(std::string &text, const std::string &home) {
    if (is_compiled(text)) return 0;
    std::string path = rx_home() + ".vandrarc";
    if (!rx_path_exists(path)) path = home + "/.vandrarc";
    if (!rx_path_exists(path)) return 0;
    rx_read_failure failure;
    std::string start_up = rx_read_file(path, failure);
    if (failure != rx_read_failure::none) {
        std::string reason = rx_system_error();
        rx_print_error(rx_unreadable(failure, path));
        rx_print_error("vandra: " + reason);
        return 0;
    }
    if (start_up.size() < 2) return 0;
    if (start_up.back() != '\n') start_up += '\n';
    auto lines = std::count(start_up.begin(), start_up.end(), '\n');
    text.insert(0, start_up);
    return static_cast<unsigned>(lines);
}

uint64_t rx_next_program_serial() {
    static uint64_t serial = 0;
    return ++serial;
}

rx_scan_result rx_scan_source(std::string &text, rx_arena &arena, bool apply_modes, bool &compiled) {
    rx_scan_result result;
    compiled = rx_read_compiled(text, arena, apply_modes, result);
    return compiled ? result : lex(text, arena, apply_modes);
}
