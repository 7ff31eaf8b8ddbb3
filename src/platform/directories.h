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
