// What the control structures share.
#pragma once

#include "engine/engine.h"

/// The rounds of a controlled loop that has no condition and no FOR and steps through whole numbers.
struct rx_swift_rounds {
    rx_var *control; ///< the control variable
    double current;  ///< its value in this round
    double by;       ///< not 0
    double bound;    ///< the last value that may come, going up or down; at most 10^8 from 0
};

/// Runs the body for the current value, then goes round as long as nothing else happens than the body, the step and the
/// end test: nobody traces, names mean what they meant, the variable holds the number that the loop gave it, the body
/// ends in `next`. The flow is that of the last run of the body, for which `current` is the value; its step has not
/// been taken.
rx_flow rx_run_swift_rounds(const rx_clause_cell *body, rx_swift_rounds &rounds);

/// Evaluates a condition. When it is no truth value: error 34 at the condition, the extra text being its value between
/// the two texts.
bool rx_condition_holds(const rx_expr *cond, int level, std::string_view before, std::string_view behind);
