// The quick road for expressions of numbers.
//
// Most expressions of a loop are small trees of arithmetic and comparison over variables that hold numbers and over
// constants, or over arguments of the routine. Such a tree is computed in registers, without a value record for each
// node. The road is taken only where nothing else can happen on the way: no routine, no index, no trace line, no unset
// variable. Where it can't be followed to its end (an operand that is no number, a zero divide) the walk begins anew on
// the ordinary road, which also finds the words for an error; since nothing on the quick road can be noticed, that is
// safe. A node that often turned back isn't tried any more, and only trees of a few levels are, so that no expression
// pays twice at every level.
//
// Functions that only look at their arguments and give a number may be part of such a tree (rx_quick_form), and so may
// comparisons of texts that are at hand.
//
// Each node of such a tree holds the function that computes it, chosen for its operator and the kinds of its operands
// when the tree is first evaluated, so that the walk never asks what a node is.
#pragma once

#include "engine/engine.h"
#include "values/arithmetic.h"

/// Looks at a node for the first time: may it be tried?
bool rx_quick_first_look(const rx_op &op);

/// True when the node is worth trying.
inline bool rx_quick_candidate(const rx_op &op) {
    return op.quick_left > 0 || (op.quick_left == 0 && rx_quick_first_look(op));
}

/// Arithmetic without powers, and normal comparison: the operators that need nothing but the numbers of both operands.
/// (The quick road also knows `|` and `&`, whose right operand isn't always evaluated.)
constexpr bool rx_is_quick(rx_operator_id id) {
    constexpr uint64_t known = 1ull << FX_PLUS | 1ull << FX_MIN | 1ull << FX_MULT | 1ull << FX_DIV | 1ull << FX_IDIV |
                               1ull << FX_REM | 1ull << FX_EQ | 1ull << FX_NEQ | 1ull << FX_SUP | 1ull << FX_INF |
                               1ull << FX_SUPEQ | 1ull << FX_INFEQ;
    return (known >> id & 1) != 0;
}

/// One of those operators on two numbers; a fault in the result says that there is none.
rx_plain rx_quick_compute(rx_operator_id id, rx_plain a, rx_plain b);

/// The argument that a call node `arg(n)` with a constant n stands for: lent, or null when the node is anything else,
/// ARG isn't known to be the built-in, or there is no such argument.
inline const rx_value *rx_quick_argument(const rx_op &call) {
    uint32_t n = call.argument;
    if (n == 0 || n > rx_routine.value.arg_count || !rx_calls(call, RX_CALLS_BUILTIN)) return nullptr;
    return &rx_routine.value.args[n - 1].text;
}

/// The value of an operand that can be had without running or making anything, lent; else null. A constant is a number
/// where `use` asks for one.
const rx_value *rx_ready_value(const rx_operand &operand, rx_operand_use use);

/// A constant that stands opposite a number in a comparison is that number, if it is one.
inline const rx_value &rx_matched(const rx_operand &operand, const rx_value &value, const rx_value &other) {
    return operand.kind == STRING && other.is_number() && operand.node->literal->number ? *operand.node->literal->number
                                                                                        : value;
}

/// Counts a failure; the last one closes the road.
void rx_quick_failed(const rx_op &op);

/// Tries a node; false: take the ordinary road.
[[gnu::always_inline]] inline bool rx_try_quick(const rx_op &op, rx_plain &result) {
    if (!rx_quick_candidate(op)) return false;
    result = op.quick(op);
    if (!result.failed()) [[likely]]
        return true;
    rx_quick_failed(op);
    return false;
}
[[gnu::always_inline]] inline bool rx_try_quick(const rx_expr *node, rx_plain &result) {
    return node->type == OP_NODE && rx_try_quick(*node->op, result);
}
