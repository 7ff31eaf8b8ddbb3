#include "platform/directories.h"

#include "platform/environment.h"

#include <cstdlib>
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
