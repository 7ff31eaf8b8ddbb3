// What the control structures share.
#pragma once

#include "engine/quick.h"

#include <bit>

/// The rounds of a controlled loop that has no condition and no FOR and steps through whole numbers.
struct rx_swift_rounds {
    const rx_do_clause *loop;
    rx_var *control; ///< the control variable
    double current;  ///< its value in this round
    double by;       ///< not 0
    bool up;         ///< it is above 0
    double bound;    ///< the last value that may come, going up or down; at most 10^8 from 0
};

/// Runs the body for the current value, then goes round as long as nothing else happens than the body, the step and the
/// end test: nobody traces, names mean what they meant, the variable holds the number that the loop gave it, the body
/// ends in `next` or in an ITERATE of this loop. The flow is that of the last run of the body, for which `current` is
/// the value; its step has not been taken.
rx_flow rx_run_swift_rounds(const rx_clause_cell *body, rx_swift_rounds &rounds);

/// Runs the body of a loop that has no condition in round `round`, from 0, then goes round as long as `count` allows it
/// and nothing else happens, as above. The flow is that of the last run of the body, in the round that `round` tells.
rx_flow rx_run_counted_rounds(const rx_do_clause &loop, double &round, double count);

/// True when a pending LEAVE or ITERATE is for this loop.
inline bool rx_is_of_loop(const rx_do_clause &loop) {
    std::string_view name = rx_walk.value.loop_name;
    return name.empty() || (loop.control && loop.control->text == name);
}

/// The words around a condition's value in the message for one that is no truth value.
struct rx_condition_words {
    std::string_view before, behind;
};
inline constexpr rx_condition_words rx_plain_condition{"Expression evaluates to ", ""};

/// The entry of a symbol where it is found at once, perhaps unset; else null.
inline const rx_var *rx_glance(const rx_symbol &symbol) {
    return symbol.compound() ? rx_var_element(symbol) : rx_scope.value.row[symbol.place].var();
}

/// Evaluates a condition that isn't on the quick road.
bool rx_condition_with_care(const rx_expr *cond, int level, const rx_condition_words &words);

/// The truth of a condition for which nothing has to run. False: it has to be evaluated. Error 42 is raised as the
/// evaluation would.
inline bool rx_quick_condition(const rx_expr *cond, bool &holds) {
    double number;
    if (cond->type == OP_NODE) [[likely]] {
        rx_plain plain;
        if (!rx_try_quick(*cond->op, plain)) return false;
        number = plain.real;
    } else {
        if (cond->type != SYMBOL) return false;
        const rx_var *var = rx_glance(*cond->symbol);
        const rx_value *value = var ? &var->value : nullptr;
        if (!value || !value->is_number()) [[unlikely]] {
            rx_error.line = cond->line;
            rx_error.column = cond->column;
            value = rx_var_peek(*cond->symbol);
            if (!value || !value->is_number()) return false;
        }
        number = value->real;
    }
    // As integers: a comparison of doubles takes longer.
    auto bits = std::bit_cast<uint64_t>(number);
    holds = bits != 0;
    return bits == 0 || bits == std::bit_cast<uint64_t>(1.0);
}

/// Evaluates a condition. When it is no truth value: error 34 at the condition, the extra text being its value between
/// the words.
inline bool rx_condition_holds(const rx_expr *cond, int level, const rx_condition_words &words) {
    bool holds;
    if (level == 0 && rx_quick_condition(cond, holds)) [[likely]]
        return holds;
    return rx_condition_with_care(cond, level, words);
}
