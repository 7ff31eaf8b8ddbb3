// Functions that tell the state of the interpreter: settings, conditions, the source, the variables.
#include "base/messages.h"
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "builtins/hooks.h"
#include "engine/engine.h"
#include "engine/host.h"
#include "engine/trace.h"
#include "front/report.h"
#include "platform/strings.h"

#include <algorithm>
#include <cmath>

namespace {

/// The symbol of a name, folded and split.
struct named_symbol {
    rx_arena arena;
    const rx_symbol &symbol;

    explicit named_symbol(std::string_view name) : symbol(*rx_parse_tails(arena, arena.copy(rx_folded(name)))) {}
};

/// The part of the program's source that holds the clause being run, without the start-up file's lines.
std::string_view own_source(const rx_program &program) {
    const rx_source_entry &entry = rx_entry_of(program, rx_error.line);
    std::string_view text = std::string_view(program.source).substr(entry.start, entry.length);
    unsigned skipped = &entry == program.entries.data() ? program.rc_lines : 0;
    for (; skipped; skipped--) {
        size_t feed = text.find('\n');
        if (feed == std::string_view::npos) return {};
        text.remove_prefix(feed + 1);
    }
    return text;
}

size_t count_lines(std::string_view text) {
    size_t feeds = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    return feeds + (text.empty() || text.back() == '\n' ? 0 : 1);
}

} // namespace

/// address()
/// The name of the environment that commands go to.
/// Result: string
/// Errors: 40 for an argument
/// Example: datatype(address()) -> CHAR
rx_value bu_address(const rx_expr *list) {
    bu_args(list, "ADDRESS").expect_none("no argument allowed.");
    return rx_string(rx_env_name());
}

/// arch()
/// The name of the system that the program's habits come from.
/// Result: string
/// Errors: 40 for an argument
/// Example: arch() -> wnt
rx_value bu_arch(const rx_expr *list) {
    bu_args(list, "ARCH").expect_none("must receive 0 argument.");
    return rx_string("wnt");
}

/// condition([option])
/// What is known of the condition in hand: its name (option C), its description (D), whether it was trapped by CALL or
/// SIGNAL (I, the default), the state of its trap as ON, OFF or DELAY (S); all empty without a condition.
/// Result: string
/// Errors: 40 for a wrong count, another option
/// Example: condition('C') || '.' -> .
rx_value bu_condition(const rx_expr *list) {
    static const char *const names[] = {"ERROR", "FAILURE", "HALT", "NOVALUE", "SYNTAX", "NOTREADY"};
    bu_args args(list, "CONDITION");
    args.expect(0, 1, 0, "1 argument allowed.");
    char option = args.option(0, 'i');
    if (std::string_view("cdis").find(option) == std::string_view::npos) args.fail(0, "argument must be C|I|D|S.");
    int code = rx_settings->condition;
    if (code < 0 || code >= RX_NO_CONDITION) return rx_string({});
    rx_trap_state state = rx_settings->traps[static_cast<size_t>(code)];
    switch (option) {
    case 'c': return rx_string(names[code]);
    case 'd': return rx_string(*rx_condition_text);
    case 'i': return rx_string(state != RX_TRAP_OFF ? "CALL" : "SIGNAL");
    default: return rx_string(state == RX_TRAP_DELAYED ? "DELAY" : state == RX_TRAP_OFF ? "OFF" : "ON");
    }
}

/// cvtails(stem)
/// The tails that have a value under a stem, which is named with or without its dot, as words.
/// Result: string
/// Errors: 40 for a wrong count, a text that is no name of a variable
/// Example: a.x = 1; cvtails('a') -> X
rx_value bu_cvtails(const rx_expr *list) {
    bu_args args(list, "CVTAILS", 1, 1, "must receive 1 argument.");
    std::string stem = rx_folded(args.text(0));
    if (!bu_is_variable_name(stem)) args.fail(0, stem + " is not a valid REXX symbol.");
    if (!stem.ends_with('.')) stem += '.';
    return rx_string(rx_list_tails(stem));
}

/// digits()
/// The setting of NUMERIC DIGITS.
/// Result: number
/// Errors: 40 for an argument
/// Example: digits() -> 9
rx_value bu_digits(const rx_expr *list) {
    bu_args(list, "DIGITS").expect_none("must receive 0 argument.");
    return bu_number(rx_numeric->digits);
}

/// errortext(n)
/// The text of an error of the language.
/// Result: string
/// Errors: 40 for a wrong count, an n that isn't whole and from 1 to 99
/// Example: errortext(16) -> Label not found.
rx_value bu_errortext(const rx_expr *list) {
    bu_args args(list, "ERRORTEXT", 1, 1, "must receive 1 argument.");
    const char *complaint = "argument 1 must be a strictly positive integer lower than 100.";
    double number = args.whole(0, BU_ROUNDED, 1, "argument 1 must be an integer.", complaint);
    if (number > 99) args.fail(0, complaint);
    return rx_string(rx_error_text(static_cast<int>(number)));
}

/// externals()
/// 1 when a key waits at the console, else 0.
/// Result: number
/// Errors: 40 for an argument
/// Example: datatype(externals(), 'B') -> 1
rx_value bu_externals(const rx_expr *list) {
    bu_args(list, "EXTERNALS").expect_none("must receive 0 argument.");
    return bu_number(bu_key_waiting && bu_key_waiting());
}

/// form()
/// The setting of NUMERIC FORM.
/// Result: string
/// Errors: 40 for an argument
/// Example: form() -> SCIENTIFIC
rx_value bu_form(const rx_expr *list) {
    bu_args(list, "FORM").expect_none("no argument allowed.");
    return rx_string(rx_numeric->form == 0 ? "SCIENTIFIC" : "ENGINEERING");
}

/// fuzz()
/// The setting of NUMERIC FUZZ.
/// Result: number
/// Errors: 40 for an argument
/// Example: fuzz() -> 0
rx_value bu_fuzz(const rx_expr *list) {
    bu_args(list, "FUZZ").expect_none("must receive 0 argument.");
    return bu_number(rx_numeric->fuzz);
}

/// queued()
/// The count of lines in the current buffer of the external data queue.
/// Result: number
/// Errors: 40 for an argument
/// Example: queued() -> 0
rx_value bu_queued(const rx_expr *list) {
    bu_args(list, "QUEUED").expect_none("must receive 0 argument.");
    return bu_count(bu_queue_count ? bu_queue_count() : 0);
}

/// sourceline([n])
/// Line n of the program's source, without n the count of its lines.
/// Result: string, without n a number
/// Errors: 40 for a wrong count, an n that isn't whole and above 0 or lies behind the last line; 41 for a text that is
/// no number
/// Example: datatype(sourceline(), 'W') -> 1
rx_value bu_sourceline(const rx_expr *list) {
    bu_args args(list, "SOURCELINE");
    args.expect(1, 1, 0, "must receive 1 argument.");
    std::string_view source = own_source(**rx_program_now);
    if (!args.given(0)) return bu_count(count_lines(source));
    double n = rx_round_digits(args.number(0, "the argument must be a number.", 41), 9);
    if (!(n >= 1) || !rx_is_whole(n)) args.fail(0, "the argument must be a strictly positiv number.");
    size_t lines = count_lines(source);
    if (n > static_cast<double>(lines)) args.fail(0, "last line is line " + std::to_string(lines) + ".");
    return rx_string(rx_line_of(source, static_cast<size_t>(n) - 1));
}

/// symbol(name)
/// "VAR" when the text names a variable that has a value, "LIT" for any other symbol and for a number, else "BAD".
/// Result: string
/// Errors: 40 for a wrong count
/// Example: symbol('a b') -> BAD
rx_value bu_symbol(const rx_expr *list) {
    bu_args args(list, "SYMBOL", 1, 1, "must receive 1 argument.");
    std::string_view text = args.text(0);
    if (bu_is_variable_name(text)) {
        rx_value name;
        bool unset = &rx_var_get(named_symbol(text).symbol, name, rx_read::quiet) == &name;
        return rx_string(unset ? "LIT" : "VAR");
    }
    double number;
    bool constant = bu_is_symbol(text) || (!text.empty() && (rx_is_digit(text[0]) || text[0] == '.') &&
                                           text.find(' ') == std::string_view::npos && rx_scan_number(text, number));
    return rx_string(constant ? "LIT" : "BAD");
}

/// trace([setting])
/// The setting of TRACE, after it was changed to that of the argument.
/// Result: string
/// Errors: 40 for a wrong count, another setting
/// Example: trace('O') -> O
rx_value bu_trace(const rx_expr *list) {
    bu_args args(list, "TRACE");
    args.expect(0, 1, 0, "must receive up to 1 argument.");
    if (args.given(0) && !rx_trace_set(args.text(0))) args.fail(0, "must receive ?|!|A|C|E|I|L|N|O|R|S.");
    static const struct {
        unsigned bit;
        char letter;
    } letters[] = {{TRACE_A, 'A'}, {TRACE_C, 'C'}, {TRACE_E, 'E'}, {TRACE_I, 'I'}, {TRACE_L, 'L'},
                   {TRACE_F, 'N'}, {TRACE_R, 'R'}, {TRACE_S, 'S'}, {TRACE_Y, 'Y'}};
    unsigned trace = rx_settings->trace;
    std::string result;
    if (trace & TRACE_PROMPT)
        result = "?";
    else if (trace & TRACE_NO_COMMANDS)
        result = "!";
    auto found = std::find_if(std::begin(letters), std::end(letters), [=](auto &row) { return trace & row.bit; });
    result += found == std::end(letters) ? 'O' : found->letter;
    return rx_string(result);
}

/// value(name, [new])
/// The value of the variable with that name, which is then set to the new one.
/// Result: string or number
/// Errors: 40 for a wrong count, a text that is no name of a variable
/// Example: k = 2; a.2 = 'two'; value('a.k') -> two
rx_value bu_value(const rx_expr *list) {
    bu_args args(list, "VALUE");
    args.require(0, "argument 1 missing.");
    args.expect(1, 2, 1, "up to 2 arguments allowed.");
    std::string_view name = args.text(0);
    if (!bu_is_variable_name(name)) args.fail(0, "\"" + std::string(name) + "\" is not a valid REXX symbol.");
    named_symbol variable(name);
    rx_value scratch;
    rx_value result = rx_copy_value(rx_var_get(variable.symbol, scratch, rx_read::quiet));
    if (args.given(1)) rx_var_assign(variable.symbol, rx_copy_value(args.values[1]));
    return result;
}

/// version()
/// The name of the platform that the program's habits come from. Arguments aren't looked at.
/// Result: string
/// Example: version() -> windows
rx_value bu_version(const rx_expr *) {
    return rx_string("windows");
}
