#include "platform/process.h"

#include "platform/input.h"
#include "platform/world.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {

constexpr const char *shell = "/bin/sh";

/// The attributes and file actions of one start.
struct spawn_settings {
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t actions;

    explicit spawn_settings(const rx_process_start &start) {
        posix_spawnattr_init(&attributes);
        posix_spawn_file_actions_init(&actions);
        short flags = POSIX_SPAWN_SETSIGDEF;
        sigset_t defaults;
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &defaults);
        if (start.background) {
            flags |= POSIX_SPAWN_SETPGROUP;
            posix_spawnattr_setpgroup(&attributes, 0);
            posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
            if (start.output < 0) posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
            if (start.errors < 0) posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        }
        posix_spawnattr_setflags(&attributes, flags);
        if (start.output >= 0) posix_spawn_file_actions_adddup2(&actions, start.output, 1);
        if (start.errors >= 0) posix_spawn_file_actions_adddup2(&actions, start.errors, 2);
    }
    ~spawn_settings() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    spawn_settings(const spawn_settings &) = delete;
    spawn_settings &operator=(const spawn_settings &) = delete;
};

int spawn(const char *path, std::vector<char *> &arguments, const spawn_settings &settings, int &error) {
    pid_t process;
    error = posix_spawn(&process, path, &settings.actions, &settings.attributes, arguments.data(), environ);
    return error ? -1 : process;
}

int code_of(int status) {
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

// ---- background processes -------------------------------------------------------------------------------------------

struct background_process {
    pid_t process;
    bool kept;
    volatile std::sig_atomic_t ended = 0;
    volatile int status = 0;
    background_process *next = nullptr;
};

/// All background processes that matter, newest first. Only changed while the child signal is blocked.
background_process *all_background = nullptr;
std::vector<std::unique_ptr<background_process>> kept_processes;

struct child_signal_blocked {
    sigset_t before;
    child_signal_blocked() {
        sigset_t child;
        sigemptyset(&child);
        sigaddset(&child, SIGCHLD);
        sigprocmask(SIG_BLOCK, &child, &before);
    }
    ~child_signal_blocked() { sigprocmask(SIG_SETMASK, &before, nullptr); }
    child_signal_blocked(const child_signal_blocked &) = delete;
    child_signal_blocked &operator=(const child_signal_blocked &) = delete;
};

void collect(background_process &each, int options) {
    int status;
    pid_t got;
    do got = ::waitpid(each.process, &status, options);
    while (got < 0 && errno == EINTR);
    if (got == 0) return;
    each.status = got < 0 ? 0 : status;
    each.ended = 1;
}

void collect_all(int) {
    int before = errno;
    for (background_process *each = all_background; each; each = each->next) {
        if (!each->ended) collect(*each, WNOHANG);
    }
    errno = before;
}

void catch_child_signal() {
    static bool done = false;
    if (done) return;
    done = true;
    struct sigaction action = {};
    action.sa_handler = collect_all;
    action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGCHLD, &action, nullptr);
}

/// Takes those out of the list that have ended and whose code nobody will ask for.
void drop_ended() {
    background_process **link = &all_background;
    while (background_process *each = *link) {
        if (!each->ended) {
            link = &each->next;
            continue;
        }
        *link = each->next;
        if (!each->kept) delete each;
    }
}

background_process *watch(int process, bool kept) {
    catch_child_signal();
    auto *made = new background_process{.process = process, .kept = kept};
    child_signal_blocked blocked;
    drop_ended();
    made->next = all_background;
    all_background = made;
    // It may have ended before anybody knew of it.
    collect(*made, WNOHANG);
    return made;
}

} // namespace

int rx_start_process(const rx_process_start &start, int &error) {
    rx_input_release();
    rx_world_changes++;
    spawn_settings settings(start);
    std::vector<char *> arguments;
    for (const std::string &each : start.arguments) arguments.push_back(const_cast<char *>(each.c_str()));
    arguments.push_back(nullptr);
    int process = spawn(start.path.c_str(), arguments, settings, error);
    if (error != ENOEXEC) return process;
    arguments[0] = const_cast<char *>(start.path.c_str());
    arguments.insert(arguments.begin(), const_cast<char *>(shell));
    return spawn(shell, arguments, settings, error);
}

int rx_wait_process(int process) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    rx_world_changes++;
    return code_of(status);
}

void rx_forget_process(int process) {
    watch(process, false);
}

size_t rx_keep_process(int process) {
    kept_processes.emplace_back(watch(process, true));
    return kept_processes.size() - 1;
}

size_t rx_kept_processes() {
    return kept_processes.size();
}

bool rx_process_ended(size_t index, bool wait, int &code) {
    rx_world_changes++;
    code = -1;
    if (index >= kept_processes.size()) return false;
    background_process &each = *kept_processes[index];
    if (wait && !each.ended) {
        child_signal_blocked blocked;
        if (!each.ended) collect(each, 0);
    }
    if (!each.ended) return false;
    code = code_of(each.status);
    return true;
}

bool rx_is_program(const std::string &path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

long rx_process_number() {
    return ::getpid();
}

bool rx_process_exists(long number) {
    if (number <= 0 || number > std::numeric_limits<pid_t>::max()) return false;
    return ::kill(static_cast<pid_t>(number), 0) == 0 || errno != ESRCH;
}

// ---- pipes ----------------------------------------------------------------------------------------------------------

bool rx_pipe::open() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return false;
    read_end = ends[0];
    write_end = ends[1];
    return true;
}

rx_pipe::~rx_pipe() {
    if (read_end >= 0) ::close(read_end);
    close_write_end();
}

void rx_pipe::close_write_end() {
    if (write_end >= 0) ::close(write_end);
    write_end = -1;
}

long rx_pipe::read(char *bytes, size_t size) const {
    for (;;) {
        ssize_t got = ::read(read_end, bytes, size);
        if (got >= 0 || errno != EINTR) return got;
    }
}
