// Large pieces of memory, straight from the system.
#pragma once

#include <cstddef>

/// Memory for `size` bytes, all zero, in pages as large as the system has for the asking: a walk through many megabytes
/// then waits less often for an address to be translated, and a first touch brings more. Null when there is none.
void *rx_take_pages(size_t size);

/// Gives back what rx_take_pages has given for this size.
void rx_give_back_pages(void *pages, size_t size);
