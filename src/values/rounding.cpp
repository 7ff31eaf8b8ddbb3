// Rounding of numbers.
#include "values/rounding.h"

#include <charconv>
#include <limits>

namespace {

/// The definition: print with "%.*g" and read back.
double print_and_read(double number, int digits) {
    char text[40];
    auto printed = std::to_chars(text, text + sizeof text, number, std::chars_format::general, digits);
    double result = number;
    std::from_chars(text, printed.ptr, result);
    return result;
}

} // namespace

double rx_round_fraction(double number, int digits) {
    double whole;
    int shift;
    if (!rx_cut_digits(std::fabs(number), digits, whole, shift)) return print_and_read(number, digits);
    // Both operands are exact, so the one rounding of this operation is that of reading the decimal text.
    return std::copysign(shift >= 0 ? whole / rx_tens(shift) : whole * rx_tens(-shift), number);
}

double rx_round_nearest(double number) {
    double below = std::floor(number), above = std::ceil(number);
    return number - below < above - number ? below : above;
}

int rx_to_int(double number) {
    constexpr int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
    if (std::isnan(number)) return 0;
    if (number <= least) return least;
    if (number >= most) return most;
    return static_cast<int>(number);
}
