// Templates of PARSE, read once.
//
// The grammar delivers a template as the plain chain of its tokens. It is turned into a row of items here: what to
// assign, where to cut, and what is wrong with it, for a mistake in a template only counts when the walk comes to it.
#pragma once

#include "front/tree.h"

#include <vector>

enum class rx_template_step : uint8_t {
    variable,     ///< a simple variable
    odd_variable, ///< one that takes more to assign: a compound, a stem, a "$" name, a name that can't be assigned
    placeholder,  ///< "."
    pattern,      ///< a text to look for
    position,     ///< 5 and =5
    forward,      ///< +5
    backward,     ///< -5
    comma,        ///< the next argument
    end,
    unknown, ///< nothing that a template can hold; error 38 when it is its turn
    broken   ///< the beginning of a pattern or position that isn't complete; `number` is the error
};

struct rx_template_item {
    rx_template_step step = rx_template_step::end;
    uint32_t targets = 0;              ///< how many variables and placeholders stand in a row from here on
    const rx_expr *token = nullptr;    ///< where errors are shown
    const rx_symbol *symbol = nullptr; ///< the variable; of a cut: the one in parentheses that gives the text or number
    std::string_view text = {};        ///< of a pattern that is written out
    long long number = 0;              ///< of a position that is written out, as written
};

/// Appends the items of a template to the list; the last one is an `end`.
void rx_read_template(const rx_expr *token, std::vector<rx_template_item> &items);
