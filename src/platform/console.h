// The standard streams of the process, as descriptors.
#pragma once

#include <string_view>

/// Writes all bytes to descriptor 1 or 2, going on after interruptions and partial writes. A reader that has gone
/// away or a full disk loses the rest silently: there is nobody left to tell.
void rx_console_write(int descriptor, std::string_view text);
