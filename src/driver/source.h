// How source text gets into a program.
#pragma once

#include "front/tree.h"

#include <string>

/// The path under which a script's file is found: its name as given, else along the directories of PATH unless the name
/// is a path itself.
std::string rx_find_script(std::string_view name);

/// Puts the start-up file ".vandrarc" (of the home directory, else of the installation directory) in front of a script.
/// Returns the number of lines that it added.
unsigned rx_load_rc(std::string &text, const std::string &home);
