#include "commands/execio_operands.h"

#include "base/output.h"
#include "execio_grammar.h"
#include "platform/strings.h"

#include <algorithm>
#include <optional>

int rx_execio_grammar_parse(execio_scan &scan); // made by the parser generator

namespace {

constexpr int bad_operands = 24;
constexpr int bad_name = 2008;

/// Ends the reading of the operands.
struct execio_refusal {
    int code;
};

[[noreturn]] void refuse(const std::string &detail) {
    rx_print_error("Vandra: " + detail);
    throw execio_refusal{bad_operands};
}

[[noreturn]] void refuse_operand(const char *kind, const char *operand, const char *end = ".") {
    refuse(std::string(kind) + " EXECIO \"" + operand + "\" operand" + end);
}

void skip_blanks(execio_scan &scan) {
    while (scan.at < scan.text.size() && scan.text[scan.at] == ' ') scan.at++;
}

/// The bytes up to one of `ends`, or to the end of the text.
std::string_view take_until(execio_scan &scan, const char *ends) {
    size_t end = std::min(scan.text.find_first_of(ends, scan.at), scan.text.size());
    std::string_view word = scan.text.substr(scan.at, end - scan.at);
    scan.at = end;
    return word;
}

/// A word of the options: an argument.
std::string_view take_argument(execio_scan &scan) {
    skip_blanks(scan);
    return take_until(scan, " )");
}

/// A number as operands have it: "*" is the largest there is, and what follows the digits doesn't matter.
std::optional<int> number_of(std::string_view word) {
    if (word == "*") return INT_MAX;
    if (word.empty() || word.size() > 99) return std::nullopt;
    int number;
    if (!rx_scan_integer(word, number)) return std::nullopt;
    return number;
}

// ---- the four states ------------------------------------------------------------------------------------------------

int lex_count(execio_scan &scan) {
    std::string_view word = take_until(scan, " ");
    bool digits = std::all_of(word.begin(), word.end(), rx_is_digit);
    std::optional<int> number = word == "*" ? execio_all : digits ? number_of(word) : std::nullopt;
    if (!number) refuse_operand("Invalid", "LINES");
    scan.operands.lines = *number;
    scan.now = execio_scan::state::mode;
    return EXECIO_COUNT;
}

int lex_mode(execio_scan &scan) {
    static constexpr struct {
        std::string_view name;
        int token;
    } modes[] = {{"diskr", EXECIO_DISKR},
                 {"diskw", EXECIO_DISKW},
                 {"diski", EXECIO_DISKI},
                 {"diskd", EXECIO_DISKD},
                 {"print", EXECIO_PRINT}};
    std::string_view word = take_until(scan, " ");
    scan.now = execio_scan::state::positional;
    for (const auto &mode : modes)
        if (rx_equal_nocase(word, mode.name)) return mode.token;
    refuse("Invalid EXECIO mode operand.");
}

/// A word in quotes; a backslash in front of the quote or of a backslash makes it an ordinary byte.
std::string take_quoted(execio_scan &scan) {
    std::string word;
    char quote = scan.text[scan.at++];
    while (scan.at < scan.text.size()) {
        char byte = scan.text[scan.at++];
        if (byte == quote) break;
        char next = scan.at < scan.text.size() ? scan.text[scan.at] : '\0';
        if (byte == '\\' && (next == quote || next == '\\')) {
            byte = next;
            scan.at++;
        }
        word += byte;
    }
    return word;
}

int lex_positional(execio_scan &scan, int &value) {
    char first = scan.text[scan.at];
    if (first == '(') {
        scan.at++;
        scan.now = execio_scan::state::options;
        return '(';
    }
    if (scan.word_count == static_cast<int>(std::size(scan.words))) rx_execio_syntax_error();
    value = scan.word_count++;
    bool quoted = first == '"' || first == '\'';
    scan.words[value] = quoted ? take_quoted(scan) : std::string(take_until(scan, " ("));
    return EXECIO_WORD;
}

// ---- options --------------------------------------------------------------------------------------------------------

void range_option(execio_scan &scan, const char *name, int &first, int &last) {
    std::optional<int> from = number_of(take_argument(scan));
    std::optional<int> to = from ? number_of(take_argument(scan)) : std::nullopt;
    if (!from || !to || *from < 1 || *to < *from) refuse_operand("Invalid", name);
    first = *from - 1;
    last = *to - 1;
}

void count_option(execio_scan &scan, const char *name, int least, int &count) {
    std::optional<int> number = number_of(take_argument(scan));
    if (!number || *number < least) refuse_operand("Invalid", name);
    count = *number;
}

bool is_name(std::string_view name) {
    auto is_part = [](char c) { return rx_is_symbol_char(c) || c == '\xA8'; };
    return !name.empty() && name[0] != '.' && !rx_is_digit(name[0]) && std::all_of(name.begin(), name.end(), is_part);
}

void name_option(execio_scan &scan, const char *option, std::string &name) {
    name = take_argument(scan);
    if (name.empty()) refuse_operand("Missing", option);
    if (is_name(name)) return;
    rx_print_error(std::string("Vandra: Invalid EXECIO \"") + option + "\" operand.");
    throw execio_refusal{bad_name};
}

void case_option(execio_scan &scan) {
    std::string letter = rx_lowered(take_argument(scan));
    if (letter != "m" && letter != "u") refuse_operand("Invalid", "CASE");
    scan.operands.case_upper = letter == "u";
}

/// Everything behind one separator is the text.
void string_option(execio_scan &scan) {
    if (scan.at < scan.text.size()) scan.at++;
    scan.operands.string = scan.text.substr(std::min(scan.at, scan.text.size()));
    scan.operands.has_string = true;
    scan.at = scan.text.size();
}

void search_option(execio_scan &scan, const char *name, execio_search search) {
    if (scan.operands.search != execio_search::none) refuse_operand("Conflicting", "FIND/LOCATE/AVOID");
    skip_blanks(scan);
    std::string_view rest = scan.text.substr(scan.at);
    size_t end = rest.size() < 3 ? std::string_view::npos : rest.find(rest[0], 1);
    if (end == std::string_view::npos || end == 1) refuse_operand("Invalid", name, "");
    scan.operands.search = search;
    scan.operands.target = rest.substr(1, end - 1);
    scan.at += end + 1;
}

struct option_row {
    std::string_view name;
    size_t shortest; ///< how many letters are needed
    bool delimited;  ///< anything but a letter may follow
    int token;
    void (*store)(execio_scan &scan);
};

/// In the order in which they are tried.
const option_row options[] = {
    {"finis", 4, false, EXECIO_FINIS, [](execio_scan &scan) { scan.operands.finis = true; }},
    {"find", 1, true, EXECIO_FIND, [](execio_scan &scan) { search_option(scan, "FIND", execio_search::find); }},
    {"locate", 2, true, EXECIO_LOCATE, [](execio_scan &scan) { search_option(scan, "LOCATE", execio_search::locate); }},
    {"avoid", 1, true, EXECIO_AVOID, [](execio_scan &scan) { search_option(scan, "AVOID", execio_search::avoid); }},
    {"zone", 1, false, EXECIO_ZONE,
     [](execio_scan &scan) { range_option(scan, "ZONE", scan.operands.zone_first, scan.operands.zone_last); }},
    {"lifo", 4, false, EXECIO_LIFO, [](execio_scan &scan) { scan.operands.order = execio_order::lifo; }},
    {"fifo", 4, false, EXECIO_FIFO, [](execio_scan &scan) { scan.operands.order = execio_order::fifo; }},
    {"skip", 2, false, EXECIO_SKIP, [](execio_scan &scan) { scan.operands.skip = true; }},
    {"margins", 1, false, EXECIO_MARGINS,
     [](execio_scan &scan) { range_option(scan, "MARGINS", scan.operands.margin_first, scan.operands.margin_last); }},
    {"columns", 1, false, EXECIO_COLUMNS,
     [](execio_scan &scan) { count_option(scan, "COLUMNS", 1, scan.operands.columns); }},
    {"linespage", 6, false, EXECIO_LINESPAGE,
     [](execio_scan &scan) { count_option(scan, "LINESPAGE", 0, scan.operands.linespage); }},
    {"raw", 3, false, EXECIO_RAW, [](execio_scan &scan) { scan.operands.raw = true; }},
    {"strip", 5, false, EXECIO_STRIP, [](execio_scan &scan) { scan.operands.strip = true; }},
    {"notype", 6, false, EXECIO_NOTYPE, [](execio_scan &scan) { scan.operands.notype = true; }},
    {"stem", 3, false, EXECIO_STEM, [](execio_scan &scan) { name_option(scan, "STEM", scan.operands.stem); }},
    {"var", 3, false, EXECIO_VAR, [](execio_scan &scan) { name_option(scan, "VAR", scan.operands.var); }},
    {"case", 2, false, EXECIO_CASE, case_option},
    {"string", 2, false, EXECIO_STRING, string_option},
};

bool is_option(const option_row &row, std::string_view word, char next) {
    bool ends = row.delimited ? !rx_is_letter(next) : next == ' ' || next == '\t' || next == ')' || next == '\0';
    return ends && word.size() >= row.shortest && rx_equal_nocase(word, row.name.substr(0, word.size()));
}

int lex_option(execio_scan &scan) {
    std::string_view rest = scan.text.substr(scan.at);
    if (rest[0] == ')') {
        scan.now = execio_scan::state::end;
        return ')';
    }
    size_t letters = 0;
    while (letters < rest.size() && rx_is_letter(rest[letters])) letters++;
    char next = letters < rest.size() ? rest[letters] : '\0';
    for (const option_row &row : options) {
        if (!is_option(row, rest.substr(0, letters), next)) continue;
        scan.at += letters;
        row.store(scan);
        return row.token;
    }
    refuse("Invalid EXECIO \"" + std::string(take_until(scan, " )")) + "\" OPTION.");
}

/// What can only be seen when all operands are known.
void check_together(const execio_operands &operands) {
    bool var = !operands.var.empty();
    if ((var && operands.lines != 1) || (operands.has_string && operands.lines == execio_all))
        refuse_operand("Invalid", "LINES");
    if (var && !operands.stem.empty()) refuse("Conflicting EXECIO \"VAR\" and \"STEM\" operands.");
    if (var && operands.search != execio_search::none)
        refuse("Conflicting EXECIO \"VAR\" and \"FIND/LOCATE/AVOID\" operands.");
}

void check_file(execio_operands &operands) {
    if (operands.mode == execio_mode::print) return;
    if (operands.fn == "." && operands.ft == ".") refuse("Invalid EXECIO \"FN\" and \"FT\" operands.");
}

} // namespace

int rx_execio_lex(execio_scan &scan, int &value) {
    if (scan.now == execio_scan::state::end) return 0;
    skip_blanks(scan);
    if (scan.now == execio_scan::state::options)
        while (scan.at < scan.text.size() && (scan.text[scan.at] == ' ' || scan.text[scan.at] == '\t')) scan.at++;
    if (scan.at >= scan.text.size()) {
        scan.now = execio_scan::state::end;
        return ')';
    }
    switch (scan.now) {
    case execio_scan::state::count: return lex_count(scan);
    case execio_scan::state::mode: return lex_mode(scan);
    case execio_scan::state::positional: return lex_positional(scan, value);
    default: return lex_option(scan);
    }
}

void rx_execio_linenum(execio_scan &scan, int word) {
    std::optional<int> number = number_of(scan.words[word]);
    if (!number || *number < 0) refuse_operand("Invalid", "LINENUM");
    scan.operands.linenum = *number - 1;
}

void rx_execio_recfm(execio_scan &scan, int word) {
    std::string recfm = rx_lowered(scan.words[word]);
    if (recfm != "f" && recfm != "v") refuse("Invalid EXECIO \"RECFM\" value.");
    scan.operands.lrecl = recfm == "f" ? 80 : -1;
}

void rx_execio_lrecl(execio_scan &scan, int word) {
    std::optional<int> number = number_of(scan.words[word]);
    if (!number || *number <= 0) refuse_operand("Invalid", "LRECL");
    scan.operands.lrecl = scan.words[word] == "*" ? -1 : *number;
}

void rx_execio_printer(execio_scan &scan, int word) {
    if (scan.words[word].empty()) refuse_operand("Invalid", "PRINTER");
    scan.operands.printer = scan.words[word];
}

void rx_execio_syntax_error() {
    throw execio_refusal{bad_operands};
}

int rx_execio_parse(std::string_view text, execio_operands &operands) {
    execio_scan scan{.text = text, .operands = operands};
    try {
        if (rx_execio_grammar_parse(scan) != 0) rx_execio_syntax_error();
        check_together(operands);
        check_file(operands);
    } catch (const execio_refusal &refusal) {
        if (refusal.code == bad_operands) rx_print_error("Vandra: Invalid EXECIO Parameter List.");
        return refusal.code;
    }
    return 0;
}
