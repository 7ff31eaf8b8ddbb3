// Forms of functions for the quick road (engine/quick.h), which is taken by sums, comparisons and conditions like
// `n + length(line)` or `pos(',', text) > 0`. They do what their handlers do in the commonest case, and refuse any
// other: see rx_quick_form.
#pragma once

#include "engine/functions.h"

rx_plain bu_quick_abbrev(const rx_value *const *args, size_t count);
rx_plain bu_quick_abs(const rx_value *const *args, size_t count);
rx_plain bu_quick_lastpos(const rx_value *const *args, size_t count);
rx_plain bu_quick_length(const rx_value *const *args, size_t count);
rx_plain bu_quick_lines(const rx_value *const *args, size_t count);
rx_plain bu_quick_pos(const rx_value *const *args, size_t count);
rx_plain bu_quick_words(const rx_value *const *args, size_t count);
