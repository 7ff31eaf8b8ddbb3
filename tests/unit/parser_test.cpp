// The tree: how operators group, what clauses hold, and which error number stands when a parse fails.
#include "base/messages.h"
#include "base/output.h"
#include "base/raise.h"
#include "front/parse.h"
#include "front/report.h"
#include "front/scan.h"

#include <gtest/gtest.h>

namespace {

/// A parse of its own, kept alive for the tree.
struct parsed {
    rx_arena arena;
    rx_label_table labels;
    std::vector<unsigned> lines;
    rx_clause_cell *head = nullptr;
    bool failed = false;

    explicit parsed(std::string_view source) {
        *rx_modes = rx_modes_record{};
        rx_scan_result scanned = lex(source, arena);
        EXPECT_EQ(scanned.error, 0) << source;
        try {
            head = rx_parse_tokens(scanned.tokens, {arena, labels, &lines});
        } catch (const rx_jmp_parse &) {
            failed = true;
        }
    }

    template <class T> const T &clause(size_t index = 0) const {
        const rx_clause_cell *cell = head;
        for (; index > 0; index--) cell = cell->next;
        return *static_cast<const T *>(cell->clause);
    }
};

std::string shown(const rx_expr *node);

std::string shown(const rx_operand &operand) {
    return operand.kind == NOLEX ? "_" : shown(operand.node);
}

/// An expression with every operation in parentheses, its name without "fx_" in front.
std::string shown(const rx_expr *node) {
    if (!node) return "none";
    if (node->type == VIDE) return "VIDE";
    if (node->type == STRING) return "'" + std::string(node->text) + "'";
    if (node->type != OP_NODE) return std::string(node->text) + (node->flag == 2 ? "*" : "");
    const rx_op &op = *node->op;
    std::string text = "(";
    if (op.kind == RX_CALL) {
        text += "call " + std::string(op.name->text);
        for (const rx_expr *arg = op.args; arg; arg = arg->next) text += " " + shown(arg);
        return text + ")";
    }
    text += std::string(op.fn->name).substr(3) + " " + shown(op.a);
    if (op.kind != RX_MONADIC) text += " " + shown(op.b);
    if (op.kind == RX_INDEX) text += " " + shown(op.c);
    return text + ")";
}

std::string chain(const rx_expr *first) {
    std::string text;
    for (; first; first = first->next) text += (text.empty() ? "" : " ") + shown(first);
    return text;
}

std::string expression(std::string_view source) {
    parsed program("say " + std::string(source));
    return program.failed ? "error " + std::to_string(rx_error.number) : shown(program.clause<rx_expr_clause>().expr);
}

TEST(parser, precedence) {
    struct sample {
        const char *source, *tree;
    };
    for (const sample &each : std::initializer_list<sample>{
             {"a < b = c", "(inf A (eq B C))"},
             {"a = b < c", "(inf (eq A B) C)"},
             {"a == b = c", "(eq (eeq A B) C)"},
             {"2**3**2", "(exp '2' (exp '3' '2'))"},
             {"-2**2", "(exp (umin '2') '2')"},
             {"a | b & c && d", "(xor (or A (and B C)) D)"},
             {"a b || c + d * e ** f", "(conc (bl A B) (plus C (mult D (exp E F))))"},
             {"a - b - c // d % e / f", "(min (min A B) (div (idiv (rem C D) E) F))"},
             {"a ** b \xAD c", "(exp A (eqic B C))"},
             {"a = b \\\xAD c", "(eq A (neqic B C))"},
             {"a \xBD b ** c", "(exp (conc_rho A B) C)"},
             {"a \xBD b \\ c", "(conc_rho A (conc_not B C))"},
             {"\xBD a \\ b", "(rho (conc_not A B))"},
             {"\xBD a ** b", "(exp (rho A) B)"},
             {"-a \\ b", "(conc_not (umin A) B)"},
             {"\\a & b", "(and (not A) B)"},
             {"- + \\ a", "(umin (uplus (not A)))"},
             {"a \\= b \\== c", "(nneq (neq A B) C)"},
             {"a >> b << c >= d <= e", "(infeq (supeq (iinf (ssup A B) C) D) E)"},
             {"a >>= b <<= c > d", "(sup (iinfeq (ssupeq A B) C) D)"},
             {"(a + b) * c", "(mult (plus A B) C)"},
             {"`'ls' x`", "(backq (bl 'ls' X))"},
         })
        EXPECT_EQ(expression(each.source), each.tree) << each.source;
}

TEST(parser, indexes) {
    EXPECT_EQ(expression("v[i]"), "(br V I _)");
    EXPECT_EQ(expression("v[i:j + 1]"), "(br V I (plus J '1'))");
    EXPECT_EQ(expression("'abc'[i:]"), "(br2 'abc' I _)");
    EXPECT_EQ(expression("(a b)[:j]"), "(br2 (bl A B) _ J)");
}

TEST(parser, calls) {
    EXPECT_EQ(expression("f()"), "(call F VIDE)");
    EXPECT_EQ(expression("f(a, , g(1))"), "(call F A VIDE (call G '1'))");
    parsed program("say 'f'(1) + 2; say a + b; say -`x`");
    auto calls = [&](size_t index) { return program.clause<rx_expr_clause>(index).expr->op->calls; };
    EXPECT_TRUE(calls(0));
    EXPECT_FALSE(calls(1));
    EXPECT_TRUE(calls(2));
    const rx_op &call = *program.clause<rx_expr_clause>(0).expr->op->a.node->op;
    EXPECT_EQ(call.name->type, STRING);
    EXPECT_EQ(call.name->text, "F");

    struct sample {
        const char *source, *tree;
    };
    for (const sample &each : std::initializer_list<sample>{
             {"call f", ""},
             {"call f 1, 2", "'1' '2'"},
             {"call f (1) + 1", "(plus '1' '1')"},
             {"call f (1, 2)", "'1' '2'"},
             {"call f (1), 2", "'1' '2'"},
             {"call f(1)", "'1'"},
             {"call f ()", "VIDE"},
             {"call f ,2", "VIDE '2'"},
             {"call f'x'", "'x'"},
         }) {
        parsed clause(each.source);
        ASSERT_FALSE(clause.failed) << each.source;
        const rx_op &op = *clause.clause<rx_call_clause>().call;
        EXPECT_EQ(op.kind, RX_CALL);
        EXPECT_EQ(chain(op.args), each.tree) << each.source;
    }
}

TEST(parser, literals) {
    parsed program("say 1.50; say 'a constant of some length'; say ' 7 ' + x");
    const rx_literal &number = *program.clause<rx_expr_clause>(0).expr->literal;
    EXPECT_EQ(number.text->text(), "1.50");
    ASSERT_NE(number.number, nullptr);
    EXPECT_EQ(number.number->real, 1.5);
    EXPECT_EQ(number.number->decimals, 2);
    const rx_expr *token = program.clause<rx_expr_clause>(1).expr;
    EXPECT_EQ(token->flag, 1u);
    EXPECT_EQ(token->literal->text->data(), token->text.data()) << "a longer text is shared with the token";
    EXPECT_EQ(token->literal->number, nullptr);
    EXPECT_EQ(program.clause<rx_expr_clause>(2).expr->op->a.node->literal->number->real, 7.0);
}

TEST(parser, assignments) {
    parsed program("x =; x[2:] = 'y'; x[:3] = 'a'; x[1:2] = b\nx[9] =");
    EXPECT_EQ(program.clause<rx_assign_clause>(0).value, nullptr);
    auto &open_end = program.clause<rx_assign_clause>(1);
    EXPECT_TRUE(open_end.to_open && !open_end.from_open && !open_end.to);
    EXPECT_EQ(shown(open_end.from), "'2'");
    auto &open_start = program.clause<rx_assign_clause>(2);
    EXPECT_TRUE(open_start.from_open && !open_start.to_open && !open_start.from);
    EXPECT_EQ(shown(open_start.to), "'3'");
    EXPECT_EQ(shown(program.clause<rx_assign_clause>(3).to), "'2'");
    auto &one = program.clause<rx_assign_clause>(4);
    EXPECT_TRUE(one.from && !one.to && !one.to_open && !one.value);
    EXPECT_EQ(one.line, 1u);
}

TEST(parser, name_lists) {
    EXPECT_EQ(chain(parsed("DROP (a) b").clause<rx_names_clause>().names), "A* B");
    EXPECT_EQ(chain(parsed("procedure expose a. (b) (c) d").clause<rx_names_clause>().names), "A. B* C* D");
    EXPECT_EQ(parsed("upper a (b)").clause<rx_names_clause>().kind, CL_UPPER);
    EXPECT_EQ(parsed("procedure").clause<rx_names_clause>().names, nullptr);
}

TEST(parser, do_headers) {
    parsed program(
        "do i = 1 for 2 to 3 while x\n say\nend i\ndo w in a; end\ndo 3 until x; end\ndo; end\ndo forever; end");
    auto &controlled = program.clause<rx_do_clause>(0);
    EXPECT_EQ(controlled.form, DO_CONTROLLED);
    EXPECT_EQ(shown(controlled.control), "I");
    EXPECT_EQ(shown(controlled.to), "'3'");
    EXPECT_EQ(shown(controlled.for_), "'2'");
    EXPECT_EQ(controlled.by, nullptr);
    EXPECT_EQ(controlled.order[0], DO_FOR);
    EXPECT_EQ(controlled.order[1], DO_TO);
    EXPECT_EQ(controlled.order[2], DO_NO_PHRASE);
    EXPECT_EQ(controlled.cond_kind, DO_WHILE);
    EXPECT_EQ(controlled.end_line, 2u);
    EXPECT_EQ(controlled.body->clause->kind, CL_SAY);
    EXPECT_EQ(controlled.body->next->clause, nullptr);
    EXPECT_EQ(program.clause<rx_do_clause>(1).form, DO_WORDS);
    EXPECT_EQ(program.clause<rx_do_clause>(2).form, DO_COUNT);
    EXPECT_EQ(program.clause<rx_do_clause>(2).cond_kind, DO_UNTIL);
    EXPECT_EQ(program.clause<rx_do_clause>(3).form, DO_PLAIN);
    EXPECT_EQ(program.clause<rx_do_clause>(4).form, DO_FOREVER);
}

TEST(parser, branches) {
    parsed program(
        "if a then; else b\nif c then if d then e; else f\nselect\nwhen g then h\nwhen i then\nj\notherwise k; l\nend");
    ASSERT_FALSE(program.failed);
    auto &empty_then = program.clause<rx_if_clause>(0);
    EXPECT_EQ(empty_then.then_chain->clause, nullptr);
    EXPECT_EQ(empty_then.else_chain->clause->kind, CL_COMMAND);
    auto &outer = program.clause<rx_if_clause>(1);
    EXPECT_EQ(outer.else_chain, nullptr) << "an ELSE belongs to the nearest IF";
    EXPECT_NE(static_cast<const rx_if_clause *>(outer.then_chain->clause)->else_chain, nullptr);
    auto &select = program.clause<rx_select_clause>(2);
    EXPECT_EQ(select.line, 2u);
    EXPECT_EQ(shown(select.whens->cond), "G");
    EXPECT_EQ(shown(select.whens->next->cond), "I");
    EXPECT_EQ(select.whens->next->next->next, nullptr);
    EXPECT_EQ(select.otherwise_line, 6u);
    EXPECT_EQ(select.end_line, 7u);
    EXPECT_EQ(select.otherwise->next->clause->kind, CL_COMMAND);
}

TEST(parser, labels) {
    parsed program("a: say 1\ndo; b: say 2; end\n'c': a: nop");
    const rx_label *a = rx_find_label(program.labels, "A");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->cell, program.head) << "the first label of a name stays in force";
    EXPECT_EQ(a->frame, nullptr);
    const rx_label *b = rx_find_label(program.labels, "B");
    ASSERT_NE(b, nullptr);
    ASSERT_NE(b->frame, nullptr);
    EXPECT_EQ(b->frame->tail->clause->kind, CL_DO) << "the frame leads to the structure's own cell";
    EXPECT_NE(rx_find_label(program.labels, "c"), nullptr);
    EXPECT_EQ(rx_find_label(program.labels, "C"), nullptr);
}

TEST(parser, parse_and_friends) {
    parsed program(
        "parse upper var x a 'b' +3; if c then arg p, q; else nop\nparse value a b with; pull\nparse external z");
    auto &var = program.clause<rx_parse_clause>(0);
    EXPECT_TRUE(var.upper);
    EXPECT_EQ(var.source, PARSE_VAR);
    EXPECT_EQ(shown(var.operand), "X");
    EXPECT_EQ(chain(var.template_), "A 'b'  '3'");
    auto &arg = *static_cast<const rx_parse_clause *>(program.clause<rx_if_clause>(1).then_chain->clause);
    EXPECT_TRUE(arg.upper);
    EXPECT_EQ(arg.source, PARSE_ARG);
    EXPECT_EQ(chain(arg.template_), "P  Q") << "the template ends at ELSE";
    EXPECT_EQ(shown(program.clause<rx_parse_clause>(2).operand), "(bl A B)");
    EXPECT_EQ(program.clause<rx_parse_clause>(2).template_, nullptr);
    EXPECT_EQ(program.clause<rx_parse_clause>(3).source, PARSE_PULL);
    EXPECT_FALSE(program.clause<rx_parse_clause>(4).upper);
    EXPECT_EQ(program.clause<rx_parse_clause>(4).source, PARSE_LINEIN);
}

TEST(parser, signals_and_settings) {
    parsed program("signal on error name foo; call off halt; signal value x; signal 'y'; leave a; iterate\n"
                   "numeric form engineering; trace value x; address value e; address");
    auto &trap = program.clause<rx_signal_clause>(0);
    EXPECT_EQ(trap.form, SIGNAL_ON_OFF);
    EXPECT_EQ(trap.first->type, ON);
    EXPECT_EQ(trap.second->type, ERROR);
    EXPECT_EQ(trap.handler->text, "FOO");
    EXPECT_EQ(program.clause<rx_signal_clause>(1).form, CALL_ON_OFF);
    EXPECT_EQ(program.clause<rx_signal_clause>(2).form, SIGNAL_VALUE);
    EXPECT_EQ(program.clause<rx_signal_clause>(3).form, SIGNAL_STRING);
    EXPECT_EQ(*program.clause<rx_name_clause>(4).name, "A");
    EXPECT_EQ(program.clause<rx_name_clause>(5).name, nullptr);
    EXPECT_EQ(program.clause<rx_numeric_clause>(6).form, NUMERIC_ENGINEERING);
    EXPECT_TRUE(program.clause<rx_trace_clause>(7).value);
    EXPECT_TRUE(program.clause<rx_address_clause>(8).set && program.clause<rx_address_clause>(8).value);
    EXPECT_FALSE(program.clause<rx_address_clause>(9).set);
}

TEST(parser, executable_lines) {
    parsed program("say 1\n/* no clause */\nnop\nif a then\n say 2\noption mixed");
    EXPECT_EQ(program.lines, (std::vector<unsigned>{0, 2, 4, 3}));
}

TEST(parser, errors) {
    struct sample {
        const char *source;
        int number;
        unsigned line, column;
        const char *extra;
    };
    const char *no_name = "A \"END symbol\" clause may only be used with a controlled repetitive loop";
    for (const sample &each : std::initializer_list<sample>{
             {"say )", 55, 0, 4, nullptr},
             {"x = 1 +\ny = 2", 55, 0, 7, nullptr},
             {"call f(1) 2 3)", 55, 0, 13, nullptr},
             {"if )", 50, 0, 3, nullptr},
             {"if a b c\nsay 1", 18, 0, 8, nullptr},
             {"select; when a; say", 18, 0, 14, nullptr},
             {"select; say 1", 52, 0, 8, nullptr},
             {"select; when a then b; say c; end", 7, 0, 23, nullptr},
             {"select; end", 7, 0, 8, nullptr},
             {"select\notherwise nop; end", 53, 1, 0, nullptr},
             {"drop 'x'; nop", 20, 0, 5, nullptr},
             {"lower +; nop", 20, 0, 6, nullptr},
             {"option foo; nop", 20, 0, 7, nullptr},
             {"numeric form x; nop", 25, 0, 13, nullptr},
             {"parse var 'x' y; nop", 25, 0, 10, nullptr},
             {"do i = 1 to ); nop", 27, 0, 12, nullptr},
             {"do while a while b; nop", 27, 0, 11, nullptr},
             {"do i = 1 to 3 to 4; end", 27, 0, 18, "\"TO\" has been used twice."},
             {"do i = 1 by 3 for 2 by 4; end", 27, 0, 24, "\"BY\" has been used twice."},
             {"do i = 1 for 3 for 4; end", 27, 0, 20, "\"FOR\" has been used twice."},
             {"do; end x", 27, 0, 8, no_name},
             {"do 3; end x; nop", 27, 0, 10, no_name},
             {"do i = 1\nend j; nop", 27, 1, 4, "Only the controlling variable I can be specified."},
             {"leave a b", 28, 0, 9, "LEAVE or ITERATE may only be followed by a SYMBOL."},
             {"iterate 1 + 1; nop", 28, 0, 13, "LEAVE or ITERATE may only be followed by a SYMBOL."},
             {"say 1\ndo i = 1\n say 2", 64, 1, 0, nullptr},
             {"nop\n  if a", 66, 1, 0, nullptr},
             {"do\nselect\nwhen a then do", 65, 1, 0, nullptr},
             {"if a then do", 64, 0, 0, nullptr},
         }) {
        parsed program(each.source);
        EXPECT_TRUE(program.failed) << each.source;
        EXPECT_EQ(rx_error.number, each.number) << each.source;
        EXPECT_EQ(rx_error.line, each.line) << each.source;
        EXPECT_EQ(rx_error.column, each.column) << each.source;
        EXPECT_EQ(rx_error.has_extra, each.extra != nullptr) << each.source;
        EXPECT_EQ(rx_error.extra, each.extra ? each.extra : "") << each.source;
    }
}

TEST(parser, nesting_has_a_limit) {
    std::string parentheses = "say " + std::string(100000, '(');
    EXPECT_TRUE(parsed(parentheses).failed);
    std::string blocks;
    for (int i = 0; i < 2000; i++) blocks += "do\n";
    EXPECT_TRUE(parsed(blocks).failed);
    std::string sum = "say 1";
    for (int i = 0; i < 100000; i++) sum += "+1";
    EXPECT_FALSE(parsed(sum).failed) << "a long expression is no deep one";
}

TEST(parser, a_nul_byte_does_not_end_the_program) {
    EXPECT_TRUE(parsed(std::string_view("say 1\n\0\nsay 2", 13)).failed);
}

// ---- reports -------------------------------------------------------------------------------------------------------

std::string written;

struct report : testing::Test {
    rx_program program;

    void SetUp() override {
        written.clear();
        rx_write_copy = [](std::string_view text) { written += text; };
        program.source = "trace off\nsay 'hi' +\nx = 1\ny = f(\n";
        program.entries.push_back({0, 3, 0, 27, "main.vnd", 0});
        program.entries.push_back({4, 5, 27, 7, "lib.vnd", 0});
        rx_error = {};
        rx_error.number = 55;
    }
    void TearDown() override { rx_write_copy = nullptr; }

    std::string of(unsigned line, unsigned column) {
        written.clear();
        rx_report(program, line, column, false);
        return written;
    }
};

TEST_F(report, shows_the_line_with_a_caret) {
    EXPECT_EQ(of(1, 9),
              "\n    2 +++ say 'hi' +\n                   ^\nError 55 on line 2 in file \"main.vnd\": Syntax error.\n");
    EXPECT_EQ(of(2, 99), "\n    3 +++ x = 1\n              ^\nError 55 on line 3 in file \"main.vnd\": Syntax error.\n")
        << "the caret stays below the line";
    EXPECT_EQ(of(5, 7), "\n    2 +++ \n          ^\nError 55 on line 2 in file \"lib.vnd\": Syntax error.\n");
    EXPECT_EQ(of(4, 0), "\n    1 +++ y = f(\n          ^\nError 55 on line 1 in file \"lib.vnd\": Syntax error.\n");
}

TEST_F(report, start_up_file) {
    program.rc_lines = 1;
    EXPECT_EQ(of(0, 0), "\n    1 (.vandrarc) +++ trace off\n                      ^\nError 55 on line 1 in file "
                        "\"main.vnd\" (while processing \".vandrarc\"): Syntax error.\n");
    EXPECT_EQ(of(1, 0),
              "\n    1 +++ say 'hi' +\n          ^\nError 55 on line 1 in file \"main.vnd\": Syntax error.\n");
    EXPECT_EQ(of(4, 0), "\n    1 +++ y = f(\n          ^\nError 55 on line 1 in file \"lib.vnd\": Syntax error.\n")
        << "a loaded source has no start-up lines";
}

TEST_F(report, extra_text_is_consumed) {
    rx_error.has_extra = true;
    rx_error.extra = "More.";
    std::string with_extra = of(2, 0);
    EXPECT_EQ(with_extra.substr(with_extra.find("Error")),
              "Error 55 on line 3 in file \"main.vnd\": Syntax error.\n\nMore.\n\n");
    EXPECT_EQ(of(2, 0).find("More."), std::string::npos);
    rx_report(program, 2, 0, true);
    EXPECT_EQ(written, of(2, 0)) << "nothing is reported while SYNTAX is trapped";
}

TEST_F(report, interpreted_text) {
    rx_report_interpreted("say 1\nsay (", 1, 4, false);
    EXPECT_EQ(written, "\n    *interpreted* say (\n                      ^\nError 55: Syntax error.\n");
}

TEST_F(report, lines_of_a_program) {
    std::string_view text;
    EXPECT_TRUE(rx_source_line(program, 0, text));
    EXPECT_EQ(text, "trace off");
    EXPECT_TRUE(rx_source_line(program, 4, text));
    EXPECT_EQ(text, "y = f(");
    EXPECT_FALSE(rx_source_line(program, 6, text));
}

TEST(messages, catalogue) {
    EXPECT_EQ(rx_error_text(42), "Arithmetics overflow/underflow.");
    EXPECT_EQ(rx_error_text(98), "Invalid SIGNAL name.");
    EXPECT_EQ(rx_error_text(3), "");
    EXPECT_EQ(rx_error_text(77), "");
    EXPECT_EQ(rx_error_text(99), "Unknown error.");
    int named = 0;
    for (int number = 0; number < 99; number++) named += !rx_error_text(number).empty();
    EXPECT_EQ(named, 71);
}

} // namespace
