// Decimal digits of a double, the part that rounding and spelling share.
//
// A double is cut into its first D significant digits by one multiplication or division with a power of ten that is
// itself exact (10^22 is the largest), so the scaled value carries one rounding error of at most 2^-53 of its size.
// Where it lies farther than that from a tie, the nearest integer is the one that exact decimal arithmetic would give.
// What lies nearer, and what lies outside the exact powers, is refused, and the caller takes the slow road.
#pragma once

#include "values/numbers.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string_view>

/// 10^(i - 22), for i up to 44. Those from 10^0 on are exact.
inline constexpr double rx_tens_table[45] = {
    1e-22, 1e-21, 1e-20, 1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9, 1e-8,
    1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,   1e2,   1e3,   1e4,   1e5,   1e6,  1e7,
    1e8,   1e9,   1e10,  1e11,  1e12,  1e13,  1e14,  1e15,  1e16,  1e17,  1e18,  1e19,  1e20,  1e21, 1e22};
constexpr double rx_tens(int exponent) {
    return rx_tens_table[exponent + 22];
}

/// Cuts a positive number to `digits` (1 to 15) significant digits: `whole` is the integer nearest to
/// number * 10^shift, from 10^(digits-1) to 10^digits, and `shift` is -22 to 22. False when the number is not positive,
/// out of range, or so near a tie that the scaling could have decided it.
inline bool rx_cut_digits(double number, int digits, double &whole, int &shift) {
    if (!(number >= 1e-22 && number < 1e22)) return false;
    // The decimal exponent lies in the binary one, times log10(2), or is one more. A number that the table's nearest
    // double to 10^-k puts on the wrong side of 10^-k is so close to it that it rounds to the same digits.
    int binary = static_cast<int>(std::bit_cast<uint64_t>(number) >> 52) - 1023;
    int exponent = (binary * 1233) >> 12;
    exponent += number >= rx_tens(exponent + 1);
    shift = digits - 1 - exponent;
    if (shift > 22 || shift < -22) return false;
    double scaled = shift >= 0 ? number * rx_tens(shift) : number / rx_tens(-shift);
    // Adding 2^52 leaves no room for a fraction: the processor rounds to an integer.
    constexpr double no_fraction = 4503599627370496.0;
    whole = (scaled + no_fraction) - no_fraction;
    double from_tie = std::fabs(std::fabs(scaled - whole) - 0.5);
    return from_tie > scaled * 0x1p-52;
}

/// The power of ten that brings a number to `digits` digits in front of the point, by the digits less one and by the
/// number's binary exponent from -72 on. It is one too large for the upper part of some binary orders. 0 where a number
/// would have to be divided instead.
struct rx_scale_table {
    static constexpr int first = -72, count = 145;
    std::array<std::array<double, count>, 15> rows{};

    constexpr rx_scale_table() {
        for (int digits = 1; digits <= 15; digits++) {
            for (int i = 0; i < count; i++) {
                int shift = digits - 1 - (((first + i) * 1233) >> 12);
                bool exact = shift >= 0 && shift <= 22;
                rows[static_cast<size_t>(digits - 1)][static_cast<size_t>(i)] = exact ? rx_tens(shift) : 0;
            }
        }
    }
};
inline constexpr rx_scale_table rx_scales;

/// A number with a fractional part, rounded to `digits` significant digits (1 to 14). What arithmetic on fractions
/// waits for is the chain from a sum or product to its rounded value, so the scale comes from a table by the binary
/// exponent, and what might not fit is left to guesses of the processor, which are nearly always right.
[[gnu::always_inline]] inline double rx_round_inline(double number, int digits) {
    unsigned order =
        static_cast<unsigned>(std::bit_cast<uint64_t>(number) >> 52 & 0x7ff) - (1023 + rx_scale_table::first);
    if (order >= rx_scale_table::count) [[unlikely]]
        return rx_round_fraction(number, digits);
    double power = rx_scales.rows[static_cast<size_t>(digits - 1)][order];
    double scaled = number * power, size = std::fabs(scaled);
    // Adding this leaves no room for a fraction on either side of 0: the processor rounds to an integer.
    constexpr double no_fraction = 6755399441055744.0;
    double whole = (scaled + no_fraction) - no_fraction;
    double from_tie = std::fabs(std::fabs(scaled - whole) - 0.5);
    if (power == 0 || size >= rx_tens(digits) || !(from_tie > size * 0x1p-52)) [[unlikely]]
        return rx_round_fraction(number, digits);
    // Both operands are exact, so the one rounding of this operation is that of reading the decimal text.
    return whole / power;
}

/// rx_number_text as if NUMERIC DIGITS were `digits` (1 to 15).
std::string_view rx_number_text_at(double number, int decimals, int digits, rx_number_buffer &buffer);
