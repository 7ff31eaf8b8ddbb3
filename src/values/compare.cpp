// Comparison.
//
// Each comparison comes down to one of four relations between its operands. Normal comparison takes two numbers as
// numbers, rounded at NUMERIC DIGITS less FUZZ, and anything else as texts without the blanks at their ends, the
// shorter padded with blanks. Strict comparison takes texts as they are, and the longer text is the greater one.
#include "values/compare.h"

#include "platform/strings.h"
#include "values/arithmetic.h"

#include <algorithm>
#include <cstring>

namespace {

/// A NaN is unordered: no relation to any number holds, and it differs from all.
enum class relation { equal, greater, less, unordered };

inline relation relate_numbers(double a, double b) {
    return a == b ? relation::equal : a > b ? relation::greater : a < b ? relation::less : relation::unordered;
}

inline relation relate_bytes(const char *a, const char *b, size_t length) {
    int order = length == 0 ? 0 : std::memcmp(a, b, length);
    return order == 0 ? relation::equal : order > 0 ? relation::greater : relation::less;
}

/// How the rest of a text compares with the blanks that the other one is padded with.
relation relate_to_blanks(std::string_view rest) {
    size_t at = rest.find_first_not_of(' ');
    if (at == rest.npos) return relation::equal;
    return static_cast<unsigned char>(rest[at]) > ' ' ? relation::greater : relation::less;
}

relation reversed(relation r) {
    return r == relation::greater ? relation::less : r == relation::less ? relation::greater : r;
}

relation relate_padded(std::string_view a, std::string_view b) {
    size_t common = std::min(a.size(), b.size());
    relation r = relate_bytes(a.data(), b.data(), common);
    if (r != relation::equal) return r;
    return a.size() > common ? relate_to_blanks(a.substr(common)) : reversed(relate_to_blanks(b.substr(common)));
}

/// The number in an operand of a normal comparison, rounded at the lowered digits.
inline bool take_number(const rx_value &value, int digits, double &number) {
    if (value.is_number()) {
        bool known = value.rounded != 0 && value.rounded <= digits;
        number = known ? value.real : rx_round_digits(value.real, digits);
        return true;
    }
    if (rx_carried_number(value, number)) return true;
    if (value.is_none() || !rx_scan_number(value.text(), number)) return false;
    number = rx_round_digits(number, digits);
    return true;
}

inline bool take_numbers(const rx_value &left, const rx_value &right, double &a, double &b) {
    int digits = rx_compared_digits();
    return take_number(left, digits, a) && take_number(right, digits, b);
}

/// The text that a normal comparison sees: without blanks at the ends, numbers spelled at the lowered digits.
std::string_view compared_text(const rx_value &value, rx_number_buffer &buffer) {
    if (value.is_number()) return rx_number_text_at(value.real, value.decimals, rx_compared_digits(), buffer);
    return value.is_string() ? rx_trim_text(value.text()) : std::string_view();
}

relation relate_texts(const rx_value &left, const rx_value &right) {
    rx_number_buffer a, b;
    std::string_view left_text = compared_text(left, a);
    return relate_padded(left_text, compared_text(right, b));
}

inline relation relate(const rx_value &left, const rx_value &right) {
    double a, b;
    if (take_numbers(left, right, a, b)) return relate_numbers(a, b);
    return relate_texts(left, right);
}

bool equal_ignoring_case(const rx_value &left, const rx_value &right) {
    double a, b;
    if (take_numbers(left, right, a, b)) return relate_numbers(a, b) == relation::equal;
    // Trimmed texts of different lengths differ: where the longer one ends, the other is padded with a blank.
    rx_number_buffer left_buffer, right_buffer;
    std::string_view left_text = compared_text(left, left_buffer);
    return rx_equal_nocase(left_text, compared_text(right, right_buffer));
}

inline relation relate_strictly(const rx_value &left, const rx_value &right) {
    if (left.is_number() && right.is_number()) return relate_numbers(left.real, right.real);
    rx_number_buffer left_buffer, right_buffer;
    std::string_view a = rx_arg_text(left, left_buffer), b = rx_arg_text(right, right_buffer);
    if (a.size() != b.size()) return a.size() > b.size() ? relation::greater : relation::less;
    return relate_bytes(a.data(), b.data(), a.size());
}

} // namespace

bool rx_compare_ne(const rx_value &left, const rx_value &right, bool ignore_case) {
    return ignore_case ? !equal_ignoring_case(left, right) : relate(left, right) != relation::equal;
}

bool rx_compare_gt(const rx_value &left, const rx_value &right) {
    return relate(left, right) == relation::greater;
}

bool rx_compare_lt(const rx_value &left, const rx_value &right) {
    return relate(left, right) == relation::less;
}

bool rx_strict_eq(const rx_value &left, const rx_value &right) {
    return relate_strictly(left, right) == relation::equal;
}

bool rx_strict_gt(const rx_value &left, const rx_value &right) {
    return relate_strictly(left, right) == relation::greater;
}

bool rx_strict_lt(const rx_value &left, const rx_value &right) {
    return relate_strictly(left, right) == relation::less;
}

rx_value fx_eq(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(relate(left, right) == relation::equal);
}

rx_value fx_neq(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(relate(left, right) != relation::equal);
}

rx_value fx_sup(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(relate(left, right) == relation::greater);
}

rx_value fx_inf(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(relate(left, right) == relation::less);
}

rx_value fx_supeq(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    relation r = relate(left, right);
    return rx_truth(r == relation::equal || r == relation::greater);
}

rx_value fx_infeq(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    relation r = relate(left, right);
    return rx_truth(r == relation::equal || r == relation::less);
}

rx_value fx_eqic(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(equal_ignoring_case(left, right));
}

rx_value fx_neqic(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(!equal_ignoring_case(left, right));
}

rx_value fx_eeq(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(relate_strictly(left, right) == relation::equal);
}

rx_value fx_nneq(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(relate_strictly(left, right) != relation::equal);
}

rx_value fx_ssup(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(relate_strictly(left, right) == relation::greater);
}

rx_value fx_iinf(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    return rx_truth(relate_strictly(left, right) == relation::less);
}

rx_value fx_ssupeq(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    relation r = relate_strictly(left, right);
    return rx_truth(r == relation::equal || r == relation::greater);
}

rx_value fx_iinfeq(const rx_value &left, const rx_value &right, int &fault) {
    fault = 0;
    relation r = relate_strictly(left, right);
    return rx_truth(r == relation::equal || r == relation::less);
}
