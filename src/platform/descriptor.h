// Descriptors of open files. Only files of this folder include this.
#pragma once

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <unistd.h>

/// An open file, closed with it; the error number survives.
struct rx_descriptor {
    int number;

    explicit rx_descriptor(int opened) : number(opened) {}
    ~rx_descriptor() {
        int error = errno;
        if (number >= 0) ::close(number);
        errno = error;
    }
    rx_descriptor(const rx_descriptor &) = delete;
    rx_descriptor &operator=(const rx_descriptor &) = delete;
    bool good() const { return number >= 0; }
};

/// Writes bytes, going on after interruptions and partial writes, and waiting where there is no room at the moment.
/// How many were written; the system's error is set when not all were.
size_t rx_write_bytes(int descriptor, std::string_view bytes);

/// The same; false when not all were.
inline bool rx_write_all(int descriptor, std::string_view bytes) {
    return rx_write_bytes(descriptor, bytes) == bytes.size();
}
