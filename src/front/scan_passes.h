// What the stages of the scanner hand to each other.
//
// Between its stages a token is a record of 24 bytes in a plain array; the passes copy, drop and insert by value. Only
// what survives the third pass becomes an rx_expr, so a script's blanks and deleted tokens cost nothing once it is
// loaded. A token's text still lies in the source (or in the arena, where it had to be made); it gets its own copy
// with a closing NUL at the end.
#pragma once

#include "front/tree.h"

#include <string_view>
#include <vector>

struct rx_raw_token {
    const char *text = nullptr; ///< null for punctuation
    unsigned length = 0;
    unsigned line = 0;
    unsigned column = 0;
    short type = 0; ///< rx_token, or a character
    bool quoted = false;
    bool owned = false; ///< the text lies in the arena already, NUL-terminated

    std::string_view view() const { return {text, length}; }
};
static_assert(sizeof(rx_raw_token) == 24);

using rx_raw_tokens = std::vector<rx_raw_token>;

/// Pass 1: decides which words are keywords, adds what the grammar needs, applies OPTION words to rx_modes when asked.
void rx_settle_words(const rx_raw_tokens &in, rx_raw_tokens &out, rx_arena &arena, bool apply_modes);

/// Pass 2: puts a concatenation between operands that abut.
void rx_insert_abuttal(const rx_raw_tokens &in, rx_raw_tokens &out);

/// First half of pass 3: turns every blank that is no operator into NOLEX.
void rx_drop_blanks(rx_raw_tokens &tokens);

/// Second half: folds (unless that is done already) and splits the symbols and makes the records that the grammar reads,
/// without the NOLEX ones.
std::vector<rx_expr *> rx_finish_tokens(const rx_raw_tokens &tokens, rx_arena &arena, bool fold = true);
