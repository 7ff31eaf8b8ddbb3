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

/// A compound that isn't an element found by its number.
[[gnu::noinline]] rx_plain load_compound(const rx_symbol &symbol) {
    const rx_value *value = rx_var_peek_pair(symbol);
    return value && value->is_number() ? rx_plain_of(*value) : load_symbol(symbol);
}

template <operand_kind kind> [[gnu::always_inline]] inline rx_plain load(const rx_operand &operand) {
    if constexpr (kind == on_whole) return {static_cast<const rx_value *>(operand.ready)->real, rx_whole_head};
    if constexpr (kind == on_constant) return rx_plain_of(*static_cast<const rx_value *>(operand.ready));
    if constexpr (kind == on_compound) {
        const auto &symbol = *static_cast<const rx_symbol *>(operand.ready);
        const rx_var *element = rx_var_element(symbol);
        if (element && element->value.is_number()) [[likely]]
            return rx_plain_of(element->value);
        return load_compound(symbol);
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

bool is_comparison(rx_operator_id id) {
    return id >= FX_NEQ && id <= FX_EEQ;
}

/// A comparison of two operands that are at hand, at least one of which is a text.
[[gnu::noinline]] rx_plain compare_values(const rx_op &op) {
    const rx_value *left = rx_ready_value(op.a, op.fn->use);
    const rx_value *right = left ? rx_ready_value(op.b, op.fn->use) : nullptr;
    if (!right) return refused();
    if (double number; rx_is_quick(op.fn->id) && right->is_number() && rx_carried_number(*left, number))
        return rx_quick_compute(op.fn->id, {number, rx_whole_head}, rx_plain_of(*right));
    if (op.fn->use == RX_AS_EITHER) {
        left = &rx_matched(op.a, *left, *right);
        right = &rx_matched(op.b, *right, *left);
    }
    int fault = 0;
    return rx_plain_of(op.fn->dyadic(*left, *right, fault));
}

/// True for operands whose value can be looked at as it stands.
constexpr bool is_leaf(operand_kind kind) {
    return kind == on_variable || kind == on_whole || kind == on_constant;
}

/// The value of a leaf for a look; of kind none when the variable isn't known.
template <operand_kind kind> [[gnu::always_inline]] inline const rx_value &glance(const rx_operand &operand) {
    if constexpr (kind == on_variable) return rx_var_glance(*static_cast<const rx_symbol *>(operand.ready));
    return *static_cast<const rx_value *>(operand.ready);
}

/// A comparison of two leaves.
template <rx_operator_id id, operand_kind left, operand_kind right> rx_plain comparison(const rx_op &op) {
    const rx_value &a = glance<left>(op.a), &b = glance<right>(op.b);
    if (a.is_number() && b.is_number()) [[likely]] {
        rx_plain x = rx_plain_of(a), y = rx_plain_of(b);
        return rx_both_whole(x, y) ? truth(holds<id>(x.real, y.real)) : compute<id>(x, y);
    }
    if (a.carries_number() && static_cast<uint32_t>(rx_head_of(b)) == rx_whole_head)
        return truth(holds<id>(a.carried.number, b.real));
    return compare_values(op);
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

constexpr bool is_quick_comparison(rx_operator_id id) {
    return rx_is_quick(id) && id != FX_PLUS && id != FX_MIN && id != FX_MULT && id != FX_DIV && id != FX_IDIV &&
           id != FX_REM;
}

template <rx_operator_id id, operand_kind left, operand_kind right> constexpr rx_quick_step choose_step() {
    if constexpr (id == FX_OR || id == FX_AND)
        return logical_step<id, left, right>;
    else if constexpr (is_leaf(left) && is_leaf(right) && is_quick_comparison(id))
        return comparison<id, left, right>;
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

/// A function by its quick form.
rx_plain call_form(const rx_op &call) {
    if (!rx_calls(call, RX_CALLS_BUILTIN)) return refused();
    const rx_value *args[rx_quick_arguments];
    alignas(rx_value) std::byte numbers[rx_quick_arguments][sizeof(rx_value)];
    size_t count = 0;
    for (const rx_expr *node = call.args; node; node = node->next, count++) {
        if (node->type == STRING) {
            args[count] = node->literal->text;
        } else if (node->type == SYMBOL) {
            args[count] = &rx_var_glance(*node->symbol);
            if (args[count]->is_none()) args[count] = rx_var_peek(*node->symbol);
        } else if (node->op->kind == RX_CALL) {
            args[count] = rx_quick_argument(*node->op);
        } else {
            rx_plain plain = node->op->quick(*node->op);
            // A number owns nothing that would have to be released.
            args[count] = plain.failed() ? nullptr : new (numbers[count]) rx_value(rx_value_of(plain));
        }
        if (!args[count]) return refused();
    }
    return call.quick_form(args, count);
}

/// Looks like `arg(1)`; whether ARG is the built-in turns out when it is first called.
bool looks_like_argument(const rx_op &op) {
    return op.kind == RX_CALL && op.name->type == SYMBOL && rx_equal_nocase(op.name->text, "ARG") && op.args &&
           !op.args->next && op.args->type == STRING;
}

/// True for an operand that rx_ready_value may find.
bool is_at_hand(const rx_operand &operand) {
    if (operand.kind == SYMBOL) return !operand.node->symbol->bad_name;
    return operand.kind == STRING || (operand.kind == OP_NODE && looks_like_argument(*operand.node->op));
}

bool prepare(const rx_op &op, unsigned depth);

/// The same for an argument of a function, which may be a sum, too.
bool may_be_argument(const rx_expr *argument, unsigned depth) {
    if (argument->type == SYMBOL) return !argument->symbol->bad_name;
    if (argument->type != OP_NODE) return argument->type == STRING;
    return looks_like_argument(*argument->op) || (argument->op->kind == RX_DYADIC && prepare(*argument->op, depth));
}

bool prepare_call(const rx_op &call, unsigned depth) {
    const rx_function_row *row = call.name->type == SYMBOL ? bu_lookup_row(call.name->text) : nullptr;
    if (!row || !row->quick) return false;
    size_t count = 0;
    for (const rx_expr *node = call.args; node; node = node->next) {
        if (++count > rx_quick_arguments || !may_be_argument(node, depth - 1)) return false;
    }
    call.quick_form = row->quick;
    call.quick = call_form;
    return true;
}

/// Gives the node its function; false when the tree is one for the ordinary road.
bool prepare(const rx_op &op, unsigned depth) {
    if (depth == 0) return false;
    if (op.kind == RX_CALL) return prepare_call(op, depth);
    if (op.kind != RX_DYADIC) return false;
    const auto *found = std::find(quick_operators.begin(), quick_operators.end(), op.fn->id);
    operand_kind left, right;
    if (found != quick_operators.end() && prepare(op.a, depth - 1, left) && prepare(op.b, depth - 1, right)) {
        auto row = static_cast<size_t>(found - quick_operators.begin());
        op.quick = steps[row * steps_of_operator + left * operand_kinds + right];
        return true;
    }
    if (!is_comparison(op.fn->id) || !is_at_hand(op.a) || !is_at_hand(op.b)) return false;
    op.quick = compare_values;
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
        operand.ready = &op;
        kind = looks_like_argument(op) ? on_argument : on_node;
        return kind == on_argument || prepare(op, depth);
    }
    default: return false;
    }
}

} // namespace

const rx_value *rx_ready_value(const rx_operand &operand, rx_operand_use use) {
    if (operand.kind == SYMBOL) {
        const rx_value &value = rx_var_glance(*operand.node->symbol);
        return value.is_none() ? rx_var_peek(*operand.node->symbol) : &value;
    }
    if (operand.kind != STRING) return rx_quick_argument(*operand.node->op);
    const rx_literal &literal = *operand.node->literal;
    return use == RX_AS_NUMBER && literal.number ? literal.number : literal.text;
}

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
