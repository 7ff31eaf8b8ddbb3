// Files that stay open: reading and writing at given offsets.
//
// The offset is always told and the system's own file pointer never used, except for what has none (pipes, terminals):
// there the offset is ignored. A call goes on after interruptions and until all bytes are done; the reason of a failure
// is what rx_system_error() says next.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

/// A descriptor that is closed with its record.
struct rx_open_file {
    int descriptor = -1;

    rx_open_file() = default;
    rx_open_file(rx_open_file &&other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    rx_open_file &operator=(rx_open_file &&other) noexcept {
        std::swap(descriptor, other.descriptor);
        return *this;
    }
    ~rx_open_file();

    /// Opens for reading and writing; a file that isn't there is made.
    bool open_for_update(std::string_view path);
    /// Opens an existing file, which may not be a directory.
    bool open_for_reading(std::string_view path);
};

/// What the system says of an open file.
struct rx_file_status {
    uint64_t size = 0;
    uint64_t device = 0, number = 0; ///< together the file's identity
    bool directory = false;
    bool has_contents = false; ///< the bytes stand still: a regular file or a block device
    bool seekable = true;      ///< offsets mean something
};

bool rx_status_of(const rx_open_file &file, rx_file_status &status);

/// True when standard output or standard error goes to that file.
bool rx_is_console_file(const rx_file_status &status);

/// Reads up to `count` bytes, fewer only at the end; how many, or -1. From a pipe or terminal one read's worth.
long rx_read_at(const rx_open_file &file, char *bytes, size_t count, uint64_t offset, bool seekable = true);

/// One write; how many bytes the system took, or -1.
long rx_write_once(const rx_open_file &file, std::string_view bytes, uint64_t offset, bool seekable = true);

/// Writes all bytes.
bool rx_write_at(const rx_open_file &file, std::string_view bytes, uint64_t offset);

/// Writes three pieces one after the other at the end of the file, wherever that is by now, with one call if the system
/// takes them all at once. `done` counts the bytes written, also on failure.
bool rx_append(const rx_open_file &file, const std::string_view (&pieces)[3], size_t &done);

/// Cuts the file.
bool rx_cut(const rx_open_file &file, uint64_t size);

/// Lengthens a file by bytes that are sure to have room, if the file system can promise that. False, and nothing
/// changed, when there is no room.
bool rx_lengthen(const rx_open_file &file, uint64_t size, uint64_t more);

/// Moves the bytes from `from` to `end` so that they begin at `to`, in the order that saves them from each other.
bool rx_move_bytes(const rx_open_file &file, uint64_t from, uint64_t end, uint64_t to);
