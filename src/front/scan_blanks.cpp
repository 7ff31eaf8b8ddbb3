// Passes 2 and 3 of lex2: which blanks and which lack of blanks concatenate.

#include "front/keywords.h"
#include "front/scan_passes.h"

#include <array>
#include <string>

namespace {

/// What can stand directly behind ")" or "]" as a further operand.
bool opens_operand(int code) {
    return code == '(' || code == SYMBOL || code == STRING || code == FUNCTION || code == SFUNCTION;
}

/// True for what separates by itself, so that a blank beside it means nothing.
bool separates(int code) {
    switch (code) {
    case ',':
    case ';':
    case ':':
    case '(':
    case ')':
    case '[':
    case ']': return true;
    default: return rx_is_operator(code) || (code >= ADDRESS && code <= IN);
    }
}

/// True when a blank between these two tokens is the concatenation operator. `following` is -1 at the end.
bool is_blank_operator(int previous, int following) {
    if (following == -1) return false;
    bool call = following == FUNCTION || following == SFUNCTION;
    if (call && (previous == STRING || previous == SYMBOL || previous == ')')) return true;
    bool left = !separates(previous) && previous != VIDE;
    bool right = !separates(following) && following != VIDE;
    if (left && right) return true;
    if (previous == ')') return !separates(following);
    return following == '(' && !separates(previous);
}

/// The symbols of one scan: every spelling is split into its parts once, and its record is shared by all tokens.
struct symbol_set {
    rx_arena &arena;
    bool fold;
    std::vector<rx_symbol *> slots = std::vector<rx_symbol *>(64);
    size_t count = 0;
    std::string folded{}; ///< kept for its buffer

    size_t find(std::string_view name, uint64_t hash) const {
        size_t at = hash & (slots.size() - 1);
        while (slots[at] && slots[at]->name != name) at = (at + 1) & (slots.size() - 1);
        return at;
    }

    void grow() {
        std::vector<rx_symbol *> old(slots.size() * 2);
        old.swap(slots);
        for (rx_symbol *symbol : old) {
            if (symbol) slots[find(symbol->name, rx_lookup_hash(symbol->name))] = symbol;
        }
    }

    rx_symbol *symbol_of(std::string_view written) {
        folded.assign(written);
        if (fold) rx_fold_case(folded.data(), folded.size());
        uint64_t hash = rx_lookup_hash(folded);
        size_t at = find(folded, hash);
        if (slots[at]) return slots[at];
        if (++count * 2 > slots.size()) {
            grow();
            at = find(folded, hash);
        }
        return slots[at] = rx_parse_tails(arena, arena.copy(folded));
    }
};

/// Keyword texts, one copy for each run of the same spelling.
struct keyword_texts {
    rx_arena &arena;
    std::array<std::string_view, NOGLOBALV + 1> latest{};

    std::string_view text_of(int code, std::string_view written) {
        std::string_view &known = latest[static_cast<size_t>(code)];
        if (known != written) known = arena.copy(written);
        return known;
    }
};

} // namespace

void rx_insert_abuttal(const rx_raw_tokens &in, rx_raw_tokens &out) {
    auto code = [&](size_t i) { return i < in.size() ? in[i].type : -1; };
    auto insert = [&](size_t i, int type, std::string_view text = {}) {
        rx_raw_token &token = out.emplace_back();
        token.type = static_cast<short>(type);
        token.line = in[i].line;
        token.column = in[i].column;
        token.text = text.data();
        token.length = static_cast<unsigned>(text.size());
        token.quoted = type == STRING;
    };
    bool concat = true; // off in a template
    for (size_t i = 0; i < in.size(); i++) {
        int type = in[i].type;
        out.push_back(in[i]);
        switch (type) {
        case PARSE:
        case PULL:
        case ARG:
        case WITH: concat = false; break;
        case VALUE:
        case ';':
        case ELSE: concat = true; break; // an ELSE whose clause end was dropped ends a template as well
        default: break;
        }
        if (!concat || i + 1 >= in.size()) continue;
        int following = code(i + 1);
        if (type == SYMBOL || type == STRING) {
            bool called = type == SYMBOL && i >= 2 && code(i - 2) == CALL;
            if (opens_operand(following) && following != '(' && !called) insert(i + 1, OP_CONC);
        } else if (type == ')' || type == ']') {
            if (opens_operand(following)) {
                insert(i + 1, OP_CONC);
            } else if (following == ' ' && (type == ')' ? code(i + 2) == '(' : opens_operand(code(i + 2)))) {
                // (a) (b): a spelling of its own, by which the grammar tells an expression from a list of names
                insert(i + 1, OP_CONC);
                insert(i + 1, STRING, " ");
                insert(i + 1, OP_CONC);
                i++;
            }
        }
    }
}

void rx_drop_blanks(rx_raw_tokens &tokens) {
    int previous = ';';
    for (size_t i = 0; i < tokens.size(); i++) {
        if (tokens[i].type == ' ') {
            size_t behind = i + 1;
            while (behind < tokens.size() && tokens[behind].type == NOLEX) behind++;
            int following = behind < tokens.size() ? tokens[behind].type : -1;
            if (!is_blank_operator(previous, following)) tokens[i].type = NOLEX;
        }
        if (tokens[i].type != NOLEX) previous = tokens[i].type;
    }
}

std::vector<rx_expr *> rx_finish_tokens(const rx_raw_tokens &tokens, rx_arena &arena, bool fold) {
    size_t kept = 0;
    for (const rx_raw_token &token : tokens) kept += token.type != NOLEX;
    std::vector<rx_expr *> result;
    result.reserve(kept);
    symbol_set symbols{arena, fold};
    keyword_texts keywords{arena};
    for (const rx_raw_token &token : tokens) {
        if (token.type == NOLEX) continue;
        rx_expr *made = arena.make<rx_expr>();
        made->type = token.type;
        made->flag = token.quoted ? 1 : 0;
        made->line = token.line;
        made->column = token.column;
        if (token.type == SYMBOL || token.type == FUNCTION) {
            made->symbol = symbols.symbol_of(token.view());
            made->text = made->symbol->name;
        } else if (rx_is_word(token.type)) {
            made->text = keywords.text_of(token.type, token.view());
        } else if (token.text) {
            made->text = token.owned ? token.view() : arena.copy(token.view());
        }
        result.push_back(made);
    }
    return result;
}
