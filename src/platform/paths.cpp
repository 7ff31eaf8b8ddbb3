#include "platform/paths.h"

#include "platform/directories.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/strings.h"

#include <unistd.h>

std::string rx_path_to_slashes(std::string_view path) {
    std::string result(path);
    for (char &c : result) {
        if (c == '\\') c = '/';
    }
    return result;
}

namespace {

std::string without_doubled_slashes(const std::string &path) {
    std::string result;
    for (char c : path) {
        if (c == '/' && result.size() > 1 && result.back() == '/') continue;
        result += c;
    }
    return result;
}

/// Takes the "." and ".." steps out of an absolute path.
std::string resolve_steps(std::string_view path) {
    std::vector<std::string_view> parts;
    for (std::string_view part : rx_split_at(path, '/')) {
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
    }
    std::string result;
    for (std::string_view part : parts) result.append("/").append(part);
    return result.empty() ? "/" : result;
}

std::string home_without_slash() {
    std::string home = rx_home();
    if (home.size() > 1) home.pop_back();
    return home;
}

} // namespace

std::string rx_expand_name(std::string_view name, std::string_view base) {
    if (name.empty()) return {};
    std::string path = without_doubled_slashes(rx_path_to_slashes(name));
    if (path == "~") return home_without_slash();
    if (path[0] == '~') {
        std::string home = path.size() > 1 && path[1] == '/' ? home_without_slash() : rx_home();
        return home == "/" ? path.substr(1) : home + path.substr(1);
    }
    bool drive = path.size() > 2 && path[1] == ':' && path[2] == '/';
    if (path[0] == '/' || drive) return path;
    std::string start = base.empty() ? rx_current_directory() : std::string(base);
    return resolve_steps(start + "/" + path);
}

std::string rx_find_home(std::string_view name) {
    std::string file = rx_path_to_slashes(name);
    bool relative = file.starts_with("~") || file.starts_with("./") || file.starts_with("../");
    if (file == ".") return rx_expand_name(file);
    if (relative) file = rx_expand_name(file);
    if (file.find('/') != std::string::npos) return file.starts_with("/") ? file.substr(0, file.rfind('/')) : "";
    if (rx_path_exists(rx_current_directory() + "/" + file)) return rx_current_directory();
    for (std::string_view element : rx_split_at(rx_getenv("PATH").value_or(""), ':')) {
        if (element.empty() || element.size() > 512) continue;
        std::string directory(element);
        if (element[0] == '.' || element[0] == '~') directory = rx_expand_name(element);
        if (rx_path_exists(directory + "/" + file)) return directory;
    }
    return {};
}

std::string rx_running_file() {
    char path[4096];
    ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

std::vector<std::string> rx_path_list() {
    std::vector<std::string> list{"."};
    std::string path = rx_getenv("PATH").value_or("");
    for (std::string_view element : rx_split_at(path, ':')) {
        if (element.empty() || element == ".") continue;
        std::string directory = element[0] == '~' ? rx_expand_name(element) : std::string(element);
        if (directory[0] == '/') list.push_back(directory);
    }
    return list;
}
