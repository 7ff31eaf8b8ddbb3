#include "platform/trash.h"

#include "platform/at_path.h"
#include "platform/clock.h"
#include "platform/directories.h"
#include "platform/environment.h"
#include "platform/file_operations.h"

#include <cstdio>
#include <sys/stat.h>

namespace {

std::string directory_of(const std::string &path) {
    size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

std::string name_of(const std::string &path) {
    return path.substr(path.rfind('/') + 1);
}

/// The topmost directory of the file system that a directory lies in.
std::string top_of(std::string directory, uint64_t device) {
    rx_path_status status;
    while (directory != "/") {
        std::string above = directory_of(directory);
        if (!rx_get_path_status(above, true, status) || status.device != device) break;
        directory = above;
    }
    return directory;
}

bool make_private(const std::string &path) {
    rx_path_status status;
    if (rx_get_path_status(path, false, status)) return status.type == rx_file_type::directory;
    return rx_make_directories(directory_of(path)) && ::mkdir(path.c_str(), 0700) == 0;
}

bool is_there(const std::string &trash) {
    return make_private(trash) && make_private(trash + "/files") && make_private(trash + "/info");
}

std::string home_trash() {
    std::string data = rx_getenv("XDG_DATA_HOME").value_or("");
    if (data.empty() || data[0] != '/') data = rx_home() + ".local/share";
    return data + "/Trash";
}

/// The trash at the top of a file system: the shared one when it can be trusted, else the user's. Empty: neither can
/// be had.
std::string top_trash(const std::string &top) {
    std::string user = std::to_string(::getuid()), base = top == "/" ? "" : top;
    rx_path_status status;
    std::string shared = base + "/.Trash";
    if (rx_get_path_status(shared, false, status) && status.type == rx_file_type::directory &&
        (status.mode & S_ISVTX) && is_there(shared + "/" + user))
        return shared + "/" + user;
    std::string own = base + "/.Trash-" + user;
    return is_there(own) ? own : "";
}

/// A path as it stands in an information file: every byte but those of plain names as %XX.
std::string escaped(const std::string &path) {
    std::string text;
    for (char c : path) {
        bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                     std::string("/-_.~").find(c) != std::string::npos;
        char code[4];
        std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(c));
        if (plain)
            text += c;
        else
            text += code;
    }
    return text;
}

std::string information(const std::string &path) {
    rx_local_time now = rx_local_time_of(rx_clock_now().seconds);
    char date[80];
    std::snprintf(date, sizeof date, "%04d-%02d-%02dT%02d:%02d:%02d", now.year, now.month, now.day, now.hour,
                  now.minute, now.second);
    return "[Trash Info]\nPath=" + escaped(path) + "\nDeletionDate=" + date + "\n";
}

/// Takes a free name in the trash by making its information file; empty when that can't be.
std::string claim_name(const std::string &trash, const std::string &wanted, const std::string &text) {
    constexpr size_t longest = 200; // of a name, so that a number and the ending fit
    std::string base = wanted.substr(0, longest);
    for (int attempt = 1; attempt < 100000; attempt++) {
        std::string name = attempt == 1 ? base : base + "." + std::to_string(attempt);
        std::string path = trash + "/info/" + name + ".trashinfo";
        rx_path_status status;
        if (rx_get_path_status(trash + "/files/" + name, false, status)) continue;
        rx_descriptor file(rx_open_at(path, O_WRONLY | O_CREAT | O_EXCL, 0600));
        if (!file.good() && errno == EEXIST) continue;
        if (!file.good()) return {};
        if (!rx_write_all(file.number, text)) {
            rx_remove_file(path);
            return {};
        }
        return name;
    }
    return {};
}

} // namespace

bool rx_move_to_trash(const std::string &path) {
    rx_path_status status, of_directory, of_trash;
    std::string directory = directory_of(path);
    if (!rx_get_path_status(path, false, status) || !rx_get_path_status(directory, true, of_directory)) return false;
    std::string trash = home_trash(), recorded;
    if (!is_there(trash)) return false;
    // What is recorded is where the file really lies, however it was named; with the user's trash the whole path.
    if (!rx_resolve_path(directory, recorded)) return false;
    recorded = (recorded == "/" ? "" : recorded) + "/" + name_of(path);
    if (rx_get_path_status(trash, true, of_trash) && of_trash.device != of_directory.device) {
        std::string top = top_of(directory_of(recorded), of_directory.device);
        std::string other = top_trash(top);
        if (!other.empty()) {
            trash = other;
            recorded = recorded.substr(top == "/" ? 1 : top.size() + 1);
        }
    }
    std::string name = claim_name(trash, name_of(path), information(recorded));
    if (name.empty()) return false;
    if (rx_move(path, trash + "/files/" + name)) return true;
    int error = errno;
    rx_remove_file(trash + "/info/" + name + ".trashinfo");
    errno = error;
    return false;
}
