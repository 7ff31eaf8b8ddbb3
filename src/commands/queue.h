// The external data queue and its buffers.
//
// There is one queue in the process, the store behind PUSH, QUEUE and PULL, EXECIO and GLOBALV. MAKEBUF sets it aside
// and starts an empty one; DROPBUF brings it back. What is set aside can't be seen: a PULL at an empty queue reads the
// terminal, whatever lies in the buffers beneath. The queue belongs to no run; nested runs share it, and what is left
// in it ends with the process.
#pragma once

#include "values/value.h"

#include <optional>
#include <string_view>

/// Appends a line (QUEUE) or puts it in front (PUSH). The value is a string that owns its text.
void rx_queue_tail(rx_value &&line);
void rx_queue_head(rx_value &&line);

/// Takes the line at the head; from the terminal when the queue is empty.
rx_value rx_queue_pull();

/// Takes the line at the head; nothing when the queue is empty.
std::optional<rx_value> rx_queue_take();

/// Lines in the queue, without those in the buffers set aside.
size_t rx_queue_count();

/// Reads a line of the standard input. RC becomes "EOF" when the input ended first, else 0.
rx_value rx_read_terminal_line();

/// MAKEBUF: the number of buffers made so far.
int rx_makebuf();

/// DROPBUF: drops the buffer of a number and all above it, the newest one without an operand. 0, 1 for an operand that
/// is no number, 2 when there is no such buffer.
int rx_dropbuf(std::string_view operand);

/// DESBUF: empties the queue in force.
void rx_desbuf();
