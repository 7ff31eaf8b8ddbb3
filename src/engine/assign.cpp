// Assignment: whole variables, stems, and the index forms that overwrite a part of a variable's text.
#include "engine/assign.h"

#include "engine/clauses.h"
#include "engine/index.h"
#include "engine/trace.h"
#include "platform/strings.h"

#include <array>
#include <cstring>

namespace {

/// `s = s || a || b`: the longest chain of operands that is appended in place.
constexpr size_t longest_chain = 16;

bool joins(const rx_expr *node) {
    return node->type == OP_NODE && node->op->kind == RX_DYADIC &&
           (node->op->fn->id == FX_CONC || node->op->fn->id == FX_BL);
}

/// The text of an evaluated operand, appended with the blank that its operator puts in front.
struct piece {
    const rx_operand *operand;
    bool blank;
    rx_value value;
};

bool same_name(const rx_symbol &a, const rx_symbol &b) {
    return a.hash == b.hash && a.name == b.name;
}

/// True for `s = s || x` where S is a simple variable and X a constant or a variable.
bool appends_one(const rx_assign_clause &clause) {
    const rx_symbol &target = *clause.target->symbol;
    if (!joins(clause.value) || target.compound()) return false;
    const rx_op &op = *clause.value->op;
    return op.a.kind == SYMBOL && op.b.kind != OP_NODE && same_name(*op.a.node->symbol, target);
}

/// rx_append, without a call where the room is there.
inline void append(rx_value &string, std::string_view text) {
    size_t length = string.length + text.size();
    if (string.storage != RX_HEAP || length > string.heap.capacity) return rx_append(string, text);
    rx_copy_bytes(string.heap.data + string.length, text.data(), text.size());
    string.heap.data[length] = '\0';
    string.length = static_cast<uint32_t>(length);
}

/// Runs such a clause where S holds a string and X is set: appends to S where it stands. False: nothing has happened.
inline bool append_one(const rx_assign_clause &clause) {
    const rx_symbol &target = *clause.target->symbol;
    const rx_op &op = *clause.value->op;
    const rx_value *held = rx_var_cached(target);
    const rx_value *piece = op.b.kind == STRING ? op.b.node->literal->text : rx_var_cached(*op.b.node->symbol);
    if (!held || !held->is_string() || !piece || piece == held) return false;
    rx_error.line = op.b.node->line; // a number may have no text
    rx_error.column = op.b.node->column;
    rx_number_buffer buffer;
    std::string_view text = rx_arg_text(*piece, buffer);
    rx_var &var = *rx_var_met(target);
    rx_value &record = rx_var_assigned(var);
    if (op.fn->id == FX_BL) append(record, " ");
    append(record, text);
    return true;
}

/// `s = s || ...` (the value joins something) where S is a simple variable that holds a string: appends to S where it
/// stands, so that building a text piece by piece takes time proportional to its length. False when the clause is
/// something else.
[[gnu::noinline]] bool append_in_place(const rx_assign_clause &clause) {
    const rx_symbol &target = *clause.target->symbol;
    if (target.compound() || target.environment) return false;
    std::array<piece, longest_chain> pieces;
    size_t count = 0;
    const rx_operand *left = nullptr;
    for (const rx_expr *node = clause.value; joins(node); node = left->node) {
        if (count == longest_chain) return false;
        left = &node->op->a;
        pieces[count].operand = &node->op->b;
        pieces[count++].blank = node->op->fn->id == FX_BL;
        if (left->kind != OP_NODE) break;
    }
    if (left->kind != SYMBOL || !same_name(*left->node->symbol, target)) return false;
    rx_var *var = rx_var_find(target);
    if (!var || var->state != RX_SET || !var->value.is_string()) return false;

    rx_value base;
    {
        rx_pin pin(*var);
        for (size_t i = count; i-- > 0;) {
            rx_value scratch;
            const rx_value &value = rx_view(pieces[i].operand->node, 0, scratch);
            pieces[i].value = rx_to_string(&value == &scratch ? std::move(scratch) : rx_copy_value(value));
        }
        if (!pin.untouched()) base = rx_copy_value(pin.value());
    }
    bool in_place = base.is_none();
    rx_value &text = in_place ? rx_var_assigned(*var) : base;
    for (size_t i = count; i-- > 0;) {
        if (pieces[i].blank) rx_append(text, " ");
        rx_append(text, pieces[i].value.text());
    }
    if (!in_place) rx_var_assign(target, std::move(base));
    return true;
}

/// The value of the right side; none written is the empty text, and a lone unquoted constant that is a number is one.
rx_value right_side(const rx_expr *node, int level) {
    if (!node) return rx_string("");
    if (node->type == STRING && node->flag == 0 && node->literal->number) {
        rx_error.line = node->line;
        rx_error.column = node->column;
        return rx_copy_value(*node->literal->number);
    }
    return do_exec(node, level);
}

/// Evaluates an index of an indexed assignment; its position counts from 0.
size_t index_of(const rx_expr *node, int level, const char *which) {
    rx_value index = do_exec(node, level);
    rx_error.line = node->line;
    rx_error.column = node->column;
    std::string not_number = std::string("The ") + which + " index evaluates to \"";
    std::string not_positive = std::string("The ") + which + " index must be a positive integer.";
    size_t position = rx_index_position(index, not_number.c_str(), not_positive.c_str());
    if (node->type == SYMBOL) {
        rx_var *var = rx_var_find(*node->symbol);
        if (var && var->state == RX_SET) rx_var_writable(*var) = std::move(index);
    }
    return position;
}

/// Overwrites a part of the variable's text, repeating or cutting the value to fit.
[[gnu::noinline]] void assign_part(const rx_assign_clause &clause, const rx_symbol &target, rx_value &&value,
                                   int level) {
    size_t first = clause.from ? index_of(clause.from, level, "first") : 0;
    size_t last = clause.to ? index_of(clause.to, level, "second") : 0;
    rx_number_buffer buffer;
    std::string_view text = rx_arg_text(value, buffer);
    if (text.empty()) text = " ";

    rx_var *var = rx_var_find(target);
    if (!var || var->state != RX_SET) {
        // An unset variable begins as what reading it yields.
        rx_error.line = clause.target->line;
        rx_error.column = clause.target->column;
        rx_value scratch;
        rx_value start = rx_to_string(rx_copy_value(rx_var_get(target, scratch)));
        var = &rx_var_entry(target);
        rx_var_store(*var, std::move(start));
    }
    rx_value &record = rx_var_writable(*var);
    if (!record.is_string()) record = rx_to_string(std::move(record));
    if (clause.to_open) {
        if (first >= record.length) rx_raise(78, "The second index must be greater than the first.");
        last = record.length - size_t{1};
    } else if (!clause.to) {
        last = first + text.size() - 1;
    }
    if (last < first) rx_raise(78, "The second index must be greater than the first.");
    if (last >= record.length) {
        size_t before = record.length;
        rx_resize(record, last + 1);
        std::memset(rx_bytes(record) + before, ' ', last + 1 - before);
    } else {
        rx_reserve(record, record.length);
    }
    char *bytes = rx_bytes(record) + first;
    size_t left = last - first + 1;
    for (size_t done = 0; done < left; done += text.size())
        std::memcpy(bytes + done, text.data(), std::min(text.size(), left - done));
    if (rx_settings->trace & (TRACE_I | TRACE_R))
        rx_trace_index_assignment(level, rx_resolve_name(target), first + 1, last + 1, text);
}

void trace_target(const rx_assign_clause &clause, int level) {
    const rx_symbol &target = *clause.target->symbol;
    if (!rx_intermediates(level) || !target.compound() || target.whole_stem) return;
    std::string name = rx_resolve_name(target);
    if (name != target.name) rx_trace_compound(level, target.name, name);
}

/// True when evaluating the right side or an index can run other code, which could change a tail of the target: then
/// the target is resolved ahead.
bool runs_code(const rx_expr *node) {
    return node && node->type == OP_NODE && node->op->calls;
}
/// An index that is a variable turns into a number when it is read.
bool may_change(const rx_expr *index) {
    return index && (index->type == SYMBOL || runs_code(index));
}
bool resolves_ahead(const rx_assign_clause &clause) {
    const rx_symbol &target = *clause.target->symbol;
    if (!target.compound() || target.whole_stem) return false;
    return runs_code(clause.value) || may_change(clause.from) || may_change(clause.to) ||
           rx_settings->traps[RX_NOVALUE] == RX_TRAP_CALL;
}

/// The name of an assigned variable as a trace line shows it.
std::string shown_name(const rx_symbol &target) {
    return target.whole_stem ? std::string(target.name) : rx_resolve_name(target);
}

/// Stores a copy of a value that stands somewhere, perhaps in the entry itself.
void put_in(rx_var &var, const rx_value &value) {
    rx_put_copy(rx_var_assigned(var), value);
    var.state = RX_SET;
}

/// A value for a simple variable: nothing that happens on the right can change which variable that is.
[[gnu::noinline]] void assign_plain(const rx_assign_clause &clause) {
    const rx_symbol &target = *clause.target->symbol;
    rx_value scratch;
    const rx_value &value = rx_view(clause.value, 0, scratch);
    if (&value == &scratch)
        rx_var_store(rx_var_entry(target), std::move(scratch));
    else
        put_in(rx_var_entry(target), value);
}

/// A variable or constant for a compound. False: nothing has happened.
[[gnu::noinline]] bool store_copy(const rx_assign_clause &clause) {
    const rx_expr *node = clause.value;
    const rx_value *value = node->type == STRING ? node->literal->text : rx_var_peek(*node->symbol);
    if (!value) return false;
    put_in(rx_var_entry(*clause.target->symbol), *value);
    return true;
}

/// The first look at a clause that hasn't run yet.
[[gnu::noinline]] rx_assign_road choose_road(const rx_assign_clause &clause) {
    const rx_expr *value = clause.value;
    const rx_symbol &target = *clause.target->symbol;
    if (!value || clause.from || clause.to || target.bad_name || target.environment) return ASSIGN_GENERAL;
    bool constant = value->type == STRING && value->flag == 0 && value->literal->number;
    if (constant || (value->type == OP_NODE && rx_quick_candidate(*value->op))) return ASSIGN_NUMBER;
    if (target.compound()) return value->type == OP_NODE || target.whole_stem ? ASSIGN_GENERAL : ASSIGN_COPY;
    if (joins(value)) return appends_one(clause) ? ASSIGN_APPEND : ASSIGN_GENERAL;
    return ASSIGN_PLAIN;
}

/// Evaluates the right side and stores it under the target, a symbol of the program or its resolved name.
void assign_value(const rx_assign_clause &clause, const rx_symbol &target, int level) {
    rx_value value = right_side(clause.value, level);
    if (clause.from || clause.to) return assign_part(clause, target, std::move(value), level);
    if (level && rx_settings->trace & (TRACE_I | TRACE_R)) {
        rx_number_buffer buffer;
        rx_trace_assignment(level, shown_name(target), rx_arg_text(value, buffer));
    }
    if (rx_var *var = rx_var_met(target)) return rx_var_store(*var, std::move(value));
    rx_var_assign(target, std::move(value));
}

[[gnu::noinline]] void assign_in_general(const rx_assign_clause &clause) {
    const rx_symbol &target = *clause.target->symbol;
    if (target.bad_name) rx_raise_at(clause.target->line, clause.target->column, 31);
    rx_shown shown = rx_show_clause(&clause);
    if (shown.skip) return;
    bool indexed = clause.from || clause.to;
    if (shown.level == 0 && !indexed && clause.value && joins(clause.value) && append_in_place(clause)) return;
    if (shown.level) trace_target(clause, shown.level);

    if (resolves_ahead(clause)) [[unlikely]] {
        std::string name = rx_resolve_name(target);
        rx_resolved_symbol resolved(name);
        assign_value(clause, resolved.symbol, shown.level);
    } else {
        assign_value(clause, target, shown.level);
    }
}

} // namespace

[[gnu::noinline]] void rx_store_first_element(const rx_symbol &target, rx_var *element, rx_plain number) {
    if (element && rx_enter_element(target, *element)) {
        rx_put_plain(element->value, number);
        element->state = RX_SET;
        return;
    }
    if (target.whole_stem) return rx_var_assign(target, rx_value_of(number));
    rx_var_store(rx_var_entry(target), rx_value_of(number));
}

[[gnu::noinline]] void rx_store_first(const rx_symbol &target, rx_plain number) {
    rx_var *met = rx_var_met(target);
    if (met && !met->pins && met->value.storage == RX_INLINE) [[likely]] {
        rx_put_plain(met->value, number);
        met->state = RX_SET;
        met->marks = 0;
        return;
    }
    rx_var_store(rx_var_entry(target), rx_value_of(number));
}

void rx_assign(const rx_assign_clause &clause) {
    if (clause.road == ASSIGN_UNKNOWN) [[unlikely]]
        clause.road = choose_road(clause);
    if (clause.road != ASSIGN_GENERAL && (rx_settings->trace & TRACE_CLAUSES) == 0) [[likely]] {
        if (clause.road == ASSIGN_PLAIN) return assign_plain(clause);
        if (clause.road == ASSIGN_COPY) {
            if (store_copy(clause)) return;
        } else if (clause.road == ASSIGN_NUMBER ? rx_store_number(clause) : append_one(clause)) {
            return;
        }
    }
    assign_in_general(clause);
}
