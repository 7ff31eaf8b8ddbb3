// Whole files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// True when a file, directory or anything else exists under that path.
bool rx_path_exists(std::string_view path);

/// Why a file couldn't be read.
enum class rx_read_failure { none, open, read };

/// The contents of a file; empty and a failure when it can't be opened or read. A directory can be opened but not read.
std::string rx_read_file(std::string_view path, rx_read_failure &failure);

/// The first line of a file that begins with `start`, without its line end; empty when it begins in another way (the
/// rest isn't read then), nothing when the file can't be opened.
std::optional<std::string> rx_first_line(std::string_view path, std::string_view start);

/// A file that is written anew.
struct rx_new_file {
    /// Opens and empties the file, or makes it with these permissions (less what the process masks). False on failure.
    bool create(std::string_view path, unsigned mode);
    bool write(std::string_view bytes);
    bool close();
    /// Closes and deletes it.
    void discard();

    rx_new_file() = default;
    rx_new_file(const rx_new_file &) = delete;
    rx_new_file &operator=(const rx_new_file &) = delete;
    ~rx_new_file() { close(); }

private:
    int file_ = -1;
    std::string path_;
};

/// Time of the last change in nanoseconds since 1970, or nothing when the file isn't there.
std::optional<int64_t> rx_file_time(std::string_view path);

/// The text of the last system error, or of the one with that number, as the system words it.
std::string rx_system_error();
std::string rx_system_error(int error);
