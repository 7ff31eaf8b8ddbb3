// Arithmetic, logic and concatenation, and the table of all operators. The comparisons are in compare.cpp.
#include "values/operators.h"

#include "base/raise.h"
#include "values/arithmetic.h"
#include "values/compare.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr const char *idiv_too_long = "Vandra: the result of the integer division is\n"
                                      "        longer than the NUMERIC DIGITS setting.";
constexpr const char *rem_too_long = "Vandra: the result of the remainder operation is\n"
                                     "        longer than the NUMERIC DIGITS setting.";

rx_value fail(int error, int word, int &fault) {
    rx_error.number = error;
    rx_error.has_extra = false;
    fault = word;
    return rx_value();
}

rx_value fail(int error, const char *extra, int &fault) {
    rx_value none = fail(error, 3, fault);
    rx_error.extra = extra;
    rx_error.has_extra = true;
    return none;
}

// Arithmetic.

/// A value as a number in registers. False when it is none.
inline bool take_number(const rx_value &value, rx_plain &number) {
    if (value.is_number()) [[likely]] {
        number = rx_plain_of(value);
        return true;
    }
    if (rx_carried_number(value, number.real)) {
        number.head = rx_whole_head;
        return true;
    }
    rx_value scanned;
    if (!rx_number_of(value, scanned)) return false;
    number = rx_plain_of(scanned);
    return true;
}

/// What an operator says of a fault in its computation.
rx_value refuse(rx_arithmetic_fault why, const char *too_long, int &fault) {
    switch (why) {
    case rx_arithmetic_fault::overflow: return fail(42, 1, fault);
    case rx_arithmetic_fault::zero_divide: return fail(51, 2, fault);
    case rx_arithmetic_fault::too_long: return fail(26, too_long, fault);
    default: return fail(41, 1, fault);
    }
}

using rx_computation = rx_plain (*)(rx_plain left, rx_plain right, int digits);

/// An arithmetic operator: its computation between the tests of its operands and the making of its result.
template <rx_computation compute>
inline rx_value arithmetic(const rx_value &left, const rx_value &right, const char *too_long, int &fault) {
    rx_plain a, b;
    fault = !take_number(left, a) ? 1 : !take_number(right, b) ? 2 : 0;
    if (fault) [[unlikely]]
        return fail(41, fault, fault);
    rx_plain computed = compute(a, b, rx_numeric->digits);
    if (computed.failed()) [[unlikely]]
        return refuse(computed.fault(), too_long, fault);
    return rx_value_of(computed);
}

rx_value fx_div(const rx_value &left, const rx_value &right, int &fault) {
    return arithmetic<rx_divide>(left, right, nullptr, fault);
}

rx_value fx_idiv(const rx_value &left, const rx_value &right, int &fault) {
    return arithmetic<rx_whole_divide>(left, right, idiv_too_long, fault);
}

rx_value fx_rem(const rx_value &left, const rx_value &right, int &fault) {
    return arithmetic<rx_remainder>(left, right, rem_too_long, fault);
}

rx_value fx_exp(const rx_value &left, const rx_value &right, int &fault) {
    return arithmetic<rx_power>(left, right, nullptr, fault);
}

rx_value fx_uplus(const rx_value &operand, int &fault) {
    rx_value result;
    if (!rx_number_of(operand, result)) return fail(41, 1, fault);
    fault = 0;
    return result;
}

rx_value fx_umin(const rx_value &operand, int &fault) {
    rx_value result;
    if (!rx_number_of(operand, result)) return fail(41, 1, fault);
    fault = 0;
    result.real = -result.real;
    return result;
}

// Logic.

/// A truth value must be exactly 0 or 1, without any rounding.
inline bool take_truth(const rx_value &value, bool &truth) {
    double number;
    if (value.is_number())
        number = value.real;
    else if (value.is_none() || !rx_scan_number(value.text(), number))
        return false;
    truth = number == 1;
    return truth || number == 0;
}

inline bool take_truths(const rx_value &left, const rx_value &right, bool &a, bool &b, int &fault) {
    fault = !take_truth(left, a) ? 1 : !take_truth(right, b) ? 2 : 0;
    if (fault == 0) return true;
    fail(34, fault, fault);
    return false;
}

rx_value fx_or(const rx_value &left, const rx_value &right, int &fault) {
    bool a, b;
    return take_truths(left, right, a, b, fault) ? rx_truth(a || b) : rx_value();
}

rx_value fx_and(const rx_value &left, const rx_value &right, int &fault) {
    bool a, b;
    return take_truths(left, right, a, b, fault) ? rx_truth(a && b) : rx_value();
}

rx_value fx_xor(const rx_value &left, const rx_value &right, int &fault) {
    bool a, b;
    return take_truths(left, right, a, b, fault) ? rx_truth(a != b) : rx_value();
}

rx_value fx_not(const rx_value &operand, int &fault) {
    bool truth;
    if (!take_truth(operand, truth)) return fail(34, 1, fault);
    fault = 0;
    return rx_truth(!truth);
}

// Concatenation and length.

/// The two texts in one string, with `between` in the middle.
inline rx_value joined(std::string_view left, std::string_view between, std::string_view right) {
    rx_value result = rx_string_of(left.size() + between.size() + right.size());
    char *at = rx_bytes(result);
    auto put = [&at](std::string_view text) {
        if (!text.empty()) std::memcpy(at, text.data(), text.size());
        at += text.size();
    };
    put(left);
    put(between);
    put(right);
    return result;
}

rx_value fx_conc(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    rx_number_buffer a, b;
    return joined(rx_arg_text(left, a), {}, rx_arg_text(right, b));
}

rx_value fx_bl(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    rx_number_buffer a, b;
    return joined(rx_arg_text(left, a), " ", rx_arg_text(right, b));
}

rx_value fx_conc_not(const rx_value &left, const rx_value &right, int &fault) {
    bool truth;
    if (!take_truth(right, truth)) return fail(34, 2, fault);
    fault = 0;
    rx_number_buffer a;
    return joined(rx_arg_text(left, a), " ", truth ? "0" : "1");
}

double length_of(const rx_value &value) {
    rx_number_buffer buffer;
    return static_cast<double>(rx_arg_text(value, buffer).size());
}

rx_value fx_rho(const rx_value &operand, int &fault) {
    fault = 0;
    return rx_number(length_of(operand), 0, 1);
}

rx_value fx_conc_rho(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    rx_number_buffer a;
    return joined(rx_arg_text(left, a), " ", rx_int_text(static_cast<long long>(length_of(right))));
}

} // namespace

rx_value fx_plus(const rx_value &left, const rx_value &right, int &fault) {
    return arithmetic<rx_plus>(left, right, nullptr, fault);
}

rx_value fx_min(const rx_value &left, const rx_value &right, int &fault) {
    return arithmetic<rx_minus>(left, right, nullptr, fault);
}

rx_value fx_mult(const rx_value &left, const rx_value &right, int &fault) {
    return arithmetic<rx_times>(left, right, nullptr, fault);
}

const rx_operator rx_operators[FX_COUNT] = {
    {FX_OR, "fx_or", "|", RX_AS_NUMBER, fx_or, nullptr},
    {FX_XOR, "fx_xor", "&&", RX_AS_NUMBER, fx_xor, nullptr},
    {FX_AND, "fx_and", "&", RX_AS_NUMBER, fx_and, nullptr},
    {FX_NEQ, "fx_neq", "\\=", RX_AS_EITHER, fx_neq, nullptr},
    {FX_NEQIC, "fx_neqic", "", RX_AS_EITHER, fx_neqic, nullptr},
    {FX_NNEQ, "fx_nneq", "\\==", RX_AS_TEXT, fx_nneq, nullptr},
    {FX_SUP, "fx_sup", ">", RX_AS_EITHER, fx_sup, nullptr},
    {FX_SSUP, "fx_ssup", ">>", RX_AS_TEXT, fx_ssup, nullptr},
    {FX_INF, "fx_inf", "<", RX_AS_EITHER, fx_inf, nullptr},
    {FX_IINF, "fx_iinf", "<<", RX_AS_TEXT, fx_iinf, nullptr},
    {FX_SUPEQ, "fx_supeq", ">=", RX_AS_EITHER, fx_supeq, nullptr},
    {FX_INFEQ, "fx_infeq", "<=", RX_AS_EITHER, fx_infeq, nullptr},
    {FX_SSUPEQ, "fx_ssupeq", ">>=", RX_AS_TEXT, fx_ssupeq, nullptr},
    {FX_IINFEQ, "fx_iinfeq", "<<=", RX_AS_TEXT, fx_iinfeq, nullptr},
    {FX_EQ, "fx_eq", "=", RX_AS_EITHER, fx_eq, nullptr},
    {FX_EQIC, "fx_eqic", "", RX_AS_EITHER, fx_eqic, nullptr},
    {FX_EEQ, "fx_eeq", "==", RX_AS_TEXT, fx_eeq, nullptr},
    {FX_BL, "fx_bl", " ", RX_AS_TEXT, fx_bl, nullptr},
    {FX_CONC, "fx_conc", "||", RX_AS_TEXT, fx_conc, nullptr},
    {FX_PLUS, "fx_plus", "+", RX_AS_NUMBER, fx_plus, nullptr},
    {FX_MIN, "fx_min", "-", RX_AS_NUMBER, fx_min, nullptr},
    {FX_MULT, "fx_mult", "*", RX_AS_NUMBER, fx_mult, nullptr},
    {FX_DIV, "fx_div", "/", RX_AS_NUMBER, fx_div, nullptr},
    {FX_IDIV, "fx_idiv", "%", RX_AS_NUMBER, fx_idiv, nullptr},
    {FX_REM, "fx_rem", "//", RX_AS_NUMBER, fx_rem, nullptr},
    {FX_EXP, "fx_exp", "**", RX_AS_NUMBER, fx_exp, nullptr},
    {FX_CONC_RHO, "fx_conc_rho", "", RX_AS_TEXT, fx_conc_rho, nullptr},
    {FX_CONC_NOT, "fx_conc_not", "", RX_AS_TEXT, fx_conc_not, nullptr},
    {FX_NOT, "fx_not", "\\", RX_AS_NUMBER, nullptr, fx_not},
    {FX_RHO, "fx_rho", "", RX_AS_TEXT, nullptr, fx_rho},
    {FX_UPLUS, "fx_uplus", "+", RX_AS_NUMBER, nullptr, fx_uplus},
    {FX_UMIN, "fx_umin", "-", RX_AS_NUMBER, nullptr, fx_umin},
    {FX_BACKQ, "fx_backq", "`", RX_AS_TEXT, nullptr, nullptr},
    {FX_BR, "fx_br", "", RX_AS_TEXT, nullptr, nullptr},
    {FX_BR2, "fx_br2", "", RX_AS_TEXT, nullptr, nullptr},
};
