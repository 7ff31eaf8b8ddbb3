#include "platform/environment.h"

#include <cstdlib>

std::optional<std::string> rx_getenv(std::string_view name) {
    const char *value = std::getenv(std::string(name).c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

void rx_setenv(std::string_view name, std::string_view value) {
    ::setenv(std::string(name).c_str(), std::string(value).c_str(), 1);
}

void rx_unsetenv(std::string_view name) {
    ::unsetenv(std::string(name).c_str());
}
