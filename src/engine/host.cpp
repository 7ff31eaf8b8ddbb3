#include "engine/host.h"

#include "base/output.h"
#include "engine/host_resolve.h"
#include "engine/trace.h"
#include "front/report.h"
#include "platform/environment.h"
#include "platform/process.h"
#include "platform/strings.h"
#include "values/numbers.h"

#include <algorithm>

namespace {

constexpr int not_started = 28;

// ---- the table of environments --------------------------------------------------------------------------------------

struct environment {
    std::string name;
    rx_env_handler handler;
    void *user_data;
};

/// Process-wide: a program that embeds the interpreter adds its own before and between runs.
std::vector<environment> environments;

/// The index of a name (in upper case), or -1.
int find_environment(std::string_view name) {
    auto found = std::find_if(environments.begin(), environments.end(),
                              [&](const environment &each) { return each.name == name; });
    return found == environments.end() ? -1 : static_cast<int>(found - environments.begin());
}

void make_current(int index) {
    rx_settings_record &settings = rx_change_settings();
    settings.env_previous = settings.env_current;
    settings.env_current = index;
}

void remove_environment(int index) {
    environments.erase(environments.begin() + index);
    int count = static_cast<int>(environments.size());
    rx_settings_record &settings = rx_change_settings();
    if (settings.env_current >= count) settings.env_current = 0;
    if (settings.env_previous >= count) settings.env_previous = 0;
}

// ---- the default environments ---------------------------------------------------------------------------------------

/// Runs a command of the default environments: the interpreter's own ones here, any other as a program. With a shell
/// variable that is set its value goes in front.
int run_command(std::string_view text, const char *shell_variable) {
    int code;
    if (rx_builtin_command && rx_builtin_command(text, code)) return code;
    bool background = text.ends_with('&');
    if (background) text.remove_suffix(1);
    rx_command_line command = rx_resolve_command(text, shell_variable);
    if (command.path.empty()) return not_started;
    int error;
    int process = rx_start_process(
        {.path = std::move(command.path), .arguments = std::move(command.arguments), .background = background}, error);
    if (process < 0) return not_started;
    if (!background) return rx_wait_process(process);
    rx_forget_process(process);
    return 0;
}

int rx_env_plain(std::string_view command, void *) {
    return run_command(command, nullptr);
}

int rx_env_shell(std::string_view command, void *variable) {
    return run_command(command, static_cast<const char *>(variable));
}

int call_handler(int index, std::string_view command) {
    if (index < 0 || static_cast<size_t>(index) >= environments.size()) return not_started;
    // A handler may register environments itself.
    environment row = environments[static_cast<size_t>(index)];
    return row.handler(command, row.user_data);
}

// ---- what an environment handler may ask for ------------------------------------------------------------------------

struct exit_request {
    bool wanted = false;
    rx_exit_state exit;
};
rx_run_local<exit_request> host_exit;

} // namespace

void rx_env_register(std::string_view name, rx_env_handler handler, bool current, void *user_data) {
    std::string folded = rx_uppered(name);
    int index = find_environment(folded);
    if (!handler) {
        if (index >= 0) remove_environment(index);
        return;
    }
    if (index < 0) {
        index = static_cast<int>(environments.size());
        environments.push_back({std::move(folded), handler, user_data});
    } else {
        environments[static_cast<size_t>(index)].handler = handler;
        environments[static_cast<size_t>(index)].user_data = user_data;
    }
    if (current) make_current(index);
}

void rx_env_defaults() {
    if (!environments.empty()) return;
    static char sh[] = "SH", csh[] = "CSH", tcsh[] = "TCSH", ksh[] = "KSH";
    rx_env_register("WINDOWS", rx_env_plain, true, nullptr);
    rx_env_register("UNIX", rx_env_plain, false, nullptr);
    rx_env_register("SH", rx_env_shell, false, sh);
    rx_env_register("CSH", rx_env_shell, false, csh);
    rx_env_register("TCSH", rx_env_shell, false, tcsh);
    rx_env_register("KSH", rx_env_shell, false, ksh);
    rx_env_register("EXEC", rx_env_plain, false, nullptr);
}

std::string_view rx_env_name() {
    size_t index = static_cast<size_t>(rx_settings->env_current);
    return index < environments.size() ? std::string_view(environments[index].name) : std::string_view();
}

void rx_host_exit(std::string_view text, int code) {
    host_exit->wanted = true;
    host_exit->exit.code = code;
    host_exit->exit.text = text;
    host_exit->exit.has_text = true;
}

int rx_run_in_environment(std::string_view command) {
    return call_handler(rx_settings->env_current, command);
}

// ---- the command clause ---------------------------------------------------------------------------------------------

namespace {

constexpr unsigned command_bits = TRACE_C | TRACE_CLAUSES | TRACE_NO_COMMANDS;

rx_shown show_command(unsigned line) {
    return rx_settings->trace & command_bits ? rx_show_clause_slow(line, command_bits) : rx_shown();
}

bool armed(rx_condition condition) {
    return rx_settings->traps[condition] > 0;
}

/// A command that failed is shown afterwards when it wasn't before.
void trace_code(int level, unsigned line, std::string_view command, int code) {
    if (code == 0) return;
    unsigned trace = rx_settings->trace;
    if (level == 0 && ((trace & TRACE_E) || ((trace & TRACE_F) && code < 0))) {
        level = rx_show_clause_slow(line, TRACE_E | TRACE_F).level;
        rx_trace_command(level, command);
    }
    if (level) rx_trace_code(level, code);
}

/// Raises ERROR or FAILURE for a return code. A failure that nobody traps is an error.
void raise_condition(unsigned line, int code) {
    bool failure_off = rx_settings->traps[RX_FAILURE] == RX_TRAP_OFF;
    rx_condition condition;
    if (armed(RX_ERROR) && (code > 0 || (code < 0 && failure_off)))
        condition = RX_ERROR;
    else if (armed(RX_FAILURE) && code < 0)
        condition = RX_FAILURE;
    else
        return;
    const rx_program &program = **rx_program_now;
    bool main_source = &rx_entry_of(program, line) == program.entries.data();
    rx_trap(condition, nullptr, main_source && line >= program.rc_lines ? line - program.rc_lines : line);
    rx_change_condition_text().clear();
}

/// Runs the command once its clause was shown.
void run_clause(const rx_expr *expr, int environment, unsigned line, bool echo, int level) {
    if (!expr) {
        rx_write("\n");
        return;
    }
    rx_value value = rx_to_string(do_exec(expr, 0));
    if (level)
        rx_trace_command(level, value.text());
    else if (echo)
        rx_write(std::string(value.text()) + "\n");
    rx_walk->command_line = expr->line;
    rx_walk->command_column = expr->column;

    bool typed = rx_walk->interactive != 0;
    bool silent = (rx_settings->trace & TRACE_NO_COMMANDS) != 0 && !typed;
    int code = silent ? 0 : call_handler(environment < 0 ? rx_settings->env_current : environment, value.text());
    if (host_exit->wanted) {
        host_exit->wanted = false;
        *rx_exit_value = std::move(host_exit->exit);
        throw rx_jmp_exit{};
    }
    trace_code(level, line, value.text(), code);
    if (typed) {
        rx_set_code(RX_RC_D, code);
        return;
    }
    rx_change_condition_text() = value.text();
    rx_set_code(RX_RC, code);
    if (code) raise_condition(line, code);
}

} // namespace

rx_flow rx_command(const rx_expr *expr, int environment, unsigned line, bool echo) {
    rx_shown shown = show_command(line);
    if (!shown.skip) run_clause(expr, environment, line, echo, shown.level);
    return rx_flow::next;
}

// ---- ADDRESS --------------------------------------------------------------------------------------------------------

rx_flow rx_address(const rx_address_clause &clause) {
    rx_shown shown = clause.command ? show_command(clause.line) : rx_show_clause(&clause);
    if (shown.skip) return rx_flow::next;
    if (!clause.set) {
        rx_settings_record &settings = rx_change_settings();
        std::swap(settings.env_current, settings.env_previous);
        return rx_flow::next;
    }
    const rx_expr *target = clause.target;
    if (clause.value) {
        rx_value name = rx_to_string(do_exec(target, shown.level));
        rx_trace_result(shown.level, name.text());
        std::string folded = rx_uppered(name.text());
        int index = find_environment(folded);
        if (index < 0) rx_raise_at(target->line, target->column, 56, "Expression evaluates to \"" + folded + "\"");
        make_current(index);
        return rx_flow::next;
    }
    int index = find_environment(target->text);
    if (index < 0) rx_raise_at(target->line, target->column, 56);
    if (clause.command)
        run_clause(clause.command, index, clause.line, false, shown.level);
    else
        make_current(index);
    return rx_flow::next;
}
