// String helpers that every room shares. Text is bytes: only ASCII letters are folded, NUL may occur anywhere.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

/// One byte folded, when it is an ASCII letter.
inline char rx_lower_byte(char c) {
    return static_cast<char>(c + (c >= 'A' && c <= 'Z' ? 32 : 0));
}
inline char rx_upper_byte(char c) {
    return static_cast<char>(c - (c >= 'a' && c <= 'z' ? 32 : 0));
}

/// Fold ASCII letters in place.
void rx_lower(char *text, size_t length);
void rx_upper(char *text, size_t length);

/// The folded copy.
std::string rx_lowered(std::string_view text);
std::string rx_uppered(std::string_view text);

/// True when the texts are equal without regard to the case of ASCII letters.
bool rx_equal_nocase(std::string_view a, std::string_view b);

/// Copies a text of `width` to 2 * `width` bytes: its first and its last ones, which may overlap.
template <size_t width> inline void rx_copy_ends(char *to, const char *from, size_t length) {
    char first[width], last[width];
    std::memcpy(first, from, width);
    std::memcpy(last, from + length - width, width);
    std::memcpy(to, first, width);
    std::memcpy(to + length - width, last, width);
}

/// memcpy for texts that are mostly short: the call would take longer than the copy.
inline void rx_copy_bytes(char *to, const char *from, size_t length) {
    if (length > 32)
        std::memcpy(to, from, length);
    else if (length >= 16)
        rx_copy_ends<16>(to, from, length);
    else if (length >= 8)
        rx_copy_ends<8>(to, from, length);
    else if (length >= 4)
        rx_copy_ends<4>(to, from, length);
    else
        for (size_t i = 0; i < length; i++) to[i] = from[i];
}

/// A text of up to 15 bytes as 16 bytes in registers, zeros behind it.
struct rx_short_text {
    uint64_t first = 0, second = 0;
};
inline rx_short_text rx_load_short(const char *from, size_t length) {
    rx_short_text text;
    if constexpr (std::endian::native == std::endian::little) {
        if (length >= 8) {
            uint64_t last;
            std::memcpy(&text.first, from, 8);
            std::memcpy(&last, from + length - 8, 8);
            if (length > 8) text.second = last >> (16 - length) * 8;
        } else if (length >= 4) {
            uint32_t first, last;
            std::memcpy(&first, from, 4);
            std::memcpy(&last, from + length - 4, 4);
            text.first = first | uint64_t{last} << (length - 4) * 8;
        } else {
            for (size_t i = 0; i < length; i++) text.first |= uint64_t{static_cast<unsigned char>(from[i])} << i * 8;
        }
    } else {
        std::memcpy(&text, from, length);
    }
    return text;
}

/// Two lower-case hexadecimal digits for each byte.
std::string rx_hexadecimal(std::string_view bytes);

/// The words of a text, cut at blanks only; runs of blanks give no empty words. The views point into the text.
std::vector<std::string_view> rx_split_words(std::string_view text);

/// Words cut at blanks, except that a quote of either kind holds a word together up to the next of its kind; a
/// backslash before that kind of quote or before a backslash stands for the second byte.
std::vector<std::string> rx_split_quoted(std::string_view text);

/// The pieces between separators, empty ones kept: n separators give n + 1 pieces.
std::vector<std::string_view> rx_split_at(std::string_view text, char separator);

/// Reads a decimal integer at the start of a text, behind white space, and moves the text behind it. One that is too
/// large comes out as the largest or smallest there is. False when there is none.
bool rx_scan_integer(std::string_view &text, int &number);

constexpr bool rx_is_digit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool rx_is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Letters, digits and @ # $ . ! ? _ : what a symbol is made of.
inline bool rx_is_symbol_char(char c) {
    return rx_is_letter(c) || rx_is_digit(c) || c == '@' || c == '#' || c == '$' || c == '.' || c == '!' || c == '?' ||
           c == '_';
}
