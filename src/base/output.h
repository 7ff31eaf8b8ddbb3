// The output routine: everything that a script says, every trace line and every report goes through rx_write. Text is
// written to the descriptor at once, so that another process sees a line as soon as the clause that wrote it has ended.
#pragma once

#include <string_view>

/// Writes the bytes to standard output, and to the log file when one is open.
void rx_write(std::string_view text);

/// Writes the message and a line feed to standard error.
void rx_print_error(std::string_view message);

/// Called with everything that rx_write writes, when set; the debugger link uses it.
inline void (*rx_write_copy)(std::string_view text) = nullptr;
