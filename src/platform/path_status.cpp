#include "platform/path_status.h"

#include "platform/at_path.h"

#include <grp.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <vector>

bool rx_get_path_status(const std::string &path, bool follow, rx_path_status &status) {
    rx_at_path at(path);
    struct stat got = {};
    if (::fstatat(at.directory, at.rest, &got, follow ? 0 : AT_SYMLINK_NOFOLLOW) != 0) return false;
    status.type = S_ISREG(got.st_mode)   ? rx_file_type::file
                  : S_ISDIR(got.st_mode) ? rx_file_type::directory
                  : S_ISLNK(got.st_mode) ? rx_file_type::link
                                         : rx_file_type::other;
    status.size = got.st_size;
    status.changed = got.st_mtim.tv_sec;
    status.changed_nanoseconds = got.st_mtim.tv_nsec;
    status.device = got.st_dev;
    status.number = got.st_ino;
    status.mode = got.st_mode & 07777u;
    status.user = got.st_uid;
    status.group = got.st_gid;
    return true;
}

// ---- names ----------------------------------------------------------------------------------------------------------

namespace {

/// Looks a record up with one of the system's reentrant calls, which want room of an unknown size.
template <class Record, class Call> std::string look_up(unsigned number, Call call, char *Record::*name) {
    std::vector<char> room(1024);
    Record record, *found = nullptr;
    int error;
    while ((error = call(number, &record, room.data(), room.size(), &found)) == ERANGE) room.resize(room.size() * 4);
    return error == 0 && found ? record.*name : std::to_string(number);
}

} // namespace

std::string rx_user_name(unsigned user) {
    return look_up<passwd>(user, ::getpwuid_r, &passwd::pw_name);
}

std::string rx_group_name(unsigned number) {
    return look_up<group>(number, ::getgrgid_r, &group::gr_name);
}

std::string rx_login_name() {
    return rx_user_name(::geteuid());
}

std::string rx_host_name() {
    char name[256] = "";
    ::gethostname(name, sizeof name - 1);
    return name;
}

// ---- what can be done with a file -----------------------------------------------------------------------------------

bool rx_can_read(const std::string &path) {
    return rx_descriptor(rx_open_at(path, O_RDONLY | O_NONBLOCK | O_NOCTTY)).good();
}

bool rx_can_write(const std::string &path) {
    if (rx_descriptor(rx_open_at(path, O_WRONLY | O_NONBLOCK | O_NOCTTY)).good()) return true;
    if (errno != ENOENT || !rx_descriptor(rx_open_at(path, O_WRONLY | O_CREAT | O_EXCL, 0600)).good()) return false;
    rx_at_path at(path);
    ::unlinkat(at.directory, at.rest, 0);
    return true;
}

bool rx_is_locked(const std::string &path) {
    rx_descriptor file(rx_open_at(path, O_RDONLY | O_NONBLOCK | O_NOCTTY));
    if (!file.good()) return errno != ENOENT;
    struct flock range = {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    if (::fcntl(file.number, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK) return true;
    return ::flock(file.number, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}
