// The standard streams of the process, as descriptors.
#pragma once

#include <cstddef>
#include <string_view>

/// Writes all bytes to descriptor 1 or 2, going on after interruptions and partial writes. A reader that has gone
/// away or a full disk loses the rest silently: there is mostly nobody left to tell. How many bytes were written; what
/// hindered the rest is what rx_system_error() says next.
size_t rx_console_write(int descriptor, std::string_view text);

/// True when the descriptor is a terminal.
bool rx_is_terminal(int descriptor);

/// Makes the descriptor `to` the same as `from`; false with the system's error set.
bool rx_duplicate_descriptor(int from, int to);
