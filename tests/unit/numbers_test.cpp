#include "base/raise.h"
#include "values/numbers.h"
#include "values/rounding.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

/// Sets NUMERIC for one test.
struct numeric_settings {
    explicit numeric_settings(int digits, int fuzz = 0, int form = 0) {
        rx_numeric->digits = digits;
        rx_numeric->fuzz = fuzz;
        rx_numeric->form = form;
    }
    ~numeric_settings() { *rx_numeric = {}; }
};

std::string text_of(double number, int decimals = 0) {
    rx_number_buffer buffer;
    return std::string(rx_number_text(number, decimals, buffer));
}

/// The text of a string after it was used as a number.
std::string through_number(const char *text) {
    rx_value value = rx_string(text);
    EXPECT_TRUE(rx_is_number(value)) << text;
    return text_of(value.real, value.decimals);
}

/// The extra text of the error that the call raises, behind its number.
template <class F> std::string error_of(F call) {
    try {
        call();
    } catch (rx_jmp_syntax &) {
        return std::to_string(rx_error.number) + " " + rx_error.extra;
    }
    return "none";
}

double printed_and_read(double number, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*g", digits, number);
    return std::strtod(text, nullptr);
}

/// Doubles that rounding could get wrong: any bit pattern, everyday sizes, decimal ties and their neighbours, powers of
/// ten and theirs.
std::vector<double> difficult_numbers(size_t count) {
    std::mt19937_64 random(20);
    std::vector<double> numbers = {0.0,
                                   -0.0,
                                   5e-324,
                                   -5e-324,
                                   2.2250738585072014e-308,
                                   1.7976931348623157e308,
                                   0.5,
                                   2.5,
                                   0.125,
                                   9.5,
                                   99.5,
                                   999999999.5,
                                   4503599627370495.5,
                                   1e22,
                                   1e23,
                                   1e-22,
                                   1e-23,
                                   1e15,
                                   1e16,
                                   9007199254740993.0,
                                   0.1 + 0.2};
    for (int exponent = -320; exponent <= 308; exponent++) {
        double power = std::strtod(("1e" + std::to_string(exponent)).c_str(), nullptr);
        double below = power, above = power;
        for (int i = 0; i < 3; i++) {
            numbers.push_back(below);
            numbers.push_back(-above);
            below = std::nextafter(below, 0.0);
            above = std::nextafter(above, HUGE_VAL);
        }
    }
    while (numbers.size() < count) {
        numbers.push_back(std::bit_cast<double>(random()));
        numbers.push_back(std::ldexp(static_cast<double>(random() >> 11), -20 - static_cast<int>(random() % 80)));
        // d.dd5 at some precision, as a double comes to it, and its two neighbours.
        int figures = 1 + static_cast<int>(random() % 15);
        auto whole = static_cast<long long>(random() % static_cast<uint64_t>(std::pow(10.0, figures)));
        double tie = std::strtod((std::to_string(whole) + "5e-" + std::to_string(random() % 25)).c_str(), nullptr);
        numbers.insert(numbers.end(), {tie, std::nextafter(tie, 0.0), -std::nextafter(tie, HUGE_VAL)});
        // A tie that is exact in binary.
        numbers.push_back(
            std::ldexp(static_cast<double>(2 * (random() % 100000) + 1), -static_cast<int>(random() % 16)));
    }
    return numbers;
}

TEST(rounding, has_the_bits_of_print_and_read_back) {
    size_t wrong = 0;
    int digits = 1;
    for (double number : difficult_numbers(1500000)) {
        digits = digits % 14 + 1;
        double expected = rx_is_whole(number) ? number : printed_and_read(number, digits);
        double rounded = rx_round_digits(number, digits);
        if (digits < 15 && !rx_is_whole(number)) {
            double inlined = rx_round_inline(number, digits);
            if (inlined != rounded && !std::isnan(number) && ++wrong < 10)
                ADD_FAILURE() << std::hexfloat << number << " inline at " << digits;
        }
        bool same = std::bit_cast<uint64_t>(rounded) == std::bit_cast<uint64_t>(expected) ||
                    (std::isnan(rounded) && std::isnan(expected));
        if (!same && ++wrong < 10) ADD_FAILURE() << std::hexfloat << number << " at " << digits << ": " << rounded;
    }
    EXPECT_EQ(wrong, 0u);
}

TEST(rounding, leaves_whole_numbers_and_fifteen_digits_alone) {
    EXPECT_EQ(rx_round_digits(1234567890123.0, 3), 1234567890123.0);
    EXPECT_EQ(rx_round_digits(-HUGE_VAL, 3), -HUGE_VAL);
    EXPECT_EQ(rx_round_digits(0.1 + 0.2, 15), 0.1 + 0.2);
    EXPECT_EQ(rx_round_digits(0.1 + 0.2, 14), 0.3);
    EXPECT_TRUE(std::signbit(rx_round_digits(-0.0, 9)));
}

TEST(rounding, to_the_nearest_whole_number) {
    EXPECT_EQ(rx_round_nearest(2.5), 3);
    EXPECT_EQ(rx_round_nearest(-2.5), -2);
    EXPECT_EQ(rx_round_nearest(-2.6), -3);
    EXPECT_EQ(rx_round_nearest(0.49999999999999994), 0);
    EXPECT_EQ(rx_round_nearest(9007199254740993.0), 9007199254740993.0);
    EXPECT_EQ(rx_to_int(-1.9), -1);
    EXPECT_EQ(rx_to_int(1e10), std::numeric_limits<int>::max());
    EXPECT_EQ(rx_to_int(-1e10), std::numeric_limits<int>::min());
    EXPECT_EQ(rx_to_int(std::nan("")), 0);
}

TEST(number_text, is_that_of_the_print_formatter) {
    size_t wrong = 0;
    int digits = 1;
    for (double number : difficult_numbers(1000000)) {
        digits = digits % 15 + 1;
        if (number == HUGE_VAL) continue;
        char text[64];
        std::snprintf(text, sizeof text, "%.*G", digits, number);
        std::string expected = text;
        size_t letter = expected.find('E');
        if (letter != expected.npos && expected[letter + 2] == '0') expected.erase(letter + 2, 1);
        numeric_settings numeric(digits);
        std::string spelled = text_of(number);
        if (spelled != expected && ++wrong < 10) ADD_FAILURE() << spelled << " instead of " << expected;
    }
    EXPECT_EQ(wrong, 0u);
}

TEST(number_text, spells_what_is_special) {
    EXPECT_EQ(text_of(-0.0), "-0");
    EXPECT_EQ(text_of(1234567890), "1.23456789E+9");
    EXPECT_EQ(text_of(1e100), "1E+100");
    EXPECT_EQ(text_of(-HUGE_VAL), "-INF");
    EXPECT_EQ(text_of(std::copysign(std::nan(""), 1.0)), "NAN");
    EXPECT_EQ(error_of([] { text_of(HUGE_VAL); }), "42 ");
    EXPECT_EQ(text_of(0.1 + 0.2), "0.3");
    numeric_settings numeric(15);
    EXPECT_EQ(text_of(0.1 + 0.2), "0.3");
    EXPECT_EQ(text_of(999999999999999.0), "999999999999999");
    EXPECT_EQ(text_of(1e15), "1E+15");
}

TEST(number_text, restores_decimals) {
    EXPECT_EQ(text_of(2, 2), "2.00");
    EXPECT_EQ(text_of(12, 2), "12.0");
    EXPECT_EQ(text_of(123, 2), "123");
    EXPECT_EQ(text_of(2.5, 2), "2.5");
    EXPECT_EQ(text_of(-2, 2), "-2.0"); // the sign counts as a digit before the point
    EXPECT_EQ(text_of(2.5, 4), "2.500");
    EXPECT_EQ(text_of(2, -1), "2");
    EXPECT_EQ(text_of(0, 20), "0.000000000"); // as many as the setting has digits
    EXPECT_EQ(text_of(1e10, 5), "1E+10");
    numeric_settings numeric(3);
    EXPECT_EQ(text_of(2.5, 14), "2.50");
    EXPECT_EQ(text_of(123, 14), "123.0");
}

TEST(number_text, in_engineering_form) {
    numeric_settings numeric(9, 0, 1);
    EXPECT_EQ(text_of(12345678900.0), "12.3456789E9");
    EXPECT_EQ(text_of(1.5e9), "1.5E+9");
    EXPECT_EQ(text_of(1.5e-9), "1.5E-9");
    EXPECT_EQ(text_of(1e11), "100E9");
    EXPECT_EQ(text_of(-1e-5, -1), "-10E-6");
    EXPECT_EQ(text_of(0.000012345), "12.345E-6");
    EXPECT_EQ(text_of(0.000012345, 9), "1.2345E-5"); // digits to restore come before the form
    EXPECT_EQ(text_of(1.5e-103), "150E-105");
    rx_numeric->digits = 1;
    EXPECT_EQ(text_of(100), "1E+02E0"); // the multiplied mantissa has no room
    EXPECT_EQ(text_of(10), "1E+01E0");
    rx_numeric->digits = 2;
    EXPECT_EQ(text_of(123), "1.2E+02E0");
}

TEST(number_scan, takes_what_looks_like_a_number) {
    struct {
        const char *text;
        double number;
    } rows[] = {
        {"12", 12},
        {"  +12  ", 12},
        {"-7.25", -7.25},
        {".5", 0.5},
        {"5.", 5},
        {"-.5", -0.5},
        {"- 5", -5},
        {"+  5", 5},
        {". 5", 0.5},
        {"1E- 5", 1e-5},
        {"-1E+5", -1e5},
        {"+1e-5", 1e-5},
        {"1e", 1},
        {"5E", 5},
        {"1.E3", 1000},
        {"1E5+3", 1e5},
        {"1E+5-3", 1e5},
        {"1E+-5", 1},
        {"1E-+5", 1},
        {"1E-  5", 1e-5},
        {"007", 7},
        {"1E-999", 0},
        {"4.9E-324", 5e-324},
        {"00000000000000000000000012.50", 12.5},
        {"0.30000000000000004", 0.1 + 0.2},
        {"123456789012345678", 123456789012345678.0},
        {"9007199254740993", 9007199254740992.0},
        {"-1E999", -HUGE_VAL},
    };
    for (auto &row : rows) {
        double number = -1;
        EXPECT_TRUE(rx_scan_number(row.text, number)) << row.text;
        EXPECT_EQ(number, row.number) << row.text;
    }
    double zero = 0;
    EXPECT_TRUE(rx_scan_number("-0", zero) && std::signbit(zero));
}

TEST(number_scan, refuses_the_rest) {
    for (const char *text :
         {"",     " ",     "   ",   ".",     "E",   "+",   "-",    "+.",    "-.",    "1 2",  "1E+ 5",
          "1E 5", "1 E5",  "1 .5",  "--5",   "++5", "+-5", "-+5",  "-1E-5", "+1E+5", "1-",   "1+",
          "1-2",  "1.2.3", "1E1.5", "1E1E1", "E5",  ".E5", "-E5",  "E",     "1E999", "0x10", "INF",
          "NAN",  "1d5",   "\t1",   "1\n",   "1E+", "1E-", "12,5", "1_0",   "\xb2",  "five", "1E5-3+2-"}) {
        double number = 77;
        EXPECT_FALSE(rx_scan_number(text, number)) << '"' << text << '"';
        EXPECT_EQ(number, 77) << '"' << text << '"';
    }
    double number;
    EXPECT_FALSE(rx_scan_number(std::string_view("1\0", 2), number));
}

TEST(number_scan, reads_the_nearest_double) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 200000; i++) {
        std::string text(1 + random() % 19, ' ');
        for (char &c : text) c = static_cast<char>('0' + random() % 10);
        if (random() % 2) text.insert(random() % text.size(), ".");
        if (random() % 8 == 0) text += "E" + std::to_string(random() % 330);
        if (random() % 8 == 0) text.insert(0, random() % 9, '0');
        double expected = std::strtod(text.c_str(), nullptr), number = 0;
        bool finite = expected != HUGE_VAL;
        ASSERT_EQ(rx_scan_number(" " + text + "  ", number), finite) << text;
        if (finite) {
            ASSERT_EQ(std::bit_cast<uint64_t>(number), std::bit_cast<uint64_t>(expected)) << text;
        }
    }
}

TEST(number_scan, what_is_known_to_be_rounded_is) {
    std::mt19937_64 random(4);
    int known = 0;
    for (int i = 0; i < 100000; i++) {
        std::string text = std::to_string(random() % 1000000000000000 >> random() % 50);
        text = text.size() > 1 ? text.insert(1, ".") : "0." + std::string(random() % 20, '0') + text;
        rx_value number;
        ASSERT_TRUE(rx_number_of(rx_string(text), number));
        if (number.rounded == 0) continue;
        known++;
        for (int digits = number.rounded; digits < 15; digits++)
            ASSERT_EQ(rx_round_digits(number.real, digits), number.real) << text << " at " << digits;
    }
    EXPECT_GT(known, 50000);
}

TEST(number_scan, counts_decimals) {
    EXPECT_EQ(rx_count_decimals("1.50"), 2);
    EXPECT_EQ(rx_count_decimals("1.500E2"), 0);
    EXPECT_EQ(rx_count_decimals("1E2"), 0);
    EXPECT_EQ(rx_count_decimals("1."), 0);
    EXPECT_EQ(rx_count_decimals("12"), 0);
    EXPECT_EQ(rx_count_decimals(""), 0);
    EXPECT_EQ(rx_count_decimals("0.12345678901234567890"), 15);
    // Both roads of the scan count alike, trailing blanks included.
    for (const char *text :
         {"1.50", "1.50 ", " 1.", "- 1.5", "1.234567890123456789", ".5  ", "1.5E0", "0.12345678901234567"}) {
        rx_value number;
        ASSERT_TRUE(rx_number_of(rx_string(text), number));
        EXPECT_EQ(number.decimals, rx_count_decimals(text)) << text;
    }
}

TEST(value_conversion, a_string_turns_into_a_number) {
    EXPECT_EQ(through_number("  +12  "), "12");
    EXPECT_EQ(through_number("007"), "7");
    EXPECT_EQ(through_number("1.500"), "1.50");
    EXPECT_EQ(through_number("1.50"), "1.5");
    EXPECT_EQ(through_number("2.00"), "2.00");
    rx_value text = rx_string("a text that is too long to live inside the record");
    EXPECT_FALSE(rx_is_number(text));
    EXPECT_EQ(text.text(), "a text that is too long to live inside the record");
    rx_value none;
    EXPECT_FALSE(rx_is_number(none));
    EXPECT_EQ(rx_to_string(rx_number(1.5)).text(), "1.5");
    EXPECT_EQ(rx_to_string(rx_value()).text(), "");
    EXPECT_EQ(rx_int_text(-2147483648), "-2147483648");
}

TEST(value_conversion, a_condition_is_cut_to_an_integer) {
    bool truth = false;
    EXPECT_TRUE(rx_logical(rx_number(1.5), truth) && truth);
    EXPECT_TRUE(rx_logical(rx_number(-0.5), truth) && !truth);
    EXPECT_TRUE(rx_logical(rx_string(" 1 "), truth) && truth);
    EXPECT_TRUE(rx_logical(rx_number(0.99999999999), truth) && truth); // rounds to 1 before it is cut
    EXPECT_FALSE(rx_logical(rx_number(2), truth));
    EXPECT_FALSE(rx_logical(rx_number(1.9999999999), truth));
    EXPECT_FALSE(rx_logical(rx_number(-1), truth));
    EXPECT_FALSE(rx_logical(rx_string("yes"), truth));
    EXPECT_FALSE(rx_logical(rx_value(), truth));
}

TEST(value_conversion, only_blanks_are_trimmed) {
    EXPECT_EQ(rx_trim_text("  a b "), "a b");
    EXPECT_EQ(rx_trim_text("\ta\t"), "\ta\t");
    EXPECT_EQ(rx_trim_text("    "), "");
    EXPECT_EQ(rx_trim_text(""), "");
}

TEST(digit_strings, hexadecimal) {
    std::string bytes = "before";
    EXPECT_TRUE(rx_hex_to_bytes("", bytes));
    EXPECT_EQ(bytes, "");
    EXPECT_TRUE(rx_hex_to_bytes("1 aB  00", bytes));
    EXPECT_EQ(bytes, std::string("\x01\xab\0", 3));
    EXPECT_TRUE(rx_hex_to_bytes("f", bytes, true));
    EXPECT_EQ(bytes, "\xff");
    EXPECT_TRUE(rx_hex_to_bytes("12", bytes, true));
    EXPECT_EQ(bytes, "\x12");
    for (const char *text : {" 12", "12 ", " ", "1 2", "12 3", "1g", "g", "1\t2", "123 4"})
        EXPECT_FALSE(rx_hex_to_bytes(text, bytes)) << text;
    EXPECT_EQ(bytes, "\x12");
}

TEST(digit_strings, binary) {
    std::string bytes;
    EXPECT_TRUE(rx_bin_to_bytes("", bytes));
    EXPECT_EQ(bytes, "");
    EXPECT_TRUE(rx_bin_to_bytes("1 0000 11110000", bytes));
    EXPECT_EQ(bytes, std::string("\x10\xf0", 2));
    EXPECT_TRUE(rx_bin_to_bytes("0100 0001 0100 0010", bytes));
    EXPECT_EQ(bytes, "AB");
    EXPECT_TRUE(rx_bin_to_bytes("100000101000010", bytes));
    EXPECT_EQ(bytes, "AB");
    for (const char *text : {" 1", "1 ", "2", "1 1", "1 000", "0000 00000", "0000 1 0000", "1111 000000000000", "1x"})
        EXPECT_FALSE(rx_bin_to_bytes(text, bytes)) << text;
}

TEST(numeric_instruction, checks_digits) {
    numeric_settings numeric(9, 4);
    rx_numeric_digits(rx_number(12));
    EXPECT_EQ(rx_numeric->digits, 12);
    rx_numeric_digits(rx_string(" 5 "));
    EXPECT_EQ(rx_numeric->digits, 5);
    EXPECT_EQ(error_of([] { rx_numeric_digits(rx_string("abc")); }), "26 Expression evaluates to \"abc\"");
    EXPECT_EQ(error_of([] { rx_numeric_digits(rx_number(16)); }),
              "26 Expression evaluates to \"16\"; must be a positive integer <= 15.");
    EXPECT_EQ(error_of([] { rx_numeric_digits(rx_number(2.5)); }),
              "26 Expression evaluates to \"2.5\"; must be a positive integer <= 15.");
    EXPECT_EQ(error_of([] { rx_numeric_digits(rx_number(-1e10)); }),
              "26 Expression evaluates to \"-1e+10\"; must be a positive integer <= 15.");
    EXPECT_EQ(
        error_of([] { rx_numeric_digits(rx_number(4)); }),
        "26 Expression evaluates to \"4\"; must be a positive integer > to the current \"4\" NUMERIC DIGITS setting.");
    EXPECT_EQ(rx_numeric->digits, 5);
    rx_numeric_digits(rx_value());
    EXPECT_EQ(rx_numeric->digits, 9);
}

TEST(numeric_instruction, checks_fuzz_and_form) {
    numeric_settings numeric(9);
    rx_numeric_fuzz(rx_number(8));
    EXPECT_EQ(rx_numeric->fuzz, 8);
    EXPECT_EQ(error_of([] { rx_numeric_fuzz(rx_number(9)); }),
              "26 Expression evaluates to \"9\"; must be a positive integer < 9.");
    EXPECT_EQ(error_of([] { rx_numeric_fuzz(rx_number(-1)); }),
              "26 Expression evaluates to \"-1\"; must be a positive integer < 9.");
    EXPECT_EQ(error_of([] { rx_numeric_fuzz(rx_string("")); }), "26 Expression evaluates to \"\".");
    rx_numeric_fuzz(rx_value());
    EXPECT_EQ(rx_numeric->fuzz, 0);
    rx_numeric_form(rx_string("engineering"));
    EXPECT_EQ(rx_numeric->form, 1);
    EXPECT_EQ(error_of([] { rx_numeric_form(rx_number(1.5)); }), "25 Expression evaluates to \"1.5\".");
    EXPECT_EQ(error_of([] { rx_numeric_form(rx_string("SCIENTIFIC ")); }),
              "25 Expression evaluates to \"SCIENTIFIC \".");
    EXPECT_EQ(rx_numeric->form, 1);
    rx_numeric_form(rx_string("Scientific"));
    EXPECT_EQ(rx_numeric->form, 0);
}

} // namespace

TEST(known_rounding, says_one_digit_of_whole_numbers_alone) {
    auto rounded = [](std::string_view text) {
        rx_value number;
        EXPECT_TRUE(rx_number_of(rx_string(text), number)) << text;
        return int{number.rounded};
    };
    for (const char *whole : {"7", "0", "-30", "123456789012"}) EXPECT_EQ(rounded(whole), 1) << whole;
    for (const char *fraction : {"0.1", ".5", "-0.003", "2.5"}) EXPECT_GT(rounded(fraction), 1) << fraction;
}
