// Templates of PARSE, made ready for the walk.
//
// The grammar delivers a template as the plain chain of its tokens. It is turned into a row of items here: what to
// assign, where to cut, and what is wrong with it, for a mistake in a template only counts when the walk comes to it.
// The items live in the arena of the tree. What the engine knows of the variables is noted in them, valid for one
// serial number of the variable store.
#pragma once

#include "front/tree.h"

enum class rx_template_step : uint8_t {
    variable,     ///< a simple variable
    odd_variable, ///< one that takes more to assign: a compound, a stem, a "$" name, a name that can't be assigned, or
                  ///< the variable that is parsed, unless it comes last
    placeholder,  ///< "."
    pattern,      ///< a text to look for
    pattern_in,   ///< the same, in a variable
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
    rx_template_item *cut = nullptr;   ///< the next item that is no variable or placeholder; may be this one
    const rx_expr *token = nullptr;    ///< where errors are shown
    const rx_symbol *symbol = nullptr; ///< the variable; of a cut: the one in parentheses that gives the text or number
    rx_var *var = nullptr;             ///< the entry of a simple variable, when it is known
    std::string_view text = {};        ///< of a pattern that is written out
    long long number = 0;              ///< of a position that is written out, as written
};

struct rx_template {
    rx_template_item *items = nullptr; ///< the last one is an `end`
    bool simple = true;                ///< holds simple variables, cuts that are written out and nothing wrong
    /// Where there is one simple variable between commas, and nothing else: the variables by argument. Otherwise null.
    const rx_symbol **each = nullptr;
    uint32_t each_count = 0;
    uint64_t serial = 0; ///< of the scope that the entries, all of them, belong to
};

/// Reads the template that begins with a token. `parsed` is the variable of PARSE VAR, else null.
rx_template *rx_read_template(rx_arena &arena, const rx_expr *token, const rx_symbol *parsed);
