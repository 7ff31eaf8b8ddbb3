// The evaluation of expressions.
//
// An operand that is a variable or a constant is read where it stands; only what has no home of its own (the result of
// a subexpression, the name of an unset symbol) is put in a scratch record. A lent left operand must not change while
// the right one is evaluated, so it is copied (a long text: pinned) first unless the right one can be had without
// running anything.
#include "engine/host.h"
#include "engine/index.h"
#include "engine/quick.h"
#include "engine/trace.h"

#include <optional>

namespace {

/// Text of a value for a trace line or an error message.
struct shown_text {
    rx_number_buffer buffer;
    std::string_view text;
    explicit shown_text(const rx_value &value) : text(rx_arg_text(value, buffer)) {}
};

void set_position(const rx_expr *node) {
    rx_error.line = node->line;
    rx_error.column = node->column;
}

void trace_symbol(const rx_expr *node, const rx_value &value, int level) {
    std::string name = rx_resolve_name(*node->symbol);
    if (node->symbol->whole_stem) name.back() = '.';
    if (name != node->text) rx_trace_compound(level, node->text, name);
    rx_trace_variable(level, node->text, shown_text(value).text);
}

const rx_value &read_symbol(const rx_expr *node, int level, rx_value &scratch) {
    const rx_symbol &symbol = *node->symbol;
    const rx_value *ready = rx_var_cached(symbol);
    if (!ready) ready = rx_var_peek(symbol);
    if (ready && !rx_intermediates(level)) return *ready;
    // A symbol that turns out to be unset is reported where it stands.
    if (!ready) set_position(node);
    const rx_value &value = rx_var_get(symbol, scratch);
    if (rx_intermediates(level)) trace_symbol(node, value, level);
    return value;
}

const rx_value &literal(const rx_expr *node, rx_operand_use use) {
    return use == RX_AS_NUMBER && node->literal->number ? *node->literal->number : *node->literal->text;
}

rx_value function(const rx_expr *node, const rx_op &op, int level) {
    rx_value result = rx_invoke(&op, level);
    if (result.is_none()) rx_raise_at(node->line, node->column, 44);
    return result;
}

const rx_value &fetch(const rx_operand &operand, int level, rx_operand_use use, rx_value &scratch, int which) {
    switch (operand.kind) {
    case SYMBOL: return read_symbol(operand.node, level, scratch);
    case STRING: return literal(operand.node, use);
    case OP_NODE:
        if (const rx_op &op = *operand.node->op; op.kind == RX_CALL && level == 0) {
            const rx_value *argument = rx_quick_argument(op);
            return argument ? *argument : scratch = function(operand.node, op, level);
        }
        return scratch = do_exec(operand.node, level);
    }
    rx_internal_error("do_exec", which);
}

/// What is said of an operand that an operator refused; nothing of a computed one.
[[noreturn]] void refuse(const rx_expr *node, const rx_operand *operand, const rx_value *value) {
    int number = rx_error.number;
    if (operand && (operand->kind == SYMBOL || operand->kind == STRING)) {
        rx_value converted;
        const rx_value &standing = rx_number_of(*value, converted) ? converted : *value;
        shown_text text(standing);
        std::string extra;
        if (operand->kind == SYMBOL)
            extra.append("Variable \"").append(operand->node->text).append("\" = \"");
        else
            extra = "String \"";
        extra.append(text.text).append("\" is invalid.");
        rx_raise_at(node->line, node->column, number, std::move(extra));
    }
    if (!operand && rx_error.has_extra) rx_raise_at(node->line, node->column, number, std::move(rx_error.extra));
    rx_raise_at(node->line, node->column, number);
}

/// An operand as a trace line shows it: what an operator reads as a number has become one.
struct traced_operand {
    rx_value number;
    shown_text text;
    traced_operand(const rx_value &value, rx_operand_use use)
        : text(use == RX_AS_NUMBER && rx_number_of(value, number) ? number : value) {}
};

rx_value monadic(const rx_expr *node, const rx_op &op, int level) {
    rx_value scratch;
    const rx_value &operand = fetch(op.a, level, op.fn->use, scratch, 1);
    if (op.fn->id == FX_BACKQ) {
        rx_number_buffer buffer;
        std::string command(rx_arg_text(operand, buffer));
        rx_capture captured = rx_capture_command(command);
        if (captured.error) {
            rx_error.number = captured.error;
            rx_error.column = 0;
            rx_expr at = *node;
            at.column = 0;
            refuse(&at, &op.a, &operand);
        }
        rx_value result = rx_string("");
        for (const std::string &line : captured.lines) {
            if (&line != &captured.lines.front()) rx_append(result, "\n");
            rx_append(result, line);
        }
        if (rx_intermediates(level)) rx_trace_backquote(level, command, result.text());
        return result;
    }
    int fault = 0;
    rx_value result = op.fn->monadic(operand, fault);
    if (fault) refuse(node, fault == 3 ? nullptr : &op.a, &operand);
    if (rx_intermediates(level))
        rx_trace_prefix(level, op.fn->symbol, traced_operand(operand, op.fn->use).text.text, shown_text(result).text);
    return result;
}

/// True when the left operand alone settles the result of `|` or `&`.
inline bool settles(const rx_op &op, const rx_value &left) {
    if (op.fn->id != FX_OR && op.fn->id != FX_AND) return false;
    rx_value number;
    return rx_number_of(left, number) && (op.fn->id == FX_OR ? number.real != 0 : number.real == 0);
}

/// An operator on two operands that are ready, as in `line || '.'`. False: nothing has happened. (Comparisons and logic
/// have been tried on the quick road.)
inline bool join_ready(const rx_op &op, rx_value &result) {
    if (op.fn->id == FX_OR || op.fn->id == FX_AND || op.fn->use == RX_AS_EITHER) return false;
    const rx_value *left = rx_ready_value(op.a, op.fn->use);
    const rx_value *right = left ? rx_ready_value(op.b, op.fn->use) : nullptr;
    if (!right) return false;
    int fault = 0;
    result = op.fn->dyadic(*left, *right, fault);
    return fault == 0;
}

rx_value dyadic(const rx_expr *node, const rx_op &op, int level) {
    rx_operand_use use = op.fn->use;
    rx_value left_scratch, right_scratch;
    std::optional<rx_pin> pin;
    const rx_value *left = &fetch(op.a, level, use, left_scratch, 1);
    const rx_value *right;
    if (settles(op, *left)) [[unlikely]] {
        right_scratch = rx_number(1);
        right = &right_scratch;
    } else if (op.b.kind == STRING) {
        right = &literal(op.b.node, use);
    } else {
        const rx_value *ready =
            op.b.kind == SYMBOL && !rx_intermediates(level) ? rx_var_peek(*op.b.node->symbol) : nullptr;
        if (!ready && op.a.kind == SYMBOL && left != &left_scratch) {
            rx_var *var = left->is_string() && left->storage == RX_HEAP ? rx_var_find(*op.a.node->symbol) : nullptr;
            if (var && &var->value == left) {
                pin.emplace(*var);
            } else {
                left_scratch = rx_copy_value(*left);
                left = &left_scratch;
            }
        }
        right = ready ? ready : &fetch(op.b, level, use, right_scratch, 2);
        if (pin) left = &pin->value();
    }
    if (use == RX_AS_EITHER) {
        left = &rx_matched(op.a, *left, *right);
        right = &rx_matched(op.b, *right, *left);
    }
    int fault = 0;
    rx_value result = op.fn->dyadic(*left, *right, fault);
    if (fault) [[unlikely]] {
        if (fault == 3) refuse(node, nullptr, nullptr);
        refuse(node, fault == 1 ? &op.a : &op.b, fault == 1 ? left : right);
    }
    if (rx_intermediates(level)) [[unlikely]]
        rx_trace_dyadic(level, op.fn->symbol, traced_operand(*left, use).text.text,
                        traced_operand(*right, use).text.text, shown_text(result).text);
    return result;
}

// ---- numbers beside calls ------------------------------------------------------------------------------------------
//
// Arithmetic and comparison beside calls, like f(x) + 1: each operand goes into registers as soon as it is evaluated,
// so that nothing is lent that could change.

/// The number of an operand that can be had at once. With `from_text` that of a text counts, too.
inline bool ready_number(const rx_operand &operand, bool from_text, rx_plain &plain) {
    const rx_value *value = nullptr;
    if (operand.kind == STRING) {
        value = operand.node->literal->number;
    } else if (operand.kind == SYMBOL) {
        value = rx_var_cached(*operand.node->symbol);
    } else {
        value = rx_quick_argument(*operand.node->op);
        if (!value) return rx_try_quick(*operand.node->op, plain);
    }
    if (!value) return false;
    if (value->is_number()) {
        plain = rx_plain_of(*value);
        return true;
    }
    double number;
    if (!from_text || !rx_carried_number(*value, number)) return false;
    plain = {number, rx_whole_head};
    return true;
}

/// The number of a value that an operand has come to; else a fault.
inline rx_plain number_in(const rx_value &value, rx_operand_use use) {
    if (value.is_number()) return rx_plain_of(value);
    if (use == RX_AS_NUMBER && value.carries_number()) return {value.carried.number, rx_whole_head};
    return rx_no_plain(rx_arithmetic_fault::not_a_number);
}

/// What a call comes to, and its number.
inline rx_value evaluate_call(const rx_operand &operand, rx_operand_use use, rx_plain &plain) {
    rx_value result = function(operand.node, *operand.node->op, 0);
    plain = number_in(result, use);
    return result;
}

[[gnu::noinline]] rx_value evaluate_other(const rx_operand &operand, rx_operand_use use, int which, rx_plain &plain) {
    rx_value scratch;
    const rx_value &found = fetch(operand, 0, use, scratch, which);
    plain = number_in(found, use);
    if (&found == &scratch) return scratch;
    return found.is_number() ? rx_value() : rx_copy_value(found);
}

/// Evaluates an operand of such an operator to its number. The value is none where it isn't needed for anything else.
inline rx_value evaluate_number(const rx_operand &operand, rx_operand_use use, int which, rx_plain &plain) {
    bool is_call = operand.kind == OP_NODE && operand.node->op->kind == RX_CALL;
    // A routine of the program needs no look at what could be had at once.
    if (is_call && rx_calls(*operand.node->op, RX_CALLS_LABEL)) return evaluate_call(operand, use, plain);
    if (ready_number(operand, use == RX_AS_NUMBER, plain)) return {};
    return is_call ? evaluate_call(operand, use, plain) : evaluate_other(operand, use, which, plain);
}

/// The operator itself on the values of its operands, for what numbers in registers couldn't do or refused.
[[gnu::noinline]] rx_value apply(const rx_expr *node, const rx_op &op, const rx_value &a, rx_plain a_plain,
                                 const rx_value &b, rx_plain b_plain) {
    rx_operand_use use = op.fn->use;
    rx_value scratch[2];
    auto as_value = [&](const rx_operand &operand, const rx_value &value, rx_plain plain,
                        rx_value &number) -> const rx_value * {
        if (!value.is_none()) return &value;
        return operand.kind == STRING ? &literal(operand.node, use) : &(number = rx_value_of(plain));
    };
    const rx_value *left = as_value(op.a, a, a_plain, scratch[0]), *right = as_value(op.b, b, b_plain, scratch[1]);
    if (use == RX_AS_EITHER) {
        left = &rx_matched(op.a, *left, *right);
        right = &rx_matched(op.b, *right, *left);
    }
    int fault = 0;
    rx_value result = op.fn->dyadic(*left, *right, fault);
    if (fault == 3) refuse(node, nullptr, nullptr);
    if (fault) refuse(node, fault == 1 ? &op.a : &op.b, fault == 1 ? left : right);
    return result;
}

[[gnu::noinline]] rx_value numbers(const rx_expr *node, const rx_op &op) {
    rx_check_stack();
    rx_plain a_plain, b_plain;
    rx_value a = evaluate_number(op.a, op.fn->use, 1, a_plain);
    rx_value b = evaluate_number(op.b, op.fn->use, 2, b_plain);
    if (!a_plain.failed() && !b_plain.failed()) [[likely]] {
        rx_plain result = rx_quick_compute(op.fn->id, a_plain, b_plain);
        if (!result.failed()) return rx_value_of(result);
    }
    return apply(node, op, a, a_plain, b, b_plain);
}

/// Everything that isn't a leaf or a tree of numbers; out of line, so that those two need no large frame.
[[gnu::noinline]] rx_value run_operator(const rx_expr *node, int level) {
    rx_check_stack();
    const rx_op &op = *node->op;
    switch (op.kind) {
    case RX_MONADIC: return monadic(node, op, level);
    case RX_DYADIC: return dyadic(node, op, level);
    case RX_CALL: return function(node, op, level);
    case RX_INDEX: return rx_index(node, level);
    }
    rx_internal_error("do_exec", 3);
}

} // namespace

namespace {

// What follows is cut in pieces that end in each other's calls, so that the short ones need no frame.

[[gnu::noinline]] rx_value join_or_run(const rx_expr *node) {
    if (rx_value result; join_ready(*node->op, result)) return result;
    return run_operator(node, 0);
}

[[gnu::noinline]] rx_value call_function(const rx_expr *node) {
    if (const rx_value *argument = rx_quick_argument(*node->op)) return rx_copy_value(*argument);
    rx_check_stack();
    return function(node, *node->op, 0);
}

[[gnu::noinline]] rx_value copy_of_symbol(const rx_expr *node, int level) {
    rx_value scratch;
    const rx_value &value = read_symbol(node, level, scratch);
    return &value == &scratch ? std::move(scratch) : rx_copy_value(value);
}

} // namespace

rx_value do_exec(const rx_expr *node, int level) {
    set_position(node);
    if (node->type == OP_NODE) {
        const rx_op &op = *node->op;
        if (level) return run_operator(node, level);
        if (rx_plain plain; rx_try_quick(op, plain)) return rx_value_of(plain);
        if (op.kind == RX_DYADIC) {
            return op.calls && rx_is_quick(op.fn->id) ? numbers(node, op) : join_or_run(node);
        }
        return op.kind == RX_CALL ? call_function(node) : run_operator(node, 0);
    }
    if (node->type == STRING) return rx_copy_value(*node->literal->text);
    if (const rx_value *value = rx_var_cached(*node->symbol); value && level == 0) return rx_copy_value(*value);
    return copy_of_symbol(node, level);
}

const rx_value &rx_view(const rx_expr *node, int level, rx_value &scratch) {
    if (node->type == OP_NODE) return scratch = do_exec(node, level);
    set_position(node);
    return node->type == SYMBOL ? read_symbol(node, level, scratch) : *node->literal->text;
}
