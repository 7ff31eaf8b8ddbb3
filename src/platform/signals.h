// The interrupt signal. Its handler sets a flag and nothing else; the engine polls it between clauses.
#pragma once

#include <csignal>

/// Set when the interrupt signal has arrived.
extern volatile std::sig_atomic_t rx_halt_pending;

/// Installs the interrupt handler.
void rx_catch_interrupt();
