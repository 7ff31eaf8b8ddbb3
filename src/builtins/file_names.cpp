#include "builtins/file_names.h"

#include "engine/engine.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/strings.h"

std::string bu_solve_name(std::string_view name) {
    if (name.find('\0') != std::string_view::npos) return {};
    std::string path = rx_expand_name(name);
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::string bu_solve_argument(bu_args &args, size_t i, std::string_view complaint) {
    std::string path = bu_solve_name(args.text(i));
    if (path.empty()) rx_arg_error(args.list, i, std::string(complaint));
    return path;
}

std::string bu_quoted(std::string_view name) {
    return std::string("\"").append(name).append("\"");
}

std::string bu_unable(std::string_view what, std::string_view name, int error) {
    return "Unable to " + std::string(what) + " " + bu_quoted(name) + " (" + rx_system_error(error) + ").";
}

std::string bu_unable(std::string_view what, std::string_view name) {
    std::string reason = rx_system_error();
    return "Unable to " + std::string(what) + " " + bu_quoted(name) + " (" + reason + ").";
}

rx_value bu_status(int code) {
    rx_set_code(RX_RC, code);
    return bu_number(code);
}

rx_value bu_status(int code, std::string_view text) {
    rx_set_code(RX_RC, code);
    return rx_string(text);
}

bool bu_on_off(bu_args &args, size_t i, bool &on) {
    on = rx_equal_nocase(args.text(i), "ON");
    return on || rx_equal_nocase(args.text(i), "OFF");
}
