// Arithmetic on plain numbers: what the operators do once their operands are known to be numbers. It stands in a header
// because the expression walk computes whole subtrees of numbers with it, without making values in between.
//
// An operand with a fractional part is rounded at one digit more than NUMERIC DIGITS, a result at NUMERIC DIGITS. A
// number remembers how many digits it is known to be rounded to, so that a result isn't rounded a second time when it
// becomes an operand. Whole numbers are never rounded: they and nothing else are known to be rounded to one digit, and
// two of them take the short way through sum, difference and product, for what comes out is whole again.
//
// A number in registers is its double and the first eight bytes of its value record, so that it is loaded and stored
// without a look at the fields. Nearly all heads are one and the same, that of a whole number without decimals; each
// operation tests for that first.
#pragma once

#include "values/numbers.h"
#include "values/rounding.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

/// Why there is no result.
enum class rx_arithmetic_fault : int32_t { none, not_a_number, overflow, zero_divide, too_long };

/// A number in registers.
struct rx_plain {
    double real;
    uint64_t head; ///< bytes 0-7 of the record; without a result: kind RX_NONE, the fault in place of the decimals

    bool failed() const { return (head & 0xff) != RX_NUMBER; }
    int32_t decimals() const { return static_cast<int32_t>(head >> 32); }
    int rounded() const { return static_cast<int>(head >> 16 & 0xff); }
    rx_arithmetic_fault fault() const { return static_cast<rx_arithmetic_fault>(decimals()); }
};

constexpr uint64_t rx_plain_head(int32_t decimals, int rounded) {
    return uint64_t{static_cast<uint32_t>(decimals)} << 32 | static_cast<uint64_t>(rounded) << 16 | RX_NUMBER;
}
/// The head of a whole number without decimals, and of a truth value or another result that restores none.
inline constexpr uint64_t rx_whole_head = rx_plain_head(0, 1);
inline constexpr uint64_t rx_bare_head = rx_plain_head(-1, 1);

constexpr rx_plain rx_no_plain(rx_arithmetic_fault fault) {
    return {0, uint64_t{static_cast<uint32_t>(fault)} << 32 | RX_NONE};
}

inline uint64_t rx_head_of(const rx_value &value) {
    uint64_t head;
    std::memcpy(&head, static_cast<const void *>(&value), sizeof head);
    return head;
}

inline rx_plain rx_plain_of(const rx_value &number) {
    return {number.real, rx_head_of(number)};
}

/// True for a number whose text is that of a whole number from 0 below 10^7.
inline bool rx_short_natural(const rx_value &number, uint32_t &whole) {
    if (rx_head_of(number) != rx_whole_head || rx_numeric.value.digits < 7 || !rx_is_natural_to(number.real, 9999999))
        return false;
    whole = static_cast<uint32_t>(static_cast<int32_t>(number.real));
    return true;
}

/// Overwrites a record that owns no text.
inline void rx_put_plain(rx_value &record, rx_plain plain) {
    std::memcpy(static_cast<void *>(&record), &plain.head, sizeof plain.head);
    record.real = plain.real;
}

inline rx_value rx_value_of(rx_plain plain) {
    rx_value value;
    rx_put_plain(value, plain);
    return value;
}

/// Makes the record the text of the number, as rx_to_string does.
void rx_put_number_text(rx_value &record, rx_plain plain);

/// Both there, and whole.
inline bool rx_both_whole(rx_plain a, rx_plain b) {
    return static_cast<uint32_t>(a.head) == rx_whole_head && static_cast<uint32_t>(b.head) == rx_whole_head;
}
/// The same without decimals: the commonest case by far.
inline bool rx_both_simple(rx_plain a, rx_plain b) {
    return a.head == rx_whole_head && b.head == rx_whole_head;
}

/// The number as an operand: rounded at `digits` + 1.
[[gnu::always_inline]] inline double rx_operand_of(rx_plain number, int digits) {
    if (number.rounded() != 0 && number.rounded() <= digits + 1) return number.real;
    return rx_round_digits(number.real, digits + 1);
}

[[gnu::always_inline]] inline rx_plain rx_rounded_plain(double real, int32_t decimals, int digits) {
    if (rx_is_whole(real)) return {real, rx_plain_head(decimals, 1)};
    double result = digits >= 15 ? real : rx_round_inline(real, digits);
    // A fraction of one digit is no whole number, which a 1 would say.
    return {result, rx_plain_head(decimals, std::max(digits, 2))};
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

/// The sum of whole numbers, or their difference when `right` is negated: which decimals it has.
[[gnu::always_inline]] inline rx_plain rx_whole_sum(rx_plain a, rx_plain b, double sum) {
    if (rx_both_simple(a, b)) [[likely]]
        return {sum, rx_whole_head};
    // Without a zero among them the larger count of decimals counts, which is that of the larger head.
    if (a.real * b.real * sum != 0) [[likely]]
        return {sum, static_cast<uint64_t>(std::max(static_cast<int64_t>(a.head), static_cast<int64_t>(b.head)))};
    return {sum, rx_plain_head(rx_sum_decimals(a.decimals(), a.real, b.decimals(), b.real, sum), 1)};
}

[[gnu::always_inline]] inline rx_plain rx_plus_fractions(rx_plain a, rx_plain b, int digits) {
    double left = rx_operand_of(a, digits), right = rx_operand_of(b, digits), sum = left + right;
    if (sum == HUGE_VAL) return rx_no_plain(rx_arithmetic_fault::overflow);
    return rx_rounded_plain(sum, rx_sum_decimals(a.decimals(), left, b.decimals(), right, sum), digits);
}
[[gnu::always_inline]] inline rx_plain rx_plus(rx_plain a, rx_plain b, int digits) {
    if (rx_both_whole(a, b) && a.real + b.real != HUGE_VAL) [[likely]]
        return rx_whole_sum(a, b, a.real + b.real);
    return rx_plus_fractions(a, b, digits);
}

/// An infinite difference isn't tested for: it passes, and is caught only when it is shown.
[[gnu::always_inline]] inline rx_plain rx_minus_fractions(rx_plain a, rx_plain b, int digits) {
    double left = rx_operand_of(a, digits), right = rx_operand_of(b, digits), difference = left - right;
    return rx_rounded_plain(difference, rx_sum_decimals(a.decimals(), left, b.decimals(), right, difference), digits);
}
[[gnu::always_inline]] inline rx_plain rx_minus(rx_plain a, rx_plain b, int digits) {
    if (rx_both_whole(a, b)) [[likely]]
        return rx_whole_sum(a, b, a.real - b.real);
    return rx_minus_fractions(a, b, digits);
}

/// `decimals` of a product. A long chain of products could bring their sum out of range.
inline int32_t rx_product_decimals(rx_plain a, rx_plain b) {
    constexpr int32_t limit = 1 << 20;
    return std::clamp(a.decimals() + b.decimals(), -limit, limit);
}
/// The head of a product of whole numbers.
[[gnu::always_inline]] inline uint64_t rx_whole_product_head(rx_plain a, rx_plain b) {
    if (b.head == rx_whole_head) return a.head;
    return rx_plain_head(rx_product_decimals(a, b), 1);
}
[[gnu::always_inline]] inline rx_plain rx_times_fractions(rx_plain a, rx_plain b, int digits) {
    double product = rx_operand_of(a, digits) * rx_operand_of(b, digits);
    if (product == HUGE_VAL) return rx_no_plain(rx_arithmetic_fault::overflow);
    return rx_rounded_plain(product, rx_product_decimals(a, b), digits);
}
[[gnu::always_inline]] inline rx_plain rx_times(rx_plain a, rx_plain b, int digits) {
    if (!rx_both_whole(a, b) || a.real * b.real == HUGE_VAL) [[unlikely]]
        return rx_times_fractions(a, b, digits);
    return {a.real * b.real, rx_whole_product_head(a, b)};
}

[[gnu::always_inline]] inline rx_plain rx_divide(rx_plain a, rx_plain b, int digits) {
    double right = rx_operand_of(b, digits);
    if (right == 0) return rx_no_plain(rx_arithmetic_fault::zero_divide);
    return rx_rounded_plain(rx_operand_of(a, digits) / right, -1, digits);
}

/// Two whole numbers of at most 31 bits as integers, for which an integer division gives what the division of the
/// doubles and its cut would. False also when `right` is 0.
inline bool rx_short_integers(rx_plain a, rx_plain b, int32_t &left, int32_t &right) {
    constexpr double limit = 2147483647.0;
    if (!rx_both_whole(a, b) || !(std::fabs(a.real) <= limit && std::fabs(b.real) <= limit)) return false;
    left = static_cast<int32_t>(a.real);
    right = static_cast<int32_t>(b.real);
    return right != 0;
}

/// Two whole numbers from 0 to 10^9, the divisor no 0, at NUMERIC DIGITS 9 or more: their quotient and remainder are
/// found by integers, and neither is too long.
[[gnu::always_inline]] inline bool rx_short_naturals(rx_plain a, rx_plain b, uint32_t &n, uint32_t &divisor) {
    if (rx_numeric.value.digits < 9 || !rx_is_natural_to(a.real, 1e9) || !rx_is_natural_to(b.real, 1e9)) return false;
    n = static_cast<uint32_t>(static_cast<int64_t>(a.real));
    divisor = static_cast<uint32_t>(static_cast<int64_t>(b.real));
    return divisor != 0;
}

inline rx_plain rx_whole_divide(rx_plain a, rx_plain b, int digits) {
    double quotient;
    if (int32_t left, right; rx_short_integers(a, b, left, right)) [[likely]] {
        quotient = left / right;
    } else {
        double divisor = rx_operand_of(b, digits);
        if (divisor == 0) return rx_no_plain(rx_arithmetic_fault::zero_divide);
        quotient = rx_truncate(rx_operand_of(a, digits) / divisor) + 0.0; // no negative zero
    }
    if (rx_too_long(quotient, digits)) return rx_no_plain(rx_arithmetic_fault::too_long);
    return {quotient, rx_bare_head};
}

/// The remainder of doubles that aren't both short integers.
[[gnu::noinline]] inline rx_plain rx_remainder_any(rx_plain a, rx_plain b, int digits) {
    double left = rx_operand_of(a, digits), right = rx_operand_of(b, digits);
    if (right == 0) return rx_no_plain(rx_arithmetic_fault::zero_divide);
    if (left == right) return {0, rx_bare_head};
    double quotient = left / right;
    double remainder =
        quotient < 0 ? -(std::fabs(left) - std::fabs(right) * rx_floor(-quotient)) : left - right * rx_floor(quotient);
    rx_plain result = rx_rounded_plain(remainder + 0.0, -1, digits); // no negative zero
    return rx_too_long(result.real, digits) ? rx_no_plain(rx_arithmetic_fault::too_long) : result;
}

/// The sign follows the quotient: with equal signs the operands stay as they are, so -7 // -2 is -1.
[[gnu::always_inline]] inline rx_plain rx_remainder(rx_plain a, rx_plain b, int digits) {
    int32_t left, right;
    if (!rx_short_integers(a, b, left, right)) [[unlikely]]
        return rx_remainder_any(a, b, digits);
    int32_t size = std::abs(left) % std::abs(right);
    double remainder = (left | right) < 0 ? -size : size;
    if (rx_too_long(remainder, digits)) return rx_no_plain(rx_arithmetic_fault::too_long);
    return {remainder, rx_bare_head};
}

inline rx_plain rx_power(rx_plain a, rx_plain b, int digits) {
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
inline double rx_compared(rx_plain number, int digits) {
    if (number.rounded() != 0 && number.rounded() <= digits) return number.real;
    return rx_round_digits(number.real, digits);
}
