#include "platform/directories.h"

#include "platform/environment.h"

#include <cstdlib>
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
