#include "front/template.h"

#include "platform/strings.h"

#include <algorithm>
#include <vector>

namespace {

constexpr long long largest_position = 1LL << 40; // behind every text

const rx_expr *next_token(const rx_expr *token) {
    do token = token->next;
    while (token && (token->type == NOLEX || token->type == ' '));
    return token;
}

bool is_type(const rx_expr *token, int type) {
    return token && token->type == type;
}

/// The value of an unquoted constant that is written with digits only.
bool whole_constant(const rx_expr *token, long long &number) {
    if (!is_type(token, STRING) || token->flag == 1) return false;
    if (token->text.empty() || !std::all_of(token->text.begin(), token->text.end(), rx_is_digit)) return false;
    number = 0;
    for (char digit : token->text) number = std::min(number * 10 + (digit - '0'), largest_position);
    return true;
}

struct template_reader {
    const rx_expr *token;
    rx_template_item item;

    void fail(int error) {
        item.step = rx_template_step::broken;
        item.number = error;
        token = nullptr;
    }

    /// The rest of a "(name)" whose parenthesis is the token in hand.
    void variable_in_parentheses() {
        const rx_expr *name = next_token(token);
        const rx_expr *close = name ? next_token(name) : nullptr;
        if (!is_type(name, SYMBOL) || !is_type(close, ')')) return fail(46);
        item.symbol = name->symbol;
        token = next_token(close);
    }

    /// What follows "+", "-" or "=".
    void position(rx_template_step step) {
        item.step = step;
        token = next_token(token);
        if (is_type(token, '(')) return variable_in_parentheses();
        if (!whole_constant(token, item.number)) return fail(38);
        token = next_token(token);
    }

    void constant() {
        if (token->flag == 1) {
            item.step = rx_template_step::pattern;
            item.text = token->text;
        } else {
            item.step = rx_template_step::position;
            if (!whole_constant(token, item.number)) return fail(38);
        }
        token = next_token(token);
    }

    void symbol() {
        const rx_symbol &symbol = *token->symbol;
        bool odd = symbol.compound() || symbol.environment || symbol.bad_name;
        if (token->text == ".")
            item.step = rx_template_step::placeholder;
        else
            item.step = odd ? rx_template_step::odd_variable : rx_template_step::variable;
        item.symbol = &symbol;
        token = next_token(token);
    }

    void read() {
        item = {.step = rx_template_step::end, .token = token};
        switch (token->type) {
        case SYMBOL: return symbol();
        case STRING: return constant();
        case '(': item.step = rx_template_step::pattern_in; return variable_in_parentheses();
        case '+': return position(rx_template_step::forward);
        case '-': return position(rx_template_step::backward);
        case '=': return position(rx_template_step::position);
        case ',':
            item.step = rx_template_step::comma;
            token = next_token(token);
            return;
        default: item.step = rx_template_step::unknown; token = next_token(token);
        }
    }
};

/// Nothing but the walk itself has to be thought of.
bool is_simple(const rx_template_item &item) {
    switch (item.step) {
    case rx_template_step::variable:
    case rx_template_step::placeholder:
    case rx_template_step::pattern:
    case rx_template_step::end: return true;
    case rx_template_step::position:
    case rx_template_step::forward:
    case rx_template_step::backward: return !item.symbol;
    default: return false;
    }
}

/// Fills `each`, if the template is one for it.
void list_each(rx_arena &arena, rx_template &made) {
    std::vector<const rx_symbol *> symbols;
    for (const rx_template_item *item = made.items;; item = item->cut + 1) {
        const rx_template_item &cut = *item->cut;
        if (item->step != rx_template_step::variable || item + 1 != &cut) return;
        if (cut.step != rx_template_step::comma && cut.step != rx_template_step::end) return;
        symbols.push_back(item->symbol);
        if (cut.step == rx_template_step::end) break;
    }
    made.each = arena.make_array<const rx_symbol *>(symbols.size());
    std::copy(symbols.begin(), symbols.end(), made.each);
    made.each_count = static_cast<uint32_t>(symbols.size());
}

} // namespace

rx_template *rx_read_template(rx_arena &arena, const rx_expr *token, const rx_symbol *parsed) {
    std::vector<rx_template_item> items;
    template_reader reader{.token = token, .item = {}};
    while (reader.token) {
        reader.read();
        items.push_back(reader.item);
    }
    items.push_back({.step = rx_template_step::end, .token = token});

    auto *row = arena.make_array<rx_template_item>(items.size());
    rx_template_item *cut = nullptr;
    for (size_t i = items.size(); i-- > 0;) {
        row[i] = items[i];
        bool is_parsed = parsed && row[i].step == rx_template_step::variable && row[i].symbol->name == parsed->name;
        if (is_parsed && i + 2 != items.size()) row[i].step = rx_template_step::odd_variable;
        if (row[i].step > rx_template_step::placeholder) cut = row + i;
        row[i].cut = cut;
    }
    auto *made =
        arena.make<rx_template>(rx_template{.items = row, .simple = std::all_of(row, row + items.size(), is_simple)});
    list_each(arena, *made);
    return made;
}
