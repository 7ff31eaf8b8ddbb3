// What the functions need of rooms that they don't include. The driver fills it; the functions do without what is
// missing.
#pragma once

#include "base/run_local.h"

#include <cstddef>
#include <string>
#include <vector>

/// The count of lines in the current buffer of the external data queue, for QUEUED.
inline size_t (*bu_queue_count)() = nullptr;

/// The key-waiting test of the console that LINES and CHARS use, for EXTERNALS: true when a key waits or, on a pipe or
/// a file, when there is something to read.
inline bool (*bu_key_waiting)() = nullptr;

/// The words of the run's command line, the program first. ARG reads them, SETARG changes them.
inline rx_run_local<std::vector<std::string>> bu_command_words;

/// The installation directory of the run in force, for XHOME.
inline std::string (*bu_home_directory)() = nullptr;
