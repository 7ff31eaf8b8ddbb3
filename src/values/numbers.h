// Numbers and their texts.
//
// There is no decimal arithmetic: a number is a double, NUMERIC DIGITS is at most 15, and rounding to that many
// significant digits is *defined* as printing the double with "%.*g" and reading the text back. What runs instead is
// faster and gives the same bits: the double is scaled by an exact power of ten, rounded to the nearest integer and
// divided back; only where the scaled value lies so near a tie that one rounding could decide, or out of range, the
// definition itself runs (std::to_chars and std::from_chars). Whole numbers are never rounded.
#pragma once

#include "base/run_local.h"
#include "values/value.h"

#include <bit>
#include <cmath>
#include <string>
#include <string_view>

/// The NUMERIC settings; a routine's changes end with it.
struct rx_numeric_settings {
    int digits = 9; ///< 1 to 15
    int fuzz = 0;   ///< 0 to digits - 1
    int form = 0;   ///< 0 SCIENTIFIC, 1 ENGINEERING
};
inline rx_run_local<rx_numeric_settings> rx_numeric;

/// Room for the text of any number.
struct rx_number_buffer {
    char bytes[48];
};

/// Reads a text as a number. Blanks around and between are allowed as the language has it; false when it is none.
bool rx_scan_number(std::string_view text, double &number);

/// The commonest number by far: one to nine digits and nothing else. False for anything else.
inline bool rx_short_integer(std::string_view text, double &number) {
    if (text.empty() || text.size() > 9) return false;
    unsigned digits = 0;
    for (char c : text) {
        unsigned digit = static_cast<unsigned char>(c) - unsigned{'0'};
        if (digit > 9) return false;
        digits = digits * 10 + digit;
    }
    number = digits;
    return true;
}

/// Digits behind the first point of a number's text, at most 15; 0 without a point or with an exponent behind it.
int rx_count_decimals(std::string_view text);

/// The value as a number record, without changing it: true and the number (with `decimals` counted from the text of a
/// string), or false. None is no number.
bool rx_number_of(const rx_value &value, rx_value &number);

/// The same in place: a string that is a number turns into one and loses its text.
bool rx_is_number(rx_value &value);

/// True when the number is whole. Infinities count as whole, a NaN does not.
inline bool rx_is_whole(double number) {
    if (std::fabs(number) < 4503599627370496.0) return number == static_cast<double>(static_cast<long long>(number));
    return number == number;
}

/// Rounds a number with a fractional part to `digits` significant digits (1 to 14); others come back unchanged.
[[gnu::noinline]] double rx_round_fraction(double number, int digits);
inline double rx_round_digits(double number, int digits) {
    return digits >= 15 || rx_is_whole(number) ? number : rx_round_fraction(number, digits);
}

/// Up to seven digits in the bytes of a word, the first one lowest, zeros behind.
struct rx_digits {
    uint64_t bytes = 0;
    unsigned length = 0;
};

/// The digits of a number below 10^7.
constexpr rx_digits rx_digits_of(uint32_t number) {
    static_assert(std::endian::native == std::endian::little);
    // They come from the last to the first, and each moves the others up by a byte.
    rx_digits digits;
    do {
        digits.bytes = digits.bytes << 8 | ('0' + number % 10);
        digits.length++;
        number /= 10;
    } while (number != 0);
    return digits;
}

/// True for a number from 0 to `most`, which isn't negative. A negative zero counts as below 0.
inline bool rx_is_natural_to(double number, double most) {
    // As integers, since the bits of numbers that aren't negative are in their order, and all others are larger.
    return std::bit_cast<uint64_t>(number) <= std::bit_cast<uint64_t>(most);
}

/// The text of a number under the NUMERIC settings in force, in the caller's buffer. +infinity raises error 42.
std::string_view rx_number_text(double number, int decimals, rx_number_buffer &buffer);

/// The text of any value: a string's own bytes, a number spelled in the buffer, nothing for none. The view is valid
/// as long as both.
inline std::string_view rx_arg_text(const rx_value &value, rx_number_buffer &buffer) {
    if (value.kind == RX_STRING) return value.text();
    if (value.kind == RX_NONE) return {};
    return rx_number_text(value.real, value.decimals, buffer);
}

/// The text of any value as an owned string record: numbers are spelled, strings pass through. The text of a short
/// whole number carries the number.
rx_value rx_to_string(rx_value value);

/// The number of a string that carries one or is a short integer, which it then carries from now on: a text that is
/// used as a number is mostly used so again. False for any other value.
bool rx_carried_number(const rx_value &value, double &number);

/// The text of an integer in decimal.
std::string rx_int_text(long long integer);

/// The test of IF, WHEN, WHILE and UNTIL: false when the value is no number or, rounded at NUMERIC DIGITS and cut to an
/// integer, neither 0 nor 1; otherwise the truth goes to `result`.
bool rx_logical(const rx_value &value, bool &result);

/// To the nearest whole number, a tie going up.
double rx_round_nearest(double number);

/// The text without blanks at both ends.
std::string_view rx_trim_text(std::string_view text);

/// Cut towards zero to a 32-bit integer; what doesn't fit gives the nearest limit, a NaN 0.
int rx_to_int(double number);

/// Bytes of a hexadecimal text; false when it is invalid. With `odd_digit` a single leading digit gets "F" in front of
/// it instead of "0".
bool rx_hex_to_bytes(std::string_view text, std::string &bytes, bool odd_digit = false);

/// Bytes of a binary text; false when it is invalid.
bool rx_bin_to_bytes(std::string_view text, std::string &bytes);

/// Settings of the NUMERIC instruction; each checks its value and raises error 25 or 26 at the current position. None
/// stands for an absent expression.
void rx_numeric_digits(const rx_value &value);
void rx_numeric_fuzz(const rx_value &value);
void rx_numeric_form(const rx_value &value);
