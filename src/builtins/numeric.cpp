// Numeric functions. TRUNC and FORMAT, which work on the text of a number, have a file of their own.
#include "builtins/arguments.h"
#include "builtins/handlers.h"

#include <chrono>
#include <cmath>

namespace {

/// MAX and MIN.
rx_value extreme(const rx_expr *list, const char *name, bool (*better)(double, double)) {
    bu_args args(list, name);
    if (args.count() == 0 || (args.count() == 1 && !args.given(0))) args.fail(0, "must receive at least 1 argument.");
    double best = 0;
    for (size_t i = 0; i < args.count(); i++) {
        if (!args.given(i) || !rx_is_number(args.values[i]))
            args.fail(i, "argument " + std::to_string(i + 1) + " should be a whole number.");
        double number = args.values[i].real;
        if (i == 0 || better(number, best)) best = number;
    }
    return bu_number(best);
}

/// The trigonometric functions; angles are radians.
rx_value trigonometric(const rx_expr *list, const char *name, double (*function)(double)) {
    bu_args args(list, name, 1, 1, "must receive 1 argument.");
    return bu_number(function(args.number(0, "the argument must be a number.", 41)));
}

/// The generator of RANDOM (Lehmer's, with the multiplier 16807 and the modulus 2^31 - 1). Lives as long as the
/// process; -1: not started.
double random_state = -1;

constexpr double random_modulus = 2147483647;

void seed_random(double seed) {
    random_state = seed < 10000 ? seed * 13120 : seed;
    // The products of still greater seeds are too coarse to leave much of them.
    if (std::fabs(random_state) > 1e16) random_state = std::fmod(random_state, random_modulus);
}

/// The next whole number from 0 to `max`.
double next_random(double max) {
    random_state *= 16807;
    random_state -= std::floor(random_state / random_modulus) * random_modulus;
    return std::floor(1 + std::trunc(max + 1) * (random_state / 2147483648.0)) - 1;
}

double clock_microseconds() {
    auto now = std::chrono::system_clock::now().time_since_epoch();
    auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now).count() % 1000000;
    return microseconds ? static_cast<double>(microseconds) : 1;
}

} // namespace

/// abs(number)
/// The number without its sign.
/// Result: number
/// Errors: 40 for a wrong count, a text that is no number
/// Example: abs(-2.5) -> 2.5
rx_value bu_abs(const rx_expr *list) {
    bu_args args(list, "ABS", 1, 1, "must receive 1 argument.");
    return bu_number(std::fabs(args.number(0, "the argument must be a number.")));
}

/// acos(number)
/// The arc cosine, in radians.
/// Result: number
/// Errors: 40 for a wrong count, 41 for a text that is no number
/// Example: acos(0) -> 1.57079633
rx_value bu_acos(const rx_expr *list) {
    return trigonometric(list, "ACOS", std::acos);
}

/// asin(number)
/// The arc sine, in radians.
/// Result: number
/// Errors: 40 for a wrong count, 41 for a text that is no number
/// Example: asin(1) -> 1.57079633
rx_value bu_asin(const rx_expr *list) {
    return trigonometric(list, "ASIN", std::asin);
}

/// atan(number)
/// The arc tangent, in radians.
/// Result: number
/// Errors: 40 for a wrong count, 41 for a text that is no number
/// Example: atan(1) -> 0.785398163
rx_value bu_atan(const rx_expr *list) {
    return trigonometric(list, "ATAN", std::atan);
}

/// cos(number)
/// The cosine of an angle in radians.
/// Result: number
/// Errors: 40 for a wrong count, 41 for a text that is no number
/// Example: cos(0) -> 1
rx_value bu_cos(const rx_expr *list) {
    return trigonometric(list, "COS", std::cos);
}

/// max(number, ...)
/// The greatest of the numbers, of which there may be any count.
/// Result: number
/// Errors: 40 for no argument, a text that is no number
/// Example: max(3, 12, -7) -> 12
rx_value bu_max(const rx_expr *list) {
    return extreme(list, "MAX", [](double a, double b) { return a > b; });
}

/// min(number, ...)
/// The least of the numbers, of which there may be any count.
/// Result: number
/// Errors: 40 for no argument, a text that is no number
/// Example: min(3, 12, -7) -> -7
rx_value bu_min(const rx_expr *list) {
    return extreme(list, "MIN", [](double a, double b) { return a < b; });
}

/// pi()
/// The number pi. Arguments aren't looked at.
/// Result: number
/// Example: pi() -> 3.14159265
rx_value bu_pi(const rx_expr *) {
    return bu_number(3.141592653589793);
}

/// random([min], [max], [seed])
/// A pseudo-random whole number from min (0) to max (999); a single argument is the max. The same seed gives the same
/// numbers again.
/// Result: number
/// Errors: 40 for a wrong count, arguments that aren't whole, a min above max
/// Example: random(1, 6, 12345) -> 1
rx_value bu_random(const rx_expr *list) {
    bu_args args(list, "RANDOM");
    args.expect(0, 3, 0, "must receive between 0 and 3 arguments.");
    double numbers[3] = {0, 999, 0};
    const char *complaints[3] = {"argument 1 must be a whole number.", "argument 2 must be a whole number.",
                                 "argument 3 must be a whole number."};
    for (size_t i = 0; i < 3; i++)
        if (args.given(i)) numbers[i] = args.whole(i, BU_EXACT, -1e300, complaints[i], complaints[i]);
    double min = args.count() == 1 ? 0 : numbers[0];
    double max = args.count() == 1 && args.given(0) ? numbers[0] : numbers[1];
    if (min > max) args.fail(0, "argument 1 must be lower than argument 2.");
    if (args.given(2))
        seed_random(numbers[2]);
    else if (random_state == -1)
        random_state = clock_microseconds();
    if (min == 0) return bu_number(next_random(max));
    if (max == 0) return bu_number(min + next_random(max - min));
    return bu_number(rx_round_nearest(min + (max - min) / max * next_random(max)));
}

/// sign(number)
/// -1, 0 or 1 for a number below, equal to or above 0.
/// Result: number
/// Errors: 40 for a wrong count, a text that is no number
/// Example: sign(-0.5) -> -1
rx_value bu_sign(const rx_expr *list) {
    bu_args args(list, "SIGN", 1, 1, "must receive 1 argument.");
    double number = args.number(0, "the argument must be a number.");
    return bu_number((number > 0) - (number < 0));
}

/// sin(number)
/// The sine of an angle in radians.
/// Result: number
/// Errors: 40 for a wrong count, 41 for a text that is no number
/// Example: sin(pi() / 6) -> 0.5
rx_value bu_sin(const rx_expr *list) {
    return trigonometric(list, "SIN", std::sin);
}

/// tan(number)
/// The tangent of an angle in radians.
/// Result: number
/// Errors: 40 for a wrong count, 41 for a text that is no number
/// Example: tan(0) -> 0
rx_value bu_tan(const rx_expr *list) {
    return trigonometric(list, "TAN", std::tan);
}
