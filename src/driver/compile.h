// The compile tool, `vcmp`: the same program file as the interpreter, under another name.
#pragma once

#include <string>
#include <string_view>

/// True when the program runs under a name that means the compile tool.
bool rx_is_compile_tool(std::string_view name);

/// Does the work that the command line asks for: compiles one script. `home` is the installation directory. Returns the
/// exit code: 0, 1 without a file, 2 or 3 when the script can't be opened or read, 5 when the output can't be written,
/// or the number of the error that the script holds.
int rx_compile_main(int count, char **words, const std::string &home);
