// The scanner.
//
// A keyword of the language isn't reserved ("if" can be a variable) and a blank can be an operator, so scanning takes
// stages. `lex` reads characters and makes raw tokens, every word of its table a keyword and every blank a token.
// `lex2` then walks the tokens with the clause structure in mind: pass 1 decides what each word is and adds what the
// grammar needs, pass 2 puts a concatenation between what abuts, pass 3 deletes blanks that don't matter, folds the
// symbols and splits them into their parts. The grammar sees a stream without ambiguity.
#pragma once

#include "front/tree.h"

struct rx_scan_result {
    std::vector<rx_expr *> tokens; ///< empty after an error
    int error = 0;                 ///< 0, or 1, 2, 6, 15, 31, 67: the number of the error
    unsigned error_line = 0;       ///< where, from 0
    unsigned error_column = 0;
    unsigned lines = 0; ///< lines of the text
};

/// Scans a text. Tokens live in the arena, their lines count from 0 at the text's start. OPTION clauses change
/// rx_modes as they are met (the first word of a kind decides), unless `apply_modes` is off: the modes in force stay.
rx_scan_result lex(std::string_view text, rx_arena &arena, bool apply_modes = true);

/// The code of a keyword in any case, or 0.
int rx_keyword(std::string_view word);
