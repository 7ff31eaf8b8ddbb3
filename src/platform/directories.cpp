#include "platform/directories.h"

#include "platform/environment.h"
#include "platform/files.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

std::string rx_home() {
    std::string home = rx_getenv("HOME").value_or("/");
    for (char &c : home) {
        if (c == '\\') c = '/';
    }
    if (home.empty() || home.back() != '/') home += '/';
    return home;
}

bool rx_change_directory(std::string_view path) {
    rx_directory_changes++;
    return path.find('\0') == std::string_view::npos && ::chdir(std::string(path).c_str()) == 0;
}

std::string rx_current_directory() {
    char *path = ::getcwd(nullptr, 0);
    std::string result = path ? path : ".";
    std::free(path);
    return result;
}

bool rx_is_directory(const std::string &path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool rx_make_directory(const std::string &path, unsigned mode) {
    return ::mkdir(path.c_str(), mode) == 0 || rx_is_directory(path);
}

namespace {

rx_entry_kind kind_of(const std::string &path) {
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0) return rx_entry_kind::other;
    if (S_ISDIR(status.st_mode)) return rx_entry_kind::directory;
    if (S_ISLNK(status.st_mode) && ::stat(path.c_str(), &status) != 0) return rx_entry_kind::other;
    return S_ISREG(status.st_mode) ? rx_entry_kind::file : rx_entry_kind::other;
}

} // namespace

std::vector<rx_directory_entry> rx_list_directory(const std::string &path) {
    std::vector<rx_directory_entry> entries;
    DIR *directory = ::opendir(path.c_str());
    if (!directory) return entries;
    while (const dirent *entry = ::readdir(directory)) {
        std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        rx_entry_kind kind = entry->d_type == DT_REG   ? rx_entry_kind::file
                             : entry->d_type == DT_DIR ? rx_entry_kind::directory
                                                       : kind_of(path + "/" + entry->d_name);
        entries.push_back({std::string(name), kind});
    }
    ::closedir(directory);
    std::sort(entries.begin(), entries.end(), [](const auto &a, const auto &b) { return a.name < b.name; });
    return entries;
}

bool rx_remove_tree(const std::string &path) {
    if (::rmdir(path.c_str()) == 0 || ::unlink(path.c_str()) == 0) return true;
    ::chmod(path.c_str(), 0700);
    for (const rx_directory_entry &entry : rx_list_directory(path)) rx_remove_tree(path + "/" + entry.name);
    return ::rmdir(path.c_str()) == 0 || !rx_path_exists(path);
}
