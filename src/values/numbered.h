// Variables whose names end in a number: A.1, A.2, ... as the functions and commands that fill a stem make them.
#pragma once

#include "values/store.h"

#include <string>

/// A name that a program would write (folded by the case mode, its tails resolved at each use) with numbers behind it.
/// For a name that ends in a dot, going from number to number makes no names and looks the stem up once.
struct rx_numbered_symbol {
    explicit rx_numbered_symbol(std::string_view name);
    rx_numbered_symbol(const rx_numbered_symbol &) = delete;
    rx_numbered_symbol &operator=(const rx_numbered_symbol &) = delete;

    /// The symbol of a number (0 or more), valid until the next call.
    const rx_symbol &at(unsigned long long number);

private:
    std::string name_; ///< folded
    rx_arena arena_;
    rx_symbol *symbol_ = nullptr;
    char digits_[24] = {};
};
