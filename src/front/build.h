// The tree builder: what the grammar's actions call.
//
// Clauses are appended to the current chain, whose last cell is always empty. Opening a nested chain (the body of a
// DO, a branch, a WHEN) saves the current one in a frame; labels keep pointing to the frame that was current. The open
// DO, IF and SELECT records form three stacks, and each record is the clause that is written when its structure closes.
//
// `expected` is the number that the next syntax error will bear. An action stores there what a failure of the part
// behind it would mean; every finished clause puts 55 back.
#pragma once

#include "front/parse.h"

#include <string>
#include <vector>

struct rx_open_select {
    rx_select_clause *clause;
    rx_when *current; ///< the empty record at the end of the list
};

struct rx_build {
    rx_build(const std::vector<rx_expr *> &source_tokens, const rx_parse_target &parse_target)
        : tokens(source_tokens), target(parse_target) {}

    const std::vector<rx_expr *> &tokens;
    rx_parse_target target;
    size_t cursor = 0;
    unsigned line = 0; ///< position of the last read token
    unsigned column = 0;
    bool template_next = false; ///< the next token read is a whole template
    int expected = 55;

    rx_clause_cell *tail = nullptr; ///< the current chain's empty cell
    rx_clause_cell *head = nullptr;
    rx_build_frame *frame = nullptr; ///< of the enclosing chain
    std::vector<rx_do_clause *> dos;
    std::vector<rx_if_clause *> ifs;
    std::vector<rx_open_select> selects;
};

/// The token reader of the grammar: the code of the next token (0 at the end), the token itself in `value`.
int yylex_gram(rx_build &build, rx_expr *&value);

/// A syntax error, as the parser calls it: settles number and position and throws rx_jmp_parse.
[[noreturn]] void rx_syntax_error(rx_build &build);

/// An error found by an action, at the last read token. Throws rx_jmp_parse.
[[noreturn]] void rx_build_error(rx_build &build, int number);
[[noreturn]] void rx_build_error(rx_build &build, int number, std::string extra);

// ---- expressions ----------------------------------------------------------------------------------------------------

/// Prepares a STRING token as an operand or a leaf; gives the token back.
rx_expr *rx_make_literal(rx_build &build, rx_expr *token);
rx_expr *rx_make_monadic(rx_build &build, rx_expr *operand, rx_operator_id fn);
rx_expr *rx_make_dyadic(rx_build &build, rx_expr *left, rx_expr *right, rx_operator_id fn);
/// `first` or `second` null: that index isn't written.
rx_expr *rx_make_index(rx_build &build, rx_expr *value, rx_expr *first, rx_expr *second, rx_operator_id fn);
rx_expr *rx_make_call(rx_build &build, rx_expr *name, rx_expr *args);
/// A copy of the element with `next` set; the element itself may be part of the token array and stays as it is.
rx_expr *rx_link(rx_build &build, const rx_expr *element, rx_expr *rest);

// ---- chains and clauses ---------------------------------------------------------------------------------------------

/// Gives the build its first chain.
void rx_start_chain(rx_build &build);

/// The line stands in the table of executable lines, and the clause is finished.
void rx_note_clause(rx_build &build, unsigned line);

void rx_add_expr_clause(rx_build &build, rx_clause_kind kind, unsigned line, rx_expr *expr);
void rx_add_name_clause(rx_build &build, rx_clause_kind kind, unsigned line, const rx_expr *name);
void rx_add_names_clause(rx_build &build, rx_clause_kind kind, unsigned line, rx_expr *names);
void rx_add_label(rx_build &build, const rx_expr *name);
/// The index of an assignment target; `open` marks the side that isn't written.
struct rx_target_index {
    rx_expr *from = nullptr, *to = nullptr;
    bool from_open = false, to_open = false;
};
void rx_add_assignment(rx_build &build, rx_expr *target, const rx_target_index &index, rx_expr *value);
void rx_add_signal(rx_build &build, rx_signal_form form, unsigned line, rx_expr *first, rx_expr *second,
                   rx_expr *handler);
void rx_add_call(rx_build &build, rx_expr *name, rx_expr *args);
void rx_add_parse(rx_build &build, unsigned line, bool upper, rx_parse_source source, rx_expr *operand,
                  rx_expr *template_);
void rx_add_address(rx_build &build, unsigned line, bool set, bool value, rx_expr *target, rx_expr *command);
void rx_add_numeric(rx_build &build, unsigned line, rx_numeric_form_kind form, rx_expr *expr);
void rx_add_trace(rx_build &build, unsigned line, rx_expr *setting, bool value);

// ---- structures -----------------------------------------------------------------------------------------------------

void rx_open_if(rx_build &build);
void rx_test_if(rx_build &build, rx_expr *cond);
void rx_open_else(rx_build &build);
/// `with_else`: the chain that ends is the ELSE branch.
void rx_close_if(rx_build &build, bool with_else);

void rx_open_do(rx_build &build, unsigned line);
void rx_set_do(rx_build &build, rx_do_form form, rx_expr *control, rx_expr *expr);
/// Error 27 when the phrase was there already.
void rx_set_do_phrase(rx_build &build, rx_do_phrase phrase, rx_expr *expr);
void rx_set_do_condition(rx_build &build, rx_do_condition kind, rx_expr *cond);
/// Error 27 unless the name behind END is the control variable's.
void rx_check_end_name(rx_build &build, const rx_expr *name);
void rx_close_do(rx_build &build, unsigned end_line);

void rx_open_select_clause(rx_build &build, unsigned line);
void rx_test_when(rx_build &build, rx_expr *cond);
void rx_close_when(rx_build &build);
/// Error 53 in front of the first WHEN.
void rx_open_otherwise(rx_build &build);
/// Error 7 without a WHEN. `with_otherwise`: the chain that ends is the OTHERWISE part.
void rx_close_select(rx_build &build, bool with_otherwise, unsigned end_line);
