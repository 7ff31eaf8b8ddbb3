// Arithmetic on plain numbers: what the operators do once their operands are known to be numbers. It stands in a header
// because the expression walk computes whole subtrees of numbers with it, without making values in between.
//
// An operand with a fractional part is rounded at one digit more than NUMERIC DIGITS, a result at NUMERIC DIGITS. A
// number remembers how many digits it is known to be rounded to, so that a result isn't rounded a second time when it
// becomes an operand. Whole numbers are never rounded: they and nothing else are known to be rounded to one digit, and
// two of them take the short way through sum, difference and product, for what comes out is whole again.
#pragma once

#include "values/numbers.h"
#include "values/rounding.h"

#include <algorithm>
#include <cmath>

/// Why there is no result.
enum class rx_arithmetic_fault : int32_t { none, not_a_number, overflow, zero_divide, too_long };

/// A number in registers.
struct rx_plain {
    double real = 0;
    int32_t decimals = 0; ///< without a result: the fault
    int32_t rounded = 0;  ///< as in rx_value; -1: there is no result

    bool failed() const { return rounded < 0; }
    rx_arithmetic_fault fault() const { return static_cast<rx_arithmetic_fault>(decimals); }
};

inline rx_plain rx_no_plain(rx_arithmetic_fault fault) {
    return {.real = 0, .decimals = static_cast<int32_t>(fault), .rounded = -1};
}

inline rx_plain rx_plain_of(const rx_value &number) {
    return {.real = number.real, .decimals = number.decimals, .rounded = number.rounded};
}

inline rx_value rx_value_of(const rx_plain &plain) {
    rx_value value = rx_number(plain.real, plain.decimals);
    value.rounded = static_cast<uint8_t>(plain.rounded);
    return value;
}

inline bool rx_both_whole(const rx_plain &a, const rx_plain &b) {
    return a.rounded == 1 && b.rounded == 1;
}

/// The number as an operand: rounded at `digits` + 1.
inline double rx_operand_of(const rx_plain &number, int digits) {
    if (number.rounded != 0 && number.rounded <= digits + 1) return number.real;
    return rx_round_digits(number.real, digits + 1);
}

inline rx_plain rx_rounded_plain(double real, int32_t decimals, int digits) {
    if (rx_is_whole(real)) return {.real = real, .decimals = decimals, .rounded = 1};
    double result = digits >= 15 ? real : rx_round_fraction(real, digits);
    // A fraction of one digit is no whole number, which a 1 would say.
    return {.real = result, .decimals = decimals, .rounded = std::max(digits, 2)};
}

/// `decimals` of a sum; a zero has no say.
inline int32_t rx_sum_decimals(int32_t a, double left, int32_t b, double right, double sum) {
    if (sum == 0) return 0;
    if (a == b || right == 0) return a;
    return left == 0 ? b : std::max(a, b);
}

/// Towards minus infinity, and towards zero; without a call for what fits an integer.
inline double rx_floor(double number) {
    if (!(std::fabs(number) < 4503599627370496.0)) return number;
    double cut = static_cast<double>(static_cast<long long>(number));
    return cut > number ? cut - 1 : cut;
}
inline double rx_truncate(double number) {
    return std::fabs(number) < 4503599627370496.0 ? static_cast<double>(static_cast<long long>(number)) : number;
}

/// True when a whole number has more digits than the setting. An exact power of ten counts one digit less.
inline bool rx_too_long(double whole, int digits) {
    double size = std::fabs(whole);
    return size > rx_tens(digits) && std::ceil(std::log10(size)) > digits;
}

inline rx_plain rx_plus(const rx_plain &a, const rx_plain &b, int digits) {
    bool whole = rx_both_whole(a, b);
    double left = whole ? a.real : rx_operand_of(a, digits), right = whole ? b.real : rx_operand_of(b, digits);
    double sum = left + right;
    if (sum == HUGE_VAL) return rx_no_plain(rx_arithmetic_fault::overflow);
    int32_t decimals = rx_sum_decimals(a.decimals, left, b.decimals, right, sum);
    return whole ? rx_plain{.real = sum, .decimals = decimals, .rounded = 1} : rx_rounded_plain(sum, decimals, digits);
}

/// An infinity isn't tested for: it passes, and is caught only when it is shown.
inline rx_plain rx_minus(const rx_plain &a, const rx_plain &b, int digits) {
    bool whole = rx_both_whole(a, b);
    double left = whole ? a.real : rx_operand_of(a, digits), right = whole ? b.real : rx_operand_of(b, digits);
    double difference = left - right;
    int32_t decimals = rx_sum_decimals(a.decimals, left, b.decimals, right, difference);
    return whole ? rx_plain{.real = difference, .decimals = decimals, .rounded = 1}
                 : rx_rounded_plain(difference, decimals, digits);
}

inline rx_plain rx_times(const rx_plain &a, const rx_plain &b, int digits) {
    // A long chain of products could bring the sum of the decimals out of range.
    constexpr int32_t limit = 1 << 20;
    bool whole = rx_both_whole(a, b);
    double product = whole ? a.real * b.real : rx_operand_of(a, digits) * rx_operand_of(b, digits);
    if (product == HUGE_VAL) return rx_no_plain(rx_arithmetic_fault::overflow);
    int32_t decimals = std::clamp(a.decimals + b.decimals, -limit, limit);
    return whole ? rx_plain{.real = product, .decimals = decimals, .rounded = 1}
                 : rx_rounded_plain(product, decimals, digits);
}

inline rx_plain rx_divide(const rx_plain &a, const rx_plain &b, int digits) {
    double right = rx_operand_of(b, digits);
    if (right == 0) return rx_no_plain(rx_arithmetic_fault::zero_divide);
    return rx_rounded_plain(rx_operand_of(a, digits) / right, -1, digits);
}

inline rx_plain rx_whole_divide(const rx_plain &a, const rx_plain &b, int digits) {
    double right = rx_operand_of(b, digits);
    if (right == 0) return rx_no_plain(rx_arithmetic_fault::zero_divide);
    double quotient = rx_truncate(rx_operand_of(a, digits) / right) + 0.0; // no negative zero
    if (rx_too_long(quotient, digits)) return rx_no_plain(rx_arithmetic_fault::too_long);
    return {.real = quotient, .decimals = -1, .rounded = 1};
}

/// The sign follows the quotient: with equal signs the operands stay as they are, so -7 // -2 is -1.
inline rx_plain rx_remainder(const rx_plain &a, const rx_plain &b, int digits) {
    double left = rx_operand_of(a, digits), right = rx_operand_of(b, digits);
    if (right == 0) return rx_no_plain(rx_arithmetic_fault::zero_divide);
    if (left == right) return {.real = 0, .decimals = -1, .rounded = 1};
    double quotient = left / right;
    double remainder =
        quotient < 0 ? -(std::fabs(left) - std::fabs(right) * rx_floor(-quotient)) : left - right * rx_floor(quotient);
    rx_plain result = rx_rounded_plain(remainder + 0.0, -1, digits); // no negative zero
    return rx_too_long(result.real, digits) ? rx_no_plain(rx_arithmetic_fault::too_long) : result;
}

inline rx_plain rx_power(const rx_plain &a, const rx_plain &b, int digits) {
    double power = std::pow(rx_operand_of(a, digits), rx_operand_of(b, digits));
    rx_plain result = rx_rounded_plain(power, -1, digits);
    return result.real == HUGE_VAL ? rx_no_plain(rx_arithmetic_fault::overflow) : result;
}

/// NUMERIC DIGITS less FUZZ, at which numbers are compared. The print formatter takes a precision of 0 as 1 and a
/// negative one as 6; that much FUZZ is left only by a NUMERIC DIGITS without a number.
inline int rx_compared_digits() {
    int digits = rx_numeric->digits - rx_numeric->fuzz;
    return digits > 0 ? digits : digits == 0 ? 1 : 6;
}

/// A number as the normal comparison takes it.
inline double rx_compared(const rx_plain &number, int digits) {
    if (number.rounded != 0 && number.rounded <= digits) return number.real;
    return rx_round_digits(number.real, digits);
}
