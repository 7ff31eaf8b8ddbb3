#include "platform/files.h"

#include "platform/descriptor.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool rx_path_exists(std::string_view path) {
    return ::access(std::string(path).c_str(), F_OK) == 0;
}

std::string rx_read_file(std::string_view path, rx_read_failure &failure) {
    failure = rx_read_failure::open;
    int file = ::open(std::string(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return {};
    failure = rx_read_failure::none;
    std::string contents;
    struct stat status = {};
    if (::fstat(file, &status) == 0 && status.st_size > 0) contents.reserve(static_cast<size_t>(status.st_size) + 1);
    char block[65536];
    for (;;) {
        ssize_t got = ::read(file, block, sizeof block);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            failure = rx_read_failure::read;
            contents.clear();
        }
        if (got <= 0) break;
        contents.append(block, static_cast<size_t>(got));
    }
    int error = errno;
    ::close(file);
    errno = error;
    return contents;
}

std::optional<std::string> rx_first_line(std::string_view path, std::string_view start) {
    int file = ::open(std::string(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return std::nullopt;
    std::string line;
    size_t end = std::string::npos;
    char block[1024];
    while (end == std::string::npos) {
        ssize_t got = ::read(file, block, sizeof block);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        size_t before = line.size();
        line.append(block, static_cast<size_t>(got));
        if (!line.starts_with(start)) break;
        end = line.find('\n', before);
    }
    ::close(file);
    if (!line.starts_with(start)) return std::string();
    if (end != std::string::npos) line.resize(end);
    if (line.ends_with('\r')) line.pop_back();
    return line;
}

bool rx_new_file::create(std::string_view path, unsigned mode) {
    path_ = path;
    file_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    return file_ >= 0;
}

bool rx_new_file::write(std::string_view bytes) {
    return rx_write_all(file_, bytes);
}

bool rx_new_file::close() {
    if (file_ < 0) return true;
    int file = file_;
    file_ = -1;
    return ::close(file) == 0;
}

void rx_new_file::discard() {
    close();
    ::unlink(path_.c_str());
}

std::optional<int64_t> rx_file_time(std::string_view path) {
    struct stat status = {};
    if (::stat(std::string(path).c_str(), &status) != 0) return std::nullopt;
    return int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec;
}

std::string rx_system_error() {
    return std::strerror(errno);
}

std::string rx_system_error(int error) {
    return std::strerror(error);
}
