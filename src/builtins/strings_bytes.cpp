// String functions that map bytes to bytes.
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "platform/strings.h"

#include <algorithm>
#include <array>

namespace {

/// BITAND, BITOR and BITXOR. Alone, an argument comes back as it is.
template <class Combine> rx_value combine(const rx_expr *list, Combine of) {
    bu_args args(list, "BITxxx", 1, 3, "must receive 1 to 3 arguments.");
    if (!args.given(1) && !args.given(2)) return rx_copy_value(args.values[0]);
    bool padded = args.given(2);
    if (padded && args.text(2).size() != 1) args.fail(2, "the padding expression must be one character wide");
    char pad = padded ? args.text(2)[0] : '\0';
    std::string_view shorter = args.text(0), longer = args.text(1);
    if (shorter.size() > longer.size()) std::swap(shorter, longer);
    rx_value result = bu_string(longer.size());
    char *out = rx_bytes(result);
    for (size_t i = 0; i < shorter.size(); i++) out[i] = static_cast<char>(of(shorter[i], longer[i]));
    for (size_t i = shorter.size(); i < longer.size(); i++)
        out[i] = padded ? static_cast<char>(of(longer[i], pad)) : longer[i];
    return result;
}

/// True for the letters, digits and signs that make a word for UPPERW.
constexpr std::array<bool, 256> word_bytes = [] {
    std::array<bool, 256> set{};
    for (size_t c = 0; c < 128; c++) set[c] = rx_is_letter(static_cast<char>(c)) || rx_is_digit(static_cast<char>(c));
    for (unsigned char c : {'$', '_', '\xE2', '\xE9', '\xEE', '\xF4', '\xFB', '\xEA', '\xE8', '\xF9', '\xE7', '\xE0'})
        set[c] = true;
    return set;
}();

} // namespace

/// bitand(one, [two], [pad])
/// The bytes of both texts combined by AND. The longer text's rest is combined with the pad, or kept without one.
/// Result: string
/// Errors: 40 for a wrong count, a pad that isn't one byte
/// Example: c2x(bitand('73'x, '27'x)) -> 23
rx_value bu_bitand(const rx_expr *list) {
    return combine(list, [](char a, char b) { return a & b; });
}

/// bitor(one, [two], [pad])
/// The bytes of both texts combined by OR. The longer text's rest is combined with the pad, or kept without one.
/// Result: string
/// Errors: 40 for a wrong count, a pad that isn't one byte
/// Example: c2x(bitor('15'x, '24'x)) -> 35
rx_value bu_bitor(const rx_expr *list) {
    return combine(list, [](char a, char b) { return a | b; });
}

/// bitxor(one, [two], [pad])
/// The bytes of both texts combined by exclusive OR. The longer text's rest is combined with the pad, or kept without
/// one.
/// Result: string
/// Errors: 40 for a wrong count, a pad that isn't one byte
/// Example: c2x(bitxor('1211'x, '22'x, 'ff'x)) -> 30EE
rx_value bu_bitxor(const rx_expr *list) {
    return combine(list, [](char a, char b) { return a ^ b; });
}

/// lower(string)
/// The text with ASCII capitals folded to lower case.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: lower('AbC') -> abc
rx_value bu_lower(const rx_expr *list) {
    bu_args args(list, "LOWER", 1, 1, "must receive 1 argument.");
    rx_value result = args.take_text(0);
    rx_lower(rx_bytes(result), result.length);
    return result;
}

/// translate(string, [output], [input], [pad])
/// The text with each byte that stands in the input table replaced by the byte at the same place of the output table,
/// or by the pad behind its end. Without an input table all 256 bytes stand in order; without both tables the text is
/// folded to upper case.
/// Result: string
/// Errors: 40 for a wrong count, a pad that isn't one byte
/// Example: translate('abcd', '12', 'abc', '.') -> 12.d
rx_value bu_translate(const rx_expr *list) {
    bu_args args(list, "TRANSLATE");
    args.require(0, "argument 1 missing.");
    args.expect(1, 4, 1, "up to 4 arguments allowed.");
    args.name = "SUBSTR";
    char pad = args.pad(3);
    if (!args.given(1) && !args.given(2)) {
        rx_value result = args.take_text(0);
        rx_upper(rx_bytes(result), result.length);
        return result;
    }
    std::string_view text = args.text(0), output = args.text(1);
    std::array<char, 256> table;
    for (size_t i = 0; i < table.size(); i++) table[i] = static_cast<char>(i);
    std::string_view all(table.data(), table.size()), input = args.text_or(2, all);
    // From the end, so that the first of several equal input bytes stays in force.
    std::array<char, 256> map = table;
    for (size_t i = input.size(); i--;) map[static_cast<unsigned char>(input[i])] = i < output.size() ? output[i] : pad;
    rx_value result = bu_string(text.size());
    char *out = rx_bytes(result);
    for (char c : text) *out++ = map[static_cast<unsigned char>(c)];
    return result;
}

/// upper(string)
/// The text with ASCII lower-case letters folded to capitals.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: upper('AbC') -> ABC
rx_value bu_upper(const rx_expr *list) {
    bu_args args(list, "UPPER", 1, 1, "must receive 1 argument.");
    rx_value result = args.take_text(0);
    rx_upper(rx_bytes(result), result.length);
    return result;
}

/// upperw(string)
/// The text in lower case with the first letter of each word as a capital. Words are made of letters, digits, "$", "_"
/// and ten accented letters of Latin-1, which aren't folded themselves.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: upperw('the QUICK fox') -> The Quick Fox
rx_value bu_upperw(const rx_expr *list) {
    bu_args args(list, "UPPER", 1, 1, "must receive 1 argument.");
    rx_value result = args.take_text(0);
    char *bytes = rx_bytes(result);
    rx_lower(bytes, result.length);
    bool inside = false;
    for (size_t i = 0; i < result.length; i++) {
        if (!inside) bytes[i] = rx_upper_byte(bytes[i]);
        inside = word_bytes[static_cast<unsigned char>(bytes[i])];
    }
    return result;
}

/// xrange([start], [end])
/// All bytes from start (00) to end (FF), going on at 00 behind FF when end is below start.
/// Result: string
/// Errors: 40 for a wrong count, a start or an end that isn't one byte
/// Example: xrange('a', 'f') -> abcdef
rx_value bu_xrange(const rx_expr *list) {
    bu_args args(list, "XRANGE");
    args.expect(0, 2, 0, "up to 2 arguments allowed.");
    unsigned ends[2] = {0, 255};
    for (size_t i = 0; i < 2; i++) {
        if (!args.given(i)) continue;
        if (args.text(i).size() != 1) args.fail(i, i == 0 ? "argument 1 is invalid." : "argument 2 is invalid.");
        ends[i] = static_cast<unsigned char>(args.text(i)[0]);
    }
    rx_value result = bu_string(((ends[1] - ends[0]) & 255) + 1);
    for (unsigned i = 0; i < result.length; i++) rx_bytes(result)[i] = static_cast<char>(ends[0] + i);
    return result;
}
