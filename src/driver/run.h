// Runs: one command line taken from the script's file to the exit code. This is the door of the interpreter, for the
// process entry and for a program that embeds it.
//
// A run may start while another one is active (from a registered function, say): it begins with everything in its
// initial state and leaves the outer run's state untouched. What the command line, the process and its files are to a
// run is told in driver/run.cpp, step by step.
#pragma once

#include "engine/engine.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// An explicit argument of a run.
struct rx_run_argument {
    std::string text;
    bool omitted = false;
};

/// Runs a command line: the script's name and, behind it, one argument string. `home` is the installation directory, or
/// the path of the program file in it when that isn't called "vandra"; null takes it from the environment variable
/// REXXHOME, without which the process ends with a message and code 1. `program`, when given, keeps the parsed program
/// between calls: the script isn't read again until the time of its file gets newer. `result`, when given, receives the
/// text left by EXIT, or nothing. Returns the run's code.
int run_rx(std::string_view command, const char *home, std::unique_ptr<rx_program> *program = nullptr,
           std::optional<std::string> *result = nullptr);

/// The same with an explicit list of arguments instead of the text behind the script's name.
int rx_run_args(std::string_view command, const char *home, std::unique_ptr<rx_program> *program,
                const std::vector<rx_run_argument> &arguments, std::optional<std::string> *result = nullptr);

/// Ends the process with a run's code.
[[noreturn]] void rx_final_exit(int code);

/// Words of the process's own command line, the script's name first; empty in an embedding program.
inline std::vector<std::string> rx_command_words;

/// The installation directory with a "/" at its end, for the run in force, and the name that the interpreter's program
/// file has in it.
inline rx_run_local<std::string> rx_home_directory;
inline rx_run_local<std::string> rx_program_name;

/// The directory of the running program: where the name leads by which it was called, else where the system says that it
/// is. Empty when neither is known.
std::string rx_installation_directory(const std::string &invoked);

/// A command line cut at the end of its first word.
struct rx_split_line {
    std::string script;
    std::string_view rest; ///< from the second word on, blanks as written
};
rx_split_line rx_split_command(std::string_view line);
