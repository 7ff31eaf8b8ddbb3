/* The operands of EXECIO. The actions only store; what an option brings was stored when it was scanned. */

%code top {
/* All of the parser's stack lies on its own frame: exceptions fly through it. */
#define YYINITDEPTH 200
#define YYMAXDEPTH 200
}

%code requires {
struct execio_scan;
}

%code {
#include "commands/execio_operands.h"

static int yylex(int *value, execio_scan &scan) {
    return rx_execio_lex(scan, *value);
}
static void yyerror(execio_scan &, const char *) {
    rx_execio_syntax_error();
}
}

%define api.prefix {rx_execio_grammar_}
%define api.token.prefix {EXECIO_}
%define api.value.type {int}
%define api.pure full
%param {execio_scan &scan}

%token COUNT WORD DISKR DISKW DISKI DISKD PRINT
%token FINIS FIND LOCATE AVOID ZONE LIFO FIFO SKIP MARGINS COLUMNS LINESPAGE RAW STRIP NOTYPE STEM VAR CASE STRING

%%

command
    : COUNT request ')'
    ;

request
    : DISKR fn ft opt_fd read_options { scan.operands.mode = execio_mode::diskr; }
    | DISKW write_place write_options { scan.operands.mode = execio_mode::diskw; }
    | DISKI write_place write_options { scan.operands.mode = execio_mode::diski; }
    | DISKD fn ft fd opt_linenum delete_options { scan.operands.mode = execio_mode::diskd; }
    | PRINT printer write_options { scan.operands.mode = execio_mode::print; }
    ;

fn
    : WORD { scan.operands.fn = scan.words[$1]; }
    ;

ft
    : WORD { scan.operands.ft = scan.words[$1]; }
    ;

fd
    : WORD { scan.operands.fd = scan.words[$1]; scan.operands.has_fd = true; }
    ;

linenum
    : WORD { rx_execio_linenum(scan, $1); }
    ;

printer
    : WORD { rx_execio_printer(scan, $1); }
    ;

opt_fd
    : %empty
    | fd opt_linenum
    ;

opt_linenum
    : %empty
    | linenum
    ;

write_place
    : fn ft fd
    | fn ft fd linenum
    | fn ft fd linenum recfm
    | fn ft fd linenum recfm lrecl
    ;

recfm
    : WORD { rx_execio_recfm(scan, $1); }
    ;

lrecl
    : WORD { rx_execio_lrecl(scan, $1); }
    ;

read_options
    : %empty
    | '('
    | '(' read_list
    ;

read_list
    : read_option
    | read_list read_option
    ;

read_option
    : common_option
    | FIND
    | LOCATE
    | AVOID
    | ZONE
    | LIFO
    | FIFO
    | SKIP
    ;

write_options
    : %empty
    | '('
    | '(' write_list
    ;

write_list
    : write_option
    | write_list write_option
    ;

write_option
    : common_option
    | CASE
    | STRING
    ;

common_option
    : FINIS
    | MARGINS
    | STRIP
    | NOTYPE
    | STEM
    | VAR
    | COLUMNS
    | LINESPAGE
    | RAW
    ;

delete_options
    : %empty
    | '('
    | '(' FINIS
    ;
