// Other programs: starting them, waiting for them, and keeping track of those that run in the background.
//
// A child starts with the default action for the broken-pipe signal, whatever this process does about it, and with no
// descriptor of ours but its three standard streams: everything else is opened close-on-exec. A background process is
// collected as soon as it ends, by the child signal's handler, so that it never stays behind as a zombie.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// What to start, and with which streams.
struct rx_process_start {
    std::string path;                   ///< the file to run
    std::vector<std::string> arguments; ///< the first one is the name of the program
    int output = -1;                    ///< descriptor that becomes its standard output; -1: ours
    int errors = -1;                    ///< the same for its standard error
    bool background = false;            ///< streams on the null device, out of reach of the terminal's interrupt
};

/// Starts a program; its process number, or -1 with the system's error number in `error`. A file that the system
/// doesn't know how to run is handed to the shell. Look-ahead on the standard input is given back first.
int rx_start_process(const rx_process_start &start, int &error);

/// Waits until a process has ended: its exit code, or -n when signal n ended it.
int rx_wait_process(int process);

/// Leaves a started process to itself.
void rx_forget_process(int process);

/// Puts a started process in the list of background processes; its index there.
size_t rx_keep_process(int process);

/// The count of processes in the list.
size_t rx_kept_processes();

/// Looks at a process of the list: true and its code, as rx_wait_process gives it, when it has ended. `wait` waits for
/// that. False also for an index that isn't in the list, with `code` -1.
bool rx_process_ended(size_t index, bool wait, int &code);

/// True for a file that can be run: regular, with the permission to execute it.
bool rx_is_program(const std::string &path);

/// The number of this process.
long rx_process_number();

/// True when a process of that number exists, whoever owns it.
bool rx_process_exists(long number);

/// A pipe for a child's output.
struct rx_pipe {
    int read_end = -1;
    int write_end = -1;

    /// False when the system has none to give.
    bool open();
    ~rx_pipe();
    void close_write_end();

    /// Up to `size` bytes; 0 at the end, -1 on a failure.
    long read(char *bytes, size_t size) const;

    rx_pipe() = default;
    rx_pipe(const rx_pipe &) = delete;
    rx_pipe &operator=(const rx_pipe &) = delete;
};
