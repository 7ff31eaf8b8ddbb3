#include "engine/trace.h"

#include "base/output.h"
#include "engine/clauses.h"
#include "front/report.h"
#include "platform/strings.h"
#include "values/numbers.h"

namespace {

// ---- source lines ---------------------------------------------------------------------------------------------------

constexpr int interpreted_level = 15;

/// Columns of a line's number; `number` counts from 1.
int number_width(unsigned number) {
    int width = 3;
    for (unsigned limit = 999; number >= limit && width < 7; limit = limit * 10 + 9) width++;
    return width;
}

/// The number of a line as it is shown, right-justified. `line` counts from the start of its unit, from 0; the first
/// `rc_lines` of it are those of the start-up file, which carry their own number and its name.
std::string number_field(unsigned line, unsigned rc_lines) {
    bool start_up = line < rc_lines;
    std::string digits = std::to_string((start_up ? line : line - rc_lines) + 1);
    size_t width = static_cast<size_t>(number_width(line + 1));
    std::string field(digits.size() < width ? width - digits.size() : 0, ' ');
    field += digits;
    if (start_up) field += " (.vandrarc)";
    return field;
}

/// What is shown of a line, and the level that its expressions get.
struct shown_line {
    std::string text;
    int level;
};

shown_line show_source(unsigned line) {
    if (rx_routine->interpreted)
        return {"*interpreted*  *-* " + std::string(*rx_routine->interpreted), interpreted_level};
    const rx_program &program = **rx_program_now;
    const rx_source_entry &entry = rx_entry_of(program, line);
    bool first_unit = &entry == program.entries.data();
    std::string field = number_field(line - static_cast<unsigned>(entry.first_line), first_unit ? program.rc_lines : 0);
    int level = static_cast<int>(field.size()) + 1;
    std::string text;
    if (!first_unit) {
        std::string_view name = entry.name;
        name.remove_prefix(name.rfind('/') + 1);
        text.append("<").append(name).append(">  ");
        level = static_cast<int>(name.size() + field.size()) + 5;
    }
    std::string_view source;
    rx_source_line(program, line, source);
    text.append(field).append(" *-* ").append(source);
    return {std::move(text), level};
}

/// Prints a source line unless a typed line runs or lines are to be skipped; the level, 0 when nothing was printed.
int trace_source(unsigned line) {
    if (rx_walk->interactive) return 0;
    rx_trace_record &state = *rx_trace_state;
    if (state.lines_to_skip >= 2) {
        state.lines_to_skip--;
        return 0;
    }
    state.lines_to_skip = 0;
    shown_line shown = show_source(line);
    rx_write("\n" + shown.text + "\n");
    if (rx_settings->trace & TRACE_PROMPT) state.clause_count++;
    return shown.level;
}

// ---- value lines ----------------------------------------------------------------------------------------------------

/// Writes one trace line: the level's blanks, the prefix with a blank behind it, and the pieces.
template <class... Pieces> void trace_line(int level, std::string_view prefix, const Pieces &...pieces) {
    std::string line(static_cast<size_t>(level), ' ');
    line.append(prefix).append(" ");
    (line.append(pieces), ...);
    line += '\n';
    rx_write(line);
}

std::string bounds(size_t from, size_t to) {
    std::string text("[");
    text.append(std::to_string(from)).append(":").append(std::to_string(to)).append("]");
    return text;
}

} // namespace

rx_shown rx_show_clause_slow(unsigned line, unsigned bits) {
    if ((rx_settings->trace & bits) == 0) return {};
    return {trace_source(line), (rx_settings->trace & TRACE_S) != 0};
}

int rx_trace_line(unsigned line) {
    return rx_settings->trace & TRACE_CLAUSES ? trace_source(line) : 0;
}

void rx_trace_result(int level, std::string_view value) {
    if (rx_settings->trace & (TRACE_I | TRACE_R)) rx_trace_command(level, value);
}

void rx_trace_command(int level, std::string_view value) {
    if (level) trace_line(level, ">>>", "\"", value, "\"");
}

void rx_trace_assignment(int level, std::string_view name, std::string_view value) {
    if (level) trace_line(level, ">>>", name, " <-- \"", value, "\"");
}

void rx_trace_index_assignment(int level, std::string_view name, size_t from, size_t to, std::string_view value) {
    if (level) trace_line(level, ">>>", name, bounds(from, to), " <-- \"", value, "\"");
}

void rx_trace_placeholder(int level, std::string_view value) {
    if (level) trace_line(level, ">.>", ". <-- \"", value, "\"");
}

void rx_trace_variable(int level, std::string_view name, std::string_view value) {
    trace_line(level, ">V>", name, " --> \"", value, "\"");
}

void rx_trace_compound(int level, std::string_view name, std::string_view resolved) {
    trace_line(level, ">C>", name, " --> \"", resolved, "\"");
}

void rx_trace_function(int level, std::string_view name, const rx_value &value) {
    if (value.is_none()) return trace_line(level, ">F>", name, "() --> No Result");
    rx_number_buffer buffer;
    trace_line(level, ">F>", name, "() --> \"", rx_arg_text(value, buffer), "\"");
}

void rx_trace_prefix(int level, std::string_view symbol, std::string_view operand, std::string_view value) {
    trace_line(level, ">P>", symbol, " \"", operand, "\" --> \"", value, "\"");
}

void rx_trace_backquote(int level, std::string_view operand, std::string_view value) {
    trace_line(level, ">U>", "`", operand, "` --> \"", value, "\"");
}

void rx_trace_dyadic(int level, std::string_view symbol, std::string_view left, std::string_view right,
                     std::string_view value) {
    trace_line(level, ">O>", "\"", left, "\" ", symbol, " \"", right, "\" --> \"", value, "\"");
}

void rx_trace_index(int level, std::string_view text, size_t from, size_t to, std::string_view value) {
    trace_line(level, ">O>", "\"", text, "\"", bounds(from, to), " --> \"", value, "\"");
}

void rx_trace_code(int level, int code) {
    trace_line(level, ">>>", "RC(", std::to_string(code), ")");
}

// ---- settings -------------------------------------------------------------------------------------------------------

namespace {

struct trace_letter {
    char letter;
    unsigned bit;
};
constexpr trace_letter trace_letters[] = {
    {'A', TRACE_A}, {'C', TRACE_C}, {'E', TRACE_E}, {'F', TRACE_F}, {'I', TRACE_I},
    {'L', TRACE_L}, {'N', TRACE_F}, {'O', 0},       {'R', TRACE_R}, {'S', TRACE_S},
};

/// The setting that a letter stands for; false when it stands for none.
bool letter_bit(char letter, unsigned &bit) {
    for (const trace_letter &each : trace_letters) {
        if (each.letter != letter) continue;
        bit = each.bit;
        return true;
    }
    return false;
}

/// Only a whole program can be scanned, and only from its own level.
bool can_scan() {
    return rx_routine->nesting == 1 && !rx_routine->interpreted;
}

} // namespace

bool rx_trace_set(std::string_view letters) {
    unsigned trace = rx_settings->trace & ~TRACE_DEBUGGER;
    bool prompts_anew = false;
    for (char letter : rx_uppered(letters)) {
        unsigned bit;
        if (letter == '!') {
            trace ^= TRACE_NO_COMMANDS;
        } else if (letter == '?') {
            trace ^= TRACE_PROMPT;
            if (trace & TRACE_PROMPT) prompts_anew = true;
        } else if (letter == 'Y') {
            trace |= TRACE_Y;
        } else if (letter == 'X') {
            if (!rx_attach_debugger || !rx_attach_debugger()) return false;
        } else if (letter_bit(letter, bit)) {
            if (bit == 0)
                trace = 0;
            else if (bit != TRACE_S || can_scan())
                trace = bit | (trace & (TRACE_PROMPT | TRACE_NO_COMMANDS));
            break;
        } else {
            return false;
        }
    }
    rx_change_settings().trace = trace | (rx_settings->trace & TRACE_DEBUGGER);
    if (prompts_anew) {
        rx_trace_state->prompts_to_skip = 0;
        rx_trace_state->lines_to_skip = 0;
    }
    return true;
}

namespace {

/// A number given to TRACE: how many prompts, or with a minus sign how many lines, are to be passed over.
void skip_count(const rx_value &number, const rx_expr *at) {
    if (!rx_is_whole(number.real)) {
        rx_number_buffer buffer;
        rx_raise_at(at->line, at->column, 26, "Expression evaluates to " + std::string(rx_arg_text(number, buffer)));
    }
    if ((rx_settings->trace & TRACE_PROMPT) == 0) return;
    if (number.real < 0)
        rx_trace_state->lines_to_skip = rx_to_int(-number.real);
    else if (number.real > 0)
        rx_trace_state->prompts_to_skip = rx_to_int(number.real);
}

/// The operand of TRACE. A symbol stands for its name, whatever it holds as a variable.
rx_value setting_of(const rx_trace_clause &clause, int level) {
    const rx_expr *operand = clause.setting;
    if (clause.value) {
        rx_value value = do_exec(operand, level);
        rx_number_buffer buffer;
        rx_trace_result(level, rx_arg_text(value, buffer));
        return value;
    }
    return rx_string(operand->type == SYMBOL ? operand->symbol->name : operand->text);
}

} // namespace

void rx_trace_instruction(const rx_trace_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    // While somebody traces the program at the prompt, only he can change the setting.
    bool others_trace = (rx_settings->trace & TRACE_PROMPT) != 0 && !rx_walk->interactive;
    if (shown.skip || others_trace) return;
    rx_value setting = clause.setting ? setting_of(clause, shown.level) : rx_string("");
    rx_value number;
    if (rx_number_of(setting, number)) return skip_count(number, clause.setting);
    if (setting.text().empty()) {
        rx_change_settings().trace = TRACE_E | (rx_settings->trace & TRACE_DEBUGGER);
        return;
    }
    if (!rx_trace_set(setting.text())) rx_raise_at(clause.setting->line, clause.setting->column, 24);
}
