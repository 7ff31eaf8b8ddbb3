#include "platform/capture.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>

namespace {

constexpr size_t block_size = 1 << 17;

/// Room for more at a time means fewer changes from one process to the other; the system may refuse.
void widen(const rx_pipe &pipe) {
    if (pipe.read_end >= 0) ::fcntl(pipe.read_end, F_SETPIPE_SZ, 1 << 20);
}

} // namespace

bool rx_read_pipes(const rx_pipe &output, const rx_pipe &errors, const rx_block_sink &sink) {
    widen(output);
    widen(errors);
    pollfd waits[2] = {{output.read_end, POLLIN, 0}, {errors.read_end, POLLIN, 0}};
    std::vector<char> block(block_size);
    bool well = true;
    while (waits[0].fd >= 0 || waits[1].fd >= 0) {
        bool both = waits[0].fd >= 0 && waits[1].fd >= 0;
        if (both && ::poll(waits, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        for (int i = 0; i < 2; i++) {
            if (waits[i].fd < 0 || (both && !waits[i].revents)) continue;
            long got = (i ? errors : output).read(block.data(), block.size());
            if (got > 0) sink({block.data(), static_cast<size_t>(got)}, i == 1);
            if (got < 0) well = false;
            if (got <= 0) waits[i].fd = -1;
        }
    }
    return well;
}
