// Pass 1 of lex2: what each word is.

#include "front/keywords.h"
#include "front/scan_passes.h"
#include "platform/strings.h"

namespace {

constexpr int none = -1; ///< the code behind the last token

/// Walks the raw tokens with the clause structure in mind. Every handler takes the index of the token that it is for
/// and returns the index to go on at.
struct word_pass {
    const rx_raw_tokens &in;
    rx_raw_tokens &out;
    rx_arena &arena;

    int last = ';';        ///< the latest token written that is no blank and not deleted
    int before_last = ';'; ///< the one before it

    bool in_template = false; ///< in the template part of ARG, PULL, PARSE
    bool in_value = false;    ///< between PARSE VALUE and WITH
    bool then_ok = true;      ///< no IF or WHEN waits for its THEN
    bool in_do = false;       ///< the clause is a DO or WHEN header
    bool after_cond = false;  ///< a WHILE or UNTIL was seen in this header
    bool source_seen = false; ///< the source word of a PARSE was taken
    bool in_option = false;   ///< in an OPTION clause

    bool case_chosen = false; ///< the first OPTION word of each kind decides
    bool env_chosen = false;
    bool load_chosen = false;
    bool globalv_chosen = false;

    int code(size_t i) const { return i < in.size() ? in[i].type : none; }

    /// The next token that is no blank.
    size_t next(size_t i) const {
        i++;
        if (code(i) == ' ') i++;
        return i;
    }
    size_t skip_blank(size_t i) const { return code(i) == ' ' ? i + 1 : i; }

    /// True where a clause can start.
    bool at_start() const { return last == ';' || last == ':' || last == THEN || last == ELSE || last == OTHERWISE; }

    void write(const rx_raw_token &token) {
        out.push_back(token);
        if (token.type == ' ' || token.type == NOLEX) return;
        before_last = last;
        last = token.type;
    }

    size_t keep(size_t i) {
        write(in[i]);
        return i + 1;
    }

    size_t write_as(size_t i, int type) {
        rx_raw_token token = in[i];
        token.type = static_cast<short>(type);
        write(token);
        return i + 1;
    }

    size_t keep_if(bool keyword, size_t i) { return keyword ? keep(i) : write_as(i, SYMBOL); }

    /// A token that the source doesn't have, at the place of token `i`.
    void insert(size_t i, int type, std::string_view text = {}) {
        rx_raw_token token;
        token.type = static_cast<short>(type);
        token.line = in[i].line;
        token.column = in[i].column;
        token.text = text.data();
        token.length = static_cast<unsigned>(text.size());
        write(token);
    }

    /// True when an expression stands where a name could: the clause then reads as if VALUE were written.
    bool opens_value(int following) const { return rx_is_operator(following) || following == '('; }

    size_t copy_clause(size_t i);
    size_t address(size_t i);
    size_t numeric(size_t i);
    size_t parse(size_t i);
    size_t signal(size_t i);
    size_t trace(size_t i);
    size_t branch(size_t i);
    size_t option(size_t i);
    size_t parenthesis(size_t i);
    size_t comma(size_t i);
    size_t colon(size_t i);
    size_t clause_end(size_t i);
    size_t word(size_t i);
    size_t token(size_t i);
};

/// Copies the rest of a CALL ON or SIGNAL clause up to its end as it stands; behind NAME every word is a symbol.
size_t word_pass::copy_clause(size_t i) {
    bool named = false;
    for (; i < in.size() && in[i].type != ';'; i++) {
        if (named && rx_is_word(in[i].type)) {
            write_as(i, SYMBOL);
        } else {
            if (in[i].type == NAME) named = true;
            keep(i);
        }
    }
    return i;
}

/// ADDRESS: what a blank separates from it is the environment's name, whatever it is, unless it is a VALUE.
size_t word_pass::address(size_t i) {
    size_t name = next(i);
    int following = code(name);
    if (!at_start() || rx_is_no_operand(following)) return write_as(i, SYMBOL);
    keep(i);
    if (opens_value(following)) {
        insert(i, VALUE, "VALUE");
        return name;
    }
    if (code(i + 1) != ' ' || following == none) return i + 1;
    if (following == VALUE) {
        keep(name);
        return skip_blank(name + 1);
    }
    rx_raw_token environment = in[name];
    environment.type = ENVIRON;
    if (environment.text) {
        environment.text = arena.copy(rx_uppered(environment.view())).data();
        environment.owned = true;
    }
    write(environment);
    return skip_blank(name + 1);
}

size_t word_pass::numeric(size_t i) {
    if (in_template) {
        bool source = !source_seen;
        if (source) source_seen = true;
        return keep_if(source, i);
    }
    size_t setting = next(i);
    int following = code(setting);
    if (!at_start() || (following != DIGITS && following != FORM && following != FUZZ)) return write_as(i, SYMBOL);
    keep(i);
    if (code(i + 1) != ' ') return i + 1;
    keep(setting);
    if (following != FORM) return setting + 1;
    size_t form = next(setting);
    switch (code(form)) {
    case SCIENTIFIC:
    case ENGINEERING:
    case VALUE: return keep(form);
    default: break;
    }
    if (opens_value(code(form))) insert(setting, VALUE, "VALUE");
    return form;
}

size_t word_pass::parse(size_t i) {
    size_t source = next(i);
    switch (code(source)) {
    case UPPER:
    case VALUE:
    case ARG:
    case LINEIN:
    case PULL:
    case SOURCE:
    case VAR:
    case VERSION:
    case NUMERIC: break;
    default: return write_as(i, SYMBOL);
    }
    if (!at_start()) return write_as(i, SYMBOL);
    keep(i);
    in_template = true;
    source_seen = false;
    if (code(source) == VALUE) return source;
    source_seen = code(source) != UPPER;
    return keep(source);
}

size_t word_pass::signal(size_t i) {
    size_t label = next(i);
    int following = code(label);
    if (!at_start() || rx_is_no_operand(following)) return write_as(i, SYMBOL);
    keep(i);
    if (opens_value(following)) {
        insert(i, VALUE, "VALUE");
        return label;
    }
    if (following == VALUE) {
        keep(label);
        return skip_blank(label + 1);
    }
    if (code(i + 1) == ' ' && rx_is_word(following) && following != ON && following != OFF) {
        return copy_clause(write_as(label, SYMBOL));
    }
    return copy_clause(i + 1);
}

size_t word_pass::trace(size_t i) {
    size_t setting = next(i);
    int following = code(setting);
    if (!at_start() || rx_is_no_operand(following)) return write_as(i, SYMBOL);
    keep(i);
    if (opens_value(following)) {
        insert(i, VALUE, "VALUE");
        return setting;
    }
    if (following == VALUE && code(i + 1) == ' ') return keep(setting);
    return i + 1;
}

/// THEN and ELSE: the end of a clause directly behind them is dropped.
size_t word_pass::branch(size_t i) {
    size_t behind = next(i);
    bool assigned = at_start() && code(behind) == '=';
    bool keyword = code(behind) != ':' && last != CALL && !assigned && (in[i].type == ELSE || !then_ok);
    if (!keyword) return write_as(i, SYMBOL);
    keep(i);
    then_ok = true;
    if (code(behind) == ';') {
        in_template = in_option = false;
        behind = skip_blank(behind + 1);
    }
    in_do = code(behind) == DO;
    return behind;
}

/// A word of an OPTION clause takes effect.
size_t word_pass::option(size_t i) {
    auto choose = [](bool &chosen, auto &mode, auto value) {
        if (!chosen) mode = value;
        chosen = true;
    };
    switch (in[i].type) {
    case MIXED: choose(case_chosen, rx_modes->case_mode, RX_MIXED); break;
    case UPPER: choose(case_chosen, rx_modes->case_mode, RX_UPPER); break;
    case LOWER: choose(case_chosen, rx_modes->case_mode, RX_LOWER); break;
    case SETENV: choose(env_chosen, rx_modes->env_mode, RX_SETENV); break;
    case UNSETENV: choose(env_chosen, rx_modes->env_mode, RX_UNSETENV); break;
    case LOAD: choose(load_chosen, rx_modes->load_mode, RX_LOAD); break;
    case NOLOAD: choose(load_chosen, rx_modes->load_mode, RX_NOLOAD); break;
    case GLOBALV: choose(globalv_chosen, rx_modes->globalv_mode, RX_GLOBALV); break;
    case NOGLOBALV: choose(globalv_chosen, rx_modes->globalv_mode, RX_NOGLOBALV); break;
    default: break;
    }
    return keep(i);
}

/// A quoted name that is a path keeps its case.
bool is_path(std::string_view name) {
    if (name.empty()) return false;
    return name[0] == '.' || name[0] == '/' || name[0] == '~' || (name.size() > 1 && name[1] == ':');
}

/// "(": directly behind a name it makes a call.
size_t word_pass::parenthesis(size_t i) {
    if (in_template) return keep(i);
    if (i > 0 && in[i - 1].type != ' ' && !out.empty()) {
        rx_raw_token &name = out.back();
        if (name.type == SYMBOL) {
            name.type = FUNCTION;
        } else if (name.type == STRING) {
            name.type = SFUNCTION;
            if (!is_path(name.view())) {
                name.text = arena.copy(rx_folded(name.view())).data();
                name.owned = true;
            }
        }
    }
    keep(i);
    if (code(next(i)) == ')') insert(i, VIDE);
    return i + 1;
}

/// ",": an argument that isn't written becomes a VIDE.
size_t word_pass::comma(size_t i) {
    if (in_template) return keep(i);
    if (last == '(' || last == ',' || before_last == CALL) insert(i, VIDE);
    keep(i);
    int following = code(next(i));
    if (following == ')' || following == ';') insert(i, VIDE);
    return i + 1;
}

size_t word_pass::colon(size_t i) {
    keep(i);
    if (code(next(i)) != ';') {
        insert(i, ';', ";");
        in_template = in_option = false;
    }
    return i + 1;
}

size_t word_pass::clause_end(size_t i) {
    in_template = in_option = false;
    after_cond = false;
    size_t behind = next(i);
    int following = code(behind);
    in_do = following == DO;
    if (following == none) return keep(i);
    if (following == THEN || following == ELSE) {
        int further = code(next(behind));
        return further == ':' || further == '=' ? keep(i) : write_as(i, NOLEX);
    }
    return last == OTHERWISE ? i + 1 : keep(i);
}

size_t word_pass::word(size_t i) {
    int type = in[i].type;
    size_t behind = next(i);
    int following = code(behind);
    bool starts = at_start();
    bool operand = !rx_is_no_operand(following);
    switch (type) {
    case ADDRESS: return address(i);
    case NUMERIC: return numeric(i);
    case PARSE: return parse(i);
    case SIGNAL: return signal(i);
    case TRACE: return trace(i);
    case THEN:
    case ELSE: return branch(i);

    case ARG:
    case PULL:
        if (in_template && (last == PARSE || last == UPPER)) {
            source_seen = true;
            return keep(i);
        }
        if (!starts || rx_is_operator(following) || following == ':') break;
        in_template = source_seen = true;
        return keep(i);

    case BY:
    case TO:
    case FOR: return keep_if(in_do && !after_cond && following != '=', i);
    case WHILE:
    case UNTIL: after_cond = true; return keep_if(in_do && following != '=', i);
    case FOREVER: return keep_if(last == DO, i);
    case IN: return keep_if(in_do && last == SYMBOL, i);

    case CALL:
        if (!starts || rx_is_operator(following) || following == ';' || following == none || following == ':') break;
        keep(i);
        return following == ON || following == OFF ? copy_clause(i + 1) : i + 1;

    case WHEN:
    case DO:
        if (!starts || !operand) break;
        if (type == WHEN) then_ok = false;
        in_do = true;
        after_cond = false;
        return keep(i);

    case UPPER:
    case LOWER:
        if (in_option) return option(i);
        return keep_if(!in_template && starts && operand && following != ';' && following != none, i);
    case DROP:
    case IF:
    case INTERPRET:
        if (!starts || !operand || following == ';' || following == none) break;
        if (type == IF) then_ok = false;
        return keep(i);

    case END: return keep_if(starts && !rx_is_operator(following) && following != ':', i);
    case EXIT:
    case PUSH:
    case QUEUE:
    case RETURN:
    case SAY:
    case SAYN:
    case SAYX:
    case SAYR:
    case CD:
    case ITERATE:
    case LEAVE: return keep_if(starts && operand, i);
    case NOP: return keep_if(starts && following == ';', i);
    case OTHERWISE: return keep_if(starts && following != ':' && last != CALL, i);
    case SELECT:
        return keep_if(last == THEN || last == ELSE || last == OTHERWISE || (last == ';' && following == ';'), i);

    case OPTION:
        if (!starts || !operand) break;
        in_option = true;
        return keep(i);
    case MIXED:
    case SETENV:
    case UNSETENV:
    case LOAD:
    case NOLOAD:
    case GLOBALV:
    case NOGLOBALV:
        if (!in_option) break;
        return option(i);

    case LINEIN:
    case SOURCE:
    case VAR:
    case VERSION:
        if (!in_template || source_seen) break;
        source_seen = true;
        return keep(i);
    case VALUE:
        if (!in_template || source_seen) break;
        in_template = false;
        in_value = source_seen = true;
        return keep(i);
    case WITH:
        if (!in_value || following == ':' || last == CALL) break;
        in_value = false;
        in_template = true;
        return keep(i);

    case PROCEDURE:
        if (!starts || rx_is_operator(following) || following == ':') break;
        keep(i);
        return following == EXPOSE && code(i + 1) == ' ' ? keep(behind) : i + 1;

    case TEMPLATE: return keep_if(!in_template, i);
    default: break;
    }
    return write_as(i, SYMBOL);
}

size_t word_pass::token(size_t i) {
    switch (in[i].type) {
    case ' ': return in_template || in_option ? i + 1 : keep(i);
    case '(': return parenthesis(i);
    case ',': return comma(i);
    case ':': return colon(i);
    case ';': return clause_end(i);
    default: return rx_is_word(in[i].type) ? word(i) : keep(i);
    }
}

} // namespace

void rx_settle_words(const rx_raw_tokens &in, rx_raw_tokens &out, rx_arena &arena, bool apply_modes) {
    word_pass pass{in, out, arena};
    if (!apply_modes) pass.case_chosen = pass.env_chosen = pass.load_chosen = pass.globalv_chosen = true;
    for (size_t i = 0; i < in.size();) i = pass.token(i);
}
