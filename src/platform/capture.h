// Reading what a child writes, on one or both of its output streams at a time.
#pragma once

#include "platform/process.h"

/// Takes a block that came from standard output, or standard error.
struct rx_block_sink {
    virtual void take(std::string_view block, bool errors) = 0;

protected:
    ~rx_block_sink() = default;
};

/// Reads the pipes that are open until nobody writes to them any more. False when reading fails.
bool rx_read_pipes(const rx_pipe &output, const rx_pipe &errors, rx_block_sink &sink);
