// How source text gets into a program.
//
// A program is made of one source or several. The main one may have the start-up file in front of it, whose lines count
// as the program's own. An external routine that a call loads becomes a further source: its clauses hang at the end of
// the main chain, its labels are in the common table, and its lines go on with the program-wide numbering, so that
// `first_line` of its entry gives back the file's own numbers.
#pragma once

#include "front/scan.h"
#include "platform/files.h"

#include <string>
#include <string_view>

/// The path under which a script's file is found: its name as given, else along the directories of PATH unless the name
/// is a path itself.
std::string rx_find_script(std::string_view name);

/// Puts the start-up file ".vandrarc" (of the home directory, else of the installation directory) in front of a script.
/// Returns the number of lines that it added.
unsigned rx_load_rc(std::string &text, const std::string &home);

/// Scans a source, or takes the tokens of a compiled one: then `compiled` is set, and `text` becomes the source that it
/// carries. `apply_modes`: the modes that the source asks for come into force. Error 76 for a compiled one that can't be
/// read.
rx_scan_result rx_scan_source(std::string &text, rx_arena &arena, bool apply_modes, bool &compiled);

/// The words for a file that can't be opened or read.
std::string rx_unreadable(rx_read_failure failure, std::string_view name);

/// The hook of the engine: finds the script of an external routine by its name (folded to lower case with `fold`) and
/// loads it into the program in force, or runs it as a child process when the load mode says so. 0 not found, 1 loaded,
/// 2 ran and `result` is its exit code. Raises the error of a script that can't be scanned or parsed, at its place.
int rx_load_external_routine(std::string_view name, bool fold, const rx_expr *arguments, rx_value &result, int level);

/// A number for a program whose routines have to be looked up anew, different from all before.
uint64_t rx_next_program_serial();
