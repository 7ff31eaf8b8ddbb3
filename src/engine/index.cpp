#include "engine/index.h"

#include "engine/trace.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace {

/// Evaluates one operand; `which` is its number for the message of a broken tree.
rx_value operand(const rx_operand &operand, int level, int which) {
    if (operand.kind != SYMBOL && operand.kind != STRING && operand.kind != OP_NODE)
        rx_internal_error("do_exect", which);
    return do_exec(operand.node, level);
}

/// The record of an evaluated index: the variable's own when it has one, since a text that is read as an index turns
/// into a number there, otherwise the evaluated value.
rx_value &index_record(const rx_operand &operand, rx_value &evaluated) {
    rx_var *var = operand.kind == SYMBOL ? rx_var_find(*operand.node->symbol) : nullptr;
    return var && var->state == RX_SET ? rx_var_writable(*var) : evaluated;
}

constexpr const char *not_positive = "The index must be a positive integer.";

} // namespace

size_t rx_index_position(rx_value &index, const char *not_number, const char *not_positive_text) {
    rx_number_buffer buffer;
    if (!rx_is_number(index)) {
        std::string message(not_number);
        message.append(rx_arg_text(index, buffer)).append("\".");
        rx_raise(78, std::move(message));
    }
    index.real = rx_round_digits(index.real, 9);
    if (!(index.real > 0) || !rx_is_whole(index.real)) rx_raise(78, not_positive_text);
    // Beyond what a text can be long the exact position makes no difference any more.
    return static_cast<size_t>(std::min(rx_round_nearest(index.real), 4e15)) - 1;
}

rx_value rx_index(const rx_expr *node, int level) {
    const rx_op &op = *node->op;
    bool has_first = op.b.kind != NOLEX, has_last = op.c.kind != NOLEX;
    // A variable's text is read where it stands, however long; the pin keeps it while the indexes are evaluated.
    rx_value value;
    std::optional<rx_pin> pin;
    rx_var *var = op.a.kind == SYMBOL && !rx_intermediates(level) ? rx_var_find(*op.a.node->symbol) : nullptr;
    if (var && var->state == RX_SET && !op.a.node->symbol->environment)
        pin.emplace(*var);
    else
        value = operand(op.a, level, 1);
    rx_value first_value = has_first ? operand(op.b, level, 2) : rx_value();
    rx_value last_value = has_last ? operand(op.c, level, 3) : rx_value();

    rx_error.line = node->line;
    rx_error.column = node->column;
    size_t first = 0, last = 0;
    if (has_first)
        first = rx_index_position(index_record(op.b, first_value), "The first index evaluates to \"", not_positive);
    if (has_last)
        last = rx_index_position(index_record(op.c, last_value), "The last index evaluates to \"", not_positive);
    rx_number_buffer buffer;
    std::string_view text = rx_arg_text(pin ? pin->value() : value, buffer);
    if (!has_last && op.fn->id == FX_BR2) {
        if (text.empty()) return rx_string("");
        last = text.size() - 1;
    } else if (!has_last) {
        last = first;
    }
    if (last < first) {
        if (first < text.size()) rx_raise(78, "The second index must be greater than the first.");
        return rx_string("");
    }
    rx_value result = rx_string_of(last - first + 1);
    char *bytes = rx_bytes(result);
    size_t inside = first < text.size() ? std::min(text.size() - first, last - first + 1) : 0;
    if (inside) std::memcpy(bytes, text.data() + first, inside);
    std::memset(bytes + inside, ' ', last - first + 1 - inside);
    if (rx_intermediates(level)) rx_trace_index(level, text, first + 1, last + 1, result.text());
    return result;
}
