#include "platform/file_operations.h"

#include "platform/at_path.h"
#include "platform/copy.h"
#include "platform/world.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <sys/random.h>
#include <sys/stat.h>

namespace {

constexpr size_t block_size = 1 << 16;

bool unlink_at(const std::string &path, int flags) {
    rx_world_changes++;
    rx_at_path at(path);
    return ::unlinkat(at.directory, at.rest, flags) == 0;
}

} // namespace

bool rx_remove_file(const std::string &path) {
    return unlink_at(path, 0);
}

// ---- wiping ---------------------------------------------------------------------------------------------------------

namespace {

/// Ones, zeros, and bytes that nobody knows.
enum class wipe_pass { ones, zeros, random };

bool wipe(int file, int64_t size, wipe_pass pass) {
    std::vector<char> block(block_size, pass == wipe_pass::ones ? '\xFF' : '\0');
    if (::lseek(file, 0, SEEK_SET) < 0) return false;
    for (int64_t left = size; left > 0;) {
        size_t length = static_cast<size_t>(std::min<int64_t>(left, block_size));
        for (size_t filled = 0; pass == wipe_pass::random && filled < length;) {
            ssize_t got = ::getrandom(block.data() + filled, length - filled, 0);
            if (got < 0 && errno != EINTR) return false;
            filled += static_cast<size_t>(std::max<ssize_t>(got, 0));
        }
        if (!rx_write_all(file, {block.data(), length})) return false;
        left -= static_cast<int64_t>(length);
    }
    return ::fsync(file) == 0;
}

} // namespace

bool rx_wipe_file(const std::string &path) {
    rx_world_changes++;
    rx_path_status status;
    if (!rx_get_path_status(path, false, status)) return false;
    if (status.type != rx_file_type::file) {
        errno = status.type == rx_file_type::directory ? EISDIR : EINVAL;
        return false;
    }
    if (!(status.mode & S_IWUSR)) {
        rx_at_path at(path);
        ::fchmodat(at.directory, at.rest, status.mode | S_IWUSR, 0);
    }
    rx_descriptor file(rx_open_at(path, O_WRONLY | O_NOFOLLOW));
    if (!file.good()) return false;
    for (wipe_pass pass : {wipe_pass::ones, wipe_pass::zeros, wipe_pass::random})
        if (!wipe(file.number, status.size, pass)) return false;
    return true;
}

// ---- moving ---------------------------------------------------------------------------------------------------------

namespace {

bool rename_at(const std::string &from, const std::string &to) {
    rx_at_path source(from), target(to);
    return ::renameat(source.directory, source.rest, target.directory, target.rest) == 0;
}

/// A name in the directory of a path that nothing has.
std::string free_name_beside(const std::string &path) {
    std::string front = path.substr(0, path.rfind('/') + 1) + ".moving-" + std::to_string(::getpid()) + "-", name;
    rx_path_status status;
    int number = 0;
    do name = front + std::to_string(++number);
    while (rx_get_path_status(name, false, status));
    return name;
}

} // namespace

bool rx_move(const std::string &from, const std::string &to) {
    rx_world_changes++;
    if (rename_at(from, to)) return true;
    if (errno != EXDEV) return false;
    rx_path_status source, target;
    if (rx_get_path_status(to, false, target)) {
        // One file can be seen at two places; its copy would go with it.
        bool same = rx_get_path_status(from, false, source) && rx_same_file(source, target);
        errno = same ? EEXIST : EISDIR;
        if (same || target.type == rx_file_type::directory) return false;
    }
    // What has the new name is replaced once all of the copy is there.
    std::string copy = free_name_beside(to);
    rx_copying copying;
    copying.as_it_is = true;
    rx_copy(from, copy, copying);
    if (copying.failures.empty() && rename_at(copy, to)) return rx_remove_tree(from);
    int error = copying.failures.empty() ? errno : copying.failures[0].error;
    rx_remove_tree(copy);
    errno = error;
    return false;
}

// ---- directories ----------------------------------------------------------------------------------------------------

bool rx_make_directories(const std::string &path) {
    rx_path_status status;
    if (rx_get_path_status(path, true, status)) {
        errno = ENOTDIR;
        return status.type == rx_file_type::directory;
    }
    // The deepest directory that is there, then down again.
    std::vector<size_t> ends{path.size()};
    for (;;) {
        size_t slash = path.rfind('/', ends.back() - 1);
        if (slash == std::string::npos || slash == 0) break;
        if (rx_get_path_status(path.substr(0, slash), true, status)) break;
        ends.push_back(slash);
    }
    for (; !ends.empty(); ends.pop_back()) {
        std::string directory = path.substr(0, ends.back());
        rx_at_path at(directory);
        if (::mkdirat(at.directory, at.rest, 0777) != 0 && errno != EEXIST) return false;
    }
    return true;
}

bool rx_remove_directory(const std::string &path) {
    return unlink_at(path, AT_REMOVEDIR);
}

bool rx_remove_tree(const std::string &path) {
    rx_path_status status;
    if (!rx_get_path_status(path, false, status)) return errno == ENOENT;
    if (status.type != rx_file_type::directory) return rx_remove_file(path) || errno == ENOENT;
    if (rx_remove_directory(path)) return true;
    {
        // A directory without permissions hides what has to be removed first.
        rx_at_path at(path);
        ::fchmodat(at.directory, at.rest, 0700, 0);
    }
    std::vector<rx_directory_entry> entries;
    if (!rx_list_directory(path, entries)) return false;
    for (const rx_directory_entry &entry : entries) rx_remove_tree(path + "/" + entry.name);
    return rx_remove_directory(path) || errno == ENOENT;
}

namespace {

rx_file_type type_of(const dirent &entry, const std::string &directory) {
    switch (entry.d_type) {
    case DT_REG: return rx_file_type::file;
    case DT_DIR: return rx_file_type::directory;
    case DT_LNK: return rx_file_type::link;
    case DT_UNKNOWN: break;
    default: return rx_file_type::other;
    }
    rx_path_status status;
    rx_get_path_status(directory + "/" + entry.d_name, false, status);
    return status.type;
}

} // namespace

bool rx_list_directory(const std::string &path, std::vector<rx_directory_entry> &entries) {
    entries.clear();
    int opened = rx_open_at(path, O_RDONLY | O_DIRECTORY);
    DIR *directory = opened < 0 ? nullptr : ::fdopendir(opened);
    if (!directory) return false;
    errno = 0;
    while (const dirent *entry = ::readdir(directory)) {
        std::string_view name = entry->d_name;
        if (name != "." && name != "..") entries.push_back({std::string(name), type_of(*entry, path)});
        errno = 0;
    }
    int error = errno;
    ::closedir(directory);
    errno = error;
    std::sort(entries.begin(), entries.end(),
              [](const rx_directory_entry &a, const rx_directory_entry &b) { return a.name < b.name; });
    return error == 0;
}

// ---- links ----------------------------------------------------------------------------------------------------------

bool rx_make_symbolic_link(std::string_view text, const std::string &path) {
    rx_world_changes++;
    rx_at_path at(path);
    return ::symlinkat(std::string(text).c_str(), at.directory, at.rest) == 0;
}

bool rx_make_hard_link(const std::string &from, const std::string &path) {
    rx_world_changes++;
    rx_at_path source(from), target(path);
    return ::linkat(source.directory, source.rest, target.directory, target.rest, 0) == 0;
}

bool rx_read_link(const std::string &path, std::string &text) {
    rx_at_path at(path);
    std::vector<char> room(PATH_MAX);
    ssize_t length = ::readlinkat(at.directory, at.rest, room.data(), room.size());
    text.assign(room.data(), static_cast<size_t>(std::max<ssize_t>(length, 0)));
    return length >= 0;
}

bool rx_resolve_path(const std::string &path, std::string &resolved) {
    resolved.clear();
    if (path.find('\0') != std::string::npos) {
        errno = ENOENT;
        return false;
    }
    char *found = ::realpath(path.c_str(), nullptr);
    if (found) resolved = found;
    std::free(found);
    return found != nullptr;
}

// ---- appending ------------------------------------------------------------------------------------------------------

rx_transfer_failure rx_append_file(const std::string &target, const std::string &source) {
    rx_world_changes++;
    rx_descriptor from(rx_open_at(source, O_RDONLY));
    if (!from.good()) return rx_transfer_failure::open_source;
    rx_descriptor to(rx_open_at(target, O_WRONLY | O_APPEND | O_CREAT, 0666));
    if (!to.good()) return rx_transfer_failure::open_target;
    // A file that is appended to itself would never end.
    struct stat in = {}, out = {};
    bool itself = ::fstat(from.number, &in) == 0 && ::fstat(to.number, &out) == 0 && in.st_dev == out.st_dev &&
                  in.st_ino == out.st_ino;
    int64_t left = itself ? in.st_size : INT64_MAX;
    std::vector<char> block(block_size);
    while (left > 0) {
        ssize_t got = ::read(from.number, block.data(), static_cast<size_t>(std::min<int64_t>(left, block_size)));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return rx_transfer_failure::read;
        if (got == 0) break;
        if (!rx_write_all(to.number, {block.data(), static_cast<size_t>(got)})) return rx_transfer_failure::write;
        left -= got;
    }
    return rx_transfer_failure::none;
}
