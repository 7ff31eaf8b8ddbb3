#include "platform/directories.h"

#include "platform/at_path.h"
#include "platform/environment.h"
#include "platform/path_status.h"

#include <cstdlib>
#include <sys/stat.h>

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
    rx_descriptor directory(rx_open_at(std::string(path), O_PATH | O_DIRECTORY));
    return directory.good() && ::fchdir(directory.number) == 0;
}

std::string rx_current_directory() {
    char *path = ::getcwd(nullptr, 0);
    std::string result = path ? path : ".";
    std::free(path);
    return result;
}

bool rx_is_directory(const std::string &path) {
    rx_path_status status;
    return rx_get_path_status(path, true, status) && status.type == rx_file_type::directory;
}

bool rx_make_directory(const std::string &path, unsigned mode) {
    return ::mkdir(path.c_str(), mode) == 0 || rx_is_directory(path);
}
