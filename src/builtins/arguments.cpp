#include "builtins/arguments.h"

#include "engine/engine.h"
#include "platform/strings.h"

#include <algorithm>

namespace {

/// Texts from this length on are lent instead of copied.
constexpr size_t lending_length = 256;

bool is_symbol_byte(char c) {
    return rx_is_symbol_char(c) || c == '\xA8';
}

} // namespace

bu_args::bu_args(const rx_expr *arguments, const char *function_name, unsigned names)
    : list(arguments), name(function_name), names_(names) {
    values.list = list;
    for (const rx_expr *node = list; node; node = node->next) values.count++;
    if (values.count > values.few.size()) values.more.resize(values.count);
    evaluate(list, 0, *rx_call_level);
}

/// Evaluates the arguments from number `i` on. Those behind a long variable are evaluated while it is pinned; its text
/// is lent when none of them has changed it.
void bu_args::evaluate(const rx_expr *node, size_t i, int level) {
    for (; node; node = node->next, i++) {
        if (node->type == VIDE || (i < 32 && (names_ >> i & 1))) continue;
        if (node->type != SYMBOL) {
            values[i] = do_exec(node, level);
            continue;
        }
        rx_value scratch;
        const rx_value &value = rx_view(node, level, scratch);
        if (&value == &scratch) {
            values[i] = std::move(scratch);
        } else if (value.kind != RX_STRING || value.length < lending_length) [[likely]] {
            values[i] = rx_copy_value(value);
        } else {
            rx_var *var = node->symbol->environment ? nullptr : rx_var_find(*node->symbol);
            if (!var || &var->value != &value || value.storage != RX_HEAP) {
                values[i] = rx_copy_value(value);
                continue;
            }
            rx_pin pin(*var);
            evaluate(node->next, i + 1, level);
            values[i] = pin.untouched() ? rx_borrowed(value.text()) : rx_copy_value(pin.value());
            return;
        }
    }
}

rx_var *bu_args::lender(size_t i) const {
    const rx_value &value = values[i];
    if (value.kind != RX_STRING || value.storage != RX_BORROWED) return nullptr;
    const rx_expr *node = list;
    while (i--) node = node->next;
    if (node->type != SYMBOL) return nullptr;
    rx_var *var = rx_var_find(*node->symbol);
    bool its_own = var && var->state == RX_SET && var->value.is_string() && var->value.data() == value.data();
    return its_own ? var : nullptr;
}

void bu_args::expect(size_t least, size_t most, size_t mandatory, const char *complaint) {
    if (count() < least || count() > most) fail(0, complaint);
    for (size_t i = 0; i < mandatory; i++)
        if (values[i].is_none()) fail(0, complaint);
}

rx_value bu_args::take_text(size_t i) {
    rx_value &value = values[i];
    if (value.kind == RX_STRING && value.storage != RX_BORROWED) return std::move(value);
    return rx_string(text(i));
}

double bu_args::number(size_t i, std::string_view complaint, int error) {
    if (!given(i) || !rx_is_number(values[i])) fail(i, complaint, error);
    return values[i].real;
}

double bu_args::whole(size_t i, bu_rule rule, double least, std::string_view no_number, std::string_view out_of_range) {
    double result = number(i, no_number);
    if (rule & BU_ROUNDED) result = rx_round_digits(result, 9);
    bool capped = (rule & BU_CAPPED) == BU_CAPPED;
    if (!(result >= least) || !rx_is_whole(result) || (capped && result > 2147483647.0)) fail(i, out_of_range);
    return result;
}

namespace {

/// A whole number in the usual words. What is out of every text's range is cut, so that sums don't overflow.
size_t usual(bu_args &args, size_t i, bu_rule rule, bool strictly) {
    double result = rx_is_number(args.values[i]) ? args.values[i].real : -1;
    if (rule & BU_ROUNDED) result = rx_round_digits(result, 9);
    bool capped = (rule & BU_CAPPED) == BU_CAPPED;
    if (result >= (strictly ? 1.0 : 0.0) && rx_is_whole(result) && !(capped && result > 2147483647.0)) [[likely]]
        return static_cast<size_t>(std::min(result, 1e15));
    std::string complaint = "argument " + std::to_string(i + 1) + " must be a";
    if (!args.values[i].is_number())
        complaint += rule & BU_INTEGER ? "n integer." : " whole number.";
    else
        complaint += strictly ? " strictly positive integer." : " positive integer.";
    args.fail(i, complaint);
}

} // namespace

size_t bu_args::size(size_t i, bu_rule rule, size_t fallback) {
    return given(i) ? usual(*this, i, rule, false) : fallback;
}

size_t bu_args::position(size_t i, bu_rule rule, size_t fallback) {
    return given(i) ? usual(*this, i, rule, true) : fallback;
}

char bu_args::pad(size_t i, char fallback) {
    if (!given(i)) return fallback;
    std::string_view bytes = text(i);
    if (bytes.size() != 1) fail(i, "the padding expression must be one character wide.");
    return bytes[0];
}

bool bu_args::flag(size_t i, bool fallback) {
    if (!given(i)) return fallback;
    if (!rx_is_number(values[i]) || (values[i].real != 0 && values[i].real != 1))
        fail(i, "argument " + std::to_string(i + 1) + " must be 0 or 1.");
    return values[i].real == 1;
}

char bu_args::option(size_t i, char fallback) {
    if (!given(i)) return fallback;
    std::string_view bytes = text(i);
    if (bytes.empty()) return '\0';
    char first = bytes[0];
    rx_lower(&first, 1);
    return first;
}

std::string_view bu_args::symbol(size_t i) {
    const rx_expr *node = list;
    for (size_t k = i; k--;) node = node->next;
    std::string_view written = node->text;
    if (node->type != SYMBOL || !bu_is_variable_name(written))
        fail(i, "\"" + std::string(written) + "\" is not a valid REXX symbol.");
    if (written.ends_with('.')) written.remove_suffix(1);
    return written;
}

void bu_args::fail(size_t i, std::string_view complaint, int error) const {
    rx_arg_error(list, i, std::string(name).append("(): ").append(complaint), error);
}

rx_value bu_string(size_t length) {
    if (length > bu_longest_result) rx_raise(5);
    return rx_string_of(length);
}

void bu_append(rx_value &result, std::string_view text) {
    if (result.length + text.size() > bu_longest_result) rx_raise(5);
    rx_append(result, text);
}

bool bu_is_symbol(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), is_symbol_byte);
}

bool bu_is_variable_name(std::string_view name) {
    return bu_is_symbol(name) && name[0] != '.' && !rx_is_digit(name[0]);
}
