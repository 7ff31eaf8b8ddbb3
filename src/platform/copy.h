// Copies of files and directory trees.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// How to copy, and what came of it.
struct rx_copying {
    bool update = false;   ///< leave out files whose copy isn't older by more than `age` seconds
    int64_t age = 0;       ///< in seconds
    bool as_it_is = false; ///< copy a link as a link also when it is the source itself

    struct failure {
        std::string path;
        int error; ///< of the system
    };
    size_t files = 0; ///< copied so far
    std::vector<failure> failures;
};

/// Copies a file, or a directory with all that is in it, to a target that is the new file or directory itself. Times
/// and permissions go along; links within a tree are copied as links. What can't be copied is noted and doesn't stop
/// the rest; of a file that was copied in part nothing is left behind, unless it was there before.
void rx_copy(const std::string &source, const std::string &target, rx_copying &copying);
