// The fixed vocabulary of the scanner: the words that can be keywords, the spellings of the operators, and the sets of
// codes by which the passes decide.
#pragma once

#include "front/tree.h"

#include <string_view>

/// The characters that operators are spelled with (`+`, `-` and `%` stand alone and are none of them).
constexpr bool rx_is_operator_char(unsigned char c) {
    switch (c) {
    case '\\':
    case '~':
    case '/':
    case '^':
    case '*':
    case '|':
    case '=':
    case '<':
    case '>':
    case '&':
    case 0xAD:
    case 0xBD: return true;
    default: return false;
    }
}

/// The longest spelling of an operator.
constexpr size_t rx_longest_operator = 3;

/// The code of an operator that has one of its own, or 0.
int rx_operator_code(std::string_view spelling);

/// True for the code of any operator.
constexpr bool rx_is_operator(int code) {
    if (code >= OP_XOR && code <= OP_NOT) return true;
    if (code == '+' || code == '-' || code == '%') return true;
    return code >= 0 && code < 256 && rx_is_operator_char(static_cast<unsigned char>(code));
}

/// True for what can't begin an operand: `if = 3` assigns and `say: ` is a label because of what stands behind the
/// word.
constexpr bool rx_is_no_operand(int code) {
    if (code == ':') return true;
    return rx_is_operator(code) && code != '+' && code != '-' && code != OP_NOT && code != OP_RHO && code != '\\' &&
           code != '~' && code != 0xBD;
}

/// True for the codes of the keyword table.
constexpr bool rx_is_word(int code) {
    return (code >= ADDRESS && code <= NOLOAD && code != ENVIRON && code != FUNCTION && code != SFUNCTION) ||
           code == GLOBALV || code == NOGLOBALV;
}
