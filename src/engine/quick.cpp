#include "engine/quick.h"

#include "platform/strings.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace {

constexpr int8_t attempts = 8;  ///< times that a node may turn back
constexpr unsigned deepest = 8; ///< levels of the largest tree that is tried

/// Kinds of operands. A constant that is whole, without decimals, is a kind of its own: its head needs no look.
enum operand_kind : size_t { on_node, on_variable, on_whole, on_constant, on_argument, on_compound, operand_kinds };

/// The operators in the order of the table of steps.
constexpr std::array quick_operators = {FX_PLUS, FX_MIN, FX_MULT, FX_DIV,   FX_IDIV,  FX_REM, FX_EQ,
                                        FX_NEQ,  FX_SUP, FX_INF,  FX_SUPEQ, FX_INFEQ, FX_OR,  FX_AND};

rx_plain refused() {
    return rx_no_plain(rx_arithmetic_fault::not_a_number);
}

// ---- operands ------------------------------------------------------------------------------------------------------

[[gnu::noinline]] rx_plain load_value(const rx_value *value) {
    if (!value) return refused();
    if (value->is_number()) return rx_plain_of(*value);
    if (double real; rx_carried_number(*value, real)) return {real, rx_whole_head};
    rx_value number;
    return rx_number_of(*value, number) ? rx_plain_of(number) : refused();
}

[[gnu::noinline]] rx_plain load_symbol(const rx_symbol &symbol) {
    return load_value(rx_var_peek(symbol));
}

template <operand_kind kind> [[gnu::always_inline]] inline rx_plain load(const rx_operand &operand) {
    if constexpr (kind == on_whole) return {static_cast<const rx_value *>(operand.ready)->real, rx_whole_head};
    if constexpr (kind == on_constant) return rx_plain_of(*static_cast<const rx_value *>(operand.ready));
    if constexpr (kind == on_compound) {
        const auto &symbol = *static_cast<const rx_symbol *>(operand.ready);
        const rx_var *element = rx_var_element(symbol);
        if (element && element->value.is_number()) [[likely]]
            return rx_plain_of(element->value);
        return load_symbol(symbol);
    }
    if constexpr (kind == on_argument) {
        const rx_value *value = rx_quick_argument(*static_cast<const rx_op *>(operand.ready));
        if (value && value->carries_number()) [[likely]]
            return {value->carried.number, rx_whole_head};
        return load_value(value);
    }
    if constexpr (kind == on_node) {
        const auto &op = *static_cast<const rx_op *>(operand.ready);
        return op.quick(op);
    }
    if constexpr (kind == on_variable) {
        const auto &symbol = *static_cast<const rx_symbol *>(operand.ready);
        const rx_value &value = rx_var_glance(symbol);
        if (value.is_number()) [[likely]]
            return rx_plain_of(value);
        return value.carries_number() ? rx_plain{value.carried.number, rx_whole_head} : load_symbol(symbol);
    }
}

// ---- operations ----------------------------------------------------------------------------------------------------

template <rx_operator_id id> inline bool holds(double left, double right) {
    if constexpr (id == FX_EQ) return left == right;
    if constexpr (id == FX_NEQ) return left != right;
    if constexpr (id == FX_SUP) return left > right;
    if constexpr (id == FX_INF) return left < right;
    if constexpr (id == FX_SUPEQ) return left >= right;
    if constexpr (id == FX_INFEQ) return left <= right;
}

inline rx_plain truth(bool holds) {
    return {holds ? 1.0 : 0.0, rx_bare_head};
}

/// An operator on any two numbers: arithmetic has a function each, comparison one rule for all. An operand that
/// couldn't be had is handed on.
template <rx_operator_id id> [[gnu::noinline]] rx_plain compute(rx_plain a, rx_plain b) {
    if (a.failed()) return a;
    if (b.failed()) return b;
    int digits = rx_numeric.value.digits;
    if constexpr (id == FX_PLUS) {
        return rx_plus(a, b, digits);
    } else if constexpr (id == FX_MIN) {
        return rx_minus(a, b, digits);
    } else if constexpr (id == FX_MULT) {
        return rx_times(a, b, digits);
    } else if constexpr (id == FX_DIV) {
        return rx_divide(a, b, digits);
    } else if constexpr (id == FX_IDIV) {
        return rx_whole_divide(a, b, digits);
    } else if constexpr (id == FX_REM) {
        return rx_remainder(a, b, digits);
    } else {
        if (rx_both_whole(a, b)) return truth(holds<id>(a.real, b.real));
        int compared = rx_compared_digits();
        return truth(holds<id>(rx_compared(a, compared), rx_compared(b, compared)));
    }
}

/// The truth of an operand of `|` or `&`; false when it is neither 0 nor 1.
inline bool is_truth(rx_plain operand, bool &holds) {
    auto bits = std::bit_cast<uint64_t>(operand.real);
    holds = bits != 0;
    return static_cast<uint32_t>(operand.head) == rx_whole_head && (!holds || bits == std::bit_cast<uint64_t>(1.0));
}

/// `|` and `&`: the left operand may settle the result by itself.
template <rx_operator_id id, operand_kind left, operand_kind right> rx_plain logical_step(const rx_op &op) {
    bool holds;
    if (!is_truth(load<left>(op.a), holds)) return refused();
    if (holds == (id == FX_AND) && !is_truth(load<right>(op.b), holds)) return refused();
    return truth(holds);
}

/// What a node does: the commonest cases of whole numbers at once, anything else through `compute`. Since no order of
/// evaluation can be noticed here, a lone node among the operands comes first: nothing is kept meanwhile.
template <rx_operator_id id, operand_kind left, operand_kind right> rx_plain step(const rx_op &op) {
    rx_plain a, b;
    if constexpr (right == on_node && left != on_node) {
        b = load<right>(op.b);
        a = load<left>(op.a);
    } else {
        a = load<left>(op.a);
        b = load<right>(op.b);
    }
    if (rx_both_whole(a, b)) [[likely]] {
        if constexpr (id == FX_PLUS) {
            if (double sum = a.real + b.real; sum != HUGE_VAL) [[likely]]
                return rx_whole_sum(a, b, sum);
        } else if constexpr (id == FX_MIN) {
            return rx_whole_sum(a, b, a.real - b.real);
        } else if constexpr (id == FX_MULT) {
            if (double product = a.real * b.real; product != HUGE_VAL) [[likely]]
                return {product, rx_whole_product_head(a, b)};
        } else if constexpr (id == FX_REM) {
            if (uint32_t n, divisor; rx_short_naturals(a, b, n, divisor)) [[likely]]
                return {static_cast<double>(n % divisor), rx_bare_head};
        } else if constexpr (id == FX_IDIV) {
            if (uint32_t n, divisor; rx_short_naturals(a, b, n, divisor)) [[likely]]
                return {static_cast<double>(n / divisor), rx_bare_head};
        } else if constexpr (id != FX_DIV) {
            return truth(holds<id>(a.real, b.real));
        }
    }
    return compute<id>(a, b);
}

using rx_quick_step = rx_plain (*)(const rx_op &op);
constexpr size_t steps_of_operator = operand_kinds * operand_kinds;

template <rx_operator_id id, operand_kind left, operand_kind right> constexpr rx_quick_step choose_step() {
    if constexpr (id == FX_OR || id == FX_AND)
        return logical_step<id, left, right>;
    else
        return step<id, left, right>;
}

template <size_t... n> constexpr auto make_steps(std::index_sequence<n...>) {
    return std::array<rx_quick_step, sizeof...(n)>{
        choose_step<quick_operators[n / steps_of_operator], operand_kind{n % steps_of_operator / operand_kinds},
                    operand_kind{n % operand_kinds}>()...};
}
constexpr auto steps = make_steps(std::make_index_sequence<quick_operators.size() * steps_of_operator>());

using rx_computation = rx_plain (*)(rx_plain a, rx_plain b);

template <size_t... n> constexpr auto make_computations(std::index_sequence<n...>) {
    std::array<rx_computation, FX_COUNT> table{};
    (
        [&] {
            if constexpr (rx_is_quick(quick_operators[n])) table[quick_operators[n]] = compute<quick_operators[n]>;
        }(),
        ...);
    return table;
}
/// By operator; null where rx_is_quick says no.
constexpr auto computations = make_computations(std::make_index_sequence<quick_operators.size()>());

// ---- the first look ------------------------------------------------------------------------------------------------

bool prepare(const rx_operand &operand, unsigned depth, operand_kind &kind);

/// Looks like `arg(1)`; whether ARG is the built-in turns out when it is first called.
bool looks_like_argument(const rx_op &op) {
    return op.kind == RX_CALL && op.name->type == SYMBOL && rx_equal_nocase(op.name->text, "ARG") && op.args &&
           !op.args->next && op.args->type == STRING;
}

/// Gives the node its function; false when the tree is one for the ordinary road.
bool prepare(const rx_op &op, unsigned depth) {
    if (depth == 0 || op.kind != RX_DYADIC) return false;
    const auto *found = std::find(quick_operators.begin(), quick_operators.end(), op.fn->id);
    operand_kind left, right;
    if (found == quick_operators.end() || !prepare(op.a, depth - 1, left) || !prepare(op.b, depth - 1, right))
        return false;
    auto row = static_cast<size_t>(found - quick_operators.begin());
    op.quick = steps[row * steps_of_operator + left * operand_kinds + right];
    return true;
}

bool prepare(const rx_operand &operand, unsigned depth, operand_kind &kind) {
    switch (operand.kind) {
    case STRING:
        kind = on_constant;
        operand.ready = operand.node->literal->number;
        if (!operand.ready) return false;
        if (rx_head_of(*operand.node->literal->number) == rx_whole_head) kind = on_whole;
        return true;
    case SYMBOL: {
        const rx_symbol &symbol = *operand.node->symbol;
        kind = symbol.compound() ? on_compound : on_variable;
        operand.ready = &symbol;
        return !symbol.bad_name;
    }
    case OP_NODE: {
        const rx_op &op = *operand.node->op;
        kind = on_node;
        operand.ready = &op;
        if (prepare(op, depth)) return true;
        kind = on_argument;
        return looks_like_argument(op);
    }
    default: return false;
    }
}

} // namespace

rx_plain rx_quick_compute(rx_operator_id id, rx_plain a, rx_plain b) {
    return computations[id](a, b);
}

void rx_quick_failed(const rx_op &op) {
    // 0 would make the node look new.
    if (--op.quick_left == 0) op.quick_left = -1;
}

bool rx_quick_first_look(const rx_op &op) {
    op.quick_left = static_cast<int8_t>(prepare(op, deepest) ? attempts : -1);
    return op.quick_left > 0;
}
