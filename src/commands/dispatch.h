// The commands that the interpreter answers itself. A host command of the default environments is offered here first.
#pragma once

#include <string_view>

/// Runs the command when it is one of ours: true, and its return code in `code`.
bool rx_dispatch_command(std::string_view command, int &code);
