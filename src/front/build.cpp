#include "front/build.h"

#include "base/raise.h"
#include "front/template.h"

namespace {

template <class T> T *make_clause(rx_build &build, rx_clause_kind kind, unsigned line) {
    T *clause = build.target.arena.make<T>();
    clause->kind = kind;
    clause->line = line;
    return clause;
}

void add(rx_build &build, rx_clause *clause) {
    build.tail->clause = clause;
    build.tail->next = build.target.arena.make<rx_clause_cell>();
    build.tail = build.tail->next;
    rx_note_clause(build, clause->line);
}

void open_chain(rx_build &build) {
    build.frame = build.target.arena.make<rx_build_frame>(build.tail, build.head, build.frame);
    rx_start_chain(build);
}

/// Ends the nested chain, goes on with the enclosing one, and gives the first cell of what was built.
rx_clause_cell *close_chain(rx_build &build) {
    rx_clause_cell *first = build.head;
    build.tail = build.frame->tail;
    build.head = build.frame->head;
    build.frame = build.frame->outer;
    return first;
}

rx_operand operand_of(rx_expr *node) {
    return node ? rx_operand{node->type, node} : rx_operand{};
}

bool calls(const rx_operand &operand) {
    return operand.kind == OP_NODE && operand.node->op->calls;
}

/// A computed node at the place of `at`.
rx_expr *make_node(rx_build &build, const rx_expr *at, rx_op *op) {
    rx_expr *node = build.target.arena.make<rx_expr>();
    node->type = OP_NODE;
    node->line = at->line;
    node->column = at->column;
    node->op = op;
    return node;
}

rx_op *make_op(rx_build &build, rx_op_kind kind, rx_operator_id fn, rx_expr *a, rx_expr *b = nullptr,
               rx_expr *c = nullptr) {
    rx_op *op = build.target.arena.make<rx_op>();
    op->kind = kind;
    op->fn = &rx_operators[fn];
    op->a = operand_of(a);
    op->b = operand_of(b);
    op->c = operand_of(c);
    op->calls = fn == FX_BACKQ || calls(op->a) || calls(op->b) || calls(op->c);
    return op;
}

/// The operation of a call. Inside the grammar the name had a code of its own, by the "(" behind it.
rx_op *make_call_op(rx_build &build, rx_expr *name, rx_expr *args) {
    if (name->type == FUNCTION) name->type = SYMBOL;
    if (name->type == SFUNCTION) name->type = STRING;
    rx_op *op = build.target.arena.make<rx_op>();
    op->kind = RX_CALL;
    op->calls = true;
    op->name = name;
    op->args = args;
    bool none = args && args->type == VIDE && !args->next;
    for (const rx_expr *each = none ? nullptr : args; each; each = each->next) op->argument_count++;
    return op;
}

} // namespace

// ---- expressions ----------------------------------------------------------------------------------------------------

rx_expr *rx_make_literal(rx_build &build, rx_expr *token) {
    rx_arena &arena = build.target.arena;
    // Values in a tree are never destroyed: their text is inline or borrowed from the token.
    auto place = [&](rx_value &&value) { return new (arena.allocate(sizeof(rx_value))) rx_value(std::move(value)); };
    token->literal = arena.make<rx_literal>();
    token->literal->text = place(rx_borrowed(token->text));
    rx_value number;
    if (rx_number_of(*token->literal->text, number)) token->literal->number = place(std::move(number));
    return token;
}

rx_expr *rx_make_monadic(rx_build &build, rx_expr *operand, rx_operator_id fn) {
    return make_node(build, operand, make_op(build, RX_MONADIC, fn, operand));
}

rx_expr *rx_make_dyadic(rx_build &build, rx_expr *left, rx_expr *right, rx_operator_id fn) {
    return make_node(build, right, make_op(build, RX_DYADIC, fn, left, right));
}

rx_expr *rx_make_index(rx_build &build, rx_expr *value, rx_expr *first, rx_expr *second, rx_operator_id fn) {
    return make_node(build, value, make_op(build, RX_INDEX, fn, value, first, second));
}

rx_expr *rx_make_call(rx_build &build, rx_expr *name, rx_expr *args) {
    rx_expr *node = make_node(build, name, make_call_op(build, name, args));
    node->text = name->text;
    return node;
}

rx_expr *rx_link(rx_build &build, const rx_expr *element, rx_expr *rest) {
    rx_expr *copy = build.target.arena.make<rx_expr>(*element);
    copy->next = rest;
    return copy;
}

// ---- chains and clauses ---------------------------------------------------------------------------------------------

void rx_start_chain(rx_build &build) {
    build.head = build.tail = build.target.arena.make<rx_clause_cell>();
}

void rx_note_clause(rx_build &build, unsigned line) {
    if (build.target.exec_lines) build.target.exec_lines->push_back(line);
    build.expected = 55;
}

void rx_add_expr_clause(rx_build &build, rx_clause_kind kind, unsigned line, rx_expr *expr) {
    auto *clause = make_clause<rx_expr_clause>(build, kind, line);
    clause->expr = expr;
    add(build, clause);
}

void rx_add_name_clause(rx_build &build, rx_clause_kind kind, unsigned line, const rx_expr *name) {
    if (name && name->type != SYMBOL && name->type != STRING) {
        rx_build_error(build, 28, "LEAVE or ITERATE may only be followed by a SYMBOL.");
    }
    auto *clause = make_clause<rx_name_clause>(build, kind, line);
    clause->name = name ? &name->text : nullptr;
    add(build, clause);
}

void rx_add_names_clause(rx_build &build, rx_clause_kind kind, unsigned line, rx_expr *names) {
    auto *clause = make_clause<rx_names_clause>(build, kind, line);
    clause->names = names;
    add(build, clause);
}

void rx_add_label(rx_build &build, const rx_expr *name) {
    auto *clause = make_clause<rx_label_clause>(build, CL_LABEL, name->line);
    clause->name = name->text;
    clause->frame = build.frame;
    rx_enter_label(build.target.labels, build.target.arena, {name->text, build.tail, build.frame, name->line, nullptr});
    add(build, clause);
}

void rx_add_assignment(rx_build &build, rx_expr *target, const rx_target_index &index, rx_expr *value) {
    auto *clause = make_clause<rx_assign_clause>(build, CL_ASSIGN, value ? value->line : target->line);
    clause->target = target;
    clause->value = value;
    clause->from = index.from;
    clause->to = index.to;
    clause->from_open = index.from_open;
    clause->to_open = index.to_open;
    add(build, clause);
}

void rx_add_signal(rx_build &build, rx_signal_form form, unsigned line, rx_expr *first, rx_expr *second,
                   rx_expr *handler) {
    auto *clause = make_clause<rx_signal_clause>(build, CL_SIGNAL, line);
    clause->form = form;
    clause->first = first;
    clause->second = second;
    clause->handler = handler;
    add(build, clause);
}

void rx_add_call(rx_build &build, rx_expr *name, rx_expr *args) {
    auto *clause = make_clause<rx_call_clause>(build, CL_CALL, name->line);
    clause->call = make_call_op(build, name, args);
    add(build, clause);
}

void rx_add_parse(rx_build &build, unsigned line, bool upper, rx_parse_source source, rx_expr *operand,
                  rx_expr *template_) {
    auto *clause = make_clause<rx_parse_clause>(build, CL_PARSE, line);
    clause->upper = upper;
    clause->source = source;
    clause->operand = operand;
    clause->template_ = template_;
    const rx_symbol *parsed = source == PARSE_VAR ? operand->symbol : nullptr;
    if (template_) clause->made = rx_read_template(build.target.arena, template_, parsed);
    clause->plain = parsed && !parsed->environment && !upper && clause->made && clause->made->simple;
    add(build, clause);
}

void rx_add_address(rx_build &build, unsigned line, bool set, bool value, rx_expr *target, rx_expr *command) {
    auto *clause = make_clause<rx_address_clause>(build, CL_ADDRESS, line);
    clause->set = set;
    clause->value = value;
    clause->target = target;
    clause->command = command;
    add(build, clause);
}

void rx_add_numeric(rx_build &build, unsigned line, rx_numeric_form_kind form, rx_expr *expr) {
    auto *clause = make_clause<rx_numeric_clause>(build, CL_NUMERIC, line);
    clause->form = form;
    clause->expr = expr;
    add(build, clause);
}

void rx_add_trace(rx_build &build, unsigned line, rx_expr *setting, bool value) {
    auto *clause = make_clause<rx_trace_clause>(build, CL_TRACE, line);
    clause->setting = setting;
    clause->value = value;
    add(build, clause);
}

// ---- structures -----------------------------------------------------------------------------------------------------

void rx_open_if(rx_build &build) {
    build.ifs.push_back(make_clause<rx_if_clause>(build, CL_IF, build.line));
    open_chain(build);
    build.expected = 50;
}

void rx_test_if(rx_build &build, rx_expr *cond) {
    build.ifs.back()->cond = cond;
    build.expected = 18;
}

void rx_open_else(rx_build &build) {
    rx_if_clause *clause = build.ifs.back();
    clause->then_chain = close_chain(build);
    clause->else_line = build.line;
    open_chain(build);
}

void rx_close_if(rx_build &build, bool with_else) {
    rx_if_clause *clause = build.ifs.back();
    build.ifs.pop_back();
    (with_else ? clause->else_chain : clause->then_chain) = close_chain(build);
    add(build, clause);
}

void rx_open_do(rx_build &build, unsigned line) {
    auto *clause = make_clause<rx_do_clause>(build, CL_DO, line);
    clause->form = DO_PLAIN;
    clause->cond_kind = DO_NO_CONDITION;
    build.dos.push_back(clause);
    build.expected = 27;
    open_chain(build);
}

void rx_set_do(rx_build &build, rx_do_form form, rx_expr *control, rx_expr *expr) {
    rx_do_clause *clause = build.dos.back();
    clause->form = form;
    clause->control = control;
    clause->expr = expr;
}

void rx_set_do_phrase(rx_build &build, rx_do_phrase phrase, rx_expr *expr) {
    rx_do_clause *clause = build.dos.back();
    rx_expr *&slot = phrase == DO_TO ? clause->to : phrase == DO_BY ? clause->by : clause->for_;
    if (slot) {
        const char *word = phrase == DO_TO ? "TO" : phrase == DO_BY ? "BY" : "FOR";
        rx_build_error(build, 27, std::string("\"") + word + "\" has been used twice.");
    }
    slot = expr;
    rx_do_phrase *order = clause->order;
    while (*order != DO_NO_PHRASE) order++;
    *order = phrase;
}

void rx_set_do_condition(rx_build &build, rx_do_condition kind, rx_expr *cond) {
    build.dos.back()->cond_kind = kind;
    build.dos.back()->cond = cond;
}

void rx_check_end_name(rx_build &build, const rx_expr *name) {
    const rx_do_clause *clause = build.dos.back();
    if (!clause->control) {
        rx_build_error(build, 27, "A \"END symbol\" clause may only be used with a controlled repetitive loop");
    }
    if (name->text != clause->control->text) {
        std::string control(clause->control->text);
        rx_build_error(build, 27, "Only the controlling variable " + control + " can be specified.");
    }
}

void rx_close_do(rx_build &build, unsigned end_line) {
    rx_do_clause *clause = build.dos.back();
    build.dos.pop_back();
    clause->body = close_chain(build);
    clause->end_line = end_line;
    add(build, clause);
}

void rx_open_select_clause(rx_build &build, unsigned line) {
    auto *clause = make_clause<rx_select_clause>(build, CL_SELECT, line);
    clause->whens = build.target.arena.make<rx_when>();
    build.selects.push_back({clause, clause->whens});
    build.expected = 52;
}

void rx_test_when(rx_build &build, rx_expr *cond) {
    rx_when *when = build.selects.back().current;
    when->line = cond->line;
    when->column = cond->column;
    when->cond = cond;
    when->next = build.target.arena.make<rx_when>();
    open_chain(build);
    build.expected = 18;
}

void rx_close_when(rx_build &build) {
    rx_when *&current = build.selects.back().current;
    current->body = close_chain(build);
    current = current->next;
}

void rx_open_otherwise(rx_build &build) {
    rx_select_clause *clause = build.selects.back().clause;
    if (!clause->whens->next) rx_build_error(build, 53);
    clause->otherwise_line = build.line;
    open_chain(build);
}

void rx_close_select(rx_build &build, bool with_otherwise, unsigned end_line) {
    rx_select_clause *clause = build.selects.back().clause;
    if (!clause->whens->next) rx_build_error(build, 7);
    build.selects.pop_back();
    if (with_otherwise) clause->otherwise = close_chain(build);
    clause->end_line = end_line;
    add(build, clause);
}
