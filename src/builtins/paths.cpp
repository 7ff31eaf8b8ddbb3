// FN, FT and FD: the parts of a path. A backslash counts as "/".
#include "platform/paths.h"
#include "builtins/arguments.h"
#include "builtins/handlers.h"

#include <algorithm>

namespace {

/// What stands behind the last "/".
std::string_view base_of(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

/// The place of the dot in front of a base name's type, or its length. A dot at the beginning belongs to the name.
size_t type_dot(std::string_view base) {
    size_t dot = base.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? base.size() : dot;
}

} // namespace

/// fd(path)
/// The directory of a path, without a "/" at its end.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: fd('/usr/lib/x.txt') -> /usr/lib
rx_value bu_fd(const rx_expr *list) {
    bu_args args(list, "FD", 1, 1, "must receive 1 argument.");
    std::string path = rx_path_to_slashes(args.text(0));
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return rx_string({});
    std::string_view directory = std::string_view(path).substr(0, slash);
    if (directory.ends_with('/')) directory.remove_suffix(1);
    return rx_string(directory.empty() ? "/" : directory);
}

/// fn(path)
/// The base name of a path, without its type.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: fn('/usr/lib/x.txt') -> x
rx_value bu_fn(const rx_expr *list) {
    bu_args args(list, "FN", 1, 1, "must receive 1 argument.");
    std::string path = rx_path_to_slashes(args.text(0));
    std::string_view base = base_of(path);
    return rx_string(base.substr(0, type_dot(base)));
}

/// ft(path)
/// The type of a path: what stands behind the last dot of its base name.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: ft('/usr/lib/x.txt') -> txt
rx_value bu_ft(const rx_expr *list) {
    bu_args args(list, "FT", 1, 1, "must receive 1 argument.");
    std::string path = rx_path_to_slashes(args.text(0));
    std::string_view base = base_of(path);
    return rx_string(base.substr(std::min(type_dot(base) + 1, base.size())));
}
