// When what we know of the world outside may have become wrong.
//
// Whoever remembers something that other processes can change (the size of a file, the bytes read from it) would have
// to ask the system at each use. Instead it asks again when this process has given others the chance to act on purpose,
// or when a short time has passed. The counters below say the first, rx_tick (platform/clock.h) the second.
#pragma once

#include <cstdint>

/// Grows whenever this process starts or awaits another one, sleeps, waits for input, puts another file in the place of
/// a standard stream, or changes files by path. Whoever adds such a service counts it here.
inline constinit uint64_t rx_world_changes = 0;

/// Grows with every write to standard output or standard error.
inline constinit uint64_t rx_console_writes = 0;
