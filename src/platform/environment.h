// The environment variables of the process.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The value of a variable, if it exists.
std::optional<std::string> rx_getenv(std::string_view name);

/// Sets or replaces a variable. A name that is empty or holds "=" or a NUL can't be set and is passed over; a value
/// ends at its first NUL.
void rx_setenv(std::string_view name, std::string_view value);

/// Deletes a variable.
void rx_unsetenv(std::string_view name);
