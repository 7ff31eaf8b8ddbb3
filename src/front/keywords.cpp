#include "front/keywords.h"

#include "front/scan.h"

#include <array>
#include <cstdint>

namespace {

struct row {
    std::string_view text;
    int code;
};

// clang-format off
constexpr row keywords[] = {
    {"ADDRESS", ADDRESS}, {"ARG", ARG}, {"BY", BY}, {"CALL", CALL}, {"CD", CD}, {"DIGITS", DIGITS}, {"DO", DO},
    {"DROP", DROP}, {"ELSE", ELSE}, {"END", END}, {"ENGINEERING", ENGINEERING}, {"ERROR", ERROR}, {"EXIT", EXIT},
    {"EXPOSE", EXPOSE}, {"FAILURE", FAILURE}, {"FOR", FOR}, {"FOREVER", FOREVER}, {"FORM", FORM}, {"FUZZ", FUZZ},
    {"HALT", HALT}, {"IF", IF}, {"INTERPRET", INTERPRET}, {"ITERATE", ITERATE}, {"LEAVE", LEAVE},
    {"EXTERNAL", LINEIN}, {"LINEIN", LINEIN}, {"LOWER", LOWER}, {"NAME", NAME}, {"NOP", NOP}, {"NOTREADY", NOTREADY},
    {"NOVALUE", NOVALUE}, {"NUMERIC", NUMERIC}, {"OFF", OFF}, {"ON", ON}, {"OTHERWISE", OTHERWISE}, {"PARSE", PARSE},
    {"PROCEDURE", PROCEDURE}, {"PULL", PULL}, {"PUSH", PUSH}, {"QUEUE", QUEUE}, {"RETURN", RETURN}, {"SAY", SAY},
    {"SAYN", SAYN}, {"SAYX", SAYX}, {"SAYR", SAYR}, {"SCIENTIFIC", SCIENTIFIC}, {"SELECT", SELECT},
    {"SIGNAL", SIGNAL}, {"SOURCE", SOURCE}, {"SYNTAX", SYNTAX}, {"TEMPLATE", TEMPLATE}, {"THEN", THEN}, {"TO", TO},
    {"TRACE", TRACE}, {"UNTIL", UNTIL}, {"UPPER", UPPER}, {"VALUE", VALUE}, {"VAR", VAR}, {"VERSION", VERSION},
    {"WHEN", WHEN}, {"WHILE", WHILE}, {"WITH", WITH}, {"IN", IN}, {"OPTION", OPTION}, {"MIXED", MIXED},
    {"SETENV", SETENV}, {"UNSETENV", UNSETENV}, {"LOAD", LOAD}, {"NOLOAD", NOLOAD}, {"GLOBALV", GLOBALV},
    {"NOGLOBALV", NOGLOBALV},
};
// clang-format on
static_assert(std::size(keywords) == 71);

// clang-format off
constexpr row operators[] = {
    {"~", OP_NOT}, {"\\", OP_NOT}, {"^", OP_NOT},
    {"**", OP_EXP}, {"//", OP_REMAIN}, {"||", OP_CONC}, {"&&", OP_XOR}, {"==", OP_EEQ},
    {"\\=", OP_NEQ}, {"/=", OP_NEQ}, {"~=", OP_NEQ}, {"^=", OP_NEQ}, {"<>", OP_NEQ}, {"><", OP_NEQ},
    {"\\==", OP_NNEQ}, {"/==", OP_NNEQ}, {"~==", OP_NNEQ}, {"^==", OP_NNEQ},
    {">>", OP_SSUP}, {"<<", OP_IINF},
    {">=", OP_SUP_EQ}, {"/<", OP_SUP_EQ}, {"\\<", OP_SUP_EQ}, {"~<", OP_SUP_EQ}, {"^<", OP_SUP_EQ},
    {">>=", OP_SSUP_EQ}, {"/<<", OP_SSUP_EQ}, {"\\<<", OP_SSUP_EQ}, {"~<<", OP_SSUP_EQ}, {"^<<", OP_SSUP_EQ},
    {"<=", OP_INF_EQ}, {"/>", OP_INF_EQ}, {"\\>", OP_INF_EQ}, {"~>", OP_INF_EQ}, {"^>", OP_INF_EQ},
    {"<<=", OP_IINF_EQ}, {"/>>", OP_IINF_EQ}, {"\\>>", OP_IINF_EQ}, {"~>>", OP_IINF_EQ}, {"^>>", OP_IINF_EQ},
    {"\xAD", OP_EQIC}, {"~\xAD", OP_NEQIC}, {"\\\xAD", OP_NEQIC}, {"\xBD", OP_RHO},
};
// clang-format on
static_assert(std::size(operators) == 44);

constexpr size_t longest_keyword = 11;
constexpr size_t slot_count = 256;

constexpr size_t slot_of(std::string_view word) {
    auto byte = [&](size_t i) { return static_cast<size_t>(static_cast<unsigned char>(word[i])); };
    return (byte(0) * 5 + byte(word.size() - 1) * 29 + byte(word.size() / 2) * 3 + word.size() * 71) % slot_count;
}

/// Open addressing over the keyword rows; 0 is a free slot, else the row's index plus 1.
constexpr std::array<uint8_t, slot_count> slots = [] {
    std::array<uint8_t, slot_count> table{};
    for (size_t i = 0; i < std::size(keywords); i++) {
        size_t at = slot_of(keywords[i].text);
        while (table[at] != 0) at = (at + 1) % slot_count;
        table[at] = static_cast<uint8_t>(i + 1);
    }
    return table;
}();

} // namespace

int rx_keyword(std::string_view word) {
    if (word.size() < 2 || word.size() > longest_keyword) return 0;
    char upper[longest_keyword];
    for (size_t i = 0; i < word.size(); i++) {
        char c = word[i];
        upper[i] = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    }
    std::string_view wanted(upper, word.size());
    for (size_t at = slot_of(wanted); slots[at] != 0; at = (at + 1) % slot_count) {
        const row &candidate = keywords[slots[at] - 1];
        if (candidate.text == wanted) return candidate.code;
    }
    return 0;
}

int rx_operator_code(std::string_view spelling) {
    for (const row &candidate : operators) {
        if (candidate.text == spelling) return candidate.code;
    }
    return 0;
}
