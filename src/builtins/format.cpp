// TRUNC and FORMAT: they work on the text of a number, digit by digit, as the formatter of the NUMERIC settings gives
// it. Rounding here is therefore decimal: half up, with a carry through the digits.
#include "builtins/handlers.h"
#include "builtins/pieces.h"
#include "platform/strings.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

/// The text of a number taken apart.
struct number_parts {
    /// Without the point. The smallest numbers have some 340 digits when they are written out.
    char digits[400];
    size_t count = 0;
    size_t zeros = 0; ///< that follow the digits
    size_t point = 0; ///< how many of the digits stand in front of the point
    bool negative = false;
    bool has_exponent = false;
    int exponent = 0;
    bool plus = false;         ///< a positive exponent shows its sign
    size_t exponent_width = 0; ///< an exponent shows this many digits at least

    /// Reads "-12.5E+6" and its like.
    explicit number_parts(std::string_view text) {
        negative = text.starts_with('-');
        bool has_point = false;
        size_t i = negative ? 1 : 0;
        for (; i < text.size() && text[i] != 'E' && text[i] != 'e'; i++) {
            if (text[i] != '.') {
                digits[count++] = text[i];
            } else if (!has_point) {
                has_point = true;
                point = count;
            }
        }
        if (!has_point) point = count;
        if (i < text.size()) {
            std::string power(text.substr(i + 1));
            exponent = std::atoi(power.c_str());
            has_exponent = exponent != 0;
            plus = power.starts_with('+') || exponent < 0;
            exponent_width = power.size() - (rx_is_digit(power[0]) ? 0 : 1);
        }
    }

    std::string_view whole() const { return {digits, point}; }
    /// Without the zeros.
    std::string_view fraction() const { return {digits + point, count - point}; }
    size_t places() const { return count - point + zeros; }

    void put_in_front(size_t n, char digit) {
        std::memmove(digits + n, digits, count);
        std::memset(digits, digit, n);
        count += n;
    }

    /// Writes the exponent out as zeros.
    void expand() {
        if (!has_exponent) return;
        int places = static_cast<int>(point) + exponent;
        if (places <= 0) {
            put_in_front(static_cast<size_t>(1 - places), '0');
            places = 1;
        }
        point = static_cast<size_t>(places);
        while (count < point) digits[count++] = '0';
        has_exponent = false;
    }

    /// Brings the fraction to that many digits, rounded half up.
    void round(size_t places) {
        size_t length = point + places;
        bool up = count > length && digits[length] >= '5';
        count = std::min(count, length);
        zeros = length - count;
        if (!up) return;
        size_t at = length;
        while (at > 0 && digits[at - 1] == '9') digits[--at] = '0';
        if (at > 0) {
            digits[at - 1]++;
            return;
        }
        put_in_front(1, '1');
        if (has_exponent && rx_numeric->form == 0) {
            // 9.99E+5 became 10.0E+5.
            count--;
            exponent++;
            has_exponent = exponent != 0;
        } else {
            point++;
        }
    }

    std::string exponent_text() const {
        if (!has_exponent) return {};
        std::string digits = std::to_string(std::abs(exponent));
        if (digits.size() < exponent_width) digits.insert(0, exponent_width - digits.size(), '0');
        return std::string(exponent < 0 ? "E-" : plus ? "E+" : "E") + digits;
    }
};

/// The value with that many digits behind the point and an exponent.
number_parts in_exponents(double number, int places) {
    char text[48];
    auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::scientific, places);
    return number_parts({text, static_cast<size_t>(end.ptr - text)});
}

} // namespace

/// format(number, [before], [after], [expp], [expt])
/// The number with `before` places in front of the point, filled up with blanks, and `after` digits behind it, rounded.
/// expp is the count of digits of an exponent, 0 for none; a text with more than expt digits before the point, or twice
/// as many behind it, gets an exponent when expp is omitted.
/// Result: string
/// Errors: 40 for a wrong count, a text that is no number, another argument that isn't whole and 0 or more, too few
/// places before the point or for the exponent
/// Example: '[' || format(-3.14159, 4, 2) || ']' -> [  -3.14]
rx_value bu_format(const rx_expr *list) {
    bu_args args(list, "FORMAT");
    args.require(0, "argument 1 missing.");
    args.expect(1, 5, 1, "up to 5 arguments allowed.");
    double number = args.number(0, "argument 1 must be a whole number.");
    size_t before = args.size(1, BU_EXACT), after = args.size(2, BU_EXACT);
    size_t expp = args.size(3, BU_EXACT), expt = args.size(4, BU_EXACT);
    if (before + after + expp > bu_longest_result) rx_raise(5);
    std::string_view text = args.text(0);
    if (!std::isfinite(number)) return rx_string(text);

    number_parts parts(text);
    if (!args.given(3) && args.given(4) && !parts.has_exponent && (parts.point > expt || parts.places() > 2 * expt)) {
        size_t length = parts.count + (parts.places() ? 1 : 0);
        int places = std::clamp(static_cast<int>(length) - 2, 0, 15);
        bool negative = parts.negative;
        parts = in_exponents(std::fabs(number), places);
        parts.negative = negative;
        parts.plus = true;
    }
    if (args.given(3) && expp == 0) parts.expand();
    if (args.given(2)) parts.round(after);

    std::string exponent = parts.exponent_text();
    if (expp > 0) {
        if (!parts.has_exponent) {
            exponent.assign(expp + 2, ' ');
        } else {
            if (std::to_string(std::abs(parts.exponent)).size() > expp) args.fail(3, "not enought room for exponent");
            parts.plus = true;
            parts.exponent_width = expp;
            exponent = parts.exponent_text();
        }
    }
    size_t places = parts.point + (parts.negative ? 1 : 0), point = parts.places() ? 1 : 0;
    if (args.given(1) && places > before) args.fail(1, "argument 2 too small.");
    rx_value result = bu_string(std::max(before, places) + point + parts.places() + exponent.size());
    bu_writer out(result);
    if (before > places) out.fill(before - places, ' ');
    if (parts.negative) out.fill(1, '-');
    out.put(parts.whole());
    out.fill(point, '.');
    out.put(parts.fraction());
    out.fill(parts.zeros, '0');
    out.put(exponent);
    return result;
}

/// trunc(number, [n])
/// The number, rounded to 9 digits in all, with n digits behind the point (0): the rest is cut off, not rounded.
/// Result: string
/// Errors: 40 for a wrong count, a text that is no number, an n that isn't whole and 0 or more
/// Example: trunc(127.09782, 3) -> 127.097
rx_value bu_trunc(const rx_expr *list) {
    bu_args args(list, "TRUNC");
    args.require(0, "argument 1 missing.");
    args.expect(1, 2, 1, "up to 2 arguments allowed.");
    double number = args.number(0, "argument 1 must be a whole number.");
    size_t places = args.size(1, BU_EXACT);
    if (places > bu_longest_result) rx_raise(5);
    rx_value &rounded = args.values[0];
    if (rounded.rounded == 0 || rounded.rounded > 9) rounded.real = rx_round_digits(number, 9);
    std::string_view text = args.text(0);
    if (!std::isfinite(number)) return rx_string(text);
    number_parts parts(text);
    parts.expand();
    size_t sign = parts.negative ? 1 : 0, point = places ? 1 : 0;
    rx_value result = bu_string(sign + parts.point + point + places);
    bu_writer out(result);
    out.fill(sign, '-');
    out.put(parts.whole());
    out.fill(point, '.');
    out.put_in(parts.fraction(), places, '0');
    return result;
}
