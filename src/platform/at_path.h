// Paths longer than the system takes: deep trees have such. Only files of this folder include this.
#pragma once

#include "platform/descriptor.h"

#include <fcntl.h>
#include <string>

/// A path as the "at" calls want it: a directory and what is left of the path behind it. A short path goes with the
/// current directory; of a long one the front is opened piece by piece. A path that holds a NUL, which would mean
/// another file to the system, and one whose front can't be opened come out empty, and no call finds that. The path
/// must outlive it.
struct rx_at_path {
    int directory = AT_FDCWD;
    const char *rest;

    explicit rx_at_path(const std::string &path) : rest(path.c_str()) {
        if (path.find('\0') != std::string::npos) rest = "";
        size_t at = 0;
        while (*rest && path.size() - at > longest) {
            size_t slash = path.rfind('/', at + longest);
            if (slash == std::string::npos || slash <= at) slash = path.find('/', at + longest);
            if (slash == std::string::npos) return;
            std::string piece = path.substr(at, slash - at);
            int opened = ::openat(directory, piece.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
            close();
            directory = opened < 0 ? AT_FDCWD : opened;
            at = path.find_first_not_of('/', slash);
            rest = opened < 0 || at == std::string::npos ? "" : path.c_str() + at;
        }
    }
    ~rx_at_path() { close(); }
    rx_at_path(const rx_at_path &) = delete;
    rx_at_path &operator=(const rx_at_path &) = delete;

private:
    static constexpr size_t longest = 3800;

    void close() const {
        int error = errno;
        if (directory >= 0) ::close(directory);
        errno = error;
    }
};

inline int rx_open_at(const std::string &path, int flags, unsigned mode = 0) {
    rx_at_path at(path);
    return ::openat(at.directory, at.rest, flags | O_CLOEXEC, mode);
}
