#include "front/parse.h"

#include "base/raise.h"
#include "front/build.h"

int rx_grammar_parse(rx_build &build); // made by the parser generator

namespace {

/// A code that no rule accepts, for the byte whose own code would read as the end of the tokens.
constexpr int unknown_token = 257;

/// Chains the tokens up to the end of the template; null when it is empty.
rx_expr *take_template(rx_build &build) {
    rx_expr *first = nullptr;
    rx_expr **link = &first;
    for (; build.cursor < build.tokens.size(); build.cursor++) {
        rx_expr *token = build.tokens[build.cursor];
        if (token->type == ';' || token->type == ELSE) break;
        *link = token;
        link = &token->next;
    }
    return first;
}

} // namespace

int yylex_gram(rx_build &build, rx_expr *&value) {
    if (build.cursor >= build.tokens.size()) return 0;
    rx_expr *token = build.tokens[build.cursor];
    build.line = token->line;
    build.column = token->column;
    value = token;
    if (build.template_next) {
        build.template_next = false;
        value = take_template(build);
        if (value) return TEMPLATE;
        value = token;
    }
    build.cursor++;
    return token->type == 0 ? unknown_token : token->type;
}

void rx_syntax_error(rx_build &build) {
    int number = build.expected;
    unsigned line = build.line, column = build.column;
    if (build.cursor >= build.tokens.size()) {
        // The text ended: the innermost structure that is still open is to blame.
        const rx_clause *open = nullptr;
        if (!build.selects.empty()) {
            number = 65;
            open = build.selects.back().clause;
        } else if (!build.dos.empty()) {
            number = 64;
            open = build.dos.back();
        } else if (!build.ifs.empty()) {
            number = 66;
            open = build.ifs.back();
        }
        if (open) {
            line = open->line;
            column = 0;
        }
    }
    rx_error.line = line;
    rx_error.column = column;
    rx_raise_parse(number);
}

void rx_build_error(rx_build &build, int number) {
    rx_error.line = build.line;
    rx_error.column = build.column;
    rx_raise_parse(number);
}

void rx_build_error(rx_build &build, int number, std::string extra) {
    rx_error.line = build.line;
    rx_error.column = build.column;
    rx_raise_parse(number, std::move(extra));
}

rx_clause_cell *rx_parse_tokens(const std::vector<rx_expr *> &tokens, const rx_parse_target &target) {
    rx_build build(tokens, target);
    rx_start_chain(build);
    rx_grammar_parse(build);
    return build.head;
}
