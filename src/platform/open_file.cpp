#include "platform/open_file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

constexpr size_t move_block = 1 << 18;

/// -1 for a path that no file can have.
int open_path(std::string_view path, int flags) {
    if (path.find('\0') != std::string_view::npos) {
        errno = EINVAL;
        return -1;
    }
    int descriptor;
    do descriptor = ::open(std::string(path).c_str(), flags | O_CLOEXEC | O_NOCTTY, 0666);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

off_t offset_of(uint64_t offset) {
    return static_cast<off_t>(std::min<uint64_t>(offset, static_cast<uint64_t>(INT64_MAX)));
}

/// Appends what is left of the pieces with a system call.
ssize_t append_once(int descriptor, const iovec *pieces, int count) {
    ssize_t written = ::pwritev2(descriptor, pieces, count, -1, RWF_APPEND);
    if (written >= 0 || (errno != EOPNOTSUPP && errno != ENOSYS && errno != ESPIPE && errno != EINVAL)) return written;
    if (::lseek(descriptor, 0, SEEK_END) < 0 && errno != ESPIPE) return -1;
    return ::writev(descriptor, pieces, count);
}

} // namespace

rx_open_file::~rx_open_file() {
    if (descriptor >= 0) ::close(descriptor);
}

bool rx_open_file::open_for_update(std::string_view path) {
    *this = {};
    descriptor = open_path(path, O_RDWR | O_CREAT);
    return descriptor >= 0;
}

bool rx_open_file::open_for_reading(std::string_view path) {
    *this = {};
    descriptor = open_path(path, O_RDONLY);
    rx_file_status status;
    if (descriptor < 0 || !rx_status_of(*this, status)) return false;
    if (!status.directory) return true;
    *this = {};
    errno = EISDIR;
    return false;
}

bool rx_status_of(const rx_open_file &file, rx_file_status &status) {
    struct stat found = {};
    if (::fstat(file.descriptor, &found) != 0) return false;
    mode_t kind = found.st_mode & S_IFMT;
    status.size = static_cast<uint64_t>(found.st_size);
    status.device = found.st_dev;
    status.number = found.st_ino;
    status.directory = kind == S_IFDIR;
    status.has_contents = kind == S_IFREG || kind == S_IFBLK;
    status.seekable = kind != S_IFIFO && kind != S_IFSOCK;
    if (S_ISCHR(found.st_mode)) status.seekable = ::lseek(file.descriptor, 0, SEEK_CUR) >= 0;
    return true;
}

bool rx_is_console_file(const rx_file_status &status) {
    for (int descriptor : {1, 2}) {
        struct stat found = {};
        if (::fstat(descriptor, &found) == 0 && found.st_dev == status.device && found.st_ino == status.number)
            return true;
    }
    return false;
}

long rx_read_at(const rx_open_file &file, char *bytes, size_t count, uint64_t offset, bool seekable) {
    size_t done = 0;
    while (done < count) {
        ssize_t got = seekable ? ::pread(file.descriptor, bytes + done, count - done, offset_of(offset + done))
                               : ::read(file.descriptor, bytes + done, count - done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return done ? static_cast<long>(done) : -1;
        done += static_cast<size_t>(got);
        if (got == 0 || !seekable) break;
    }
    return static_cast<long>(done);
}

long rx_write_once(const rx_open_file &file, std::string_view bytes, uint64_t offset, bool seekable) {
    for (;;) {
        ssize_t written = seekable ? ::pwrite(file.descriptor, bytes.data(), bytes.size(), offset_of(offset))
                                   : ::write(file.descriptor, bytes.data(), bytes.size());
        if (written >= 0 || errno != EINTR) return written;
    }
}

bool rx_write_at(const rx_open_file &file, std::string_view bytes, uint64_t offset) {
    while (!bytes.empty()) {
        long written = rx_write_once(file, bytes, offset);
        if (written < 0) return false;
        bytes.remove_prefix(static_cast<size_t>(written));
        offset += static_cast<uint64_t>(written);
    }
    return true;
}

bool rx_append(const rx_open_file &file, const std::string_view (&pieces)[3], size_t &done) {
    done = 0;
    for (;;) {
        iovec left[3];
        int count = 0;
        size_t skip = done;
        for (std::string_view piece : pieces) {
            size_t gone = std::min(skip, piece.size());
            skip -= gone;
            piece.remove_prefix(gone);
            if (!piece.empty()) left[count++] = {const_cast<char *>(piece.data()), piece.size()};
        }
        if (count == 0) return true;
        ssize_t written = append_once(file.descriptor, left, count);
        if (written < 0 && errno != EINTR) return false;
        if (written > 0) done += static_cast<size_t>(written);
    }
}

bool rx_cut(const rx_open_file &file, uint64_t size) {
    int result;
    do result = ::ftruncate(file.descriptor, offset_of(size));
    while (result < 0 && errno == EINTR);
    return result == 0;
}

bool rx_lengthen(const rx_open_file &file, uint64_t size, uint64_t more) {
    int result;
    do result = ::fallocate(file.descriptor, 0, offset_of(size), offset_of(more));
    while (result < 0 && errno == EINTR);
    if (result == 0 || errno == EOPNOTSUPP || errno == ENOSYS || errno == ENODEV) return true;
    int error = errno;
    // Part of it may have been granted.
    rx_cut(file, size);
    errno = error;
    return false;
}

bool rx_move_bytes(const rx_open_file &file, uint64_t from, uint64_t end, uint64_t to) {
    if (from >= end || from == to) return true;
    uint64_t left = end - from;
    std::unique_ptr<char[]> block(new char[std::min<uint64_t>(left, move_block)]);
    bool up = to > from;
    while (left) {
        size_t part = static_cast<size_t>(std::min<uint64_t>(left, move_block));
        uint64_t source = up ? from + left - part : end - left;
        long got = rx_read_at(file, block.get(), part, source);
        if (got < 0) return false;
        if (static_cast<size_t>(got) != part) {
            errno = EIO;
            return false;
        }
        if (!rx_write_at(file, {block.get(), part}, source - from + to)) return false;
        left -= part;
    }
    return true;
}
