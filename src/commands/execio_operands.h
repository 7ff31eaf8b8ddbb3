// The operands of an EXECIO command, and how they are read.
//
// The scanner passes through four states: the count, the mode, positional words, options. Words are separated by
// blanks; a positional word may be quoted. Keywords are known in any case, everything else keeps its case. An option is
// scanned together with its arguments, which are checked and stored at once; the grammar only says which words and
// options go together. The end of the text counts as the ")" that may close the options.
#pragma once

#include "values/value.h"

#include <climits>
#include <string>
#include <string_view>

enum class execio_mode { diskr, diskw, diski, diskd, print };
enum class execio_search { none, find, locate, avoid };
enum class execio_order { lifo, fifo, not_given };

constexpr int execio_all = -1;

struct execio_operands {
    int lines = 0; ///< the count; execio_all for "*"
    execio_mode mode = execio_mode::diskr;
    std::string fn, ft, fd;
    bool has_fd = false;
    int linenum = -1; ///< from 0; -1: not given
    int lrecl = -1;   ///< -1: varying
    std::string printer;

    bool finis = false;
    execio_search search = execio_search::none;
    std::string target;
    int zone_first = 0, zone_last = INT_MAX;     ///< columns, from 0
    int margin_first = 0, margin_last = INT_MAX; ///< columns, from 0
    execio_order order = execio_order::not_given;
    bool skip = false;
    bool strip = false;
    bool notype = false;
    bool case_upper = false;
    bool raw = false;
    bool has_string = false;
    std::string stem, var; ///< empty: not given
    std::string string;
    int columns = -1, linespage = -1;
};

/// Reads the text behind the command's name. 0, or the code to end with, 24 or 2008, after the messages were shown.
int rx_execio_parse(std::string_view text, execio_operands &operands);

// ---- between scanner and grammar ------------------------------------------------------------------------------------

/// What the parser works on.
struct execio_scan {
    enum class state { count, mode, positional, options, end };

    std::string_view text;
    execio_operands &operands;
    state now = state::count;
    size_t at = 0;
    std::string words[10] = {}; ///< positional words; a token's value is an index
    int word_count = 0;
};

/// The next token, 0 at the end; its value for a positional word.
int rx_execio_lex(execio_scan &scan, int &value);

/// Actions of the grammar. Each ends the command when the operand is bad.
void rx_execio_linenum(execio_scan &scan, int word);
void rx_execio_recfm(execio_scan &scan, int word);
void rx_execio_lrecl(execio_scan &scan, int word);
void rx_execio_printer(execio_scan &scan, int word);
[[noreturn]] void rx_execio_syntax_error();
