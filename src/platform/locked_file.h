// Small files that several processes share: each is read and written as a whole.
//
// Whoever works on a file holds a lock over its bytes (an open-file-description lock, which ends with its holder's last
// descriptor, so a killed process leaves none behind). One that is busy is asked for up to 300 times with 10
// milliseconds in between. What is written takes the place of the old file in one step: a reader has the old bytes or
// the new ones, and so has everybody after a writer was killed.
#pragma once

#include <string>
#include <string_view>

enum class rx_file_result {
    done,
    absent, ///< there is no regular file of that name
    failed, ///< the system refuses
    busy    ///< it stayed locked
};

/// The bytes of a file.
rx_file_result rx_read_locked(const std::string &path, std::string &bytes);

/// Replaces a file, or makes one with these permissions. `draft` is the path on which the new bytes are put together:
/// no other process may use it; on another file system than the file's it is of no use, and the file is written where
/// it lies. When there is no room for the new bytes the old ones stay.
rx_file_result rx_write_locked(const std::string &path, const std::string &draft, std::string_view bytes,
                               unsigned mode);

/// Deletes a file.
rx_file_result rx_remove_locked(const std::string &path);
