// Directories and the tests of paths that everybody needs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The directory from HOME with a "/" at its end; without HOME the root.
std::string rx_home();

/// Grows whenever another directory becomes the current one.
inline constinit uint64_t rx_directory_changes = 0;

/// Makes a directory the current one; false when that can't be.
bool rx_change_directory(std::string_view path);

/// The current directory.
std::string rx_current_directory();

/// True for a directory, or a link to one.
bool rx_is_directory(const std::string &path);

/// True when the directory is there, made with these permissions (less what the process masks) if it wasn't.
bool rx_make_directory(const std::string &path, unsigned mode);

enum class rx_entry_kind {
    file,      ///< a regular file, or a link to one
    directory, ///< a directory itself
    other
};

struct rx_directory_entry {
    std::string name;
    rx_entry_kind kind;
};

/// What lies in a directory, in the order of the names, without "." and ".."; nothing for one that can't be read.
std::vector<rx_directory_entry> rx_list_directory(const std::string &path);

/// Deletes a file or a directory with all that is in it, following no link. False when something is left.
bool rx_remove_tree(const std::string &path);
