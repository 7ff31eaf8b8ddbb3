// The quick road of an assignment, which loops take beside the walk.
#pragma once

#include "engine/quick.h"

/// A number for a compound that holds none yet. `element` is what rx_var_element has found.
void rx_store_first_element(const rx_symbol &target, rx_var *element, rx_plain number);

/// A number for a simple variable that holds none yet.
void rx_store_first(const rx_symbol &target, rx_plain number);

/// Assigns a number that the quick road yields, or a constant: straight into the record of a variable that holds a
/// number already. (It isn't pinned, nor are its words remembered, for only texts are.) For clauses of the road
/// ASSIGN_NUMBER while nobody traces. False: nothing has happened.
[[gnu::always_inline]] inline bool rx_store_number(const rx_assign_clause &clause) {
    rx_plain plain;
    if (clause.value->type == OP_NODE) {
        if (!rx_try_quick(*clause.value->op, plain)) return false;
    } else {
        plain = rx_plain_of(*clause.value->literal->number);
    }
    const rx_symbol &target = *clause.target->symbol;
    if (!target.compound()) {
        rx_var &var = *rx_scope.value.row[target.place].var();
        if (!var.value.is_number()) [[unlikely]] {
            rx_store_first(target, plain);
            return true;
        }
        rx_put_plain(var.value, plain);
        var.marks = 0;
        return true;
    }
    rx_var *element = rx_var_element(target);
    if (!element || !element->value.is_number()) [[unlikely]] {
        rx_store_first_element(target, element, plain);
        return true;
    }
    rx_put_plain(element->value, plain);
    element->marks = 0;
    return true;
}
