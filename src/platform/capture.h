// Reading what a child writes, on one or both of its output streams at a time.
#pragma once

#include "platform/process.h"

#include <functional>

/// Takes a block that came from standard output, or standard error.
using rx_block_sink = std::function<void(std::string_view block, bool errors)>;

/// Reads the pipes that are open until nobody writes to them any more. False when reading fails.
bool rx_read_pipes(const rx_pipe &output, const rx_pipe &errors, const rx_block_sink &sink);
