// The standard input of the process.
//
// A script, the programs that it starts and whoever comes behind it share one standard input, so nobody may take more
// than he was asked for. Reading byte by byte would keep that promise at a system call a byte. Instead, what lies ahead
// is looked at without being taken: a file is read behind its offset's back, the contents of a pipe are duplicated into
// a pipe of our own, a socket is peeked at. What was used up of it is taken for good when the look-ahead ends, when
// a child starts and when the process ends. A terminal hands out a line at a time anyway.
#pragma once

#include <cstddef>
#include <string>

/// Reads a line, without its line feed. False when the input ended first; the line then holds what came before.
bool rx_input_line(std::string &line);

/// Reads `count` bytes, fewer only at the end: from a terminal keys, each as soon as it is pressed, and shown when `echo`
/// says so. How many came; -1 when the system refuses, for the reason in rx_system_error().
long rx_input_keys(char *bytes, size_t count, bool echo);

/// On a terminal: whether a key is waiting. Otherwise waits until a byte or the end comes; true for a byte.
bool rx_input_waiting();

/// Takes what was used up and forgets the rest of the look-ahead, so that others can read the descriptor.
void rx_input_release();
