/* The grammar of the language: clauses from tokens.

   The order of the rules, the empty rules that exist for their action, and the default reductions that the generator
   makes all have a say in which error number stands when a parse fails (see build.h), so they are part of the
   language. There are no error productions: the first syntax error ends the parse. Where a rule is ambiguous, reading
   on wins over closing a rule: an ELSE belongs to the nearest IF, "x = y" is an assignment. */

%code top {
/* All of the parser's stack lies on its own frame: exceptions fly through it. */
#define YYINITDEPTH 1000
#define YYMAXDEPTH 1000
}

%code {
#include "front/build.h"
}

%define api.prefix {rx_grammar_}
%define api.token.prefix {T_}
%define api.pure full
%param {rx_build &build}

%code requires {
struct rx_build;
struct rx_expr;
}

%union {
    rx_expr *node;
    int number;
}

%code {
static int yylex(YYSTYPE *value, rx_build &build) {
    return yylex_gram(build, value->node);
}
static void yyerror(rx_build &build, const char *) {
    rx_syntax_error(build);
}
}

%token <node> SYMBOL 258 STRING 259 VIDE 260 ADDRESS 261 ARG 262 BY 263
%token <node> CALL 264 DIGITS 265 DO 266 DROP 267 ELSE 268 END 269
%token <node> ENGINEERING 270 EXIT 271 EXPOSE 272 FOR 273 FOREVER 274 FORM 275
%token <node> FUZZ 276 IF 277 INTERPRET 278 ITERATE 279 LEAVE 280 LINEIN 281
%token <node> NOP 282 NUMERIC 283 OFF 284 ON 285 OTHERWISE 286 PARSE 287
%token <node> PROCEDURE 288 PULL 289 PUSH 290 QUEUE 291 RETURN 292 SAY 293
%token <node> SAYN 294 SAYX 295 SAYR 296 SCIENTIFIC 297 SELECT 298 SIGNAL 299
%token <node> SOURCE 300 THEN 301 TO 302 TRACE 303 UNTIL 304 UPPER 305
%token <node> VALUE 306 VAR 307 VERSION 308 WHILE 309 WITH 310 WHEN 311
%token <node> ERROR 312 FAILURE 313 HALT 314 NOVALUE 315 SYNTAX 316 TEMPLATE 317
%token <node> ENVIRON 318 LOWER 319 CD 320 FUNCTION 321 NAME 322 NOTREADY 323
%token <node> SFUNCTION 324 IN 325 OPTION 326 MIXED 327 SETENV 328 UNSETENV 329
%token <node> LOAD 330 NOLOAD 331 OP_XOR 332 OP_IINF_EQ 333 OP_INF_EQ 334 OP_SSUP_EQ 335
%token <node> OP_SUP_EQ 336 OP_IINF 337 OP_SSUP 338 OP_NNEQ 339 OP_NEQ 340 OP_EEQ 341
%token <node> OP_CONC 342 OP_REMAIN 343 OP_EXP 344 OP_RHO 345 OP_NEQIC 346 OP_EQIC 347
%token <node> OP_NOT 348 GLOBALV 349 NOGLOBALV 350

%left '|' OP_XOR
%left '&'
%left '>' '<' OP_SSUP OP_IINF OP_SUP_EQ OP_INF_EQ OP_SSUP_EQ OP_IINF_EQ OP_NEQ OP_NNEQ
%left '=' OP_EEQ
%left ' ' OP_CONC
%left '+' '-'
%left '*' '/' '%' OP_REMAIN
%right OP_EXP
%left OP_RHO OP_EQIC OP_NEQIC /* a prefix OP_RHO lets a following OP_NOT bind tighter */
%left OP_NOT
%precedence PREFIX

%type <node> opt_args arg arg_list call_expr expr on_off condition signal_condition routine_name call_args
%type <node> name name_list template
%type <number> upper_part

%start clause_list

%%

clause_list
    : %empty
    | clause_list clause ';'
    ;

clause
    : address_clause
    | arg_clause
    | assignment
    | call_clause
    | do_clause
    | drop_clause
    | exit_clause
    | expr { rx_add_expr_clause(build, CL_COMMAND, $1->line, $1); }
    | if_clause
    | interpret_clause
    | iterate_clause
    | label
    | leave_clause
    | nop_clause
    | parse_clause
    | procedure_clause
    | pull_clause
    | push_clause
    | queue_clause
    | return_clause
    | say_clause
    | select_clause
    | signal_clause
    | numeric_clause
    | upper_part {}
    | lower_clause
    | trace_clause
    | cd_clause
    | option_clause
    ;

label
    : SYMBOL ':' { rx_add_label(build, $1); }
    | STRING ':' { rx_add_label(build, $1); }
    ;

assignment
    : SYMBOL '=' expr { rx_add_assignment(build, $1, {}, $3); }
    | SYMBOL '[' expr ']' '=' expr { rx_add_assignment(build, $1, {$3, nullptr, false, false}, $6); }
    | SYMBOL '[' expr ':' ';' expr ']' '=' expr { rx_add_assignment(build, $1, {$3, $6, false, false}, $9); }
    | SYMBOL '[' expr ':' ';' ']' '=' expr { rx_add_assignment(build, $1, {$3, nullptr, false, true}, $8); }
    | SYMBOL '[' ':' ';' expr ']' '=' expr { rx_add_assignment(build, $1, {nullptr, $5, true, false}, $8); }
    | SYMBOL '=' { rx_add_assignment(build, $1, {}, nullptr); }
    | SYMBOL '[' expr ']' '=' { rx_add_assignment(build, $1, {$3, nullptr, false, false}, nullptr); }
    | SYMBOL '[' expr ':' ';' expr ']' '=' { rx_add_assignment(build, $1, {$3, $6, false, false}, nullptr); }
    | SYMBOL '[' expr ':' ';' ']' '=' { rx_add_assignment(build, $1, {$3, nullptr, false, true}, nullptr); }
    | SYMBOL '[' ':' ';' expr ']' '=' { rx_add_assignment(build, $1, {nullptr, $5, true, false}, nullptr); }
    ;

opt_args
    : %empty { $$ = nullptr; }
    | arg_list
    ;

arg
    : expr
    | VIDE
    ;

arg_list
    : arg
    | arg ',' arg_list { $$ = rx_link(build, $1, $3); }
    ;

call_expr
    : FUNCTION '(' opt_args ')' { $$ = rx_make_call(build, $1, $3); }
    | SFUNCTION '(' opt_args ')' { $$ = rx_make_call(build, $1, $3); }
    ;

expr
    : STRING { $$ = rx_make_literal(build, $1); }
    | SYMBOL
    | STRING '[' expr ']' { $$ = rx_make_index(build, rx_make_literal(build, $1), $3, nullptr, FX_BR); }
    | STRING '[' expr ':' ';' expr ']' { $$ = rx_make_index(build, rx_make_literal(build, $1), $3, $6, FX_BR); }
    | STRING '[' expr ':' ';' ']' { $$ = rx_make_index(build, rx_make_literal(build, $1), $3, nullptr, FX_BR2); }
    | STRING '[' ':' ';' expr ']' { $$ = rx_make_index(build, rx_make_literal(build, $1), nullptr, $5, FX_BR2); }
    | SYMBOL '[' expr ']' { $$ = rx_make_index(build, $1, $3, nullptr, FX_BR); }
    | SYMBOL '[' expr ':' ';' expr ']' { $$ = rx_make_index(build, $1, $3, $6, FX_BR); }
    | SYMBOL '[' expr ':' ';' ']' { $$ = rx_make_index(build, $1, $3, nullptr, FX_BR2); }
    | SYMBOL '[' ':' ';' expr ']' { $$ = rx_make_index(build, $1, nullptr, $5, FX_BR2); }
    | '(' expr ')' '[' expr ']' { $$ = rx_make_index(build, $2, $5, nullptr, FX_BR); }
    | '(' expr ')' '[' expr ':' ';' expr ']' { $$ = rx_make_index(build, $2, $5, $8, FX_BR); }
    | '(' expr ')' '[' expr ':' ';' ']' { $$ = rx_make_index(build, $2, $5, nullptr, FX_BR2); }
    | '(' expr ')' '[' ':' ';' expr ']' { $$ = rx_make_index(build, $2, nullptr, $7, FX_BR2); }
    | call_expr
    | '`' expr '`' { $$ = rx_make_monadic(build, $2, FX_BACKQ); }
    | '(' expr ')' { $$ = $2; }
    | expr '|' expr { $$ = rx_make_dyadic(build, $1, $3, FX_OR); }
    | expr OP_XOR expr { $$ = rx_make_dyadic(build, $1, $3, FX_XOR); }
    | expr '&' expr { $$ = rx_make_dyadic(build, $1, $3, FX_AND); }
    | expr OP_NEQ expr { $$ = rx_make_dyadic(build, $1, $3, FX_NEQ); }
    | expr OP_NEQIC expr { $$ = rx_make_dyadic(build, $1, $3, FX_NEQIC); }
    | expr OP_NNEQ expr { $$ = rx_make_dyadic(build, $1, $3, FX_NNEQ); }
    | expr '>' expr { $$ = rx_make_dyadic(build, $1, $3, FX_SUP); }
    | expr OP_SSUP expr { $$ = rx_make_dyadic(build, $1, $3, FX_SSUP); }
    | expr '<' expr { $$ = rx_make_dyadic(build, $1, $3, FX_INF); }
    | expr OP_IINF expr { $$ = rx_make_dyadic(build, $1, $3, FX_IINF); }
    | expr OP_SUP_EQ expr { $$ = rx_make_dyadic(build, $1, $3, FX_SUPEQ); }
    | expr OP_INF_EQ expr { $$ = rx_make_dyadic(build, $1, $3, FX_INFEQ); }
    | expr OP_SSUP_EQ expr { $$ = rx_make_dyadic(build, $1, $3, FX_SSUPEQ); }
    | expr OP_IINF_EQ expr { $$ = rx_make_dyadic(build, $1, $3, FX_IINFEQ); }
    | expr '=' expr { $$ = rx_make_dyadic(build, $1, $3, FX_EQ); }
    | expr OP_EQIC expr { $$ = rx_make_dyadic(build, $1, $3, FX_EQIC); }
    | expr OP_EEQ expr { $$ = rx_make_dyadic(build, $1, $3, FX_EEQ); }
    | expr ' ' expr { $$ = rx_make_dyadic(build, $1, $3, FX_BL); }
    | expr OP_CONC expr { $$ = rx_make_dyadic(build, $1, $3, FX_CONC); }
    | expr '+' expr { $$ = rx_make_dyadic(build, $1, $3, FX_PLUS); }
    | expr '-' expr { $$ = rx_make_dyadic(build, $1, $3, FX_MIN); }
    | expr '*' expr { $$ = rx_make_dyadic(build, $1, $3, FX_MULT); }
    | expr '/' expr { $$ = rx_make_dyadic(build, $1, $3, FX_DIV); }
    | expr '%' expr { $$ = rx_make_dyadic(build, $1, $3, FX_IDIV); }
    | expr OP_REMAIN expr { $$ = rx_make_dyadic(build, $1, $3, FX_REM); }
    | expr OP_EXP expr { $$ = rx_make_dyadic(build, $1, $3, FX_EXP); }
    | OP_NOT expr %prec PREFIX { $$ = rx_make_monadic(build, $2, FX_NOT); }
    | expr OP_RHO expr { $$ = rx_make_dyadic(build, $1, $3, FX_CONC_RHO); }
    | OP_RHO expr { $$ = rx_make_monadic(build, $2, FX_RHO); }
    | expr OP_NOT expr { $$ = rx_make_dyadic(build, $1, $3, FX_CONC_NOT); }
    | '+' expr %prec PREFIX { $$ = rx_make_monadic(build, $2, FX_UPLUS); }
    | '-' expr %prec PREFIX { $$ = rx_make_monadic(build, $2, FX_UMIN); }
    ;

if_open
    : %empty { rx_open_if(build); }
    ;

if_test
    : %empty { rx_test_if(build, $<node>0); }
    ;

if_clause
    : IF if_open expr if_test THEN clause else_part
    ;

else_part
    : %empty { rx_close_if(build, false); }
    | ELSE else_open clause { rx_close_if(build, true); }
    ;

else_open
    : %empty { rx_open_else(build); }
    ;

do_open
    : %empty { rx_open_do(build, $<node>0->line); }
    ;

do_clause
    : DO do_open do_spec do_cond ';' clause_list END end_name { rx_close_do(build, $7->line); }
    ;

do_spec
    : %empty
    | expr { rx_set_do(build, DO_COUNT, nullptr, $1); }
    | forever
    | SYMBOL '=' expr do_limit do_limit do_limit { rx_set_do(build, DO_CONTROLLED, $1, $3); }
    | SYMBOL IN expr { rx_set_do(build, DO_WORDS, $1, $3); }
    ;

do_limit
    : %empty
    | to_part
    | by_part
    | for_part
    ;

forever
    : FOREVER { rx_set_do(build, DO_FOREVER, nullptr, nullptr); }
    ;

to_part
    : TO expr { rx_set_do_phrase(build, DO_TO, $2); }
    ;

by_part
    : BY expr { rx_set_do_phrase(build, DO_BY, $2); }
    ;

for_part
    : FOR expr { rx_set_do_phrase(build, DO_FOR, $2); }
    ;

do_cond
    : %empty
    | WHILE expr { rx_set_do_condition(build, DO_WHILE, $2); }
    | UNTIL expr { rx_set_do_condition(build, DO_UNTIL, $2); }
    ;

end_name
    : %empty
    | SYMBOL { rx_check_end_name(build, $1); }
    ;

leave_clause
    : LEAVE { rx_add_name_clause(build, CL_LEAVE, $1->line, nullptr); }
    | LEAVE expr { rx_add_name_clause(build, CL_LEAVE, $1->line, $2); }
    ;

iterate_clause
    : ITERATE { rx_add_name_clause(build, CL_ITERATE, $1->line, nullptr); }
    | ITERATE expr { rx_add_name_clause(build, CL_ITERATE, $1->line, $2); }
    ;

say_clause
    : SAY expr { rx_add_expr_clause(build, CL_SAY, $2->line, $2); }
    | SAY { rx_add_expr_clause(build, CL_SAY, build.line, nullptr); }
    | SAYN expr { rx_add_expr_clause(build, CL_SAYN, $2->line, $2); }
    | SAYN { rx_add_expr_clause(build, CL_SAYN, build.line, nullptr); }
    | SAYX expr { rx_add_expr_clause(build, CL_SAYX, $2->line, $2); }
    | SAYX { rx_add_expr_clause(build, CL_SAYX, build.line, nullptr); }
    | SAYR expr { rx_add_expr_clause(build, CL_SAYR, $2->line, $2); }
    | SAYR { rx_add_expr_clause(build, CL_SAYR, build.line, nullptr); }
    ;

select_open
    : %empty { rx_open_select_clause(build, $<node>-1->line); }
    ;

select_clause
    : SELECT ';' select_open when_list otherwise_part END { rx_close_select(build, $<number>5 != 0, $6->line); }
    ;

when_test
    : %empty { rx_test_when(build, $<node>0); }
    ;

when_then
    : %empty
    ;

when_clause
    : WHEN expr when_test THEN when_then clause { rx_close_when(build); }
    ;

when_list
    : %empty
    | when_clause ';' when_list { build.expected = 7; }
    ;

otherwise_part
    : %empty { $<number>$ = 0; }
    | OTHERWISE otherwise_open clause_list { $<number>$ = 1; }
    ;

otherwise_open
    : %empty { rx_open_otherwise(build); }
    ;

exit_clause
    : EXIT { rx_add_expr_clause(build, CL_EXIT, $1->line, nullptr); }
    | EXIT expr { rx_add_expr_clause(build, CL_EXIT, $1->line, $2); }
    ;

return_clause
    : RETURN { rx_add_expr_clause(build, CL_RETURN, $1->line, nullptr); }
    | RETURN expr { rx_add_expr_clause(build, CL_RETURN, $1->line, $2); }
    ;

signal_clause
    : SIGNAL STRING { rx_add_signal(build, SIGNAL_STRING, $1->line, $2, nullptr, nullptr); }
    | SIGNAL SYMBOL { rx_add_signal(build, SIGNAL_SYMBOL, $1->line, $2, nullptr, nullptr); }
    | SIGNAL on_off signal_condition { rx_add_signal(build, SIGNAL_ON_OFF, $1->line, $2, $3, nullptr); }
    | SIGNAL on_off signal_condition NAME SYMBOL { rx_add_signal(build, SIGNAL_ON_OFF, $1->line, $2, $3, $5); }
    | SIGNAL VALUE expr { rx_add_signal(build, SIGNAL_VALUE, $1->line, nullptr, $3, nullptr); }
    ;

on_off
    : ON
    | OFF
    ;

condition
    : ERROR
    | FAILURE
    | HALT
    | NOVALUE
    | NOTREADY
    ;

signal_condition
    : condition
    | SYNTAX
    ;

routine_name
    : SYMBOL
    | STRING
    ;

call_args
    : opt_args
    | '(' opt_args ')' { $$ = $2; }
    ;

call_clause
    : CALL routine_name call_args { rx_add_call(build, $2, $3); }
    | CALL routine_name ' ' call_args { rx_add_call(build, $2, $4); }
    | CALL FUNCTION call_args { rx_add_call(build, $2, $3); }
    | CALL SFUNCTION call_args { rx_add_call(build, $2, $3); }
    | CALL on_off condition { rx_add_signal(build, CALL_ON_OFF, $1->line, $2, $3, nullptr); }
    | CALL on_off condition NAME SYMBOL { rx_add_signal(build, CALL_ON_OFF, $1->line, $2, $3, $5); }
    ;

push_clause
    : PUSH expr { rx_add_expr_clause(build, CL_PUSH, $2->line, $2); }
    | PUSH { rx_add_expr_clause(build, CL_PUSH, build.line, nullptr); }
    ;

queue_clause
    : QUEUE expr { rx_add_expr_clause(build, CL_QUEUE, $2->line, $2); }
    | QUEUE { rx_add_expr_clause(build, CL_QUEUE, build.line, nullptr); }
    ;

cd_clause
    : CD expr { rx_add_expr_clause(build, CL_CD, $2->line, $2); }
    | CD { rx_add_expr_clause(build, CL_CD, build.line, nullptr); }
    ;

name
    : SYMBOL
    | '(' SYMBOL ')' { $$ = $2; $$->flag = 2; }
    ;

name_list
    : name { $$ = rx_link(build, $1, nullptr); }
    | name ' ' name_list { $$ = rx_link(build, $1, $3); }
    | name OP_CONC STRING OP_CONC name_list { $$ = rx_link(build, $1, $5); }
    ;

procedure_clause
    : PROCEDURE { rx_add_names_clause(build, CL_PROCEDURE, $1->line, nullptr); }
    | PROCEDURE EXPOSE name_list { rx_add_names_clause(build, CL_PROCEDURE, $1->line, $3); }
    ;

nop_clause
    : NOP { rx_note_clause(build, $1->line); }
    ;

template
    : %empty { $$ = nullptr; }
    | TEMPLATE
    ;

upper_part
    : %empty { $$ = 0; build.expected = 25; }
    | UPPER { $$ = 1; }
    | UPPER upper_open name_list { $$ = 0; rx_add_names_clause(build, CL_UPPER, $1->line, $3); }
    ;

template_arg
    : %empty { build.template_next = true; }
    ;

parse_clause
    : PARSE upper_part ARG template_arg template { rx_add_parse(build, $1->line, $2, PARSE_ARG, nullptr, $5); }
    | PARSE upper_part LINEIN template_linein template { rx_add_parse(build, $1->line, $2, PARSE_LINEIN, nullptr, $5); }
    | PARSE upper_part PULL template_pull template { rx_add_parse(build, $1->line, $2, PARSE_PULL, nullptr, $5); }
    | PARSE upper_part SOURCE template_source template { rx_add_parse(build, $1->line, $2, PARSE_SOURCE, nullptr, $5); }
    | PARSE upper_part VALUE expr WITH template_value template { rx_add_parse(build, $1->line, $2, PARSE_VALUE, $4, $7); }
    | PARSE upper_part VAR SYMBOL template_var template { rx_add_parse(build, $1->line, $2, PARSE_VAR, $4, $6); }
    | PARSE upper_part VERSION template_version template { rx_add_parse(build, $1->line, $2, PARSE_VERSION, nullptr, $5); }
    | PARSE upper_part NUMERIC template_numeric template { rx_add_parse(build, $1->line, $2, PARSE_NUMERIC, nullptr, $5); }
    ;

template_linein
    : %empty { build.template_next = true; }
    ;

template_pull
    : %empty { build.template_next = true; }
    ;

template_source
    : %empty { build.template_next = true; }
    ;

template_value
    : %empty { build.template_next = true; }
    ;

template_var
    : %empty { build.template_next = true; }
    ;

template_version
    : %empty { build.template_next = true; }
    ;

template_numeric
    : %empty { build.template_next = true; }
    ;

template_arg2
    : %empty { build.template_next = true; }
    ;

arg_clause
    : ARG template_arg2 template { rx_add_parse(build, $1->line, true, PARSE_ARG, nullptr, $3); }
    ;

template_pull2
    : %empty { build.template_next = true; }
    ;

pull_clause
    : PULL template_pull2 template { rx_add_parse(build, $1->line, true, PARSE_PULL, nullptr, $3); }
    ;

address_clause
    : ADDRESS { rx_add_address(build, $1->line, false, false, nullptr, nullptr); }
    | ADDRESS ENVIRON { rx_add_address(build, $1->line, true, false, $2, nullptr); }
    | ADDRESS ENVIRON expr { rx_add_address(build, $1->line, true, false, $2, $3); }
    | ADDRESS VALUE expr { rx_add_address(build, $1->line, true, true, $3, nullptr); }
    ;

drop_open
    : %empty { build.expected = 20; }
    ;

drop_clause
    : DROP drop_open name_list { rx_add_names_clause(build, CL_DROP, $1->line, $3); }
    ;

upper_open
    : %empty { build.expected = 20; }
    ;

lower_open
    : %empty { build.expected = 20; }
    ;

lower_clause
    : LOWER lower_open name_list { rx_add_names_clause(build, CL_LOWER, $1->line, $3); }
    ;

interpret_clause
    : INTERPRET expr { rx_add_expr_clause(build, CL_INTERPRET, $1->line, $2); }
    ;

numeric_spec
    : DIGITS { rx_add_numeric(build, $<node>-1->line, NUMERIC_DIGITS, nullptr); }
    | DIGITS expr { rx_add_numeric(build, $<node>-1->line, NUMERIC_DIGITS, $2); }
    | FORM SCIENTIFIC { rx_add_numeric(build, $<node>-1->line, NUMERIC_SCIENTIFIC, nullptr); }
    | FORM ENGINEERING { rx_add_numeric(build, $<node>-1->line, NUMERIC_ENGINEERING, nullptr); }
    | FORM VALUE expr { rx_add_numeric(build, $<node>-1->line, NUMERIC_FORM_VALUE, $3); }
    | FUZZ { rx_add_numeric(build, $<node>-1->line, NUMERIC_FUZZ, nullptr); }
    | FUZZ expr { rx_add_numeric(build, $<node>-1->line, NUMERIC_FUZZ, $2); }
    ;

numeric_open
    : %empty { build.expected = 25; }
    ;

numeric_clause
    : NUMERIC numeric_open numeric_spec
    ;

trace_clause
    : TRACE { rx_add_trace(build, $1->line, nullptr, false); }
    | TRACE SYMBOL { rx_add_trace(build, $1->line, $2, false); }
    | TRACE STRING { rx_add_trace(build, $1->line, rx_make_literal(build, $2), false); }
    | TRACE VALUE expr { rx_add_trace(build, $1->line, $3, true); }
    ;

option_open
    : %empty { build.expected = 20; }
    ;

option_clause
    : OPTION option_open option_list { build.expected = 55; }
    ;

option_list
    : option_word
    | option_word option_list
    ;

option_word
    : LOWER
    | UPPER
    | MIXED
    | SETENV
    | UNSETENV
    | LOAD
    | NOLOAD
    | GLOBALV
    | NOGLOBALV
    ;
