// What the control structures share.
#pragma once

#include "engine/engine.h"

/// Evaluates a condition. When it is no truth value: error 34 at the condition, the extra text being its value between
/// the two texts.
bool rx_condition_holds(const rx_expr *cond, int level, std::string_view before, std::string_view behind);
