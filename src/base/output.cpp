#include "base/output.h"

#include "platform/console.h"

#include <string>

void rx_write(std::string_view text) {
    if (rx_write_copy) rx_write_copy(text);
    rx_console_write(1, text);
}

void rx_print_error(std::string_view message) {
    std::string line(message);
    line += '\n';
    rx_console_write(2, line);
}
