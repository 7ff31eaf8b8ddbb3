// Text to number, and the small helpers around both.
#include "values/numbers.h"

#include "platform/strings.h"
#include "values/arithmetic.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace {

/// A number read from a text, with what the record keeps besides the double.
struct scanned_number {
    double real = 0;
    int decimals = 0;
    uint8_t rounded = 0;
};

/// The texts that scripts are full of: blanks, a sign, up to 15 significant digits with or without a point, blanks.
/// Digits and power of ten are exact, so one division gives the double nearest to the text. False says nothing about
/// the text but that it is of another form.
bool scan_plain(std::string_view text, scanned_number &number) {
    const char *at = text.data(), *end = at + text.size();
    while (at < end && *at == ' ') at++;
    const char *last = end;
    while (last > at && last[-1] == ' ') last--;
    bool negative = false;
    if (at < last && (*at == '-' || *at == '+')) negative = *at++ == '-';
    // More characters than fifteen digits behind "0.000000" are a matter for the general scan.
    if (at == last || last - at > 23) return false;
    uint64_t digits = 0;
    int significant = 0;
    const char *point = nullptr;
    for (; at < last; at++) {
        unsigned digit = static_cast<unsigned char>(*at) - unsigned{'0'};
        if (digit > 9) {
            if (*at != '.' || point) return false;
            point = at;
            continue;
        }
        digits = digits * 10 + digit;
        if (digits != 0 && ++significant > 15) return false;
    }
    double size = static_cast<double>(digits);
    if (point) {
        if (last - point == 1 && (point == text.data() || !rx_is_digit(point[-1]))) return false; // a point alone
        size /= rx_tens(static_cast<int>(last - point) - 1);
        number.decimals = static_cast<int>(std::min<ptrdiff_t>(end - point - 1, 15));
    }
    number.real = negative ? -size : size;
    // 1 stands for whole numbers alone: 0.1 is said to be rounded to two digits.
    number.rounded = static_cast<uint8_t>(point ? std::max(significant, 2) : 1);
    return true;
}

/// The text, not empty, without its blanks when signs, point, exponent letter and blanks stand where they may; empty
/// otherwise.
std::string without_blanks(std::string_view text) {
    std::string work; // grows with what is accepted: most texts that come here fail at their first character
    bool plus = false, minus = false, digit = false, exponent = false, point = false;
    char previous = ' ';
    size_t last = text.size() - 1;
    while (last > 0 && text[last] == ' ') last--;
    for (size_t i = 0; i <= last; i++) {
        char c = text[i];
        if (c == ' ') {
            // Only a minus may be parted from the digits of its exponent.
            if (digit && previous != '-') return {};
            continue;
        }
        bool misplaced = false;
        switch (c) {
        case '+':
            misplaced = plus || (digit && !exponent);
            plus = true;
            break;
        case '-':
            misplaced = minus || (digit && !exponent);
            minus = true;
            break;
        case '.':
            misplaced = point || exponent;
            point = true;
            break;
        case 'E':
        case 'e':
            misplaced = exponent;
            exponent = true;
            break;
        default: misplaced = !rx_is_digit(c); digit = true;
        }
        if (misplaced) return {};
        previous = c;
        work.push_back(c);
    }
    if (previous == '+' || previous == '-') return {};
    return work;
}

bool scan_general(std::string_view text, double &number) {
    std::string work = without_blanks(text);
    const char *first = work.c_str(), *end = first + work.size();
    // std::from_chars knows no plus.
    if (*first == '+' && *++first == '-') return false;
    auto read = std::from_chars(first, end, number);
    if (read.ec == std::errc::invalid_argument) return false;
    // Too large or too small: std::strtod tells which, with the number to take.
    if (read.ec == std::errc::result_out_of_range) number = std::strtod(first, nullptr);
    return number != HUGE_VAL;
}

bool scan(std::string_view text, scanned_number &number) {
    // Most texts that are no numbers show it at once: a number begins with one of the characters from "+" to "9".
    if (text.empty() || (text[0] != ' ' && (text[0] < '+' || text[0] > '9'))) return false;
    if (scan_plain(text, number)) return true;
    number = {};
    if (!scan_general(text, number.real)) return false;
    number.decimals = rx_count_decimals(text);
    return true;
}

} // namespace

bool rx_scan_number(std::string_view text, double &number) {
    scanned_number read;
    if (!scan(text, read)) return false;
    number = read.real;
    return true;
}

int rx_count_decimals(std::string_view text) {
    size_t point = text.find('.');
    if (point == text.npos || text.find_first_of("eE", point) != text.npos) return 0;
    return static_cast<int>(std::min<size_t>(text.size() - point - 1, 15));
}

bool rx_number_of(const rx_value &value, rx_value &number) {
    if (value.is_number()) {
        number = rx_copy_value(value);
        return true;
    }
    if (value.is_none()) return false;
    scanned_number read;
    if (rx_carried_number(value, read.real))
        read.rounded = 1;
    else if (!scan(value.text(), read))
        return false;
    number = rx_number(read.real, read.decimals);
    number.rounded = read.rounded;
    return true;
}

bool rx_is_number(rx_value &value) {
    if (value.is_number()) return true;
    rx_value number;
    if (!rx_number_of(value, number)) return false;
    value = std::move(number);
    return true;
}

bool rx_carried_number(const rx_value &value, double &number) {
    if (value.carries_number()) {
        number = value.carried.number;
        return true;
    }
    if (!value.is_string() || !rx_short_integer(value.text(), number)) return false;
    if (value.storage == RX_INLINE && value.length < sizeof value.carried.text) {
        // What a value is doesn't change by this.
        auto &record = const_cast<rx_value &>(value);
        record.carried.number = number;
        record.rounded = 1;
    }
    return true;
}

namespace {

/// The three words of the record of a short text that carries its number.
struct text_words {
    uint64_t head, text, number;
};
static_assert(sizeof(text_words) == sizeof(rx_value));

/// Those of a whole number of at most seven characters.
constexpr text_words words_of(int32_t number) {
    rx_digits digits = rx_digits_of(static_cast<uint32_t>(number < 0 ? -number : number));
    uint64_t text = digits.bytes, length = digits.length;
    if (number < 0) {
        text = text << 8 | '-';
        length++;
    }
    return {length << 32 | 1u << 16 | RX_STRING, text, std::bit_cast<uint64_t>(static_cast<double>(number))};
}

/// The numbers from 0 on whose texts stand ready, for they are what is made most often.
constexpr int32_t ready_count = 1000;
constexpr auto ready_texts = [] {
    std::array<text_words, ready_count> texts{};
    for (int32_t i = 0; i < ready_count; i++) texts[static_cast<size_t>(i)] = words_of(i);
    return texts;
}();

/// Makes the record, which owns no text, that of the words.
inline void put_words(rx_value &record, const text_words &words) {
    std::memcpy(static_cast<void *>(&record), &words.head, sizeof words.head);
    std::memcpy(record.carried.text, &words.text, sizeof words.text);
    std::memcpy(&record.carried.number, &words.number, sizeof words.number);
}

/// True when the number's text is its integer part's, at most seven characters.
bool is_short(double real, int32_t decimals, int32_t &whole) {
    if (decimals > 0 || !(real > -1e6 && real < 1e7) || rx_numeric.value.digits < 7) return false;
    whole = static_cast<int32_t>(real);
    return whole == real && (whole != 0 || !std::signbit(real));
}

} // namespace

namespace {
[[gnu::noinline]] void put_long_text(rx_value &record, rx_plain plain) {
    record = rx_to_string(rx_value_of(plain));
}
} // namespace

void rx_put_number_text(rx_value &record, rx_plain plain) {
    if (plain.head == rx_whole_head && rx_is_natural_to(plain.real, ready_count - 1) && rx_numeric.value.digits >= 3 &&
        record.storage != RX_HEAP) [[likely]]
        return put_words(record, ready_texts[static_cast<size_t>(static_cast<int32_t>(plain.real))]);
    int32_t whole;
    if (record.storage != RX_HEAP && is_short(plain.real, plain.decimals(), whole)) [[likely]]
        put_words(record, words_of(whole));
    else
        put_long_text(record, plain);
}

rx_value rx_to_string(rx_value value) {
    if (value.is_string() && value.storage != RX_BORROWED) return value;
    if (int32_t whole; value.is_number() && is_short(value.real, value.decimals, whole)) {
        put_words(value, words_of(whole));
        return value;
    }
    rx_number_buffer buffer;
    return rx_string(rx_arg_text(value, buffer));
}

std::string rx_int_text(long long integer) {
    return std::to_string(integer);
}

bool rx_logical(const rx_value &value, bool &result) {
    double number;
    if (value.is_number())
        number = value.real;
    else if (value.is_none() || !rx_scan_number(value.text(), number))
        return false;
    double whole = std::trunc(rx_round_digits(number, rx_numeric->digits));
    if (whole != 0 && whole != 1) return false;
    result = whole == 1;
    return true;
}

std::string_view rx_trim_text(std::string_view text) {
    size_t first = text.find_first_not_of(' ');
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}
