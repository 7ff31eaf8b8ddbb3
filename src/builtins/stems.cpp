#include "builtins/stems.h"

#include "base/modes.h"
#include "values/numbers.h"

bu_stem::bu_stem(std::string_view name) {
    std::string text = rx_folded(name) + ".i";
    symbol_ = rx_parse_tails(arena_, arena_.copy(text));
    if (symbol_->bad_name) rx_raise(31);
    number_.state = RX_SET;
}

void bu_stem::point_at(size_t index) {
    // As a number it finds its place without being spelled; that is only the same when its text is its digits.
    bool spelled_alike = rx_numeric->digits >= 9 && index <= 999999999;
    number_.value = spelled_alike ? rx_number(static_cast<double>(index), 0, 1) : rx_string(std::to_string(index));
    rx_tail &tail = symbol_->tails[symbol_->tail_count - 1];
    tail.constant = false;
    tail.lent = &number_;
}

const rx_value *bu_stem::get(size_t index) {
    point_at(index);
    return rx_var_peek(*symbol_);
}

std::string bu_stem::name(size_t index) {
    point_at(index);
    return rx_resolve_name(*symbol_);
}

void bu_stem::set(size_t index, rx_value &&value) {
    point_at(index);
    rx_var_assign(*symbol_, std::move(value));
}
