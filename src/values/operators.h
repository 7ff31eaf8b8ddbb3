// The operators of the language, one function each, and the table that names them.
//
// An operator takes its operands as views and never changes them; it returns a new value. When it fails it returns
// none, stores the number of the error in rx_error.number and says in `fault` who is to blame: 1 the left (or only)
// operand, 2 the right one, 3 neither, with the extra text ready in rx_error.extra. The expression walk turns that into
// a raised error, for it knows where the operand stands in the source.
#pragma once

#include "values/numbers.h"
#include "values/value.h"

using rx_dyadic = rx_value (*)(const rx_value &left, const rx_value &right, int &fault);
using rx_monadic = rx_value (*)(const rx_value &operand, int &fault);

enum rx_operator_id : uint8_t {
    // clang-format off
    FX_OR, FX_XOR, FX_AND, FX_NEQ, FX_NEQIC, FX_NNEQ, FX_SUP, FX_SSUP, FX_INF, FX_IINF, FX_SUPEQ, FX_INFEQ, FX_SSUPEQ,
    FX_IINFEQ, FX_EQ, FX_EQIC, FX_EEQ, FX_BL, FX_CONC, FX_PLUS, FX_MIN, FX_MULT, FX_DIV, FX_IDIV, FX_REM, FX_EXP,
    FX_CONC_RHO, FX_CONC_NOT, FX_NOT, FX_RHO, FX_UPLUS, FX_UMIN, FX_BACKQ, FX_BR, FX_BR2, FX_COUNT
    // clang-format on
};

/// What the operands of an operator are read as; decides which form of a constant is handed to it.
enum rx_operand_use : uint8_t {
    RX_AS_NUMBER, ///< arithmetic and logic: a constant that is a number is handed over as one
    RX_AS_EITHER, ///< normal comparison: as a number when the other operand is one
    RX_AS_TEXT    ///< strict comparison, concatenation, length: always as text
};

struct rx_operator {
    rx_operator_id id;
    const char *name;   ///< "fx_plus"
    const char *symbol; ///< what the tracer shows
    rx_operand_use use;
    rx_dyadic dyadic;   ///< null for a monadic operator, the backquote and the index forms
    rx_monadic monadic; ///< null for the others
};

/// The row of an operator. Rows stand in the order of the ids.
extern const rx_operator rx_operators[FX_COUNT];

rx_value fx_plus(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_min(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_mult(const rx_value &left, const rx_value &right, int &fault);

/// Comparison helpers, for SELECT-like code and the library: text or numbers by the rules of the normal and the strict
/// comparison.
bool rx_compare_ne(const rx_value &left, const rx_value &right, bool ignore_case);
bool rx_compare_gt(const rx_value &left, const rx_value &right);
bool rx_compare_lt(const rx_value &left, const rx_value &right);
bool rx_strict_eq(const rx_value &left, const rx_value &right);
bool rx_strict_gt(const rx_value &left, const rx_value &right);
bool rx_strict_lt(const rx_value &left, const rx_value &right);
