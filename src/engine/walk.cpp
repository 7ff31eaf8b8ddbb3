#include "engine/assign.h"
#include "engine/clauses.h"
#include "engine/control.h"
#include "engine/host.h"
#include "engine/trace.h"
#include "platform/signals.h"
#include "platform/stack.h"

void rx_check_stack() {
    if (rx_stack_used_up()) [[unlikely]]
        rx_raise(5);
}

namespace {

template <class T> const T &as(const rx_clause *clause) {
    return *static_cast<const T *>(clause);
}

void label(const rx_clause *clause) {
    rx_show_clause(clause, TRACE_CLAUSES | TRACE_L);
}

/// LEAVE and ITERATE only leave word of themselves; the loop that they are meant for takes it up.
rx_flow loop_exit(const rx_name_clause &clause, rx_flow flow) {
    if (rx_show_clause(&clause).skip) return rx_flow::next;
    rx_walk->loop_name = clause.name ? *clause.name : std::string_view();
    return flow;
}

/// The kinds that don't stand in inner loops; out of line, so that the frame of the walk stays small.
[[gnu::noinline]] rx_flow run_other_clause(const rx_clause *clause) {
    switch (clause->kind) {
    case CL_COMMAND: return rx_command(as<rx_expr_clause>(clause).expr, -1, clause->line, false);
    case CL_SAYX: return rx_command(as<rx_expr_clause>(clause).expr, -1, clause->line, true);
    case CL_SAY:
    case CL_SAYN:
    case CL_SAYR: rx_say(as<rx_expr_clause>(clause)); break;
    case CL_EXIT: return rx_exit(as<rx_expr_clause>(clause));
    case CL_SIGNAL: return rx_signal(as<rx_signal_clause>(clause));
    case CL_PUSH:
    case CL_QUEUE: rx_push(as<rx_expr_clause>(clause)); break;
    case CL_ADDRESS: return rx_address(as<rx_address_clause>(clause));
    case CL_DROP: rx_drop_clause(as<rx_names_clause>(clause)); break;
    case CL_INTERPRET: return rx_interpret(as<rx_expr_clause>(clause));
    case CL_NUMERIC: rx_numeric_instruction(as<rx_numeric_clause>(clause)); break;
    case CL_UPPER:
    case CL_LOWER: rx_case_clause(as<rx_names_clause>(clause)); break;
    case CL_SOURCE_BREAK: break;
    case CL_TRACE: rx_trace_instruction(as<rx_trace_clause>(clause)); break;
    case CL_CD: rx_cd(as<rx_expr_clause>(clause)); break;
    default: break;
    }
    return rx_flow::next;
}

/// True when an assignment was taken on its quick road.
[[gnu::always_inline]] inline bool assigned_quickly(const rx_assign_clause &clause) {
    return clause.road == ASSIGN_NUMBER && (rx_settings.value.trace & TRACE_CLAUSES) == 0 && rx_store_number(clause);
}

/// Runs a branch of an IF. One that goes away at once, as in `if x = 0 then iterate`, is taken here.
inline rx_flow run_branch(const rx_clause_cell *branch) {
    const rx_clause *first = branch->clause;
    bool jumps = first && (first->kind == CL_ITERATE || first->kind == CL_LEAVE || first->kind == CL_RETURN);
    if (!jumps || rx_settings->trace & (TRACE_CLAUSES | TRACE_PROMPT)) return rx_run_clauses(branch);
    rx_error.line = first->line;
    rx_clause_count++;
    if (first->kind == CL_RETURN) return rx_return(as<rx_expr_clause>(first));
    const auto &jump = as<rx_name_clause>(first);
    rx_walk->loop_name = jump.name ? *jump.name : std::string_view();
    return first->kind == CL_ITERATE ? rx_flow::iterate : rx_flow::leave;
}

[[gnu::always_inline]] inline rx_flow run_if(const rx_if_clause &clause) {
    if (rx_settings->trace & TRACE_CLAUSES) [[unlikely]]
        return rx_if_traced(clause);
    if (rx_condition_holds(clause.cond, 0, rx_plain_condition)) return run_branch(clause.then_chain);
    return clause.else_chain ? run_branch(clause.else_chain) : rx_flow::next;
}

[[gnu::always_inline]] inline rx_flow run_clause(const rx_clause *clause) {
    switch (clause->kind) {
    case CL_ASSIGN: rx_assign(as<rx_assign_clause>(clause)); break;
    case CL_IF: return run_if(as<rx_if_clause>(clause));
    case CL_DO: return rx_do(as<rx_do_clause>(clause));
    case CL_SELECT: return rx_select(as<rx_select_clause>(clause));
    case CL_LABEL: label(clause); break;
    case CL_RETURN: return rx_return(as<rx_expr_clause>(clause));
    case CL_CALL: rx_call(as<rx_call_clause>(clause)); break;
    case CL_PROCEDURE: rx_procedure(as<rx_names_clause>(clause)); break;
    case CL_PARSE: rx_parse(as<rx_parse_clause>(clause)); break;
    case CL_LEAVE: return loop_exit(as<rx_name_clause>(clause), rx_flow::leave);
    case CL_ITERATE: return loop_exit(as<rx_name_clause>(clause), rx_flow::iterate);
    default: return run_other_clause(clause);
    }
    return rx_flow::next;
}

/// Interactive tracing between clauses. False: the clause that has just ended runs once more. Out of line: this is
/// rare, and its frame is large.
[[gnu::noinline, gnu::cold]] bool prompt(rx_flow &flow) {
    rx_trace_record &state = *rx_trace_state;
    if (rx_walk->interactive || state.clause_count <= state.prompts_to_skip) return true;
    state.clause_count = 0;
    state.prompts_to_skip = 0;
    return rx_trace_prompt(flow);
}

/// True when a loop takes up a LEAVE or ITERATE of this name.
bool is_loop_of(const rx_clause *structure, std::string_view name) {
    if (!structure || structure->kind != CL_DO) return false;
    const auto &loop = as<rx_do_clause>(structure);
    if (loop.form == DO_PLAIN && loop.cond_kind == DO_NO_CONDITION) return false;
    return name.empty() || (loop.control && loop.control->text == name);
}

/// Walks from a cell that may lie inside control structures: the rest of its chain runs, then what follows the
/// enclosing structure, one level up after the other. No structure that was jumped into goes round again.
rx_flow run_outwards(const rx_clause_cell *cell, const rx_build_frame *frame) {
    for (;;) {
        rx_flow flow = rx_run_clauses(cell);
        for (;;) {
            if (!frame || flow == rx_flow::returned || flow == rx_flow::signalled) return flow;
            const rx_clause_cell *structure = frame->tail;
            frame = frame->outer;
            cell = structure->next;
            if (flow == rx_flow::next || is_loop_of(structure->clause, rx_walk->loop_name)) break;
        }
    }
}

} // namespace

namespace {

[[gnu::always_inline]] inline rx_flow run_chain(const rx_clause_cell *cell) {
    while (const rx_clause *clause = cell->clause) {
        rx_error.line = clause->line;
        rx_clause_count++;
        if (clause->kind == CL_ASSIGN && assigned_quickly(as<rx_assign_clause>(clause))) {
            // A prompt comes behind clauses that were shown, and this one wasn't.
            if (rx_halt_pending) [[unlikely]]
                rx_halt_poll();
            cell = cell->next;
            continue;
        }
        rx_flow flow = run_clause(clause);
        if (rx_settings->trace & TRACE_PROMPT) [[unlikely]] {
            if (!prompt(flow)) continue;
        }
        // What a RETURN or LEAVE has left behind must not meet a HALT handler: its turn comes behind the jump.
        if (flow != rx_flow::next) return flow;
        if (rx_halt_pending) [[unlikely]] {
            rx_error.line = clause->line;
            rx_halt_poll();
        }
        cell = cell->next;
    }
    return rx_flow::next;
}

} // namespace

rx_flow rx_run_clauses(const rx_clause_cell *cell) {
    rx_check_stack();
    return run_chain(cell);
}

namespace {

/// True when the variable still holds the present value, and the next one isn't past the bound.
inline bool may_step(const rx_swift_rounds &rounds, double current, double next) {
    const rx_value &value = rounds.control->value;
    return rx_head_of(value) == rx_whole_head && value.real == current &&
           (rounds.up ? next <= rounds.bound : next >= rounds.bound);
}

/// Of rounds whose tail is the loop's variable: how many, the present one first, come before the last one and leave the
/// tail within a segment. The bound is not behind the present value.
inline int64_t rounds_in_segment(const rx_swift_rounds &rounds, int64_t index, int64_t step, unsigned segment) {
    auto first = static_cast<int64_t>(rx_elements::first_of(segment));
    auto size = static_cast<int64_t>(rx_elements::size_of(segment));
    double before_last = std::trunc(std::max((rounds.bound - rounds.current) / rounds.by, 0.0));
    // The bound may have a fraction, by which the quotient is rounded up.
    double last = rounds.current + before_last * rounds.by;
    if (rounds.up ? last > rounds.bound : last < rounds.bound) before_last--;
    int64_t left = rounds.up ? first + size - 1 - index : index - first;
    return std::min(static_cast<int64_t>(before_last), left / std::abs(step) + 1);
}

/// Rounds that assign a number to the element of a stem whose tail is the loop's variable, `a.i = 0`: run here as far as
/// the element is there or can be entered at its place, but for the last one.
[[gnu::noinline]] void fill_swiftly(const rx_assign_clause &clause, rx_swift_rounds &rounds) {
    const rx_symbol &target = *clause.target->symbol;
    const rx_meaning *row = rx_scope.value.row;
    if (row[target.index_place].found != rounds.control || !row[target.stem_place].met()) return;
    const rx_elements &elements = *row[target.stem_place].elements();
    if (std::signbit(rounds.current) || std::fabs(rounds.by) > 1e8) return;
    auto index = static_cast<int64_t>(rounds.current), step = static_cast<int64_t>(rounds.by);
    const rx_op *op = clause.value->type == OP_NODE ? clause.value->op : nullptr;
    rx_plain plain = op ? rx_plain{} : rx_plain_of(*clause.value->literal->number);
    rx_value &value = rounds.control->value;
    constexpr int64_t between_looks = 4096; // at whether a halt was asked for
    while (!rx_halt_pending && index >= 0 && static_cast<uint64_t>(index) < elements.count) {
        unsigned segment = rx_elements::segment_of(static_cast<uint64_t>(index));
        int64_t count = std::min(rounds_in_segment(rounds, index, step, segment), between_looks), done = 0;
        auto place = reinterpret_cast<uintptr_t>(elements.in_segment(segment, static_cast<uint64_t>(index)));
        auto distance = static_cast<uintptr_t>(step) * sizeof(rx_var);
        for (; done < count; done++, place += distance) {
            auto &element = *reinterpret_cast<rx_var *>(place);
            if (op && !rx_try_quick(*op, plain)) break;
            if (!element.value.is_number() && (element.order || !rx_enter_element(target, element))) break;
            rx_put_plain(element.value, plain);
            element.state = RX_SET;
            element.marks = 0;
            // Elements that lie far apart are asked for long before they are needed, for memory answers late.
            __builtin_prefetch(reinterpret_cast<void *>(place + distance * 64), 1);
            if (op) value.real = rounds.current += rounds.by;
        }
        rx_clause_count += static_cast<uint64_t>(done);
        index += step * done;
        value.real = rounds.current = static_cast<double>(index);
        if (done < count || count <= 0) return;
    }
}

/// Rounds whose body is one assignment of a number: on its quick road nothing can happen that would end the loop early
/// but an assignment to its variable. True: the body has run for the last value, and the loop doesn't go on this way.
/// False: it hasn't run for that value, and its run takes more care.
inline bool run_swift_assignments(const rx_assign_clause &clause, rx_swift_rounds &rounds) {
    if (clause.road != ASSIGN_NUMBER || rx_numeric.value.digits < 9 ||
        rx_settings.value.trace & (TRACE_CLAUSES | TRACE_PROMPT))
        return false;
    rx_value &value = rounds.control->value;
    double by = rounds.by;
    bool goes_on = true;
    rx_error.line = clause.line;
    if (clause.target->symbol->compound()) fill_swiftly(clause, rounds);
    double current = rounds.current;
    while (!rx_halt_pending && rx_store_number(clause)) {
        rx_clause_count++;
        double next = current + by;
        goes_on = may_step(rounds, current, next);
        if (!goes_on) break;
        value.real = current = next;
    }
    rounds.current = current;
    return !goes_on;
}

} // namespace

rx_flow rx_run_swift_rounds(const rx_clause_cell *body, rx_swift_rounds &rounds) {
    rx_check_stack();
    rx_value &value = rounds.control->value;
    uint64_t serial = rx_scope->serial;
    bool lone = body->clause->kind == CL_ASSIGN && !body->next->clause;
    for (;;) {
        if (lone && run_swift_assignments(as<rx_assign_clause>(body->clause), rounds)) return rx_flow::next;
        double current = rounds.current;
        rx_flow flow = run_chain(body);
        bool iterated = flow == rx_flow::iterate && rx_is_of_loop(*rounds.loop);
        double next = current + rounds.by;
        bool goes_on = (flow == rx_flow::next || iterated) && may_step(rounds, current, next) &&
                       rx_numeric.value.digits >= 9 && (rx_settings->trace & TRACE_CLAUSES) == 0 &&
                       rx_scope.value.serial == serial;
        if (!goes_on) [[unlikely]]
            return flow;
        value.real = rounds.current = next;
        if (iterated) rx_poll_between_clauses();
    }
}

rx_flow rx_run_counted_rounds(const rx_do_clause &loop, double &round, double count) {
    rx_check_stack();
    for (;;) {
        rx_flow flow = run_chain(loop.body);
        bool iterated = flow == rx_flow::iterate && rx_is_of_loop(loop);
        double next = round + 1;
        bool goes_on = (flow == rx_flow::next || iterated) && next < count && (rx_settings->trace & TRACE_CLAUSES) == 0;
        if (!goes_on) [[unlikely]]
            return flow;
        round = next;
        if (iterated) rx_poll_between_clauses();
    }
}

namespace {

/// Runs what many routines consist of, clauses like `if n < 2 then return n` and a RETURN, without the frame of the
/// walk. `next`: the walk has to go on at the cell.
inline rx_flow run_guards(const rx_clause_cell *&cell) {
    while (const rx_clause *clause = cell->clause) {
        if (rx_settings->trace & (TRACE_CLAUSES | TRACE_PROMPT)) break;
        const rx_clause *exit = clause;
        if (clause->kind == CL_IF) {
            const auto &guard = as<rx_if_clause>(clause);
            exit = guard.then_chain->clause;
            if (guard.else_chain || !exit || exit->kind != CL_RETURN) break;
            rx_error.line = clause->line;
            bool holds;
            if (!rx_quick_condition(guard.cond, holds)) break;
            rx_clause_count++;
            if (!holds) {
                rx_poll_between_clauses();
                cell = cell->next;
                continue;
            }
        } else if (clause->kind != CL_RETURN) {
            break;
        }
        rx_error.line = exit->line;
        rx_clause_count++;
        rx_flow flow = rx_return(as<rx_expr_clause>(exit));
        if ((rx_settings->trace & TRACE_PROMPT) == 0 || prompt(flow)) [[likely]]
            return flow;
    }
    return rx_flow::next;
}

} // namespace

rx_flow rx_run_block(const rx_clause_cell *cell, const rx_build_frame *frame) {
    for (;;) {
        rx_flow flow;
        try {
            if (run_guards(cell) == rx_flow::returned) return rx_flow::returned;
            flow = run_outwards(cell, frame);
            bool loop_exit = flow == rx_flow::leave || flow == rx_flow::iterate;
            if (loop_exit && !rx_routine->interpreted && !rx_walk->interactive) rx_raise(28);
        } catch (const rx_jmp_signal &) {
            flow = rx_flow::signalled;
        } catch (const rx_jmp_return &) {
            flow = rx_flow::returned;
        }
        if (flow == rx_flow::signalled && !rx_routine->interpreted && !rx_walk->interactive) {
            rx_close_stack_reserve();
            cell = rx_walk->signal_target;
            frame = rx_walk->signal_frame;
            continue;
        }
        return flow;
    }
}
