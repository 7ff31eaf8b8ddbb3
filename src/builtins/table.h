// The written table of the built-in functions.
//
// One row for each name, in the spelling that a program in the mode MIXED uses. Aliases are rows of one handler. The
// order is that of the families; it matters only where a name stands twice, when the first row rules.
#pragma once

#include "engine/functions.h"

#include <cstddef>

extern const rx_function_row bu_table[];
extern const size_t bu_table_size;
