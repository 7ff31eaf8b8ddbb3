#include "platform/descriptor.h"

#include <poll.h>

size_t rx_write_bytes(int descriptor, std::string_view bytes) {
    size_t whole = bytes.size();
    while (!bytes.empty()) {
        ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd wait{descriptor, POLLOUT, 0};
            ::poll(&wait, 1, -1);
        } else if (errno != EINTR) {
            break;
        }
    }
    return whole - bytes.size();
}
