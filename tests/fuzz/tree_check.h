// Whether the records of a tree fit together, for the fuzzers that make trees.
#pragma once

#include "front/tree.h"

#include <cstdlib>

inline void require(bool truth) {
    if (!truth) std::abort();
}

inline void check_node(const rx_expr *node);

inline void check_operand(const rx_operand &operand, bool needed) {
    if (operand.kind == NOLEX) {
        require(!needed && !operand.node);
        return;
    }
    require(operand.node && operand.node->type == operand.kind);
    check_node(operand.node);
}

inline void check_node(const rx_expr *node) {
    switch (node->type) {
    case SYMBOL: require(node->symbol && node->symbol->name == node->text); return;
    case STRING: require(node->literal && node->literal->text->text() == node->text); return;
    case VIDE: return;
    case OP_NODE: break;
    default: std::abort();
    }
    const rx_op &op = *node->op;
    if (op.kind == RX_CALL) {
        require(op.calls && (op.name->type == SYMBOL || op.name->type == STRING));
        for (const rx_expr *arg = op.args; arg; arg = arg->next) check_node(arg);
        return;
    }
    check_operand(op.a, true);
    check_operand(op.b, op.kind == RX_DYADIC);
    check_operand(op.c, false);
}

inline void check_chain(const rx_clause_cell *cell) {
    for (; cell->clause; cell = cell->next) {
        switch (cell->clause->kind) {
        case CL_COMMAND: check_node(static_cast<const rx_expr_clause *>(cell->clause)->expr); break;
        case CL_ASSIGN: {
            auto *clause = static_cast<const rx_assign_clause *>(cell->clause);
            require(clause->target->type == SYMBOL);
            if (clause->value) check_node(clause->value);
            break;
        }
        case CL_IF: {
            auto *clause = static_cast<const rx_if_clause *>(cell->clause);
            check_node(clause->cond);
            check_chain(clause->then_chain);
            if (clause->else_chain) check_chain(clause->else_chain);
            break;
        }
        case CL_DO: check_chain(static_cast<const rx_do_clause *>(cell->clause)->body); break;
        case CL_SELECT: {
            auto *clause = static_cast<const rx_select_clause *>(cell->clause);
            require(clause->whens->next != nullptr);
            for (const rx_when *when = clause->whens; when->next; when = when->next) check_chain(when->body);
            if (clause->otherwise) check_chain(clause->otherwise);
            break;
        }
        default: break;
        }
    }
    require(!cell->next);
}
