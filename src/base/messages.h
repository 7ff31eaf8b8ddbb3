// The message catalogue: the fixed short text of every error number.
#pragma once

#include <string_view>

/// The text of an error: empty for numbers 0 to 98 that nothing raises, "Unknown error." from 99 on.
std::string_view rx_error_text(int number);
