// The settings of the NUMERIC instruction.
#include "values/numbers.h"

#include "base/raise.h"
#include "platform/strings.h"

#include <cstdio>

namespace {

/// The number in the form of "%g", between quotes behind the words that all these messages begin with.
std::string evaluates_to(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", number);
    return std::string("Expression evaluates to \"") + text + "\"";
}

std::string evaluates_to(std::string_view text) {
    return "Expression evaluates to \"" + std::string(text) + "\"";
}

/// The value as a number; `end` closes the message for a text that is none.
double setting(const rx_value &value, const char *end) {
    rx_value number;
    if (!rx_number_of(value, number)) rx_raise(26, evaluates_to(value.text()) + end);
    return number.real;
}

} // namespace

void rx_numeric_digits(const rx_value &value) {
    if (value.is_none()) {
        rx_numeric->digits = rx_numeric_settings{}.digits;
        return;
    }
    double digits = setting(value, "");
    if (!rx_is_whole(digits) || digits <= 0 || digits > 15)
        rx_raise(26, evaluates_to(digits) + "; must be a positive integer <= 15.");
    if (digits <= rx_numeric->fuzz)
        rx_raise(26, evaluates_to(digits) + "; must be a positive integer > to the current \"" +
                         rx_int_text(rx_numeric->fuzz) + "\" NUMERIC DIGITS setting.");
    rx_numeric->digits = static_cast<int>(digits);
}

void rx_numeric_fuzz(const rx_value &value) {
    if (value.is_none()) {
        rx_numeric->fuzz = 0;
        return;
    }
    double fuzz = setting(value, ".");
    if (!rx_is_whole(fuzz) || fuzz < 0 || fuzz >= rx_numeric->digits)
        rx_raise(26, evaluates_to(fuzz) + "; must be a positive integer < " + rx_int_text(rx_numeric->digits) + ".");
    rx_numeric->fuzz = static_cast<int>(fuzz);
}

void rx_numeric_form(const rx_value &value) {
    if (value.is_none()) {
        rx_numeric->form = 0;
        return;
    }
    if (value.is_number()) rx_raise(25, evaluates_to(value.real) + ".");
    std::string form = rx_uppered(value.text());
    if (form != "SCIENTIFIC" && form != "ENGINEERING") rx_raise(25, evaluates_to(form) + ".");
    rx_numeric->form = form == "ENGINEERING" ? 1 : 0;
}
