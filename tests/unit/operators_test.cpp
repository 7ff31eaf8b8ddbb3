#include "base/raise.h"
#include "values/operators.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

namespace {

/// An operand: a text, or a number through the scan, so that it carries its decimals.
rx_value text(std::string_view bytes) {
    return rx_string(bytes);
}
rx_value number(const char *spelling) {
    rx_value value = rx_string(spelling);
    EXPECT_TRUE(rx_is_number(value)) << spelling;
    return value;
}

/// What SAY would show of the result; for a failure "error <number> at <word>" and the extra text.
std::string shown(rx_value value, int fault) {
    if (fault != 0) {
        EXPECT_TRUE(value.is_none());
        EXPECT_EQ(rx_error.has_extra, fault == 3);
        return "error " + std::to_string(rx_error.number) + " at " + std::to_string(fault) +
               (fault == 3 ? " " + rx_error.extra : "");
    }
    return std::string(rx_to_string(std::move(value)).text());
}

std::string apply(rx_operator_id id, const rx_value &left, const rx_value &right) {
    int fault = -1;
    rx_value result = rx_operators[id].dyadic(left, right, fault);
    return shown(std::move(result), fault);
}

std::string apply(rx_operator_id id, const rx_value &operand) {
    int fault = -1;
    rx_value result = rx_operators[id].monadic(operand, fault);
    return shown(std::move(result), fault);
}

/// Arithmetic gives the same for numbers and for texts that are numbers.
std::string arithmetic(const char *left, rx_operator_id id, const char *right) {
    std::string result = apply(id, number(left), number(right));
    EXPECT_EQ(apply(id, text(left), text(right)), result) << left << ' ' << right;
    return result;
}

bool holds(const rx_value &left, rx_operator_id id, const rx_value &right) {
    std::string result = apply(id, left, right);
    EXPECT_TRUE(result == "0" || result == "1") << result;
    return result == "1";
}

struct with_numeric {
    explicit with_numeric(int digits, int fuzz = 0) {
        rx_numeric->digits = digits;
        rx_numeric->fuzz = fuzz;
    }
    ~with_numeric() { *rx_numeric = {}; }
};

TEST(operators, table_stands_in_the_order_of_the_ids) {
    for (int id = 0; id < FX_COUNT; id++) {
        const rx_operator &row = rx_operators[id];
        EXPECT_EQ(row.id, id);
        EXPECT_EQ(std::strncmp(row.name, "fx_", 3), 0);
        bool engine = id == FX_BACKQ || id == FX_BR || id == FX_BR2;
        EXPECT_EQ((row.dyadic != nullptr) + (row.monadic != nullptr), engine ? 0 : 1) << row.name;
    }
    EXPECT_STREQ(rx_operators[FX_INFEQ].name, "fx_infeq");
    EXPECT_STREQ(rx_operators[FX_NOT].symbol, "\\");
    EXPECT_STREQ(rx_operators[FX_NNEQ].symbol, "\\==");
    EXPECT_STREQ(rx_operators[FX_CONC_NOT].symbol, "");
}

TEST(operators, sums_and_products_keep_decimals) {
    EXPECT_EQ(arithmetic("1", FX_PLUS, "1.50"), "2.5");
    EXPECT_EQ(arithmetic("1.50", FX_PLUS, "0.50"), "2.00");
    EXPECT_EQ(arithmetic("9.50", FX_PLUS, "2.50"), "12.0");
    EXPECT_EQ(arithmetic("0.00", FX_PLUS, "2"), "2"); // zero has no say
    EXPECT_EQ(arithmetic("2", FX_MIN, "0.000"), "2");
    EXPECT_EQ(arithmetic("2.00", FX_PLUS, "0"), "2.00");
    EXPECT_EQ(arithmetic("1.50", FX_MIN, "1.50"), "0");
    EXPECT_EQ(arithmetic("1.50", FX_MULT, "2"), "3.00");
    EXPECT_EQ(arithmetic("0.10", FX_MULT, "0.0"), "0.000");
    EXPECT_EQ(arithmetic("7", FX_DIV, "2.0"), "3.5");
    EXPECT_EQ(arithmetic("4.00", FX_DIV, "2.00"), "2");
    int fault;
    EXPECT_EQ(fx_mult(rx_number(1, -1), number("1.500"), fault).decimals, 2);
    rx_value product = rx_number(1, 1);
    for (int i = 0; i < 40; i++) product = fx_mult(product, product, fault); // decimals would pass 32 bits
    EXPECT_GT(product.decimals, 15);
}

TEST(operators, arithmetic_rounds_fractions_only) {
    EXPECT_EQ(arithmetic("0.1", FX_PLUS, "0.2"), "0.3");
    EXPECT_EQ(arithmetic("123456789012", FX_PLUS, "1"), "1.23456789E+11");
    int fault;
    EXPECT_EQ(fx_plus(number("123456789012"), number("1"), fault).real, 123456789013);
    EXPECT_EQ(fx_plus(number("0.1234567891234"), number("0"), fault).real, 0.123456789);
    with_numeric numeric(3);
    // The operands are rounded at four digits first: 1.23449 counts as 1.234 and the sum 1.2345 as 1.234.
    EXPECT_EQ(fx_plus(number("1.23449"), number("0.0005"), fault).real, 1.23);
    EXPECT_EQ(fx_min(number("10.0049"), number("10"), fault).real, 0.0);
    EXPECT_EQ(fx_mult(number("0.33333"), number("3"), fault).real, 1.0);
    rx_value third = rx_operators[FX_DIV].dyadic(number("1"), number("3"), fault);
    EXPECT_EQ(third.real, 0.333);
    EXPECT_EQ(third.rounded, 3);
    // A number rounded at three digits is rounded anew when the setting falls below.
    with_numeric lower(1);
    EXPECT_EQ(fx_plus(third, number("0"), fault).real, 0.3);
    EXPECT_EQ(fx_mult(third, number("10"), fault).real, 3.0);
}

TEST(operators, arithmetic_faults) {
    EXPECT_EQ(apply(FX_PLUS, text("abc"), text("def")), "error 41 at 1");
    EXPECT_EQ(apply(FX_MULT, number("1"), text("def")), "error 41 at 2");
    EXPECT_EQ(apply(FX_DIV, number("1"), text("")), "error 41 at 2");
    EXPECT_EQ(apply(FX_UMIN, text("x")), "error 41 at 1");
    EXPECT_EQ(apply(FX_UPLUS, rx_value()), "error 41 at 1");
    EXPECT_EQ(arithmetic("1", FX_DIV, "0"), "error 51 at 2");
    EXPECT_EQ(arithmetic("1", FX_IDIV, "0.0"), "error 51 at 2");
    EXPECT_EQ(arithmetic("1", FX_REM, "-0"), "error 51 at 2");
    EXPECT_EQ(arithmetic("1E308", FX_MULT, "10"), "error 42 at 1");
    EXPECT_EQ(arithmetic("1.7E308", FX_PLUS, "1.7E308"), "error 42 at 1");
    EXPECT_EQ(arithmetic("1E308", FX_MULT, "-10"), "-INF");
    EXPECT_EQ(arithmetic("0", FX_EXP, "-1"), "error 42 at 1");
    int fault;
    EXPECT_EQ(fx_min(number("1.7E308"), number("-1.7E308"), fault).real, HUGE_VAL);
    EXPECT_EQ(fault, 0);
    EXPECT_EQ(rx_operators[FX_DIV].dyadic(number("1E308"), number("0.1"), fault).real, HUGE_VAL);
    EXPECT_EQ(fault, 0);
}

TEST(operators, integer_division_and_remainder) {
    EXPECT_EQ(arithmetic("7", FX_IDIV, "2"), "3");
    EXPECT_EQ(arithmetic("-7", FX_IDIV, "2"), "-3");
    EXPECT_EQ(arithmetic("-1", FX_IDIV, "2"), "0");
    EXPECT_EQ(arithmetic("7.5", FX_IDIV, "0.5"), "15");
    EXPECT_EQ(arithmetic("7", FX_REM, "2"), "1");
    EXPECT_EQ(arithmetic("-7", FX_REM, "2"), "-1");
    EXPECT_EQ(arithmetic("7", FX_REM, "-2"), "-1");
    EXPECT_EQ(arithmetic("-7", FX_REM, "-2"), "-1");
    EXPECT_EQ(arithmetic("-4", FX_REM, "2"), "0");
    EXPECT_EQ(arithmetic("5.5", FX_REM, "2"), "1.5");
    EXPECT_EQ(arithmetic("3", FX_REM, "3"), "0");
    const char *idiv = "error 26 at 3 Vandra: the result of the integer division is\n"
                       "        longer than the NUMERIC DIGITS setting.";
    const char *rem = "error 26 at 3 Vandra: the result of the remainder operation is\n"
                      "        longer than the NUMERIC DIGITS setting.";
    EXPECT_EQ(arithmetic("1E9", FX_IDIV, "1"), "1E+9"); // a power of ten counts one digit less
    EXPECT_EQ(arithmetic("1000000001", FX_IDIV, "1"), idiv);
    EXPECT_EQ(arithmetic("-1000000001", FX_IDIV, "1"), idiv);
    with_numeric numeric(3);
    EXPECT_EQ(arithmetic("1000", FX_IDIV, "1"), "1E+3");
    EXPECT_EQ(arithmetic("2000", FX_IDIV, "1"), idiv);
    EXPECT_EQ(arithmetic("2000", FX_REM, "3000"), rem);
    EXPECT_EQ(arithmetic("2000", FX_REM, "999"), "2");
}

TEST(operators, powers_and_prefixes) {
    EXPECT_EQ(arithmetic("2", FX_EXP, "10"), "1024");
    EXPECT_EQ(arithmetic("2", FX_EXP, "0.5"), "1.41421356");
    EXPECT_EQ(arithmetic("2", FX_EXP, "-1"), "0.5");
    EXPECT_EQ(arithmetic("0", FX_EXP, "0"), "1");
    int fault;
    EXPECT_TRUE(std::isnan(rx_operators[FX_EXP].dyadic(number("-8"), number("0.5"), fault).real));
    EXPECT_EQ(fault, 0);
    EXPECT_EQ(apply(FX_UMIN, text("0")), "-0");
    EXPECT_EQ(apply(FX_UMIN, text("2.50")), "-2.5");
    EXPECT_EQ(apply(FX_UPLUS, text("2.00")), "2.00");
    // No rounding: a later comparison at more digits sees them all.
    EXPECT_EQ(rx_operators[FX_UPLUS].monadic(text("0.123456789012"), fault).real, 0.123456789012);
}

TEST(operators, logic_takes_0_and_1_alone) {
    for (int a = 0; a < 2; a++) {
        for (int b = 0; b < 2; b++) {
            rx_value left = rx_number(a), right = text(b ? " 1.0 " : "0");
            EXPECT_EQ(holds(left, FX_OR, right), a || b);
            EXPECT_EQ(holds(left, FX_AND, right), a && b);
            EXPECT_EQ(holds(left, FX_XOR, right), a != b);
        }
        EXPECT_EQ(apply(FX_NOT, rx_number(a)), a ? "0" : "1");
    }
    EXPECT_EQ(apply(FX_AND, text("yes"), text("no")), "error 34 at 1");
    EXPECT_EQ(apply(FX_OR, number("1"), number("2")), "error 34 at 2");
    EXPECT_EQ(apply(FX_XOR, number("1"), number("1.5")), "error 34 at 2");
    EXPECT_EQ(apply(FX_NOT, number("0.9999999999")), "error 34 at 1");
    int fault;
    EXPECT_EQ(rx_operators[FX_AND].dyadic(number("1"), number("1"), fault).decimals, -1);
}

TEST(operators, normal_comparison) {
    EXPECT_TRUE(holds(text("abc"), FX_EQ, text(" abc ")));
    EXPECT_TRUE(holds(text("1.0"), FX_EQ, number("1")));
    EXPECT_TRUE(holds(text(" 1e2 "), FX_EQ, text("100")));
    EXPECT_TRUE(holds(text("- 5"), FX_EQ, text("-5")));
    EXPECT_TRUE(holds(number("10"), FX_SUP, text("9")));
    EXPECT_TRUE(holds(text("10a"), FX_INF, text("9a")));
    EXPECT_TRUE(holds(text(""), FX_EQ, text("   ")));
    EXPECT_TRUE(holds(text("abc"), FX_INF, text("abcd")));
    EXPECT_TRUE(holds(text("abc\t"), FX_INF, text("abc"))); // a tab sorts before the padding
    EXPECT_TRUE(holds(text("abc"), FX_SUP, text("abc\t")));
    EXPECT_TRUE(holds(text("\xe9"), FX_SUP, text("z")));
    EXPECT_TRUE(holds(text("abc"), FX_SUPEQ, text("abc ")));
    EXPECT_TRUE(holds(text("abd"), FX_SUPEQ, text("abc")));
    EXPECT_FALSE(holds(text("abb"), FX_SUPEQ, text("abc")));
    EXPECT_TRUE(holds(text("abb"), FX_INFEQ, text("abc")));
    EXPECT_TRUE(holds(text("a"), FX_NEQ, text("A")));
    EXPECT_TRUE(holds(text(" a "), FX_EQIC, text("A")));
    EXPECT_TRUE(holds(text("1.0"), FX_EQIC, text("1")));
    EXPECT_FALSE(holds(text("aB"), FX_NEQIC, text("Ab")));
    EXPECT_TRUE(holds(text("\xe9"), FX_NEQIC, text("\xc9"))); // only the letters of ASCII have two cases
    // A number against a text is spelled.
    EXPECT_TRUE(holds(rx_number(2, 2), FX_INF, text("2.00x")));
    EXPECT_TRUE(holds(text(std::string_view("a\0", 2)), FX_NEQ, text("a")));
}

TEST(operators, comparison_of_fractions_is_fuzzy) {
    EXPECT_TRUE(holds(number("1.00000000001"), FX_EQ, number("1")));
    EXPECT_TRUE(holds(number("1000000001"), FX_NEQ, number("1000000002")));
    EXPECT_TRUE(holds(number("1.00000001"), FX_NEQ, number("1.00000002")));
    with_numeric numeric(9, 1);
    EXPECT_TRUE(holds(number("1.000000001"), FX_EQ, number("1.000000002")));
    EXPECT_TRUE(holds(text("1.00000001"), FX_EQ, text("1.00000002")));
    EXPECT_FALSE(holds(number("1000000001"), FX_EQ, number("1000000002")));
    int fault;
    rx_value nine = fx_plus(number("1.00000001"), number("0"), fault); // known to be rounded, but at nine digits
    EXPECT_TRUE(holds(nine, FX_EQ, number("1")));
    // The spelling too follows the lowered digits.
    EXPECT_TRUE(holds(number("123456789"), FX_INF, text("1.2345679E+8x")));
    EXPECT_EQ(rx_numeric->digits, 9);
}

TEST(operators, infinity_in_a_comparison) {
    with_numeric numeric(9, 2);
    rx_value infinity = rx_number(HUGE_VAL), nan = rx_number(std::nan(""));
    EXPECT_TRUE(holds(infinity, FX_EQ, infinity));
    EXPECT_THROW(rx_compare_gt(infinity, text("abc")), rx_jmp_syntax);
    EXPECT_EQ(rx_error.number, 42);
    EXPECT_EQ(rx_numeric->digits, 9);
    for (rx_operator_id id :
         {FX_EQ, FX_SUP, FX_INF, FX_SUPEQ, FX_INFEQ, FX_EEQ, FX_SSUP, FX_IINF, FX_SSUPEQ, FX_IINFEQ})
        EXPECT_FALSE(holds(nan, id, nan)) << rx_operators[id].name;
    EXPECT_TRUE(holds(nan, FX_NEQ, nan));
    EXPECT_TRUE(holds(nan, FX_NNEQ, nan));
}

TEST(operators, strict_comparison) {
    EXPECT_TRUE(holds(text("abc"), FX_NNEQ, text(" abc ")));
    EXPECT_FALSE(holds(text("1.0"), FX_EEQ, number("1")));
    EXPECT_TRUE(holds(text("1"), FX_EEQ, rx_number(1)));
    EXPECT_TRUE(holds(number("1.50"), FX_EEQ, number("1.5")));
    EXPECT_TRUE(holds(number("0.1234567890001"), FX_NNEQ, number("0.1234567890002"))); // no rounding
    EXPECT_TRUE(holds(text("ab"), FX_SSUP, text("b")));                                // the longer is the greater
    EXPECT_TRUE(holds(text("10"), FX_SSUP, text("9")));
    EXPECT_FALSE(holds(text("10"), FX_SSUP, text("11")));
    EXPECT_TRUE(holds(text("10"), FX_SSUPEQ, text("10")));
    EXPECT_TRUE(holds(text("\xff"), FX_SSUP, text("a")));
    EXPECT_TRUE(holds(text("9"), FX_IINF, number("10")));
    EXPECT_TRUE(holds(number("-5"), FX_IINF, number("-4")));
    EXPECT_TRUE(holds(text("b"), FX_IINFEQ, text("ab")));
    EXPECT_FALSE(holds(text("ba"), FX_IINFEQ, text("ab")));
    EXPECT_TRUE(holds(text(""), FX_IINF, text("a")));
}

TEST(operators, concatenation_and_length) {
    EXPECT_EQ(apply(FX_CONC, text("ab"), text("cd")), "abcd");
    EXPECT_EQ(apply(FX_CONC, number("1.50"), text("")), "1.5");
    EXPECT_EQ(apply(FX_CONC, text("0123456789"), text("0123456789")), "01234567890123456789");
    EXPECT_EQ(apply(FX_BL, rx_number(1), rx_number(-2)), "1 -2");
    EXPECT_EQ(apply(FX_BL, text(""), text("")), " ");
    EXPECT_EQ(apply(FX_CONC_NOT, text("007"), text("1.0")), "007 0");
    EXPECT_EQ(apply(FX_CONC_NOT, text("x"), rx_number(0)), "x 1");
    EXPECT_EQ(apply(FX_CONC_NOT, text("x"), rx_number(2)), "error 34 at 2");
    EXPECT_EQ(apply(FX_RHO, text("abc ")), "4");
    EXPECT_EQ(apply(FX_RHO, rx_number(2, 2)), "4");
    EXPECT_EQ(apply(FX_CONC_RHO, text("n"), text("0123456789")), "n 10");
    EXPECT_THROW(apply(FX_CONC, rx_number(HUGE_VAL), text("")), rx_jmp_syntax);
    EXPECT_EQ(apply(FX_CONC, text(std::string_view("a\0", 2)), text("b")), std::string("a\0b", 3));
}

} // namespace
