// The token stream that the grammar reads: which words are keywords, which blanks concatenate, where tokens stand.
#include "front/keywords.h"
#include "front/scan.h"

#include <gtest/gtest.h>

namespace {

/// One token in a form that is easy to read: <say> a keyword, A a symbol, F$ a name in front of its "(", 1 a constant,
/// 'x' a quoted string, _ a blank that concatenates, @SH an environment, {name} an operator with a code of its own.
std::string shown(const rx_expr &token) {
    std::string text(token.text);
    switch (token.type) {
    case SYMBOL: return text;
    case FUNCTION: return text + "$";
    case SFUNCTION: return "'" + text + "'$";
    case STRING: return token.flag == 1 ? "'" + text + "'" : text;
    case VIDE: return "VIDE";
    case ENVIRON: return "@" + text;
    case ' ': return "_";
    case OP_CONC: return "||";
    default: break;
    }
    if (rx_is_word(token.type)) return "<" + text + ">";
    if (token.type > 0 && token.type < 256) return std::string(1, static_cast<char>(token.type));
    return "{" + std::to_string(token.type) + text + "}";
}

std::string stream(std::string_view text) {
    *rx_modes = rx_modes_record{};
    rx_arena arena;
    rx_scan_result result = lex(text, arena);
    if (result.error) {
        return "error " + std::to_string(result.error) + " at " + std::to_string(result.error_line) + ":" +
               std::to_string(result.error_column);
    }
    std::string all;
    for (const rx_expr *token : result.tokens) all += (all.empty() ? "" : " ") + shown(*token);
    return all;
}

struct sample {
    std::string_view source;
    std::string_view tokens;
};

void expect_streams(std::initializer_list<sample> samples) {
    for (const sample &each : samples) EXPECT_EQ(stream(each.source), each.tokens) << each.source;
}

std::string code(int operator_code) {
    return "{" + std::to_string(operator_code) + "}";
}

TEST(scanner, every_keyword_in_any_case) {
    EXPECT_EQ(rx_keyword("address"), ADDRESS);
    EXPECT_EQ(rx_keyword("NoGlobalV"), NOGLOBALV);
    EXPECT_EQ(rx_keyword("ENGINEERING"), ENGINEERING);
    EXPECT_EQ(rx_keyword("external"), LINEIN);
    for (const char *word :
         {"ENVIRON", "FUNCTION", "SFUNCTION", "VIDE", "SYMBOL", "STRING", "", "i", "SAYS", "ENGINEERINGS"})
        EXPECT_EQ(rx_keyword(word), 0) << word;
    int found = 0;
    for (const char *word :
         {"BY",        "CALL",     "CD",      "DIGITS",    "DO",      "DROP",       "ELSE",   "END",      "ERROR",
          "EXIT",      "EXPOSE",   "FAILURE", "FOR",       "FOREVER", "FORM",       "FUZZ",   "HALT",     "IF",
          "INTERPRET", "ITERATE",  "LEAVE",   "LINEIN",    "LOWER",   "NAME",       "NOP",    "NOTREADY", "NOVALUE",
          "NUMERIC",   "OFF",      "ON",      "OTHERWISE", "PARSE",   "PROCEDURE",  "PULL",   "PUSH",     "QUEUE",
          "RETURN",    "SAY",      "SAYN",    "SAYX",      "SAYR",    "SCIENTIFIC", "SELECT", "SIGNAL",   "SOURCE",
          "SYNTAX",    "TEMPLATE", "THEN",    "TO",        "TRACE",   "UNTIL",      "UPPER",  "VALUE",    "VAR",
          "VERSION",   "WHEN",     "WHILE",   "WITH",      "IN",      "OPTION",     "MIXED",  "SETENV",   "UNSETENV",
          "LOAD",      "NOLOAD",   "GLOBALV", "ARG"})
        found += rx_keyword(word) != 0;
    EXPECT_EQ(found, 67);
}

TEST(scanner, strings) {
    expect_streams({
        {"a = 'x''y'", "A = 'x'y' ;"},
        {"say \"it's\" ''", "<say> 'it's' _ '' ;"},
        {"say '41'x", "<say> 'A' ;"},
        {"say '41'xy", "<say> '41' || XY ;"},
        {"say '4 1'x", "error 15 at 0:4"},
        {"say ''x '0100 0001'B", "<say> '' _ 'A' ;"},
        {"a\n say '2'b", "error 67 at 1:5"},
        {"say 'a\n'", "error 1 at 0:4"},
        {"x=\"a'", "error 2 at 0:2"},
        {"say 'don''", "error 1 at 0:4"},
    });
}

TEST(scanner, comments_separate_nothing) {
    expect_streams({
        {"a/* */b", "A || B ;"},
        {"say /* /* x */ y */ 1", "<say> 1 ;"},
        {"say\n /* one /* two */", "error 6 at 1:1"},
        {"# all of it ' is a comment\nsay #", "<say> # ;"},
        {"say 1 # 2", "<say> 1 _ # _ 2 ;"},
        {"say 1/*/*/", "error 6 at 0:7"},
    });
}

TEST(scanner, constants_and_symbols) {
    expect_streams({
        {"say 1e+5 1e5 .5e-3 12ab", "<say> 1e+5 _ 1e5 _ .5e-3 _ 12ab ;"},
        {"say ae+3 1e+", "<say> AE + 3 _ 1e+ ;"},
        {"say . .a .1 a.b..c", "<say> . _ .A _ .1 _ A.B..C ;"},
        {"x = 1\n 12a = 3", "error 31 at 1:3"},
        {"1 == 2", "error 31 at 0:0"},
        {"say 1 = 2", "<say> 1 = 2 ;"},
        {"caf\xc3\xa9", "CAF \xc3 \xa9 ;"},
    });
}

TEST(scanner, operators_take_the_longest_spelling) {
    std::string eeq = code(OP_EEQ), neq = code(OP_NEQ), nneq = code(OP_NNEQ), negate = code(OP_NOT);
    EXPECT_EQ(stream("a = = b"), "A " + eeq + " B ;");
    EXPECT_EQ(stream("a | | b"), "A || B ;");
    EXPECT_EQ(stream("a ^== b"), "A " + nneq + " B ;");
    EXPECT_EQ(stream("a <> b"), "A " + neq + " B ;");
    EXPECT_EQ(stream("a =\\b"), "A = " + negate + " B ;");
    EXPECT_EQ(stream("a === b"), "A " + eeq + " = B ;");
    EXPECT_EQ(stream("a /* no operator */ / b"), "A / B ;");
    EXPECT_EQ(stream("a /<<b"), "A " + code(OP_SSUP_EQ) + " B ;");
    EXPECT_EQ(stream("a \xAD b ~\xAD c \xBD d"),
              "A " + code(OP_EQIC) + " B " + code(OP_NEQIC) + " C " + code(OP_RHO) + " D ;");
    EXPECT_EQ(stream("a /"), "A {348/} ;");
}

TEST(scanner, continuation) {
    expect_streams({
        {"x = a ,\n b", "X = A _ B ;"},
        {"x = a,\n b", "X = A _ B ;"},
        {"x = f(a, /* more\n lines */ \r\n b)", "X = F$ ( A _ B ) ;"},
        {"x = f(a,\t\n b)", "X = F$ ( A , VIDE ; B ) ;"},
        {"x = a +,\n b", "X = A + B ;"},
        {"x = f(a, b)", "X = F$ ( A , B ) ;"},
    });
}

TEST(scanner, braces) {
    expect_streams({
        {"if x then {\n say 1\n}\nelse { say 2 }",
         "<if> X <then> <DO> ; <say> 1 ; ; <END> <else> <DO> ; <say> 2 ; <END> ;"},
    });
}

TEST(scanner, words_are_keywords_only_where_they_can_be) {
    expect_streams({
        {"if = 3", "IF = 3 ;"},
        {"say=5", "SAY = 5 ;"},
        {"x = 1 to 3", "X = 1 _ TO _ 3 ;"},
        {"do to = 1 to 3; end", "<do> TO = 1 <to> 3 ; <end> ;"},
        {"do while x to y; end", "<do> <while> X _ TO _ Y ; <end> ;"},
        {"do forever until x; end", "<do> <forever> <until> X ; <end> ;"},
        {"do w in list; end w", "<do> W <in> LIST ; <end> W ;"},
        {"say in; in = 1", "<say> IN ; IN = 1 ;"},
        {"if a then b; else c", "<if> A <then> B <else> C ;"},
        {"if a\n then\n /* here */ b\nelse\n c", "<if> A <then> B <else> C ;"},
        {"if a then say then", "<if> A <then> <say> THEN ;"},
        {"then = 5; else = 6", "THEN = 5 ; ELSE = 6 ;"},
        {"if a then b; else: c", "<if> A <then> B ; ELSE : ; C ;"},
        {"nop; nop 1", "<nop> ; NOP _ 1 ;"},
        {"select; when a then nop; otherwise\n say 1; end",
         "<select> ; <when> A <then> <nop> ; <otherwise> <say> 1 ; <end> ;"},
        {"select; when a then b; otherwise select; when c then d; end; end",
         "<select> ; <when> A <then> B ; <otherwise> <select> ; <when> C <then> D ; <end> ; <end> ;"},
        {"select a", "SELECT _ A ;"},
        {"call say 1; call else; call on", "<call> SAY _ 1 ; <call> ELSE ; <call> <on> ;"},
        {"call = 1; call: nop", "CALL = 1 ; CALL : ; <nop> ;"},
        {"call on error name say; say", "<call> <on> <error> <name> SAY ; <say> ;"},
        {"if a then call off halt; else nop", "<if> A <then> <call> <off> <halt> <else> <nop> ;"},
        {"signal end; signal on syntax; signal value f(x)",
         "<signal> END ; <signal> <on> <syntax> ; <signal> <value> F$ ( X ) ;"},
        {"signal (x); signal = 1", "<signal> <VALUE> ( X ) ; SIGNAL = 1 ;"},
        {"procedure expose a; procedure; expose = 1", "<procedure> <expose> A ; <procedure> ; EXPOSE = 1 ;"},
        {"numeric digits 5; numeric form value x; numeric form (x); digits = 1",
         "<numeric> <digits> 5 ; <numeric> <form> <value> X ; <numeric> <form> <VALUE> ( X ) ; DIGITS = 1 ;"},
        {"trace off; trace value x; trace -5", "<trace> OFF ; <trace> <value> X ; <trace> <VALUE> - 5 ;"},
        {"exit; return -1; leave x; end: x", "<exit> ; <return> - 1 ; <leave> X ; END : ; X ;"},
        {"drop; drop a", "DROP ; <drop> A ;"},
        {"a: say 1; b: c: say", "A : ; <say> 1 ; B : ; C : ; <say> ;"},
        {"template = 1", "<template> = 1 ;"},
    });
}

TEST(scanner, address) {
    expect_streams({
        {"address sh 'ls'", "<address> @SH 'ls' ;"},
        {"address 'sh' cmd x", "<address> @SH CMD _ X ;"},
        {"address end", "<address> @END ;"},
        {"address; address value x", "<address> ; <address> <value> X ;"},
        {"address (x) y", "<address> <VALUE> ( X ) _ Y ;"},
        {"address = 1", "ADDRESS = 1 ;"},
        {"address \nsay 1", "<address> @ SAY _ 1 ;"},
        {"address\nsay 1", "<address> ; <say> 1 ;"},
    });
}

TEST(scanner, templates_keep_their_shape) {
    expect_streams({
        {"parse arg template", "<parse> <arg> TEMPLATE ;"},
        {"parse upper var x a'b'(c) +3 .", "<parse> <upper> <var> X A 'b' ( C ) + 3 . ;"},
        {"parse value x'a' with b 'c'd", "<parse> <value> X || 'a' <with> B 'c' D ;"},
        {"parse upper pull pull arg; arg a,,b; pull", "<parse> <upper> <pull> PULL ARG ; <arg> A , , B ; <pull> ;"},
        {"parse var source version; parse numeric numeric",
         "<parse> <var> SOURCE VERSION ; <parse> <numeric> NUMERIC ;"},
        {"arg value name", "<arg> VALUE NAME ;"},
        {"parse it; arg = 1; pull(x)", "PARSE _ IT ; ARG = 1 ; <pull> ( X ) ;"},
        {"if c then parse arg a; else say 'a'b.", "<if> C <then> <parse> <arg> A <else> <say> 'a' || B. ;"},
    });
}

TEST(scanner, blanks_and_abuttal) {
    expect_streams({
        {"say a b", "<say> A _ B ;"},
        {"say  a\t  b ", "<say> A _ B ;"},
        {"say a (b)", "<say> A _ ( B ) ;"},
        {"say a + b", "<say> A + B ;"},
        {"say (a) b", "<say> ( A ) _ B ;"},
        {"say (a) (b)", "<say> ( A ) || ' ' || ( B ) ;"},
        {"say (a)(b)c'd'", "<say> ( A ) || ( B ) || C || 'd' ;"},
        {"say x[1] 'a'", "<say> X [ 1 ] || ' ' || 'a' ;"},
        {"say x[1:2]y", "<say> X [ 1 : ; 2 ] || Y ;"},
        {"say 'a' f(1) (2)", "<say> 'a' _ F$ ( 1 ) || ' ' || ( 2 ) ;"},
        {"say a -b", "<say> A - B ;"},
        {"drop a (b) c", "<drop> A _ ( B ) _ C ;"},
        {"call f 'x' y", "<call> F _ 'x' _ Y ;"},
        {"call f'x'y", "<call> F 'x' || Y ;"},
    });
}

TEST(scanner, calls_and_omitted_arguments) {
    expect_streams({
        {"say f()", "<say> F$ ( VIDE ) ;"},
        {"say f(,a,,)", "<say> F$ ( VIDE , A , VIDE , VIDE ) ;"},
        {"call f , a,;", "<call> F VIDE , A , VIDE ;"},
        {"say 'Up'(1) './Up'(1) 'c:Up'(1)", "<say> 'UP'$ ( 1 ) _ './Up'$ ( 1 ) _ 'c:Up'$ ( 1 ) ;"},
        {"say say(1)", "<say> SAY$ ( 1 ) ;"},
    });
}

TEST(scanner, option_words_take_effect_the_first_time) {
    EXPECT_EQ(stream("say aB; option lower setenv noload noglobalv; option upper unsetenv"),
              "<say> ab ; <option> <lower> <setenv> <noload> <noglobalv> ; <option> <upper> <unsetenv> ;");
    EXPECT_EQ(rx_modes->case_mode, RX_LOWER);
    EXPECT_EQ(rx_modes->env_mode, RX_SETENV);
    EXPECT_EQ(rx_modes->load_mode, RX_NOLOAD);
    EXPECT_EQ(rx_modes->globalv_mode, RX_NOGLOBALV);
    EXPECT_EQ(stream("option mixed; say aB; mixed = load"), "<option> <mixed> ; <say> aB ; mixed = load ;");
    EXPECT_EQ(rx_modes->load_mode, RX_LOAD_UNSET);
}

TEST(scanner, positions_and_line_count) {
    *rx_modes = rx_modes_record{};
    rx_arena arena;
    rx_scan_result result = lex("say abc 'de'\r\n  x = '61'x /* \n */ 'f'\n", arena);
    std::string places;
    for (const rx_expr *token : result.tokens) {
        places += shown(*token) + " " + std::to_string(token->line) + ":" + std::to_string(token->column) + ", ";
    }
    EXPECT_EQ(places, "<say> 0:0, ABC 0:4, _ 0:7, 'de' 0:8, ; 0:13, "
                      "X 1:2, = 1:4, 'a' 1:10, _ 1:11, 'f' 2:6, ; 2:7, ");
    EXPECT_EQ(result.lines, 3u);
    EXPECT_EQ(lex("say 1", arena).lines, 1u);
    EXPECT_EQ(lex("say 1\n\n", arena).lines, 2u);
}

TEST(scanner, symbols_of_one_spelling_share_their_parts) {
    *rx_modes = rx_modes_record{};
    rx_arena arena;
    rx_scan_result result = lex("a.b.c = A.b.C", arena);
    const rx_symbol *left = result.tokens[0]->symbol, *right = result.tokens[2]->symbol;
    EXPECT_EQ(left, right);
    ASSERT_EQ(left->tail_count, 2u);
    EXPECT_EQ(left->stem, "A");
    EXPECT_EQ(left->tails[1].text, "C");
}

TEST(scanner, a_string_may_hold_any_byte) {
    std::string source = "say 'a\0b'";
    source = std::string("say 'a") + '\0' + "b' ";
    rx_arena arena;
    rx_scan_result result = lex(source, arena);
    ASSERT_GE(result.tokens.size(), 2u);
    EXPECT_EQ(result.tokens[1]->text, (std::string_view{"a\0b", 3}));
}

} // namespace
