// From tokens to clause chains: the door to the grammar.
#pragma once

#include "front/tree.h"

/// What a parse adds to: where its records live, where its labels go, and where executable lines are noted.
struct rx_parse_target {
    rx_arena &arena;
    rx_label_table &labels;
    std::vector<unsigned> *exec_lines; ///< null for interpreted text
};

/// Parses the tokens into a fresh chain and returns its first cell. On a syntax error rx_error holds number, extra text
/// and position, and rx_jmp_parse is thrown. Build state is saved, so a parse may start while another is on.
rx_clause_cell *rx_parse_tokens(const std::vector<rx_expr *> &tokens, const rx_parse_target &target);
