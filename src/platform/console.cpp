#include "platform/console.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

void rx_console_write(int descriptor, std::string_view text) {
    while (!text.empty()) {
        ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd wait{descriptor, POLLOUT, 0};
            ::poll(&wait, 1, -1);
        } else if (errno != EINTR) {
            return;
        }
    }
}
