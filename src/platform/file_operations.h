// Changes to the file system. Every function works on names of any bytes and on paths of any length, and none goes
// through a shell. Those that return a truth value leave the system's error for rx_system_error when it is false.
#pragma once

#include "platform/path_status.h"

#include <string>
#include <string_view>
#include <vector>

/// Removes the name of a file or link.
bool rx_remove_file(const std::string &path);

/// Overwrites the contents of a file several times, to the disk each time. A read-only file is made writable first.
bool rx_wipe_file(const std::string &path);

/// Gives a file or directory another name; an existing file of that name goes. Across file systems it is copied and
/// then removed; unless all of it could be copied it stays where it was, and so does what had the name.
bool rx_move(const std::string &from, const std::string &to);

/// Makes a directory and all that are missing above it.
bool rx_make_directories(const std::string &path);

/// Removes an empty directory, or a directory with all that lies in it. Links are removed, not followed.
bool rx_remove_directory(const std::string &path);
bool rx_remove_tree(const std::string &path);

/// Makes a link: a symbolic one with that text, or a further name of an existing file.
bool rx_make_symbolic_link(std::string_view text, const std::string &path);
bool rx_make_hard_link(const std::string &from, const std::string &path);

/// The text of a symbolic link.
bool rx_read_link(const std::string &path, std::string &text);

/// The path with all links in it resolved.
bool rx_resolve_path(const std::string &path, std::string &resolved);

/// What can go wrong when one file is read and another written.
enum class rx_transfer_failure { none, open_source, open_target, read, write };

/// Appends the contents that a file has now to another, which is made when it is missing.
rx_transfer_failure rx_append_file(const std::string &target, const std::string &source);

/// One entry of a directory.
struct rx_directory_entry {
    std::string name;
    rx_file_type type;
};

/// Reads a directory, "." and ".." left out, in the order of the names' bytes.
bool rx_list_directory(const std::string &path, std::vector<rx_directory_entry> &entries);
