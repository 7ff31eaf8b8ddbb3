#include "platform/session_log.h"

#include "platform/at_path.h"
#include "platform/world.h"

#include <csignal>
#include <cstdlib>
#include <memory>
#include <poll.h>
#include <system_error>
#include <thread>

namespace {

constexpr int streams[2] = {1, 2};

struct session_log {
    int file = -1;
    int before[2] = {-1, -1};  ///< where the streams went
    int sources[2] = {-1, -1}; ///< the read ends of the pipes
    int writers[2] = {-1, -1}; ///< their write ends
    int stop[2] = {-1, -1};    ///< closing its write end asks the thread to finish
    std::thread copying;

    ~session_log() {
        for (int each : {file, before[0], before[1], sources[0], sources[1], writers[0], writers[1], stop[0], stop[1]})
            if (each >= 0) ::close(each);
    }
    session_log() = default;
    session_log(const session_log &) = delete;
    session_log &operator=(const session_log &) = delete;

    bool open_pipes() {
        for (size_t i : {0, 1}) {
            int ends[2];
            before[i] = ::fcntl(streams[i], F_DUPFD_CLOEXEC, 10);
            if (::pipe2(ends, O_CLOEXEC) != 0) return false;
            sources[i] = ends[0];
            writers[i] = ends[1];
            ::fcntl(sources[i], F_SETFL, O_NONBLOCK);
        }
        return ::pipe2(stop, O_CLOEXEC) == 0;
    }

    /// Copies what is in a pipe at the moment; false at its end.
    bool copy(size_t i) const {
        char block[16384];
        for (;;) {
            ssize_t got = ::read(sources[i], block, sizeof block);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) return got < 0;
            for (int target : {before[i], file}) rx_write_all(target, {block, static_cast<size_t>(got)});
        }
    }

    void run() const {
        pollfd waits[3] = {{sources[0], POLLIN, 0}, {sources[1], POLLIN, 0}, {stop[0], POLLIN, 0}};
        for (;;) {
            if (::poll(waits, 3, -1) < 0 && errno != EINTR) return;
            bool last = waits[2].revents != 0;
            for (size_t i : {0, 1})
                if (waits[i].fd >= 0 && (waits[i].revents || last) && !copy(i)) waits[i].fd = -1;
            if (last) return;
        }
    }
};

std::unique_ptr<session_log> current;

} // namespace

rx_log_failure rx_begin_log(const std::string &path) {
    rx_end_log();
    auto log = std::make_unique<session_log>();
    log->file = rx_open_at(path, O_RDWR | O_APPEND | O_CREAT, 0666);
    if (log->file < 0) return rx_log_failure::open;
    if (!log->open_pipes()) return rx_log_failure::pipe;
    // Signals are for the interpreter's own thread.
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    bool started = true;
    try {
        log->copying = std::thread([copied = log.get()] { copied->run(); });
    } catch (const std::system_error &failure) {
        errno = failure.code().value();
        started = false;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (!started) return rx_log_failure::thread;
    for (size_t i : {0, 1}) {
        ::dup2(log->writers[i], streams[i]);
        ::close(log->writers[i]);
        log->writers[i] = -1;
    }
    rx_world_changes++;
    static const bool at_end = std::atexit(rx_end_log) == 0;
    static_cast<void>(at_end);
    current = std::move(log);
    return rx_log_failure::none;
}

void rx_end_log() {
    if (!current) return;
    for (size_t i : {0, 1}) {
        if (current->before[i] >= 0)
            ::dup2(current->before[i], streams[i]);
        else
            ::close(streams[i]);
    }
    rx_world_changes++;
    ::close(current->stop[1]);
    current->stop[1] = -1;
    current->copying.join();
    current.reset();
}
