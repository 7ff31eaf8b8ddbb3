#include "platform/console.h"

#include "platform/descriptor.h"
#include "platform/input.h"
#include "platform/world.h"

size_t rx_console_write(int descriptor, std::string_view text) {
    rx_console_writes++;
    return rx_write_bytes(descriptor, text);
}

bool rx_is_terminal(int descriptor) {
    return ::isatty(descriptor) != 0;
}

bool rx_duplicate_descriptor(int from, int to) {
    rx_world_changes++;
    rx_input_release();
    return ::dup2(from, to) >= 0;
}
