// Conversions between characters, digits of a base and numbers, and DATATYPE.
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "platform/strings.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr char digit_table[] = "0123456789ABCDEF";

/// Each byte in `digits` digits of `bits` bits.
rx_value spell_bytes(std::string_view bytes, unsigned digits, unsigned bits) {
    rx_value result = bu_string(bytes.size() * digits);
    char *out = rx_bytes(result);
    for (char c : bytes)
        for (unsigned i = digits; i--;)
            *out++ = digit_table[(static_cast<unsigned char>(c) >> (i * bits)) & ((1u << bits) - 1)];
    return result;
}

/// The string without its first `count` bytes.
rx_value without_first(rx_value string, size_t count) {
    return count ? rx_string(string.text().substr(count)) : std::move(string);
}

/// The count of characters that aren't blanks.
size_t count_digits(std::string_view text) {
    return text.size() - static_cast<size_t>(std::count(text.begin(), text.end(), ' '));
}

/// The bytes of a hexadecimal argument.
std::string hex_argument(bu_args &args) {
    std::string bytes;
    if (!rx_hex_to_bytes(args.text(0), bytes)) args.fail(0, "invalid hexadecimal string.");
    return bytes;
}

/// C2D and X2D: the number in the last `n` digits of `bits` bits each, without n (`has_n`) in all of them, unsigned.
rx_value number_of_digits(bu_args &args, uint64_t value, size_t n, bool has_n, unsigned bits) {
    double result = static_cast<double>(value);
    if (has_n && n * bits <= 32) {
        uint64_t range = uint64_t{1} << (n * bits);
        value &= range - 1;
        bool negative = n > 0 && (value & range / 2);
        result = negative ? static_cast<double>(value) - static_cast<double>(range) : static_cast<double>(value);
    }
    if (result != 0 && 1 + std::floor(std::log10(std::fabs(result))) > rx_numeric->digits)
        args.fail(0, "value too big according to the current NUMERIC DIGITS setting.");
    return bu_number(result);
}

/// D2C and D2X: the digits of a whole number in two's complement, each of `range` (256 or 16) values, the highest
/// first. The number goes down by exact division, so that it can be any whole double.
rx_value digits_of_number(bu_args &args, double range) {
    double number = args.number(0, "argument 1 must be a whole number.");
    if (!rx_is_whole(number) || !std::isfinite(number)) args.fail(0, "argument 1 must be a whole number.");
    size_t n = 0;
    if (args.given(1)) {
        n = args.size(1, BU_CAPPED);
    } else if (number < 0) {
        args.fail(1, "argument 2 must be supplied when argument 1 is negative.");
    }
    std::string low_first;
    for (double rest = number; rest != 0 && rest != -1 && !(args.given(1) && low_first.size() >= n);) {
        double next = std::floor(rest / range);
        low_first += static_cast<char>(static_cast<int>(rest - next * range));
        rest = next;
    }
    if (!args.given(1)) n = std::max<size_t>(low_first.size(), 1);
    char fill = number < 0 ? static_cast<char>(static_cast<int>(range) - 1) : '\0';
    rx_value result = bu_string(n);
    char *out = rx_bytes(result);
    for (size_t i = n; i--;) *out++ = i < low_first.size() ? low_first[i] : fill;
    return result;
}

/// True when the text isn't empty and all of its bytes pass.
template <class Test> bool all_of(std::string_view text, Test test) {
    return !text.empty() && std::all_of(text.begin(), text.end(), test);
}

/// The test of DATATYPE for a type; `valid` turns false for an unknown one.
bool has_type(bu_args &args, char type, bool &valid) {
    std::string_view text = args.text(0);
    rx_value number;
    std::string bytes;
    switch (type) {
    case 'a': return all_of(text, [](char c) { return rx_is_letter(c) || rx_is_digit(c); });
    case 'b': return all_of(text, [](char c) { return c == '0' || c == '1'; });
    case 'l': return all_of(text, [](char c) { return c >= 'a' && c <= 'z'; });
    case 'm': return all_of(text, rx_is_letter);
    case 'n': return rx_number_of(args.values[0], number);
    case 's': return bu_is_symbol(text);
    case 'u': return all_of(text, [](char c) { return c >= 'A' && c <= 'Z'; });
    case 'w':
        return rx_number_of(args.values[0], number) && rx_is_whole(number.real) &&
               std::fabs(number.real) < std::pow(10.0, rx_numeric->digits);
    case 'x': return rx_hex_to_bytes(text, bytes);
    default: valid = false; return false;
    }
}

} // namespace

/// b2x(string)
/// The binary digits as hexadecimal ones.
/// Result: string
/// Errors: 40 for a wrong count, a text that isn't binary
/// Example: b2x('101 1100') -> 5C
rx_value bu_b2x(const rx_expr *list) {
    bu_args args(list, "B2X", 1, 1, "must receive 1 argument.");
    std::string_view text = args.text(0);
    std::string bytes;
    if (!rx_bin_to_bytes(text, bytes)) args.fail(0, "invalid binary string.");
    size_t digits = (count_digits(text) + 3) / 4;
    return without_first(spell_bytes(bytes, 2, 4), bytes.size() * 2 - digits);
}

/// c2d(string, [n])
/// The number in the bytes, at most four: unsigned, or with n the signed number in the last n bytes.
/// Result: number
/// Errors: 40 for a wrong count, more than 4 bytes, an n that isn't whole and 0 or more, a number with more digits than
/// NUMERIC DIGITS
/// Example: c2d('ff'x, 1) -> -1
rx_value bu_c2d(const rx_expr *list) {
    bu_args args(list, "C2D", 1, 2, "must receive 1 or 2 arguments.");
    std::string_view bytes = args.text(0);
    if (bytes.size() > 4) args.fail(0, "first argument maximum value is \"FFFFFFFF\".");
    uint64_t value = 0;
    for (char c : bytes) value = value << 8 | static_cast<unsigned char>(c);
    return number_of_digits(args, value, args.size(1, BU_EXACT), args.given(1), 8);
}

/// c2o(string)
/// Three octal digits for each byte.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: c2o('A') -> 101
rx_value bu_c2o(const rx_expr *list) {
    bu_args args(list, "C2O", 1, 1, "must receive 1 argument.");
    return spell_bytes(args.text(0), 3, 3);
}

/// c2x(string)
/// Two hexadecimal digits for each byte.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: c2x('Az') -> 417A
rx_value bu_c2x(const rx_expr *list) {
    bu_args args(list, "C2X", 1, 1, "must receive 1 argument.");
    return spell_bytes(args.text(0), 2, 4);
}

/// d2c(number, [n])
/// The bytes of a whole number: as few as hold it, or exactly n in two's complement, cut at the left.
/// Result: string
/// Errors: 40 for a wrong count, a number that isn't whole, an n that isn't whole and 0 or more, a negative number
/// without n
/// Example: c2x(d2c(-2, 2)) -> FFFE
rx_value bu_d2c(const rx_expr *list) {
    bu_args args(list, "D2C", 1, 2, "must receive 1 or 2 arguments.");
    return digits_of_number(args, 256);
}

/// d2x(number, [n])
/// The hexadecimal digits of a whole number: as few as hold it, or exactly n in two's complement, cut at the left.
/// Result: string
/// Errors: 40 for a wrong count, a number that isn't whole, an n that isn't whole and 0 or more, a negative number
/// without n
/// Example: d2x(129, 4) -> 0081
rx_value bu_d2x(const rx_expr *list) {
    bu_args args(list, "D2X", 1, 2, "must receive 1 or 2 arguments.");
    rx_value result = digits_of_number(args, 16);
    char *bytes = rx_bytes(result);
    for (size_t i = 0; i < result.length; i++) bytes[i] = digit_table[bytes[i] & 15];
    return result;
}

/// datatype(string, [type])
/// "NUM" for a number, else "CHAR". With a type 1 when the text is of it, else 0: A letters and digits, B binary
/// digits, L lower case, M letters, N a number, S a symbol, U upper case, W a whole number, X hexadecimal.
/// Result: string, with a type a number
/// Errors: 40 for a wrong count, another type
/// Example: datatype('1e3', 'W') -> 1
rx_value bu_datatype(const rx_expr *list) {
    bu_args args(list, "DATATYPE");
    args.expect(1, 2, 1, "must receive 1 or 2 arguments.");
    if (!args.given(1)) {
        rx_value number;
        return rx_string(rx_number_of(args.values[0], number) ? "NUM" : "CHAR");
    }
    bool valid = true, result = has_type(args, args.option(1, 0), valid);
    if (!valid) args.fail(1, "argument 2 must start with A|B|L|N|S|U|W|X.");
    return bu_number(result);
}

/// x2b(string)
/// Four binary digits for each hexadecimal one.
/// Result: string
/// Errors: 40 for a wrong count, a text that isn't hexadecimal
/// Example: x2b('7c') -> 01111100
rx_value bu_x2b(const rx_expr *list) {
    bu_args args(list, "X2B", 1, 1, "must receive 1 argument.");
    std::string bytes = hex_argument(args);
    return without_first(spell_bytes(bytes, 8, 1), count_digits(args.text(0)) % 2 * 4);
}

/// x2c(string)
/// The bytes of the hexadecimal digits.
/// Result: string
/// Errors: 40 for a wrong count, a text that isn't hexadecimal
/// Example: x2c('48 69') -> Hi
rx_value bu_x2c(const rx_expr *list) {
    bu_args args(list, "X2C", 1, 1, "must receive 1 argument.");
    return rx_string(hex_argument(args));
}

/// x2d(string, [n])
/// The number in the hexadecimal digits, at most 32 bits: unsigned, or with n the signed number in the last n digits.
/// Result: number
/// Errors: 40 for a wrong count, a text that isn't hexadecimal, more than 32 bits, an n that isn't whole and 0 or more,
/// a number with more digits than NUMERIC DIGITS
/// Example: x2d('f81', 3) -> -127
rx_value bu_x2d(const rx_expr *list) {
    bu_args args(list, "X2D", 1, 2, "must receive 1 or 2 arguments.");
    std::string bytes = hex_argument(args);
    uint64_t value = 0;
    for (char c : bytes) {
        value = value << 8 | static_cast<unsigned char>(c);
        if (value > 0xffffffff) args.fail(0, "first argument overflow.");
    }
    return number_of_digits(args, value, args.size(1, BU_EXACT), args.given(1), 4);
}
