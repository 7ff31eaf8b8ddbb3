// What the system knows of a file without opening it.
#pragma once

#include <cstdint>
#include <string>

enum class rx_file_type { file, directory, link, other };

struct rx_path_status {
    rx_file_type type = rx_file_type::other;
    int64_t size = 0;    ///< in bytes
    int64_t changed = 0; ///< time of the last change, seconds since 1970
    int64_t changed_nanoseconds = 0;
    uint64_t device = 0, number = 0; ///< together they tell files apart
    unsigned mode = 0;               ///< permission bits
    unsigned user = 0, group = 0;
};

/// The status of a file; of what a link leads to when `follow` is set. False with the system's error set.
bool rx_get_path_status(const std::string &path, bool follow, rx_path_status &status);

/// True when both are the same file.
inline bool rx_same_file(const rx_path_status &a, const rx_path_status &b) {
    return a.device == b.device && a.number == b.number;
}

/// The names of a user and a group; the numbers as text when they have none.
std::string rx_user_name(unsigned user);
std::string rx_group_name(unsigned group);

/// The name of the user that the process works for, and the name of the machine.
std::string rx_login_name();
std::string rx_host_name();

/// True when the file can be opened for reading; for writing: one that isn't there is made by the test and deleted
/// again.
bool rx_can_read(const std::string &path);
bool rx_can_write(const std::string &path);

/// True when somebody holds a lock on the file, or when it is there and can't be opened at all.
bool rx_is_locked(const std::string &path);
