// The handlers of the built-in functions. What each does stands beside its definition, in a form that
// tools/function_docs.py turns into docs/functions.md: the call with its arguments, a description, "Result:", "Errors:"
// and an "Example:" whose result follows "->".
#pragma once

#include "engine/functions.h"

// String functions
rx_value bu_abbrev(const rx_expr *list);
rx_value bu_bitand(const rx_expr *list);
rx_value bu_bitor(const rx_expr *list);
rx_value bu_bitxor(const rx_expr *list);
rx_value bu_center(const rx_expr *list);
rx_value bu_change(const rx_expr *list);
rx_value bu_comma(const rx_expr *list);
rx_value bu_compare(const rx_expr *list);
rx_value bu_copies(const rx_expr *list);
rx_value bu_delstr(const rx_expr *list);
rx_value bu_find(const rx_expr *list);
rx_value bu_fwc(const rx_expr *list);
rx_value bu_index(const rx_expr *list);
rx_value bu_insert(const rx_expr *list);
rx_value bu_justify(const rx_expr *list);
rx_value bu_lastpos(const rx_expr *list);
rx_value bu_left(const rx_expr *list);
rx_value bu_length(const rx_expr *list);
rx_value bu_lower(const rx_expr *list);
rx_value bu_overlay(const rx_expr *list);
rx_value bu_pos(const rx_expr *list);
rx_value bu_reverse(const rx_expr *list);
rx_value bu_right(const rx_expr *list);
rx_value bu_space(const rx_expr *list);
rx_value bu_strip(const rx_expr *list);
rx_value bu_substr(const rx_expr *list);
rx_value bu_translate(const rx_expr *list);
rx_value bu_upper(const rx_expr *list);
rx_value bu_upperw(const rx_expr *list);
rx_value bu_verify(const rx_expr *list);
rx_value bu_xrange(const rx_expr *list);

// Word functions
rx_value bu_delword(const rx_expr *list);
rx_value bu_subword(const rx_expr *list);
rx_value bu_word(const rx_expr *list);
rx_value bu_wordindex(const rx_expr *list);
rx_value bu_wordlength(const rx_expr *list);
rx_value bu_wordpos(const rx_expr *list);
rx_value bu_words(const rx_expr *list);

// Conversion
rx_value bu_b2x(const rx_expr *list);
rx_value bu_c2d(const rx_expr *list);
rx_value bu_c2o(const rx_expr *list);
rx_value bu_c2x(const rx_expr *list);
rx_value bu_d2c(const rx_expr *list);
rx_value bu_d2x(const rx_expr *list);
rx_value bu_datatype(const rx_expr *list);
rx_value bu_x2b(const rx_expr *list);
rx_value bu_x2c(const rx_expr *list);
rx_value bu_x2d(const rx_expr *list);

// Numeric
rx_value bu_abs(const rx_expr *list);
rx_value bu_format(const rx_expr *list);
rx_value bu_max(const rx_expr *list);
rx_value bu_min(const rx_expr *list);
rx_value bu_random(const rx_expr *list);
rx_value bu_sign(const rx_expr *list);
rx_value bu_trunc(const rx_expr *list);
rx_value bu_acos(const rx_expr *list);
rx_value bu_asin(const rx_expr *list);
rx_value bu_atan(const rx_expr *list);
rx_value bu_cos(const rx_expr *list);
rx_value bu_pi(const rx_expr *list);
rx_value bu_sin(const rx_expr *list);
rx_value bu_tan(const rx_expr *list);

// Interpreter state
rx_value bu_address(const rx_expr *list);
rx_value bu_arch(const rx_expr *list);
rx_value bu_arg(const rx_expr *list);
rx_value bu_condition(const rx_expr *list);
rx_value bu_cvtails(const rx_expr *list);
rx_value bu_digits(const rx_expr *list);
rx_value bu_errortext(const rx_expr *list);
rx_value bu_externals(const rx_expr *list);
rx_value bu_fd(const rx_expr *list);
rx_value bu_fn(const rx_expr *list);
rx_value bu_form(const rx_expr *list);
rx_value bu_ft(const rx_expr *list);
rx_value bu_fuzz(const rx_expr *list);
rx_value bu_parg(const rx_expr *list);
rx_value bu_queued(const rx_expr *list);
rx_value bu_setarg(const rx_expr *list);
rx_value bu_sourceline(const rx_expr *list);
rx_value bu_symbol(const rx_expr *list);
rx_value bu_trace(const rx_expr *list);
rx_value bu_value(const rx_expr *list);
rx_value bu_version(const rx_expr *list);

// Streams
rx_value bu_charin(const rx_expr *list);
rx_value bu_charout(const rx_expr *list);
rx_value bu_chars(const rx_expr *list);
rx_value bu_fileconv(const rx_expr *list);
rx_value bu_linein(const rx_expr *list);
rx_value bu_linelast(const rx_expr *list);
rx_value bu_lineout(const rx_expr *list);
rx_value bu_lines(const rx_expr *list);
rx_value bu_linesize(const rx_expr *list);
rx_value bu_stream(const rx_expr *list);

// Files
rx_value bu_chdir(const rx_expr *list);
rx_value bu_concat(const rx_expr *list);
rx_value bu_cp(const rx_expr *list);
rx_value bu_cwd(const rx_expr *list);
rx_value bu_dofollow(const rx_expr *list);
rx_value bu_fileislocked(const rx_expr *list);
rx_value bu_follow(const rx_expr *list);
rx_value bu_ln(const rx_expr *list);
rx_value bu_ls(const rx_expr *list);
rx_value bu_lstate(const rx_expr *list);
rx_value bu_mkdir(const rx_expr *list);
rx_value bu_mklistfiles(const rx_expr *list);
rx_value bu_mv(const rx_expr *list);
rx_value bu_readjunc(const rx_expr *list);
rx_value bu_readlink(const rx_expr *list);
rx_value bu_recycle(const rx_expr *list);
rx_value bu_rm(const rx_expr *list);
rx_value bu_rmdir(const rx_expr *list);
rx_value bu_state(const rx_expr *list);
rx_value bu_subdirs(const rx_expr *list);
rx_value bu_wipe(const rx_expr *list);

// Environment and processes
rx_value bu_askcons(const rx_expr *list);
rx_value bu_close_cons(const rx_expr *list);
rx_value bu_csh(const rx_expr *list);
rx_value bu_cuserid(const rx_expr *list);
rx_value bu_dup2(const rx_expr *list);
rx_value bu_exec(const rx_expr *list);
rx_value bu_fork(const rx_expr *list);
rx_value bu_getenv(const rx_expr *list);
rx_value bu_getpid(const rx_expr *list);
rx_value bu_hostname(const rx_expr *list);
rx_value bu_ismain(const rx_expr *list);
rx_value bu_kill(const rx_expr *list);
rx_value bu_ksh(const rx_expr *list);
rx_value bu_open_cons(const rx_expr *list);
rx_value bu_popen(const rx_expr *list);
rx_value bu_putenv(const rx_expr *list);
rx_value bu_qpid(const rx_expr *list);
rx_value bu_script(const rx_expr *list);
rx_value bu_sleep(const rx_expr *list);
rx_value bu_stderr(const rx_expr *list);
rx_value bu_stdin(const rx_expr *list);
rx_value bu_stdout(const rx_expr *list);
rx_value bu_still_active(const rx_expr *list);
rx_value bu_tcsh(const rx_expr *list);
rx_value bu_tee(const rx_expr *list);
rx_value bu_teec(const rx_expr *list);
rx_value bu_teek(const rx_expr *list);
rx_value bu_unsetenv(const rx_expr *list);
rx_value bu_usleep(const rx_expr *list);
rx_value bu_waitpid(const rx_expr *list);
rx_value bu_windows_ne(const rx_expr *list);
rx_value bu_xhome(const rx_expr *list);

// Sort and patterns
rx_value bu_rchange(const rx_expr *list);
rx_value bu_regcomp(const rx_expr *list);
rx_value bu_regexec(const rx_expr *list);
rx_value bu_sort(const rx_expr *list);

// System
rx_value bu_syssleep(const rx_expr *list);
