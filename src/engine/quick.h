// The quick road for expressions of numbers.
//
// Most expressions of a loop are small trees of arithmetic and comparison over variables that hold numbers and over
// constants, or over arguments of the routine. Such a tree is computed in registers, without a value record for each node. The road is taken only where
// nothing else can happen on the way: no call, no index, no trace line, no unset variable. Where it can't be followed
// to its end (an operand that is no number, a zero divide) the walk begins anew on the ordinary road, which also finds
// the words for an error; since nothing on the quick road can be noticed, that is safe. A node that often turned back
// isn't tried any more, and only trees of a few levels are, so that no expression pays twice at every level.
#pragma once

#include "engine/engine.h"
#include "values/arithmetic.h"

/// Looks at a node for the first time: may it be tried?
bool rx_quick_first_look(const rx_op &op);

/// True when the node is worth trying.
inline bool rx_quick_candidate(const rx_op &op) {
    return op.quick_left > 0 || (op.quick_left == 0 && rx_quick_first_look(op));
}

/// The argument that a call node `arg(n)` with a constant n stands for: lent, or null when the node is anything else,
/// ARG isn't known to be the built-in, or there is no such argument.
inline const rx_value *rx_quick_argument(const rx_op &call) {
    if (call.target != reinterpret_cast<const void *>(rx_arg_handler) || call.target == nullptr) return nullptr;
    if (call.target_serial >> 2 != (*rx_program_now)->serial) return nullptr;
    const rx_expr *n = call.args;
    if (!n || n->next || n->type != STRING || !n->literal->number) return nullptr;
    double index = n->literal->number->real;
    if (!(index >= 1 && index <= static_cast<double>(rx_args->count)) || !rx_is_whole(index)) return nullptr;
    return &rx_args->args[static_cast<size_t>(index) - 1].text;
}

/// Tries; a fault in the result says that the ordinary road is to be taken.
rx_plain rx_quick(const rx_expr *node);

/// Tries a node that is nothing but arithmetic or comparison; false: take the ordinary road.
inline bool rx_try_quick(const rx_expr *node, rx_plain &result) {
    if (node->type != OP_NODE || !rx_quick_candidate(*node->op)) return false;
    result = rx_quick(node);
    if (!result.failed()) [[likely]]
        return true;
    // The last attempt leaves -1: 0 would make the node look new.
    if (--node->op->quick_left == 0) node->op->quick_left = -1;
    return false;
}
