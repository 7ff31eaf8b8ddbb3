// A log of all that this process and its children write, beside what they write.
//
// While a log is kept the two output streams are pipes; a thread copies what comes out of them to where the streams
// went before and to the log, in the order in which it comes. It shares nothing with the rest of the process but the
// descriptors that it was given.
#pragma once

#include <string>

enum class rx_log_failure { none, open, pipe, thread };

/// Begins a log at the end of a file; an earlier log ends. The process's end ends it, too. After a failure the system's
/// error is set and nothing has changed.
rx_log_failure rx_begin_log(const std::string &path);

/// Ends the log: what was written so far is in it, and the streams are what they were.
void rx_end_log();
