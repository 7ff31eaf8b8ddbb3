// The plain instructions: SAY and its variants, EXIT, RETURN, UPPER, LOWER, DROP, PROCEDURE, NUMERIC and CD.
#include "base/output.h"
#include "engine/clauses.h"
#include "engine/host.h"
#include "engine/quick.h"
#include "engine/trace.h"
#include "platform/directories.h"
#include "platform/stack.h"
#include "platform/strings.h"

#include <algorithm>
#include <cstring>

void rx_say(const rx_expr_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    // The line is put together in a buffer that is kept, so that it goes out in one write without being copied twice.
    static std::string line;
    line.clear();
    if (const rx_expr *node = clause.expr) {
        rx_value scratch;
        rx_number_buffer buffer;
        const rx_value *value = &rx_view(node, shown.level, scratch);
        if (node->type == STRING && node->flag == 0 && node->literal->number) value = node->literal->number;
        std::string_view text = rx_arg_text(*value, buffer);
        if (shown.level) rx_trace_result(shown.level, text);
        line = text;
    }
    if (clause.kind == CL_SAY)
        line += '\n';
    else if (clause.kind == CL_SAYR)
        line += '\r';
    rx_write(line);
    if (line.capacity() > 1 << 20) line = std::string();
}

namespace {

/// What EXIT and a RETURN of the main program leave for the caller of the run.
void set_exit_value(const rx_value &value) {
    rx_exit_state &exit = *rx_exit_value;
    rx_value number;
    rx_number_buffer buffer;
    exit.has_text = true;
    if (rx_number_of(value, number)) {
        exit.code = rx_to_int(number.real);
        exit.text = rx_arg_text(number, buffer);
        return;
    }
    exit.text = value.text();
    char bytes[4] = {' ', ' ', ' ', ' '};
    std::copy_n(exit.text.data(), std::min(exit.text.size(), sizeof bytes), bytes);
    static_assert(sizeof exit.code == sizeof bytes);
    std::memcpy(&exit.code, bytes, sizeof bytes);
}

void trace_value(int level, const rx_value &value) {
    rx_number_buffer buffer;
    if (level) rx_trace_result(level, rx_arg_text(value, buffer));
}

} // namespace

rx_flow rx_exit(const rx_expr_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return rx_flow::next;
    *rx_exit_value = {};
    if (clause.expr) {
        rx_value value = do_exec(clause.expr, shown.level);
        trace_value(shown.level, value);
        set_exit_value(value);
    }
    rx_before_unwinding();
    throw rx_jmp_exit{};
}

[[gnu::noinline]] rx_flow rx_return(const rx_expr_clause &clause) {
    if (rx_routine->call_depth <= 1) return rx_exit(clause);
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return rx_flow::next;
    rx_value &result = rx_walk.value.result;
    const rx_expr *expr = clause.expr;
    if (!expr) {
        result = rx_value();
    } else if (const rx_value *value =
                   shown.level == 0 && expr->type == SYMBOL ? rx_var_cached(*expr->symbol) : nullptr) {
        rx_error.line = expr->line;
        rx_error.column = expr->column;
        rx_put_copy(result, *value);
    } else {
        result = do_exec(expr, shown.level);
        trace_value(shown.level, result);
    }
    return rx_flow::returned;
}

namespace {

/// Calls `use` with each symbol of a name list, a name in parentheses standing for those that its value lists.
/// `itself` tells whether such a list variable is used as well, ahead of what it lists.
template <class Use> void for_each_name(const rx_expr *names, bool itself, Use use) {
    for (const rx_expr *name = names; name; name = name->next) {
        rx_error.line = name->line;
        rx_error.column = name->column;
        if (name->flag != 2) {
            use(*name->symbol);
            continue;
        }
        if (itself) use(*name->symbol);
        rx_arena arena;
        for (const rx_symbol *symbol : rx_var_list(*name->symbol, arena)) use(*symbol);
    }
}

} // namespace

void rx_case_clause(const rx_names_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    bool up = clause.kind == CL_UPPER;
    for_each_name(clause.names, false, [&](const rx_symbol &symbol) {
        if (shown.level) rx_trace_result(shown.level, symbol.name);
        rx_value scratch;
        rx_var_get(symbol, scratch);
        rx_var *var = rx_var_find(symbol);
        if (!var || var->state != RX_SET || !var->value.is_string()) return;
        rx_value &record = rx_var_writable(*var);
        rx_reserve(record, record.length);
        up ? rx_upper(rx_bytes(record), record.length) : rx_lower(rx_bytes(record), record.length);
    });
}

void rx_drop_clause(const rx_names_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    for_each_name(clause.names, false, rx_drop);
}

namespace {

/// True when the clause exposes the same names in each call: whole stems and simple names, none of them a list.
bool exposes_the_same(const rx_expr *names) {
    for (const rx_expr *name = names; name; name = name->next) {
        const rx_symbol &symbol = *name->symbol;
        if (name->flag == 2 || (symbol.compound() && !symbol.whole_stem)) return false;
    }
    return true;
}

} // namespace

namespace {

[[gnu::noinline]] void make_level(const rx_names_clause &clause, bool first) {
    if (first) {
        rx_push_level();
        rx_routine->procedure = true;
    }
    for_each_name(clause.names, true, rx_expose);
    if (first && exposes_the_same(clause.names)) {
        static constinit uint32_t last_number = 0;
        if (!clause.level_number) clause.level_number = ++last_number;
        rx_keep_level(clause.level_number);
    }
}

} // namespace

bool rx_procedure_again(const rx_names_clause &clause) {
    if (!rx_push_level_again(clause.level_number)) return false;
    rx_routine->procedure = true;
    return true;
}

[[gnu::noinline]] void rx_procedure(const rx_names_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip || rx_routine->call_depth <= 1) return;
    bool first = !rx_routine->procedure;
    if (!first || !rx_procedure_again(clause)) make_level(clause, first);
}

void rx_numeric_instruction(const rx_numeric_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    rx_value value;
    if (clause.expr) {
        value = do_exec(clause.expr, shown.level);
        trace_value(shown.level, value);
        rx_error.line = clause.expr->line;
        rx_error.column = clause.expr->column;
    }
    rx_keep_settings();
    switch (clause.form) {
    case NUMERIC_DIGITS: rx_numeric_digits(value); break;
    case NUMERIC_SCIENTIFIC: rx_numeric->form = 0; break;
    case NUMERIC_ENGINEERING: rx_numeric->form = 1; break;
    case NUMERIC_FORM_VALUE: rx_numeric_form(value); break;
    case NUMERIC_FUZZ: rx_numeric_fuzz(value); break;
    }
}

void rx_cd(const rx_expr_clause &clause) {
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    if (!clause.expr) {
        if (!rx_change_directory(rx_home())) rx_raise(63);
        return;
    }
    rx_value value = rx_to_string(do_exec(clause.expr, shown.level));
    trace_value(shown.level, value);
    if (!rx_change_directory(value.text()))
        rx_raise_at(clause.expr->line, clause.expr->column, 63, ">>>>>>>>: \"" + std::string(value.text()) + "\"");
}
