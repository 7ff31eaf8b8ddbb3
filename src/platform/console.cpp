#include "platform/console.h"

#include "platform/input.h"
#include "platform/world.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

size_t rx_console_write(int descriptor, std::string_view text) {
    rx_console_writes++;
    size_t whole = text.size();
    while (!text.empty()) {
        ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd wait{descriptor, POLLOUT, 0};
            ::poll(&wait, 1, -1);
        } else if (errno != EINTR) {
            break;
        }
    }
    return whole - text.size();
}

bool rx_is_terminal(int descriptor) {
    return ::isatty(descriptor) != 0;
}

bool rx_duplicate_descriptor(int from, int to) {
    rx_world_changes++;
    rx_input_release();
    return ::dup2(from, to) >= 0;
}
