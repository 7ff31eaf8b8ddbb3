#include "platform/input.h"

#include "platform/world.h"

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
    rx_world_changes++;
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

/// A terminal that gives each key at once instead of whole lines, as long as the record lives.
struct raw_keys {
    termios before = {};
    bool changed;

    explicit raw_keys(bool echo) : changed(::tcgetattr(0, &before) == 0) {
        termios raw = before;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        if (echo) raw.c_lflag |= ECHO;
        raw.c_cc[VMIN] = 1;
        raw.c_cc[VTIME] = 0;
        changed = changed && ::tcsetattr(0, TCSANOW, &raw) == 0;
    }
    ~raw_keys() {
        if (changed) ::tcsetattr(0, TCSANOW, &before);
    }
    raw_keys(const raw_keys &) = delete;
    raw_keys &operator=(const raw_keys &) = delete;
};

bool has_input() {
    pollfd wait{0, POLLIN, 0};
    return ::poll(&wait, 1, 0) > 0 && (wait.revents & POLLIN);
}

/// True when a terminal has a whole line ready or, looked at key by key, the beginning of one.
bool key_waiting() {
    if (has_input()) return true;
    raw_keys raw(true);
    return has_input();
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
    rx_world_changes++;
    if (kind == input_kind::terminal || kind == input_kind::other) return -1;
    if (ahead.bytes.empty()) {
        ahead.bytes.resize(block_size);
        std::atexit(rx_input_release);
    }
    ssize_t got = kind == input_kind::file ? peek_file() : kind == input_kind::pipe ? peek_pipe() : peek_socket();
    if (got > 0) ahead.known = static_cast<size_t>(got);
    return got;
}

/// Byte by byte, also from a terminal: lines that came in while it gave single keys are handed out in one piece.
bool line_from_descriptor(std::string &line) {
    for (char byte;;) {
        if (read_some(&byte, 1) <= 0) return false;
        if (byte == '\n') return true;
        line += byte;
    }
}

} // namespace

bool rx_input_line(std::string &line) {
    line.clear();
    for (;;) {
        if (ahead.used == ahead.known) {
            ssize_t got = look(kind_of_input());
            if (got == 0) return false;
            if (got < 0) return line_from_descriptor(line);
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

namespace {

long read_bytes(char *bytes, size_t count) {
    size_t done = 0;
    while (done < count) {
        if (ahead.used == ahead.known) {
            ssize_t got = look(kind_of_input());
            if (got == 0) break;
            if (got < 0) {
                got = read_some(bytes + done, count - done);
                if (got < 0 && done == 0) return -1;
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
    return static_cast<long>(done);
}

} // namespace

long rx_input_keys(char *bytes, size_t count, bool echo) {
    if (kind_of_input() != input_kind::terminal) return read_bytes(bytes, count);
    raw_keys raw(echo);
    return read_bytes(bytes, count);
}

bool rx_input_waiting() {
    if (ahead.used < ahead.known) return true;
    input_kind kind = kind_of_input();
    if (kind == input_kind::terminal) return key_waiting();
    ssize_t got = look(kind);
    if (got >= 0) return got > 0;
    pollfd wait{0, POLLIN, 0};
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
        if (!has_input()) return;
        ssize_t got = read_some(ahead.bytes.data(), std::min(used, block_size));
        if (got <= 0) return;
        used -= static_cast<size_t>(got);
    }
}
