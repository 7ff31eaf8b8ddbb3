#include "engine/quick.h"

#include "platform/strings.h"

namespace {

constexpr int8_t attempts = 8;  ///< times that a node may turn back
constexpr unsigned deepest = 8; ///< levels of the largest tree that is tried

/// How the road sees an operator: computed by `run_node`, or not at all.
bool is_quick(rx_operator_id id) {
    switch (id) {
    case FX_PLUS:
    case FX_MIN:
    case FX_MULT:
    case FX_DIV:
    case FX_IDIV:
    case FX_REM:
    case FX_EQ:
    case FX_NEQ:
    case FX_SUP:
    case FX_INF:
    case FX_SUPEQ:
    case FX_INFEQ: return true;
    default: return false;
    }
}

bool fits(const rx_operand &operand, unsigned depth);

/// Looks like `arg(1)`; whether ARG is the built-in turns out when it is first called.
bool looks_like_argument(const rx_op &op) {
    return op.kind == RX_CALL && op.name->type == SYMBOL && rx_equal_nocase(op.name->text, "ARG") && op.args &&
           !op.args->next && op.args->type == STRING;
}

bool fits(const rx_op &op, unsigned depth) {
    return depth > 0 && op.kind == RX_DYADIC && is_quick(op.fn->id) && fits(op.a, depth - 1) && fits(op.b, depth - 1);
}

bool fits(const rx_operand &operand, unsigned depth) {
    switch (operand.kind) {
    case STRING: return operand.node->literal->number != nullptr;
    case SYMBOL: return !operand.node->symbol->bad_name;
    case OP_NODE: return fits(*operand.node->op, depth) || looks_like_argument(*operand.node->op);
    default: return false;
    }
}

rx_plain refused() {
    return rx_no_plain(rx_arithmetic_fault::not_a_number);
}

[[gnu::noinline]] rx_plain value_of(const rx_value *value) {
    if (value) {
        if (value->is_number()) [[likely]]
            return rx_plain_of(*value);
        if (double real; value->is_string() && rx_short_integer(value->text(), real))
            return {.real = real, .decimals = 0, .rounded = 1};
        rx_value number;
        if (rx_number_of(*value, number)) return rx_plain_of(number);
    }
    return refused();
}

rx_plain run_node(const rx_op &op, int digits);

inline rx_plain operand(const rx_operand &operand, int digits) {
    switch (operand.kind) {
    case STRING: return rx_plain_of(*operand.node->literal->number);
    case SYMBOL: {
        const rx_symbol &symbol = *operand.node->symbol;
        const rx_value *value = rx_var_cached(symbol);
        if (value && value->is_number()) [[likely]]
            return rx_plain_of(*value);
        return value_of(value ? value : rx_var_peek(symbol));
    }
    default:
        if (operand.node->op->kind == RX_CALL) return value_of(rx_quick_argument(*operand.node->op));
        return run_node(*operand.node->op, digits);
    }
}

rx_plain truth(bool holds) {
    return {.real = holds ? 1.0 : 0.0, .decimals = -1, .rounded = 1};
}

rx_plain run_node(const rx_op &op, int digits) {
    rx_plain a = operand(op.a, digits);
    if (a.failed()) [[unlikely]]
        return a;
    rx_plain b = operand(op.b, digits);
    if (b.failed()) [[unlikely]]
        return b;
    switch (op.fn->id) {
    case FX_PLUS: return rx_plus(a, b, digits);
    case FX_MIN: return rx_minus(a, b, digits);
    case FX_MULT: return rx_times(a, b, digits);
    case FX_DIV: return rx_divide(a, b, digits);
    case FX_IDIV: return rx_whole_divide(a, b, digits);
    case FX_REM: return rx_remainder(a, b, digits);
    default: break;
    }
    bool whole = rx_both_whole(a, b);
    int compared = whole ? 0 : rx_compared_digits();
    double left = whole ? a.real : rx_compared(a, compared), right = whole ? b.real : rx_compared(b, compared);
    switch (op.fn->id) {
    case FX_EQ: return truth(left == right);
    case FX_NEQ: return truth(left != right);
    case FX_SUP: return truth(left > right);
    case FX_INF: return truth(left < right);
    case FX_SUPEQ: return truth(left >= right);
    case FX_INFEQ: return truth(left <= right);
    default: return refused();
    }
}

} // namespace

bool rx_quick_first_look(const rx_op &op) {
    op.quick_left = static_cast<int8_t>(fits(op, deepest) ? attempts : -1);
    return op.quick_left > 0;
}

rx_plain rx_quick(const rx_expr *node) {
    return run_node(*node->op, rx_numeric->digits);
}
