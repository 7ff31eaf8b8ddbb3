// The program tree.
//
// A token of the scanner and a node of an expression are one and the same record, rx_expr. A symbol or constant in an
// expression is simply the scanner's token; an operator, a call or an index is a further rx_expr of type OP_NODE that
// points to an rx_op. Clauses are records of one struct per kind, all beginning with rx_clause, held in chains of
// rx_clause_cell; control structures own nested chains. A chain always ends in an empty cell.
//
// Everything in a tree lives in the arena of the program (or of the interpreted text) that it belongs to; nothing is
// freed one by one. Lines and columns count from 0. The line of a source that was loaded after the main one is already
// offset to the program-wide numbering.
#pragma once

#include "base/arena.h"
#include "base/modes.h"
#include "values/operators.h"
#include "values/symbol.h"
#include "values/value.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// ---- token and node codes -------------------------------------------------------------------------------------------

// clang-format off
enum rx_token : int {
    OP_NODE = -3, NOLEX = -2,
    SYMBOL = 258, STRING = 259, VIDE = 260, ADDRESS = 261, ARG = 262, BY = 263, CALL = 264, DIGITS = 265, DO = 266,
    DROP = 267, ELSE = 268, END = 269, ENGINEERING = 270, EXIT = 271, EXPOSE = 272, FOR = 273, FOREVER = 274,
    FORM = 275, FUZZ = 276, IF = 277, INTERPRET = 278, ITERATE = 279, LEAVE = 280, LINEIN = 281, NOP = 282,
    NUMERIC = 283, OFF = 284, ON = 285, OTHERWISE = 286, PARSE = 287, PROCEDURE = 288, PULL = 289, PUSH = 290,
    QUEUE = 291, RETURN = 292, SAY = 293, SAYN = 294, SAYX = 295, SAYR = 296, SCIENTIFIC = 297, SELECT = 298,
    SIGNAL = 299, SOURCE = 300, THEN = 301, TO = 302, TRACE = 303, UNTIL = 304, UPPER = 305, VALUE = 306, VAR = 307,
    VERSION = 308, WHILE = 309, WITH = 310, WHEN = 311, ERROR = 312, FAILURE = 313, HALT = 314, NOVALUE = 315,
    SYNTAX = 316, TEMPLATE = 317, ENVIRON = 318, LOWER = 319, CD = 320, FUNCTION = 321, NAME = 322, NOTREADY = 323,
    SFUNCTION = 324, IN = 325, OPTION = 326, MIXED = 327, SETENV = 328, UNSETENV = 329, LOAD = 330, NOLOAD = 331,
    OP_XOR = 332, OP_IINF_EQ = 333, OP_INF_EQ = 334, OP_SSUP_EQ = 335, OP_SUP_EQ = 336, OP_IINF = 337, OP_SSUP = 338,
    OP_NNEQ = 339, OP_NEQ = 340, OP_EEQ = 341, OP_CONC = 342, OP_REMAIN = 343, OP_EXP = 344, OP_RHO = 345,
    OP_NEQIC = 346, OP_EQIC = 347, OP_NOT = 348, GLOBALV = 349, NOGLOBALV = 350
};
// clang-format on

struct rx_op;

/// A constant as the engine reads it: the text, and what rx_number_of says of it.
struct rx_literal {
    const rx_value *text;   ///< a string that shares the token's text
    const rx_value *number; ///< null when the text is no number
};

struct rx_expr {
    int type = 0;      ///< rx_token, or a character
    unsigned flag = 0; ///< 1 a quoted string; 2 a name in parentheses in a name list; 0 anything else
    unsigned line = 0;
    unsigned column = 0;
    std::string_view text; ///< no data for punctuation and operator nodes; NUL-terminated otherwise
    union {
        rx_symbol *symbol = nullptr; ///< SYMBOL and FUNCTION tokens
        rx_literal *literal;         ///< STRING tokens, once they are part of a tree
        rx_op *op;                   ///< OP_NODE
    };
    rx_expr *next = nullptr; ///< next element of an argument list, a name list or a template
};

/// One operand. `kind` is OP_NODE, SYMBOL, STRING, or NOLEX for an index that wasn't written (`node` is null then).
struct rx_operand {
    int kind = NOLEX;
    rx_expr *node = nullptr;
    mutable const void *ready = nullptr; ///< what the quick road needs of the node: its symbol, number or rx_op
};

enum rx_op_kind : uint8_t { RX_MONADIC = 1, RX_DYADIC = 2, RX_CALL = 3, RX_INDEX = 4 };

struct rx_label; // below
struct rx_plain; // values/arithmetic.h

struct rx_op {
    rx_op_kind kind;
    bool calls = false;                   ///< this node or one below it runs a routine, a built-in or a command
    const rx_operator *fn = nullptr;      ///< kinds 1, 2 and 4
    rx_operand a, b, c;                   ///< operands in order; an index has the value, the first and the last index
    rx_expr *name = nullptr;              ///< kind 3: the name token, SYMBOL or STRING
    rx_expr *args = nullptr;              ///< kind 3: the argument chain
    uint32_t argument_count = 0;          ///< kind 3: how many there are; `f()` has none
    mutable uint32_t own_line = 0;        ///< kind 3: where the name stands in its own source, from 1; by `target`
    mutable const void *target = nullptr; ///< kind 3: the engine's cache of what the name resolved to
    mutable uint64_t target_serial = 0;   ///< the serial number of the program, times 4, and the kind of target
    mutable uint32_t argument = 0;        ///< kind 3: n of an `arg(n)` that resolved to the built-in, else 0
    mutable int8_t quick_left = 0;        ///< how often the quick road may still fail here; 0 not looked at, -1 never
    mutable rx_plain (*quick)(const rx_op &op) = nullptr; ///< computes the node on the quick road
    mutable rx_plain (*quick_form)(const rx_value *const *args, size_t count) = nullptr; ///< kind 3: what that calls
};

// ---- clauses --------------------------------------------------------------------------------------------------------

enum rx_clause_kind : uint8_t {
    CL_COMMAND = 0,
    CL_ASSIGN = 1,
    CL_IF = 2,
    CL_SAY = 3,
    CL_DO = 4,
    CL_LEAVE = 5,
    CL_ITERATE = 6,
    CL_SELECT = 7,
    CL_LABEL = 8,
    CL_EXIT = 9,
    CL_RETURN = 10,
    CL_SIGNAL = 11,
    CL_CALL = 12,
    CL_PUSH = 13,
    CL_QUEUE = 14,
    CL_PROCEDURE = 15,
    CL_PARSE = 16,
    CL_ADDRESS = 17,
    CL_DROP = 18,
    CL_INTERPRET = 19,
    CL_NUMERIC = 20,
    CL_SAYN = 21,
    CL_UPPER = 22,
    CL_LOWER = 23,
    CL_SOURCE_BREAK = 24,
    CL_TRACE = 25,
    CL_CD = 26,
    CL_SAYX = 27,
    CL_SAYR = 29
};

struct rx_clause {
    rx_clause_kind kind;
    unsigned line;
};

/// `outer` of a chain's last (empty) cell is null; see rx_build_frame for how a label finds the cell behind its chain.
struct rx_clause_cell {
    rx_clause *clause = nullptr;
    rx_clause_cell *next = nullptr;
};

/// The saved context of an enclosing chain while a nested one is built. It lives as long as the program: labels point
/// to it, and `resume` is the (then empty) cell of the enclosing chain into which the structure's own clause goes.
struct rx_build_frame {
    rx_clause_cell *tail; ///< the enclosing chain's tail when the nested chain was opened: the structure's own cell
    rx_clause_cell *head;
    rx_build_frame *outer;
};

/// CL_COMMAND, CL_SAY, CL_SAYN, CL_SAYX, CL_SAYR, CL_EXIT, CL_RETURN, CL_PUSH, CL_QUEUE, CL_INTERPRET, CL_CD.
struct rx_expr_clause : rx_clause {
    rx_expr *expr; ///< null when absent
};

/// How an assignment is tried first; the engine finds it out when the clause runs for the first time.
enum rx_assign_road : uint8_t {
    ASSIGN_UNKNOWN,
    ASSIGN_NUMBER,
    ASSIGN_PLAIN,
    ASSIGN_COPY,
    ASSIGN_APPEND,
    ASSIGN_GENERAL
};

struct rx_assign_clause : rx_clause {
    rx_expr *target;         ///< a SYMBOL
    rx_expr *value;          ///< null for `x =`
    rx_expr *from, *to;      ///< indexes, null when absent
    bool from_open, to_open; ///< the open side of `x[:j] =` and `x[i:] =`
    mutable rx_assign_road road;
};

struct rx_if_clause : rx_clause {
    rx_expr *cond;
    rx_clause_cell *then_chain;
    rx_clause_cell *else_chain; ///< null without ELSE
    unsigned else_line;         ///< of the token in front of the ELSE branch
};

enum rx_do_form : uint8_t { DO_COUNT = 7, DO_FOREVER = 8, DO_CONTROLLED = 9, DO_PLAIN = 10, DO_WORDS = 11 };
enum rx_do_condition : uint8_t { DO_WHILE = 4, DO_UNTIL = 5, DO_NO_CONDITION = 6 };
enum rx_do_phrase : uint8_t { DO_NO_PHRASE = 0, DO_TO = 1, DO_BY = 2, DO_FOR = 3 };

struct rx_do_clause : rx_clause {
    unsigned end_line;
    rx_do_form form;
    rx_do_condition cond_kind;
    rx_expr *expr; ///< count, initial value or collection
    rx_expr *to, *by, *for_;
    rx_expr *cond;
    rx_expr *control; ///< SYMBOL, forms 9 and 11
    rx_clause_cell *body;
    rx_do_phrase order[3]; ///< TO, BY and FOR as written
};

struct rx_name_clause : rx_clause { ///< CL_LEAVE, CL_ITERATE
    const std::string_view *name;   ///< the symbol's text; null when absent
};

struct rx_when {
    unsigned line, column;
    rx_expr *cond;
    rx_clause_cell *body;
    rx_when *next; ///< the list ends in an empty record whose `next` is null
};

struct rx_select_clause : rx_clause {
    unsigned end_line, otherwise_line;
    rx_when *whens;
    rx_clause_cell *otherwise; ///< null without OTHERWISE
};

struct rx_label_clause : rx_clause {
    std::string_view name;
    rx_build_frame *frame; ///< null at the top level of a source
};

enum rx_signal_form : uint8_t {
    SIGNAL_STRING = 0,
    SIGNAL_SYMBOL = 1,
    SIGNAL_ON_OFF = 2,
    SIGNAL_VALUE = 3,
    CALL_ON_OFF = 4
};

struct rx_signal_clause : rx_clause {
    rx_signal_form form;
    rx_expr *first;   ///< the label, or the ON or OFF token
    rx_expr *second;  ///< the condition token, or the expression
    rx_expr *handler; ///< the token behind NAME, or null
};

struct rx_call_clause : rx_clause {
    rx_op *call; ///< kind RX_CALL: name and arguments
};

struct rx_names_clause : rx_clause {   ///< CL_PROCEDURE, CL_DROP, CL_UPPER, CL_LOWER
    rx_expr *names;                    ///< chain, null when absent
    mutable uint32_t level_number = 0; ///< a PROCEDURE: what its levels are kept under, see rx_keep_level
};

enum rx_parse_source : uint8_t {
    PARSE_ARG = 0,
    PARSE_LINEIN = 1,
    PARSE_PULL = 2,
    PARSE_SOURCE = 3,
    PARSE_VALUE = 4,
    PARSE_VAR = 5,
    PARSE_VERSION = 6,
    PARSE_NUMERIC = 7
};

struct rx_template;

struct rx_parse_clause : rx_clause {
    bool upper;
    rx_parse_source source;
    bool plain;         ///< PARSE VAR of a simple variable, with a simple template and without UPPER
    rx_expr *operand;   ///< the VALUE expression or the VAR symbol
    rx_expr *template_; ///< first token of the template, or null
    rx_template *made;  ///< the template, ready for the walk; null without one
};

struct rx_address_clause : rx_clause {
    bool set;         ///< false: swap
    bool value;       ///< target is an expression (ADDRESS VALUE)
    rx_expr *target;  ///< the ENVIRON token or the VALUE expression
    rx_expr *command; ///< or null
};

enum rx_numeric_form_kind : uint8_t {
    NUMERIC_DIGITS = 0,
    NUMERIC_SCIENTIFIC = 1,
    NUMERIC_ENGINEERING = 2,
    NUMERIC_FORM_VALUE = 3,
    NUMERIC_FUZZ = 4
};

struct rx_numeric_clause : rx_clause {
    rx_numeric_form_kind form;
    rx_expr *expr; ///< or null
};

struct rx_trace_clause : rx_clause {
    rx_expr *setting; ///< or null
    bool value;       ///< TRACE VALUE: the setting is an expression
};

// ---- labels ---------------------------------------------------------------------------------------------------------

/// How a routine begins, as far as a call runs it ahead of the walk; found out when it is called first.
struct rx_opening {
    const rx_clause_cell *behind = nullptr;     ///< where the walk begins; null: not found out yet
    const rx_names_clause *procedure = nullptr; ///< a PROCEDURE right behind the label
    const rx_parse_clause *arguments = nullptr; ///< the PARSE ARG that comes next, when rx_takes_each says so
};

struct rx_label {
    std::string_view name;
    rx_clause_cell *cell;  ///< the cell of the label's own clause
    rx_build_frame *frame; ///< null when the label stands at the top level of its source
    unsigned line;
    rx_label *next;
    mutable rx_opening opening = {};
};

/// 128 chains; the first label of a name stays in force.
struct rx_label_table {
    std::array<rx_label *, 128> buckets{};
};

/// The entry of a name, or null.
const rx_label *rx_find_label(const rx_label_table &labels, std::string_view name);

/// Enters a label unless its name is there already; the entry lives in the arena.
void rx_enter_label(rx_label_table &labels, rx_arena &arena, const rx_label &label);

// ---- programs -------------------------------------------------------------------------------------------------------

/// One source that a program is made of. Lines are program-wide, both ends inclusive; in entry 0 `last_line` is the
/// line count.
struct rx_source_entry {
    int first_line = 0;
    int last_line = 0;
    size_t start = 0;  ///< offset of the segment in the program's source text
    size_t length = 0; ///< bytes of the segment
    std::string name;
    int64_t mtime = 0;     ///< compared with the file when the program is used again
    std::string routine{}; ///< the name by which a call loaded it; empty for the main source
};

/// A parsed program, kept between runs when the caller of run_rx wants it.
struct rx_program {
    bool filled = false;  ///< holds a program that can run
    bool spoiled = false; ///< a text that it interpreted couldn't be parsed: it isn't kept
    rx_arena arena;
    rx_label_table labels;
    rx_clause_cell *head = nullptr; ///< first cell of the main chain
    rx_clause_cell *tail = nullptr; ///< a cell near the end of the main chain, once a source was added to it
    std::string source;             ///< all loaded source text, one segment behind the other
    std::vector<rx_source_entry> entries;
    rx_modes_record modes;
    unsigned rc_lines = 0;                       ///< lines that the start-up file put in front of the script
    std::vector<unsigned> exec_lines;            ///< lines that hold a clause, for the debugger
    std::vector<std::unique_ptr<rx_arena>> kept; ///< arenas of texts that must outlive their INTERPRET
    uint64_t serial = 0;                         ///< raised whenever a source or a label is added
};

/// The text of one line (from 0) of a text; empty behind its end.
std::string_view rx_line_of(std::string_view text, size_t line);
