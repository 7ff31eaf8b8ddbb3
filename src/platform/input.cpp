#include "platform/input.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr size_t block_size = 65536;

enum class input_kind { file, pipe, socket, terminal, other };

/// What is known of the bytes ahead. The first `used` of the `known` bytes have been handed out, but the system still
/// counts them as unread.
struct look_ahead {
    std::vector<char> bytes;
    size_t used = 0;
    size_t known = 0;
    off_t file_offset = 0;
    int mirror[2] = {-1, -1}; ///< our own pipe, for looking into the real one
};
look_ahead ahead;

/// Waits on a descriptor that doesn't block by itself. True when the call that just failed is worth another try.
bool try_again() {
    if (errno == EINTR) return true;
    if (errno != EAGAIN) return false;
    pollfd wait{0, POLLIN, 0};
    ::poll(&wait, 1, -1);
    return true;
}

ssize_t read_some(char *bytes, size_t count) {
    ssize_t got;
    do got = ::read(0, bytes, count);
    while (got < 0 && try_again());
    return got;
}

/// Asked at each use: a script can put another file in the place of its standard input.
input_kind kind_of_input() {
    struct stat status = {};
    if (::fstat(0, &status) != 0) return input_kind::other;
    if (S_ISREG(status.st_mode)) return input_kind::file;
    if (S_ISFIFO(status.st_mode)) return input_kind::pipe;
    if (S_ISSOCK(status.st_mode)) return input_kind::socket;
    return S_ISCHR(status.st_mode) && ::isatty(0) ? input_kind::terminal : input_kind::other;
}

bool terminal_gives_lines() {
    termios settings = {};
    return ::tcgetattr(0, &settings) == 0 && (settings.c_lflag & ICANON);
}

ssize_t peek_file() {
    ahead.file_offset = ::lseek(0, 0, SEEK_CUR);
    if (ahead.file_offset < 0) return -1;
    return ::pread(0, ahead.bytes.data(), block_size, ahead.file_offset);
}

ssize_t peek_pipe() {
    if (ahead.mirror[0] < 0 && ::pipe2(ahead.mirror, O_CLOEXEC) != 0) return -1;
    ssize_t there;
    do there = ::tee(0, ahead.mirror[1], block_size, 0);
    while (there < 0 && try_again());
    ssize_t got = 0;
    while (got < there) {
        ssize_t part = ::read(ahead.mirror[0], ahead.bytes.data() + got, static_cast<size_t>(there - got));
        if (part > 0)
            got += part;
        else if (part == 0 || errno != EINTR)
            return -1;
    }
    return there;
}

ssize_t peek_socket() {
    ssize_t got;
    do got = ::recv(0, ahead.bytes.data(), block_size, MSG_PEEK);
    while (got < 0 && try_again());
    return got;
}

/// Looks at what lies ahead. The number of bytes, 0 at the end, -1 when this input can't be looked into.
ssize_t look(input_kind kind) {
    rx_input_release();
    if (kind == input_kind::terminal || kind == input_kind::other) return -1;
    if (ahead.bytes.empty()) {
        ahead.bytes.resize(block_size);
        std::atexit(rx_input_release);
    }
    ssize_t got = kind == input_kind::file ? peek_file() : kind == input_kind::pipe ? peek_pipe() : peek_socket();
    if (got > 0) ahead.known = static_cast<size_t>(got);
    return got;
}

bool line_from_descriptor(std::string &line, input_kind kind) {
    char block[4096];
    size_t step = kind == input_kind::terminal && terminal_gives_lines() ? sizeof block : 1;
    for (;;) {
        ssize_t got = read_some(block, step);
        if (got <= 0) return false;
        bool ended = block[got - 1] == '\n';
        line.append(block, static_cast<size_t>(got) - ended);
        if (ended) return true;
    }
}

} // namespace

bool rx_input_line(std::string &line) {
    line.clear();
    for (;;) {
        if (ahead.used == ahead.known) {
            input_kind kind = kind_of_input();
            ssize_t got = look(kind);
            if (got == 0) return false;
            if (got < 0) return line_from_descriptor(line, kind);
        }
        const char *start = ahead.bytes.data() + ahead.used;
        size_t left = ahead.known - ahead.used;
        const void *end = std::memchr(start, '\n', left);
        size_t length = end ? static_cast<size_t>(static_cast<const char *>(end) - start) : left;
        line.append(start, length);
        ahead.used += length + (end != nullptr);
        if (end) return true;
    }
}

size_t rx_input_bytes(char *bytes, size_t count) {
    size_t done = 0;
    while (done < count) {
        if (ahead.used == ahead.known) {
            ssize_t got = look(kind_of_input());
            if (got == 0) break;
            if (got < 0) {
                got = read_some(bytes + done, count - done);
                if (got <= 0) break;
                done += static_cast<size_t>(got);
                continue;
            }
        }
        size_t part = std::min(count - done, ahead.known - ahead.used);
        std::memcpy(bytes + done, ahead.bytes.data() + ahead.used, part);
        ahead.used += part;
        done += part;
    }
    return done;
}

bool rx_input_waiting() {
    if (ahead.used < ahead.known) return true;
    input_kind kind = kind_of_input();
    pollfd wait{0, POLLIN, 0};
    if (kind == input_kind::terminal) return ::poll(&wait, 1, 0) > 0 && (wait.revents & POLLIN);
    ssize_t got = look(kind);
    if (got >= 0) return got > 0;
    while (::poll(&wait, 1, -1) < 0 && errno == EINTR) {
    }
    return wait.revents & POLLIN;
}

void rx_input_release() {
    size_t used = ahead.used;
    ahead.used = ahead.known = 0;
    if (used == 0) return;
    if (kind_of_input() == input_kind::file) {
        ::lseek(0, ahead.file_offset + static_cast<off_t>(used), SEEK_SET);
        return;
    }
    while (used) {
        // The bytes are there; should another reader have taken them, waiting for more would be wrong.
        pollfd ready{0, POLLIN, 0};
        if (::poll(&ready, 1, 0) <= 0 || !(ready.revents & POLLIN)) return;
        ssize_t got = read_some(ahead.bytes.data(), std::min(used, block_size));
        if (got <= 0) return;
        used -= static_cast<size_t>(got);
    }
}
