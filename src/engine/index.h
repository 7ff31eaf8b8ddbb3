// Index expressions, v[i], v[i:j], v[i:] and v[:j], and the tests that an index has to pass. Positions count from 1.
#pragma once

#include "engine/engine.h"

/// Evaluates an index node.
rx_value rx_index(const rx_expr *node, int level);

/// The position (from 0) that an index value stands for. The value turns into a number rounded to 9 digits, in its own
/// record. `not_number` is the beginning of the message for a text that is no number, `not_positive` the message for a
/// number that is no position; both raise error 78 at the current position.
size_t rx_index_position(rx_value &index, const char *not_number, const char *not_positive);
