// From the text of a host command to the program that is started for it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A program file and its arguments, the first of which is the program's name.
struct rx_command_line {
    std::string path; ///< empty: nothing was found that could be started
    std::vector<std::string> arguments;
};

/// Takes a command apart. Its first word decides: a word of the shell's own sends the text to the shell, any other must
/// be a program file, as it stands, in the current directory or along PATH. The arguments are split as the shell does;
/// where that needs more than quotes (pipes, redirections, expansions, ...) the shell gets the text after all.
/// With the name of an environment variable that is set, its value (a shell, say) goes in front of the text.
rx_command_line rx_resolve_command(std::string_view text, const char *shell_variable = nullptr);
