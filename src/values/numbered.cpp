#include "values/numbered.h"

#include "base/modes.h"

#include <charconv>

rx_numbered_symbol::rx_numbered_symbol(std::string_view name) : name_(rx_folded(name)) {}

const rx_symbol &rx_numbered_symbol::at(unsigned long long number) {
    char *end = std::to_chars(digits_, digits_ + sizeof digits_, number).ptr;
    std::string_view digits(digits_, static_cast<size_t>(end - digits_));
    if (!symbol_ || !name_.ends_with('.')) {
        arena_.reset();
        symbol_ = rx_parse_tails(arena_, arena_.copy(name_ + std::string(digits)));
        return *symbol_;
    }
    rx_tail &last = symbol_->tails[symbol_->tail_count - 1];
    last.text = digits;
    last.hash = rx_lookup_hash(digits);
    last.index = rx_plain_index(digits);
    last.word = 0; // not that of the number before; one that comes once needs no note
    return *symbol_;
}
