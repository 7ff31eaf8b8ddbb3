// Host commands: the table of environments, the ADDRESS instruction, the command clause, and the capture of a command's
// output. The commands that the interpreter answers itself (the queue's, EXECIO, GLOBALV) are offered first.
#pragma once

#include "engine/engine.h"

#include <functional>

/// Handles a command; the result is RC. `user_data` is what the row was registered with.
using rx_env_handler = int (*)(std::string_view command, void *user_data);

/// Adds, replaces (same name) or, with a null handler, removes an environment. The name is folded to upper case.
void rx_env_register(std::string_view name, rx_env_handler handler, bool make_current, void *user_data);

/// Registers the seven default environments unless the table holds some already.
void rx_env_defaults();

/// The name of the environment in force.
std::string_view rx_env_name();

/// For a handler: asks the run to end after this command with that exit value and text.
void rx_host_exit(std::string_view text, int code);

/// The command clause; `echo` for SAYX. `environment` -1: the one in force.
rx_flow rx_command(const rx_expr *expr, int environment, unsigned line, bool echo);

/// The ADDRESS instruction.
rx_flow rx_address(const rx_address_clause &clause);

/// Runs a command in the environment in force and gives its return code; for child runs of scripts.
int rx_run_in_environment(std::string_view command);

/// What a captured command gave.
struct rx_capture {
    int error = 0; ///< 0, or 58 (no pipe), 59 (reading it), 86 (the program didn't start)
    int code = 0;  ///< exit code (128 + n after signal n)
    std::vector<std::string> lines;
};

/// How a command is captured; every member may be left out.
struct rx_capture_options {
    const char *shell_variable = nullptr; ///< the value of this environment variable, when set, goes in front
    bool echo = false;                    ///< copies each line to the output as soon as it is complete
    std::function<bool(std::string_view line)> shows; ///< what the echo leaves out is refused; none: nothing is
};

/// Runs a command and collects the lines of its standard output. One that ends in "&" runs in the background without
/// being read; its code is its index in the list of background processes.
rx_capture rx_capture_command(std::string_view command, const rx_capture_options &options = {});

/// Set by the driver: takes the commands that the interpreter answers itself. True when it did, and `rc` is set.
inline bool (*rx_builtin_command)(std::string_view command, int &rc) = nullptr;
