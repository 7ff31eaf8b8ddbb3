// Number to text.
//
// The text of a number is that of "%.*G" at NUMERIC DIGITS with a shorter exponent, plus zeros behind the point where
// `decimals` asks for them, and under FORM ENGINEERING an exponent that is a multiple of three.
#include "values/rounding.h"

#include "base/raise.h"
#include "platform/strings.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace {

/// What print_general wrote.
struct printed_text {
    size_t length;
    size_t point;    ///< index of the point; `length` without one
    size_t exponent; ///< index of the "E"; 0 without one
};

/// Lays out `count` significant digits as "%G" does: d.dddE+dd where the exponent is below -4 or not below `digits`.
printed_text lay_out(char *out, bool negative, const char *figures, int count, int exponent, int digits) {
    char *at = out;
    char *point = nullptr;
    char *letter = nullptr;
    auto put = [&at](const char *bytes, int n) {
        for (int i = 0; i < n; i++) *at++ = bytes[i];
    };
    auto put_zeros = [&at](int n) {
        for (; n > 0; n--) *at++ = '0';
    };
    auto put_point = [&at, &point] {
        point = at;
        *at++ = '.';
    };
    if (negative) *at++ = '-';
    if (exponent < -4 || exponent >= digits) {
        *at++ = figures[0];
        if (count > 1) {
            put_point();
            put(figures + 1, count - 1);
        }
        letter = at;
        *at++ = 'E';
        *at++ = exponent < 0 ? '-' : '+';
        int size = std::abs(exponent);
        if (size < 10) *at++ = '0';
        at = std::to_chars(at, at + 4, size).ptr;
    } else if (exponent < 0) {
        *at++ = '0';
        put_point();
        put_zeros(-exponent - 1);
        put(figures, count);
    } else if (count <= exponent + 1) {
        put(figures, count);
        put_zeros(exponent + 1 - count);
    } else {
        put(figures, exponent + 1);
        put_point();
        put(figures + exponent + 1, count - exponent - 1);
    }
    size_t length = static_cast<size_t>(at - out);
    return {length, point ? static_cast<size_t>(point - out) : length, letter ? static_cast<size_t>(letter - out) : 0};
}

/// printf("%.*G"), without a NUL.
printed_text print_general(char *out, double number, int digits) {
    double size = std::fabs(number);
    if (size < rx_tens(digits) && rx_is_whole(number)) {
        char *at = out;
        if (std::signbit(number)) *at++ = '-';
        at = std::to_chars(at, at + 16, static_cast<long long>(size)).ptr;
        size_t length = static_cast<size_t>(at - out);
        return {length, length, 0};
    }
    double whole;
    int shift;
    if (rx_cut_digits(size, digits, whole, shift)) {
        // Most numbers have few digits: zeros at the end are taken off before the digits are spelled.
        auto left = static_cast<uint64_t>(whole);
        int zeros = 0;
        auto take_off = [&](uint64_t power, int count) {
            if (left % power != 0) return;
            left /= power;
            zeros += count;
        };
        take_off(100000000, 8);
        take_off(10000, 4);
        take_off(100, 2);
        take_off(10, 1);
        char figures[20];
        int count = static_cast<int>(std::to_chars(figures, figures + 20, left).ptr - figures);
        return lay_out(out, std::signbit(number), figures, count, count + zeros - 1 - shift, digits);
    }
    char *end = std::to_chars(out, out + 32, number, std::chars_format::general, digits).ptr;
    size_t length = static_cast<size_t>(end - out);
    rx_upper(out, length);
    std::string_view text(out, length);
    size_t point = text.find('.'), exponent = text.find('E');
    return {length, std::min(point, length), exponent == text.npos ? 0 : exponent};
}

/// Rewrites a text with an exponent so that the exponent is a multiple of three; returns the new length. The mantissa
/// is read back and multiplied, so at one or two digits it may show an exponent of its own in front of ours.
size_t make_engineering(char *text, size_t length, size_t letter, int digits) {
    int exponent = 0;
    std::from_chars(text + letter + 2, text + length, exponent);
    int above = exponent % 3;
    if (above == 0) return length;
    bool negative = text[letter + 1] == '-';
    double mantissa = 0;
    std::from_chars(text, text + letter, mantissa);
    for (int i = negative ? 3 - above : above; i > 0; i--) mantissa *= 10;
    char *at = text + print_general(text, mantissa, digits).length;
    *at++ = 'E';
    if (negative) *at++ = '-';
    at = std::to_chars(at, at + 4, (exponent / 3 + (negative ? 1 : 0)) * 3).ptr;
    return static_cast<size_t>(at - text);
}

} // namespace

std::string_view rx_number_text_at(double number, int decimals, int digits, rx_number_buffer &buffer) {
    if (number == HUGE_VAL) rx_raise(42);
    char *text = buffer.bytes;
    if (number >= 1 && number < 1e7 && decimals <= 0 && digits >= 7) {
        auto whole = static_cast<uint32_t>(number);
        if (whole == number) [[likely]] {
            rx_digits short_text = rx_digits_of(whole);
            std::memcpy(text, &short_text.bytes, sizeof short_text.bytes);
            return {text, short_text.length};
        }
    }
    auto [length, point, exponent] = print_general(text, number, digits);
    if (exponent != 0) {
        size_t leading = exponent + 2;
        if (leading < length - 1 && text[leading] == '0') {
            std::memmove(text + leading, text + leading + 1, length - leading - 1);
            length--;
        }
        // Digits to restore end the matter here, before the form is looked at.
        if (decimals < 1 && rx_numeric->form == 1) length = make_engineering(text, length, exponent, digits);
    } else if (decimals > 0) {
        bool has_point = point < length;
        int behind = has_point ? std::min(static_cast<int>(length - point) - 1, 15) : 0;
        if (behind < decimals) {
            // The digits before the point count against those to be restored: 2 shows as 2.00, 12 as 12.0.
            int shown = behind + static_cast<int>(point);
            int zeros = std::min(decimals, digits) - shown + (has_point ? 0 : 1);
            if (zeros > 0) {
                if (!has_point) text[length++] = '.';
                std::memset(text + length, '0', static_cast<size_t>(zeros));
                length += static_cast<size_t>(zeros);
            }
        }
    }
    text[length] = '\0';
    return {text, length};
}

std::string_view rx_number_text(double number, int decimals, rx_number_buffer &buffer) {
    return rx_number_text_at(number, decimals, rx_numeric->digits, buffer);
}
