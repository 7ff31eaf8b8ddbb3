#include "platform/copy.h"

#include "platform/at_path.h"
#include "platform/file_operations.h"
#include "platform/world.h"

#include <sys/stat.h>

namespace {

/// Moves the contents of one file to another; the kernel does it when it can.
bool transfer(int from, int to) {
    constexpr size_t most = size_t{1} << 30;
    bool began = false;
    for (;;) {
        ssize_t moved = ::copy_file_range(from, nullptr, to, nullptr, most, 0);
        if (moved < 0 && errno == EINTR) continue;
        if (moved > 0) {
            began = true;
            continue;
        }
        // Files that only seem to be empty (those of /proc) are read, as is what the call isn't made for.
        if (began && moved == 0) return true;
        if (moved < 0 && errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return false;
        break;
    }
    std::vector<char> block(1 << 17);
    for (;;) {
        ssize_t got = ::read(from, block.data(), block.size());
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return got == 0;
        if (!rx_write_all(to, {block.data(), static_cast<size_t>(got)})) return false;
    }
}

bool copy_file(const std::string &source, const std::string &target, const rx_path_status &status) {
    rx_descriptor from(rx_open_at(source, O_RDONLY | O_NONBLOCK | O_NOCTTY));
    if (!from.good()) return false;
    bool made = true;
    int opened = rx_open_at(target, O_WRONLY | O_CREAT | O_EXCL, status.mode & 0700u);
    if (opened < 0 && errno == EEXIST) {
        made = false;
        opened = rx_open_at(target, O_WRONLY | O_NONBLOCK | O_NOCTTY);
    }
    rx_descriptor to(opened);
    if (!to.good()) return false;
    struct stat there = {};
    if (::fstat(to.number, &there) != 0) return false;
    if (there.st_dev == status.device && there.st_ino == status.number) {
        errno = EEXIST;
        return false;
    }
    if (!made && S_ISREG(there.st_mode) && ::ftruncate(to.number, 0) != 0) return false;
    bool done = transfer(from.number, to.number);
    if (done && made) done = ::fchmod(to.number, status.mode) == 0;
    if (!done) {
        int error = errno;
        if (made) rx_remove_file(target);
        errno = error;
        return false;
    }
    struct timespec times[2] = {{0, UTIME_OMIT}, {status.changed, status.changed_nanoseconds}};
    ::futimens(to.number, times);
    return true;
}

bool copy_link(const std::string &source, const std::string &target) {
    std::string text;
    return rx_read_link(source, text) && rx_make_symbolic_link(text, target);
}

/// True when the directory is a directory above the path, or the path itself.
bool lies_above(const rx_path_status &directory, const std::string &path) {
    std::string resolved;
    size_t end = path.size();
    for (;;) {
        rx_path_status status;
        std::string above = path.substr(0, end);
        if (rx_resolve_path(above, resolved)) {
            // From here up there are no links.
            for (size_t stop = resolved.size(); stop; stop = resolved.rfind('/', stop - 1)) {
                if (rx_get_path_status(resolved.substr(0, stop), false, status) && rx_same_file(directory, status))
                    return true;
            }
            return rx_get_path_status("/", false, status) && rx_same_file(directory, status);
        }
        end = path.rfind('/', end - 1);
        if (end == std::string::npos || end == 0) return false;
    }
}

struct copier {
    rx_copying &copying;

    void note(const std::string &path) { copying.failures.push_back({path, errno}); }

    bool is_current(const rx_path_status &source, const std::string &target) const {
        rx_path_status there;
        return copying.update && rx_get_path_status(target, true, there) &&
               there.changed + copying.age >= source.changed;
    }

    void copy(const std::string &source, const std::string &target, bool follow) {
        rx_path_status status;
        if (!rx_get_path_status(source, follow, status)) return note(source);
        bool done;
        switch (status.type) {
        case rx_file_type::directory: return copy_directory(source, target, status);
        case rx_file_type::link:
            done = copy_link(source, target);
            if (!done && errno == EEXIST && copying.update) return;
            break;
        case rx_file_type::file:
            if (is_current(status, target)) return;
            done = copy_file(source, target, status);
            break;
        default: errno = EOPNOTSUPP; done = false;
        }
        if (!done) return note(source);
        copying.files++;
    }

    void copy_directory(const std::string &source, const std::string &target, const rx_path_status &status) {
        std::vector<rx_directory_entry> entries;
        if (!rx_list_directory(source, entries)) return note(source);
        bool made;
        {
            rx_at_path at(target);
            made = ::mkdirat(at.directory, at.rest, 0700) == 0;
        }
        rx_path_status there;
        if (!made &&
            (errno != EEXIST || !rx_get_path_status(target, true, there) || there.type != rx_file_type::directory))
            return note(target);
        for (const rx_directory_entry &entry : entries)
            copy(source + "/" + entry.name, target + "/" + entry.name, false);
        if (!made) return;
        rx_at_path at(target);
        if (::fchmodat(at.directory, at.rest, status.mode, 0) != 0) note(target);
        struct timespec times[2] = {{0, UTIME_OMIT}, {status.changed, status.changed_nanoseconds}};
        ::utimensat(at.directory, at.rest, times, 0);
    }
};

} // namespace

void rx_copy(const std::string &source, const std::string &target, rx_copying &copying) {
    rx_world_changes++;
    rx_path_status status;
    copier work{copying};
    if (rx_get_path_status(source, !copying.as_it_is, status) && status.type == rx_file_type::directory &&
        lies_above(status, target)) {
        errno = EINVAL;
        return work.note(source);
    }
    work.copy(source, target, !copying.as_it_is);
}
