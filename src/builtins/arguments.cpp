#include "builtins/arguments.h"

#include "engine/quick.h"
#include "platform/strings.h"

#include <algorithm>

namespace {

/// Texts from this length on are worth a pin.
constexpr size_t lending_length = 256;

bool is_symbol_byte(char c) {
    return rx_is_symbol_char(c) || c == '\xA8';
}

/// Errors are shown where the last argument stands, unless a check knows better.
inline void set_position(const rx_expr *node) {
    rx_error.line = node->line;
    rx_error.column = node->column;
}

/// Makes the record of an argument when its value can be had without running anything: an omitted one, a constant, a
/// variable, a number. A text is lent. False: nothing has happened.
inline bool lend(const rx_expr *node, rx_value *place) {
    const rx_value *found;
    if (node->type == STRING) {
        found = node->literal->text;
    } else if (node->type == SYMBOL) {
        found = rx_var_cached(*node->symbol);
        if (!found) found = rx_var_peek(*node->symbol);
    } else if (node->type == VIDE) {
        new (place) rx_value;
        return true;
    } else if (!(found = rx_quick_argument(*node->op))) {
        // An attempt that fails is counted by do_exec, which makes it again.
        if (!rx_quick_candidate(*node->op)) return false;
        rx_plain plain = node->op->quick(*node->op);
        if (plain.failed()) return false;
        new (place) rx_value(rx_value_of(plain));
        set_position(node);
        return true;
    }
    if (!found) return false;
    new (place) rx_value(rx_value::lent_by(*found));
    set_position(node);
    return true;
}

} // namespace

/// Evaluates the arguments. Most calls are done with what can be lent.
inline void bu_args::evaluate() {
    size_t i = 0;
    const rx_expr *node = list;
    if (names_ == 0 && rx_routine.value.call_level == 0) {
        while (node && lend(node, &values[i])) {
            node = node->next;
            i++;
        }
    }
    if (!node) return;
    values.own_from(i);
    run(node, i);
}

/// Evaluates the arguments from number `i` on, of which some must be run.
[[gnu::noinline]] void bu_args::run(const rx_expr *node, size_t i) {
    int level = rx_routine->call_level;
    for (; node; node = node->next, i++) {
        if (node->type == VIDE || (i < 32 && (names_ >> i & 1))) continue;
        if (level == 0 && lend(node, &values[i])) continue;
        if (hold(node, i)) return;
        values[i] = do_exec(node, level);
    }
}

/// To be called before argument `i` is evaluated, when that may change variables: what they have lent is copied. A long
/// text isn't, its variable is pinned while the arguments from `i` on are evaluated; the result is true then.
bool bu_args::hold(const rx_expr *node, size_t i) {
    const rx_expr *earlier = list;
    for (size_t k = 0; k < i; k++, earlier = earlier->next) {
        rx_value &value = values[k];
        if (value.storage != RX_BORROWED || earlier->type != SYMBOL) continue;
        rx_var *var = value.length < lending_length ? nullptr : lender(k);
        if (!var) {
            value = rx_string(value.text());
            continue;
        }
        value = rx_value();
        rx_pin pin(*var);
        run(node, i);
        value = pin.untouched() ? rx_borrowed(pin.value().text()) : rx_copy_value(pin.value());
        return true;
    }
    return false;
}

bu_args::bu_args(const rx_expr *arguments, const char *function_name, unsigned names)
    : list(arguments), name(function_name), values(arguments), names_(names) {
    evaluate();
}

bu_args::bu_args(const rx_expr *arguments, const char *function_name, size_t least, size_t most, const char *complaint)
    : list(arguments), name(function_name), values(arguments), names_(0) {
    evaluate();
    expect(least, most, least, complaint);
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

double bu_args::read_number(size_t i, std::string_view complaint, int error) {
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

/// A whole number in the usual words. What is out of every text's range is cut, so that sums don't overflow.
size_t bu_args::usual(size_t i, bu_rule rule, bool strictly) {
    double result = rx_is_number(values[i]) ? values[i].real : -1;
    if (rule & BU_ROUNDED) result = rx_round_digits(result, 9);
    bool capped = (rule & BU_CAPPED) == BU_CAPPED;
    if (result >= (strictly ? 1.0 : 0.0) && rx_is_whole(result) && !(capped && result > 2147483647.0)) [[likely]]
        return static_cast<size_t>(std::min(result, 1e15));
    std::string complaint = "argument " + std::to_string(i + 1) + " must be a";
    if (!values[i].is_number())
        complaint += rule & BU_INTEGER ? "n integer." : " whole number.";
    else
        complaint += strictly ? " strictly positive integer." : " positive integer.";
    fail(i, complaint);
}

char bu_args::read_pad(size_t i) {
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

char bu_args::read_option(size_t i) {
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
