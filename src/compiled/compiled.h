// Compiled files: a script stored as its tokens, so that it runs without its plain source.
//
//     #!<home>/vandra       a line for the system
//     @vcmp                 the mark
//     version, case_mode, env_mode, load_mode, globalv_mode (not in version 1), lines, token_count: 4 bytes each
//     tokens                each one: type, length, text, line, column, flag
//     backslash, line feed
//     the source            the start-up file of the day in front of it
//     backslash
//
// Numbers have their most significant byte first. Behind the mark a backslash stands in front of every line feed of the
// data, so that the rest of the file reads as one long continued line; the two bytes behind the tokens are no data and
// are written as they are. The texts of the tokens and the source are scrambled, with one stream of pseudo-random bytes
// for all of them (format.h). A symbol's text is folded already.
//
// Loading gives back the tokens and the source. A file is foreign bytes: whatever it holds, reading it ends in tokens
// that the grammar can look at, or in error 76.
#pragma once

#include "front/scan.h"

#include <string>
#include <string_view>

/// The bytes of a compiled file. `interpreter` is the path for its first line; the modes are those in force.
std::string rx_compiled_bytes(const std::vector<rx_expr *> &tokens, std::string_view interpreter,
                              std::string_view source, unsigned lines);

/// False when the text is no compiled file. Otherwise `result` gets the tokens, which live in the arena, and the text
/// becomes the source; or error 76, and the text stays. With `apply_modes` the modes of the file come into force.
bool rx_read_compiled(std::string &text, rx_arena &arena, bool apply_modes, rx_scan_result &result);
