#include "platform/locked_file.h"

#include "platform/descriptor.h"
#include "platform/world.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int lock_attempts = 300;
constexpr timespec lock_pause{0, 10 * 1000 * 1000};
constexpr off_t locked_bytes = 2147483647;

/// A descriptor, closed at its end and the lock with it.
struct open_file {
    int descriptor = -1;
    struct stat status = {};

    ~open_file() { close(); }
    open_file() = default;
    open_file(const open_file &) = delete;
    open_file &operator=(const open_file &) = delete;

    void close() {
        if (descriptor >= 0) ::close(descriptor);
        descriptor = -1;
    }

    /// Opens a regular file; never waits for the other end of anything else.
    rx_file_result open(const std::string &path, int flags, unsigned mode = 0) {
        close();
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, mode);
        if (descriptor < 0) {
            bool absent = errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG;
            return absent ? rx_file_result::absent : rx_file_result::failed;
        }
        if (::fstat(descriptor, &status) != 0) return rx_file_result::failed;
        return S_ISREG(status.st_mode) ? rx_file_result::done : rx_file_result::absent;
    }

    /// Asks for the lock until it is to be had or no attempt is left.
    rx_file_result lock(short kind, int &attempts) const {
        struct flock range = {};
        range.l_type = kind;
        range.l_whence = SEEK_SET;
        range.l_len = locked_bytes;
        for (; attempts > 0; attempts--) {
            if (::fcntl(descriptor, F_OFD_SETLK, &range) == 0) return rx_file_result::done;
            if (errno != EAGAIN && errno != EACCES && errno != EINTR) return rx_file_result::failed;
            ::nanosleep(&lock_pause, nullptr);
        }
        return rx_file_result::busy;
    }

    /// True while the path still leads to this file.
    bool is_at(const std::string &path) const {
        struct stat now = {};
        return ::stat(path.c_str(), &now) == 0 && now.st_ino == status.st_ino && now.st_dev == status.st_dev;
    }

    bool truncate() const { return ::ftruncate(descriptor, 0) == 0; }

    bool write(std::string_view bytes) const { return rx_write_all(descriptor, bytes); }
};

/// Opens a file for a change and locks it, however often it is replaced or deleted meanwhile.
rx_file_result open_for_change(open_file &file, const std::string &path, int flags, unsigned mode = 0) {
    for (int attempts = lock_attempts;;) {
        rx_file_result result = file.open(path, O_WRONLY | flags, mode);
        if (result == rx_file_result::done) result = file.lock(F_WRLCK, attempts);
        if (result != rx_file_result::done || file.is_at(path)) return result;
    }
}

/// Lets the path lead to the new file. Where two files can change places that is a hundred times faster than to move one
/// over the other: a file system would bring its data to the disk first.
bool replace(const std::string &path, const std::string &draft) {
    return ::renameat2(AT_FDCWD, draft.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) == 0 ||
           ::rename(draft.c_str(), path.c_str()) == 0;
}

} // namespace

rx_file_result rx_read_locked(const std::string &path, std::string &bytes) {
    bytes.clear();
    open_file file;
    rx_file_result result = file.open(path, O_RDONLY);
    if (result != rx_file_result::done) return result;
    int attempts = lock_attempts;
    result = file.lock(F_RDLCK, attempts);
    if (result != rx_file_result::done) return result;
    // Only now its size can't change any more.
    if (::fstat(file.descriptor, &file.status) != 0) return rx_file_result::failed;
    bytes.resize(static_cast<size_t>(file.status.st_size));
    for (size_t at = 0; at < bytes.size();) {
        ssize_t got = ::read(file.descriptor, bytes.data() + at, bytes.size() - at);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return rx_file_result::failed;
        at += static_cast<size_t>(got);
    }
    return rx_file_result::done;
}

rx_file_result rx_write_locked(const std::string &path, const std::string &draft, std::string_view bytes,
                               unsigned mode) {
    rx_world_changes++;
    open_file file;
    rx_file_result result = open_for_change(file, path, O_CREAT, mode);
    if (result == rx_file_result::absent) return rx_file_result::failed;
    if (result != rx_file_result::done) return result;
    open_file fresh;
    if (fresh.open(draft, O_WRONLY | O_CREAT | O_TRUNC, mode) == rx_file_result::done) {
        bool whole = fresh.write(bytes), replaced = whole && replace(path, draft);
        ::unlink(draft.c_str());
        if (replaced) return rx_file_result::done;
        // Where there is no room for the new bytes the old ones stay.
        if (!whole) return rx_file_result::failed;
    }
    if (file.truncate() && file.write(bytes)) return rx_file_result::done;
    file.truncate(); // nothing is better than a part
    return rx_file_result::failed;
}

rx_file_result rx_remove_locked(const std::string &path) {
    rx_world_changes++;
    open_file file;
    rx_file_result result = open_for_change(file, path, 0);
    if (result != rx_file_result::done) return result;
    return ::unlink(path.c_str()) == 0 || errno == ENOENT ? rx_file_result::done : rx_file_result::failed;
}
