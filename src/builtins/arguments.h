// What a built-in does before it computes: evaluate the arguments, check their count, check each of them.
//
// A handler begins with a bu_args, which evaluates the arguments and refuses a wrong count; then comes a line for each
// argument, in order, that checks it and gives it in the form in which it is used. A check that fails ends the handler
// with error 40 at the position of the argument. The message is the function's name in capitals, "(): " and a
// complaint; most complaints follow one form ("argument 2 must be a whole number."), the odd ones are written out by
// their handlers.
//
// A number that was asked for as a number is one from then on: its text is the formatter's. The text of a constant or
// a variable is lent instead of copied unless a later argument changes the variable, so that a loop which looks at a
// long text piece by piece takes linear time. A handler that assigns variables reads its arguments before.
#pragma once

#include "engine/functions.h"
#include "values/numbers.h"
#include "values/store.h"

#include <cstddef>
#include <new>
#include <string>
#include <string_view>

/// How a whole number is judged; flags.
enum bu_rule : unsigned {
    BU_EXACT = 0,   ///< as it is
    BU_ROUNDED = 1, ///< after rounding to 9 digits
    BU_CAPPED = 3,  ///< rounded, and not above 2147483647
    BU_INTEGER = 4  ///< the complaint says "an integer" instead of "a whole number"
};
constexpr bu_rule operator|(bu_rule a, bu_rule b) {
    return static_cast<bu_rule>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

/// Evaluated arguments, in order; none for an omitted one. `f()` has one omitted argument, `f(,)` two. A few lie in the
/// record itself, so that most calls allocate nothing. Records of what is
/// lent are made by copying, and as long as there is nothing else, there is nothing to release.
struct bu_values {
    static constexpr size_t few = 5;
    size_t count = 0;
    rx_value *at;
    bool owning = false;
    alignas(rx_value) std::byte room[few * sizeof(rx_value)];

    explicit bu_values(const rx_expr *list) {
        for (const rx_expr *node = list; node; node = node->next) count++;
        void *place = count <= few ? room : ::operator new(count * sizeof(rx_value));
        at = static_cast<rx_value *>(place);
    }
    bu_values(const bu_values &) = delete;
    bu_values &operator=(const bu_values &) = delete;
    ~bu_values() {
        for (size_t i = 0; owning && i < count; i++) at[i].~rx_value();
        if (count > few) ::operator delete(at);
    }

    /// Makes the records from number `i` on, for values that may own their texts.
    void own_from(size_t i) {
        for (; i < count; i++) new (at + i) rx_value;
        owning = true;
    }

    rx_value &operator[](size_t i) { return at[i]; }
    const rx_value &operator[](size_t i) const { return at[i]; }
};

struct bu_args {
    const rx_expr *list;
    const char *name; ///< in capitals, for messages
    bu_values values;

    /// Evaluates the arguments; the handler checks their count itself. Arguments whose bit is set in `names` are
    /// symbols that name a variable: they aren't evaluated, see `symbol`.
    bu_args(const rx_expr *arguments, const char *function_name, unsigned names = 0);

    /// The same, then refuses a count outside `least` to `most` and an omission among the first `least`.
    bu_args(const rx_expr *arguments, const char *function_name, size_t least, size_t most, const char *complaint);

    /// Refuses a count outside `least` to `most` and an omission among the first `mandatory`.
    void expect(size_t least, size_t most, size_t mandatory, const char *complaint);

    /// Refuses every argument.
    void expect_none(const char *complaint) { expect(0, given(0) ? 0 : 1, 0, complaint); }

    /// Refuses the omission of an argument.
    void require(size_t i, const char *complaint) {
        if (!given(i)) fail(i, complaint);
    }

    size_t count() const { return values.count; }
    /// False for an argument that was omitted or lies behind the last one.
    bool given(size_t i) const { return i < values.count && !values[i].is_none(); }

    /// The text of an argument, empty when omitted; valid as long as the bu_args. For the first five arguments.
    std::string_view text(size_t i) {
        return i < values.count ? rx_arg_text(values[i], buffers_[i]) : std::string_view();
    }
    std::string_view text_or(size_t i, std::string_view fallback) { return given(i) ? text(i) : fallback; }

    /// The argument as a string that owns its text, for changing in place.
    rx_value take_text(size_t i);

    /// The argument turned into a number.
    double number(size_t i, std::string_view complaint, int error = 40) {
        return given(i) && values[i].is_number() ? values[i].real : read_number(i, complaint, error);
    }

    /// A whole number of `least` or more, with both complaints written out.
    double whole(size_t i, bu_rule rule, double least, std::string_view no_number, std::string_view out_of_range);

    /// A length, a count: a whole number of 0 or more, in the usual words. An omitted one is `fallback`.
    size_t size(size_t i, bu_rule rule, size_t fallback = 0) {
        if (!given(i)) return fallback;
        double n = small_whole(i);
        return n >= 0 ? static_cast<size_t>(n) : usual(i, rule, false);
    }

    /// A position, counted from 1: a whole number above 0, in the usual words. An omitted one is `fallback`.
    size_t position(size_t i, bu_rule rule, size_t fallback = 1) {
        if (!given(i)) return fallback;
        double n = small_whole(i);
        return n >= 1 ? static_cast<size_t>(n) : usual(i, rule, true);
    }

    /// One byte to pad with.
    char pad(size_t i, char fallback = ' ') { return given(i) ? read_pad(i) : fallback; }

    /// 0 or 1.
    bool flag(size_t i, bool fallback = false);

    /// The first byte of an option folded to lower case; 0 for an empty one.
    char option(size_t i, char fallback) { return given(i) ? read_option(i) : fallback; }

    /// The name of an argument that is written as a symbol, without a dot at its end. Anything else is refused.
    std::string_view symbol(size_t i);

    /// The variable that an argument's text still belongs to, or null when the text is the argument's own.
    rx_var *lender(size_t i) const;

    /// Ends the handler with an error at an argument.
    [[noreturn]] void fail(size_t i, std::string_view complaint, int error = 40) const;

private:
    void evaluate();
    void run(const rx_expr *node, size_t i);
    bool hold(const rx_expr *node, size_t i);

    double read_number(size_t i, std::string_view complaint, int error);
    size_t usual(size_t i, bu_rule rule, bool strictly);
    char read_pad(size_t i);
    char read_option(size_t i);

    /// The number of an argument that needs no rounding and no check but that of its sign; -1 for any other.
    double small_whole(size_t i) const {
        const rx_value &value = values[i];
        double n = value.is_number() ? value.real : value.carries_number() ? value.carried.number : -1;
        return n >= 0 && n <= 999999999 && n == static_cast<int32_t>(n) ? n : -1;
    }

    unsigned names_;
    rx_number_buffer buffers_[5];
};

/// The longest text that a function makes: 1 GiB.
constexpr size_t bu_longest_result = size_t{1} << 30;

/// A string of `length` bytes to be filled; error 5 above the longest.
rx_value bu_string(size_t length);

/// Appends to a result; error 5 above the longest.
void bu_append(rx_value &result, std::string_view text);

/// A number that a function computed.
inline rx_value bu_number(double number) {
    return rx_number(number, 0, rx_is_whole(number) ? 1 : 0);
}
inline rx_value bu_count(size_t count) {
    return rx_number(static_cast<double>(count), 0, 1);
}

/// True for a name that a variable can have: symbol characters (the byte 168 is one here), the first neither a digit
/// nor a dot.
bool bu_is_variable_name(std::string_view name);

/// The same set of characters, at any place.
bool bu_is_symbol(std::string_view text);
