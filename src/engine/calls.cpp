// Routine calls: the search for a name, internal routines, CALL.
#include "base/output.h"
#include "engine/clauses.h"
#include "engine/quick.h"
#include "engine/trace.h"
#include "front/report.h"
#include "platform/signals.h"
#include "platform/stack.h"

#include <memory>
#include <new>
#include <set>

void rx_keep_settings() {
    std::optional<rx_kept_settings> *kept = rx_routine->kept;
    if (kept && !*kept) *kept = {rx_settings.value, *rx_numeric, *rx_condition_text};
}

const std::string *rx_intern(std::string_view name) {
    static std::set<std::string, std::less<>> names;
    auto found = names.find(name);
    return &*(found != names.end() ? found : names.emplace(name).first);
}

namespace {

/// The arguments of one call, while it lasts: a few lie in the frame, so that most calls allocate nothing.
struct argument_area {
    static constexpr uint32_t few = 4;
    uint32_t count = 0; ///< made so far
    rx_arg *args;
    uint32_t capacity; ///< how many there will be
    alignas(rx_arg) std::byte room[few * sizeof(rx_arg)];

    explicit argument_area(uint32_t wanted) : capacity(wanted) {
        args = static_cast<rx_arg *>(wanted <= few ? room : ::operator new(wanted * sizeof(rx_arg)));
    }
    argument_area(const argument_area &) = delete;
    argument_area &operator=(const argument_area &) = delete;
    ~argument_area() {
        for (uint32_t i = 0; i < count; i++) args[i].~rx_arg();
        if (capacity > few) [[unlikely]]
            ::operator delete(args);
    }
    rx_arg &add() { return *new (args + count++) rx_arg; }
};

/// The text of a value that is lent.
void put_text_of(rx_value &text, const rx_value &value) {
    if (value.is_number())
        rx_put_number_text(text, rx_plain_of(value));
    else
        rx_put_copy(text, value);
}

/// Adds one argument of what most calls hand on: constants, variables, small sums and the caller's own arguments. False:
/// it has to be evaluated.
inline bool add_ready_argument(argument_area &area, const rx_expr *node) {
    const rx_value *value;
    if (node->type == OP_NODE) {
        if (rx_plain plain; rx_try_quick(*node->op, plain)) {
            rx_put_number_text(area.add().text, plain);
            return true;
        }
        value = rx_quick_argument(*node->op);
    } else if (node->type == SYMBOL) {
        value = rx_var_cached(*node->symbol);
    } else {
        value = node->type == STRING ? node->literal->text : nullptr;
    }
    if (value) put_text_of(area.add().text, *value);
    return value != nullptr;
}

[[gnu::noinline]] void evaluate_argument(const rx_expr *node, rx_arg &arg, int level) {
    arg.omitted = node->type == VIDE;
    arg.text = arg.omitted ? rx_string("") : rx_to_string(do_exec(node, level));
}

inline void evaluate_arguments(const rx_op &call, argument_area &area, int level) {
    for (const rx_expr *node = call.args; area.count < call.argument_count; node = node->next) {
        if (level || !add_ready_argument(area, node)) evaluate_argument(node, area.add(), level);
    }
}

/// What a call changes and its end restores, however it ends. Made when the arguments are evaluated already: an error
/// in an argument belongs to the caller.
struct call_frame {
    rx_routine_record caller = *rx_routine;
    std::optional<rx_kept_settings> kept; ///< the caller's settings, once the routine has changed one
    char *stack_limit = rx_stack_limit;

    call_frame(rx_arg *args, uint32_t count) {
        rx_routine_record &routine = *rx_routine;
        routine.args = args;
        routine.arg_count = count;
        routine.kept = &kept;
        routine.interpreted = nullptr;
        routine.call_depth++;
        routine.nesting++;
        routine.procedure = false;
    }
    call_frame(const call_frame &) = delete;
    call_frame &operator=(const call_frame &) = delete;
    ~call_frame() {
        if (rx_routine->procedure) rx_pop_level();
        if (kept) [[unlikely]]
            restore_settings();
        *rx_routine = caller;
        rx_stack_limit = stack_limit;
    }

private:
    [[gnu::noinline]] void restore_settings() {
        kept->settings.trace |= rx_settings->trace & TRACE_DEBUGGER;
        rx_settings.value = kept->settings;
        *rx_numeric = kept->numeric;
        rx_condition_text.value = std::move(kept->condition_text);
    }
};

/// Looks at the clauses behind a label for the first time. What a source that is loaded later adds to the end of the
/// chain runs in the walk.
[[gnu::noinline]] void find_opening(const rx_label &label) {
    rx_opening &opening = label.opening;
    const rx_clause_cell *cell = label.cell->next;
    if (cell->clause && cell->clause->kind == CL_PROCEDURE) {
        opening.procedure = static_cast<const rx_names_clause *>(cell->clause);
        cell = cell->next;
    }
    if (cell->clause && cell->clause->kind == CL_PARSE) {
        const auto &parse = *static_cast<const rx_parse_clause *>(cell->clause);
        if (rx_takes_each(parse)) {
            opening.arguments = &parse;
            cell = cell->next;
        }
    }
    opening.behind = cell;
}

/// Runs what a routine nearly always begins with, as far as that can neither fail nor be seen: the label, PROCEDURE
/// where a level is kept for it, PARSE ARG with a variable for each argument. The result is the cell to go on at.
inline const rx_clause_cell *begin_routine(const rx_label &label) {
    // A halt is for the walk, too: a recursion might come to no other place that looks for it.
    if (rx_settings->trace & ~(TRACE_C | TRACE_E | TRACE_F) || rx_halt_pending) [[unlikely]]
        return label.cell;
    const rx_opening &opening = label.opening;
    if (!opening.behind) [[unlikely]]
        find_opening(label);
    uint64_t clauses = 1;
    if (opening.procedure) {
        if (!rx_procedure_again(*opening.procedure)) {
            rx_clause_count++;
            return label.cell->next;
        }
        clauses++;
    }
    if (opening.arguments) {
        rx_take_each(*opening.arguments);
        clauses++;
    }
    rx_clause_count += clauses;
    return opening.behind;
}

[[gnu::always_inline]] inline rx_value run_routine(const rx_label &label, const rx_op &call, int level) {
    rx_check_stack();
    argument_area area(call.argument_count);
    evaluate_arguments(call, area, level);

    rx_flow flow;
    {
        call_frame frame(area.args, area.count);
        flow = rx_run_block(begin_routine(label));
    }
    // A signal that a line typed at the trace prompt made leaves the routines that the line called.
    if (flow == rx_flow::signalled) {
        rx_before_unwinding();
        throw rx_jmp_signal{};
    }
    return flow == rx_flow::returned ? std::move(rx_walk->result) : rx_value();
}

// ---- resolution ----------------------------------------------------------------------------------------------------

/// A quoted name is looked up among the labels only when it is a path, so that it can reach a built-in of the same name
/// as a label.
bool may_be_label(const rx_expr *name) {
    if (name->type != STRING) return true;
    std::string_view text = name->text;
    return !text.empty() && (text[0] == '.' || text[0] == '/' || text[0] == '~' || (text.size() > 1 && text[1] == ':'));
}

/// The cache of a call node holds the serial number of the program and the kind of target, so that it is void when a
/// source was added.
bool cached(const rx_op &call, rx_call_target &kind) {
    if (!call.target || call.target_serial >> 2 != (*rx_program_now)->serial) return false;
    kind = static_cast<rx_call_target>(call.target_serial & 3);
    return true;
}

/// n of a list of arguments that is one constant n, a whole number from 1; else 0.
uint32_t constant_argument(const rx_expr *list) {
    if (!list || list->next || list->type != STRING || !list->literal->number) return 0;
    double n = list->literal->number->real;
    return n >= 1 && n <= 1e9 && rx_is_whole(n) ? static_cast<uint32_t>(n) : 0;
}

bool resolve(const rx_op &call, bool after_load, rx_call_target &kind) {
    std::string_view name = call.name->text;
    const rx_program &program = **rx_program_now;
    auto remember = [&](rx_call_target found, const void *target) {
        kind = found;
        call.target = target;
        call.target_serial = program.serial << 2 | found;
        call.own_line = rx_own_line(program, call.name->line) + 1;
        call.argument = target == reinterpret_cast<const void *>(rx_arg_handler) ? constant_argument(call.args) : 0;
        return true;
    };
    if (after_load || may_be_label(call.name)) {
        if (const rx_label *label = rx_find_label(program.labels, name)) return remember(RX_CALLS_LABEL, label);
    }
    if (after_load) return false;
    if (rx_handler handler = bu_lookup(name))
        return remember(RX_CALLS_BUILTIN, reinterpret_cast<const void *>(handler));
    for (const rx_extra_function &row : rx_extra_functions) {
        if (row.name == name) return remember(RX_CALLS_EXTRA, &row);
    }
    return false;
}

[[gnu::noinline]] rx_value call_handler(const rx_op &call, rx_call_target kind, int level) {
    struct call_state {
        int level = rx_routine->call_level;
        std::string_view name = rx_called_name;
        ~call_state() {
            rx_routine->call_level = level;
            rx_called_name = name;
        }
    } before;
    rx_routine->call_level = level;
    rx_called_name = call.name->text;
    if (kind == RX_CALLS_BUILTIN) return reinterpret_cast<rx_handler>(const_cast<void *>(call.target))(call.args);
    const auto *row = static_cast<const rx_extra_function *>(call.target);
    return row->handler(call.args, rx_extra_functions);
}

[[gnu::always_inline]] inline rx_value call_label(const rx_op &call, int level) {
    const auto *label = static_cast<const rx_label *>(call.target);
    rx_set_sigl(call.own_line);
    if (label->frame) [[unlikely]]
        rx_raise_at(call.name->line, call.name->column, 54,
                    "The label \"" + std::string(call.name->text) + "\" is nested within a control structure.");
    return run_routine(*label, call, level);
}

[[gnu::noinline]] rx_value call_label_at_level(const rx_op &call, int level) {
    return call_label(call, level);
}

/// The same while nobody traces, which saves a look at the level for each argument.
[[gnu::noinline]] rx_value call_label_untraced(const rx_op &call) {
    return call_label(call, 0);
}

[[noreturn]] void not_found(const rx_expr *name) {
    rx_write("\nvandra: \"" + std::string(name->text) + "\" routine not found.\n");
    rx_raise_at(name->line, name->column, 43);
}

/// A name that no call has met before: a source is loaded for it, or its command runs.
[[gnu::noinline]] bool load_routine(const rx_op &call, rx_call_target &kind, rx_value &result, int level) {
    int found = 0;
    if (rx_load_external)
        found = rx_load_external(call.name->text, call.name->type != STRING, call.args, result, level);
    if (found == 2) return false;
    if (found == 0 || !resolve(call, true, kind)) not_found(call.name);
    return true;
}

[[gnu::noinline]] rx_value invoke_with_care(const rx_op *call, int level) {
    rx_call_target kind;
    if (!cached(*call, kind) && !resolve(*call, false, kind)) [[unlikely]] {
        if (rx_value result; !load_routine(*call, kind, result, level)) return result;
    }
    rx_error.line = call->name->line;
    rx_error.column = call->name->column;
    rx_value result = kind == RX_CALLS_LABEL ? call_label_at_level(*call, level) : call_handler(*call, kind, level);
    if (level) rx_trace_function(level, call->name->text, result);
    return result;
}

/// A built-in that is known, while nobody traces.
inline rx_value call_handler_swiftly(const rx_op &call) {
    struct called_name {
        std::string_view before = rx_called_name;
        ~called_name() { rx_called_name = before; }
    } name;
    rx_error.line = call.name->line;
    rx_error.column = call.name->column;
    rx_called_name = call.name->text;
    return reinterpret_cast<rx_handler>(const_cast<void *>(call.target))(call.args);
}

} // namespace

rx_value rx_invoke(const rx_op *call, int level) {
    // What was called before, while nobody traces.
    if (level == 0) [[likely]] {
        if (rx_calls(*call, RX_CALLS_LABEL)) {
            rx_error.line = call->name->line;
            rx_error.column = call->name->column;
            return call_label_untraced(*call);
        }
        if (rx_calls(*call, RX_CALLS_BUILTIN) && rx_routine.value.call_level == 0) return call_handler_swiftly(*call);
    }
    return invoke_with_care(call, level);
}

void rx_call_handler(std::string_view name) {
    rx_expr token;
    token.type = SYMBOL;
    token.text = name;
    token.line = rx_error.line;
    token.column = rx_error.column;
    rx_op call{};
    call.kind = RX_CALL;
    call.name = &token;
    rx_invoke(&call, 0);
}

[[gnu::noinline]] void rx_call(const rx_call_clause &clause) {
    rx_error.line = clause.call->name->line;
    rx_shown shown;
    if (rx_settings->trace & (TRACE_CLAUSES | TRACE_L)) [[unlikely]]
        shown = rx_show_clause_slow(clause.call->name->line, TRACE_CLAUSES | TRACE_L);
    if (shown.skip) return;
    rx_value result = rx_invoke(clause.call, shown.level);
    const rx_symbol &variable = rx_system_symbol(RX_RESULT);
    if (result.is_none())
        rx_drop_rare(variable);
    else
        rx_var_assign(variable, std::move(result));
}
