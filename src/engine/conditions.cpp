// The six conditions: SIGNAL, CALL ON, and the ways to their handlers.
#include "base/output.h"
#include "engine/clauses.h"
#include "engine/trace.h"
#include "front/report.h"
#include "platform/signals.h"
#include "platform/stack.h"
#include "values/arithmetic.h"

namespace {

struct condition_names {
    std::string_view upper, lower;
};
constexpr condition_names names[] = {
    {"ERROR", "error"},   {"FAILURE", "failure"},   {"HALT", "halt"}, {"NOVALUE", "novalue"},
    {"SYNTAX", "syntax"}, {"NOTREADY", "notready"}, {"", ""},
};

int condition_of(int token) {
    switch (token) {
    case ERROR: return RX_ERROR;
    case FAILURE: return RX_FAILURE;
    case HALT: return RX_HALT;
    case NOVALUE: return RX_NOVALUE;
    case SYNTAX: return RX_SYNTAX;
    default: return RX_NOTREADY;
    }
}

std::string_view handler_name(int condition) {
    const std::string *name = rx_settings->handlers[static_cast<size_t>(condition)];
    return name ? std::string_view(*name) : rx_condition_name(condition);
}

rx_trap_state state_of(int condition) {
    return rx_settings->traps[static_cast<size_t>(condition)];
}
void set_state(int condition, rx_trap_state state) {
    rx_change_settings().traps[static_cast<size_t>(condition)] = state;
}

bool armed(int condition) {
    return state_of(condition) > 0;
}

/// Runs a CALL ON handler: the trap is delayed meanwhile, and the position of the clause comes back.
void call_on(int condition) {
    struct position {
        unsigned line = rx_error.line, column = rx_error.column;
        ~position() {
            rx_error.line = line;
            rx_error.column = column;
        }
    } before;
    set_state(condition, RX_TRAP_DELAYED);
    rx_call_handler(handler_name(condition));
    set_state(condition, RX_TRAP_CALL);
}

/// Sets SIGL to where a line of the program, from 0, stands in its own source.
void set_sigl_at(unsigned line) {
    rx_set_sigl(rx_own_line(**rx_program_now, line) + 1);
}

[[noreturn]] void signal_on(int condition, unsigned line, unsigned column) {
    set_state(condition, RX_TRAP_OFF);
    rx_signal_to(handler_name(condition), line, column);
}

/// rx_raise calls this; it comes back only when SYNTAX isn't trapped.
void syntax_trap(int number, const std::string *extra) {
    // A typed line counts as interpreted, what its routines run doesn't.
    rx_raised_in_interpret = rx_routine->interpreted != nullptr;
    if (state_of(RX_SYNTAX) == RX_TRAP_OFF) return;
    set_state(RX_SYNTAX, RX_TRAP_OFF);
    if (number == 5) rx_open_stack_reserve();
    rx_change_settings().condition = RX_SYNTAX;
    set_sigl_at(rx_error.line);
    rx_set_code(RX_RC, number);
    if (extra) rx_write("\nvandra: " + *extra + "\n");
    rx_signal_to(handler_name(RX_SYNTAX), rx_error.line, rx_error.column);
}

void novalue(std::string_view name) {
    if (!armed(RX_NOVALUE)) return;
    std::string message = "\nvandra: variable \"";
    message.append(name)
        .append("\" (line ")
        .append(rx_int_text(rx_own_line(**rx_program_now, rx_error.line) + 1LL))
        .append(") is uninitialized.\n\n");
    set_sigl_at(rx_error.line);
    int before = rx_settings->condition;
    rx_change_settings().condition = RX_NOVALUE;
    rx_change_condition_text() = name;
    if (state_of(RX_NOVALUE) == RX_TRAP_CALL) {
        rx_write(message);
        call_on(RX_NOVALUE);
        rx_change_settings().condition = before;
        return;
    }
    if (!rx_find_label((*rx_program_now)->labels, handler_name(RX_NOVALUE))) rx_raise(71, std::move(message));
    rx_write(message);
    signal_on(RX_NOVALUE, rx_error.line, rx_error.column);
}

} // namespace

std::string_view rx_condition_name(int condition) {
    const condition_names &row = names[condition];
    return rx_system_name(row.upper, row.lower);
}

void rx_arm_hooks() {
    rx_syntax_trap = syntax_trap;
    rx_novalue_hook = novalue;
}

namespace {

/// Points the pending signal to a label. Which list it stands in is remembered, so that the walk can go on outwards.
void aim(std::string_view name, unsigned line, unsigned column) {
    const rx_label *label = rx_find_label((*rx_program_now)->labels, name);
    if (!label) rx_raise_at(line, column, 16, "\"" + std::string(name) + "\" is missing.");
    rx_walk->signal_target = label->cell;
    rx_walk->signal_frame = label->frame;
    rx_routine->nesting = 1;
}

} // namespace

void rx_signal_to(std::string_view name, unsigned line, unsigned column) {
    aim(name, line, column);
    rx_before_unwinding();
    throw rx_jmp_signal{};
}

rx_flow rx_signal(const rx_signal_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return rx_flow::next;
    switch (clause.form) {
    case SIGNAL_STRING:
    case SIGNAL_SYMBOL: aim(clause.first->text, clause.first->line, clause.first->column); return rx_flow::signalled;
    case SIGNAL_VALUE: {
        rx_value name = rx_to_string(do_exec(clause.second, shown.level));
        if (shown.level) rx_trace_result(shown.level, name.text());
        aim(name.text(), clause.second->line, clause.second->column);
        return rx_flow::signalled;
    }
    case SIGNAL_ON_OFF:
    case CALL_ON_OFF: break;
    }
    int condition = condition_of(clause.second->type);
    rx_trap_state on = clause.form == SIGNAL_ON_OFF ? RX_TRAP_SIGNAL : RX_TRAP_CALL;
    set_state(condition, clause.first->type == ON ? on : RX_TRAP_OFF);
    rx_change_settings().handlers[static_cast<size_t>(condition)] =
        clause.handler ? rx_intern(clause.handler->text) : nullptr;
    return rx_flow::next;
}

void rx_trap(int condition, const std::string *description, unsigned sigl_line) {
    set_sigl_at(sigl_line);
    int before = rx_settings->condition;
    rx_change_settings().condition = condition;
    if (description) rx_change_condition_text() = *description;
    if (state_of(condition) == RX_TRAP_CALL) {
        call_on(condition);
        rx_change_settings().condition = before;
    } else {
        signal_on(condition, rx_error.line, rx_error.column);
    }
}

rx_value rx_notready(bool fatal, std::string message, std::string description) {
    if (!fatal || !armed(RX_NOTREADY)) rx_raise(40, std::move(message));
    if (!message.empty()) rx_write(message + "\n");
    rx_trap(RX_NOTREADY, &description, rx_error.line);
    return rx_string("");
}

void rx_halt_poll() {
    if (rx_settings->trace & TRACE_Y) {
        rx_halt_pending = 0;
        return;
    }
    rx_halt_pending = 0;
    if (armed(RX_HALT)) {
        static const std::string none;
        unsigned sigl = rx_error.line;
        if (state_of(RX_HALT) == RX_TRAP_SIGNAL) {
            rx_error.line = rx_walk->command_line;
            rx_error.column = rx_walk->command_column;
        }
        rx_trap(RX_HALT, &none, sigl);
        return;
    }
    rx_error.number = 4;
    rx_error.has_extra = false;
    rx_error.extra.clear();
    if (rx_routine->interpreted)
        rx_report_interpreted(*rx_routine->interpreted, rx_error.line, rx_error.column, armed(RX_SYNTAX));
    else
        rx_report(**rx_program_now, rx_error.line, rx_error.column, armed(RX_SYNTAX));
    rx_exit_run(4);
}

void rx_poll_between_clauses() {
    if (rx_halt_pending) [[unlikely]]
        rx_halt_poll();
}

// ---- the system's own variables ------------------------------------------------------------------------------------

namespace {

/// The system's variables in upper and in lower case.
struct system_symbols {
    rx_arena arena;
    const rx_symbol *upper[4], *lower[4];

    system_symbols() {
        constexpr std::string_view names[4][2] = {
            {"RC", "rc"}, {"RESULT", "result"}, {"SIGL", "sigl"}, {"RC_D", "rc_d"}};
        for (size_t i = 0; i < 4; i++) {
            upper[i] = rx_parse_tails(arena, names[i][0]);
            lower[i] = rx_parse_tails(arena, names[i][1]);
        }
    }
};
const system_symbols all_system_symbols;

} // namespace

const rx_symbol &rx_system_symbol(rx_system_variable name) {
    rx_case_mode mode = rx_modes.value.case_mode;
    bool upper = mode == RX_UPPER || mode == RX_CASE_UNSET;
    return *(upper ? all_system_symbols.upper : all_system_symbols.lower)[name];
}

void rx_set_code(rx_system_variable name, double number) {
    rx_var_assign(rx_system_symbol(name), rx_number(number));
}

void rx_set_sigl(unsigned own_line) {
    const rx_symbol &symbol = rx_system_symbol(RX_SIGL);
    double number = own_line;
    if (rx_var_promise_again(symbol, number)) return;
    if (rx_var *var = rx_var_met(symbol); var && var->value.is_number())
        rx_put_plain(rx_var_assigned(*var), {number, rx_whole_head});
    else
        rx_var_promise(symbol, number);
}
