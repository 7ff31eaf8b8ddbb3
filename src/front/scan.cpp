#include "front/scan.h"

#include "front/keywords.h"
#include "front/scan_passes.h"
#include "platform/strings.h"
#include "values/numbers.h"

#include <algorithm>
#include <string>

namespace {

/// Where a reader stands: everything that has to be put back when it has looked too far.
struct place {
    size_t at = 0;         ///< offset of the next byte
    size_t line_start = 0; ///< offset of the line's first byte
    unsigned line = 0;
};

constexpr int end_of_text = -1;

/// Stage one: characters to raw tokens.
struct reader {
    std::string_view text;
    rx_arena &arena;
    rx_raw_tokens &tokens;
    rx_scan_result &result; ///< receives an error
    place now{};
    int last = ';'; ///< the code of the latest token

    int peek(size_t ahead = 0) const {
        size_t at = now.at + ahead;
        return at < text.size() ? static_cast<unsigned char>(text[at]) : end_of_text;
    }
    unsigned column_of(size_t offset) const { return static_cast<unsigned>(offset - now.line_start); }

    void next_line() {
        now.at++;
        now.line++;
        now.line_start = now.at;
    }

    rx_raw_token &make(int type, size_t offset) {
        rx_raw_token &token = tokens.emplace_back();
        token.type = static_cast<short>(type);
        token.line = now.line;
        token.column = column_of(offset);
        last = type;
        return token;
    }

    void make_word(int type, size_t offset, std::string_view word) {
        rx_raw_token &token = make(type, offset);
        token.text = word.data();
        token.length = static_cast<unsigned>(word.size());
    }

    bool fail(int number, unsigned line, unsigned column) {
        result.error = number;
        result.error_line = line;
        result.error_column = column;
        return false;
    }

    bool skip_comment();
    bool continues(bool &failed);
    bool read_string();
    bool read_word();
    void read_operator();
    bool read_token();
    bool read_all();
};

/// Skips a comment whose first two characters stand next. Comments nest; the innermost open one is blamed when the
/// text ends.
bool reader::skip_comment() {
    struct start {
        unsigned line, column;
    };
    std::vector<start> open;
    do {
        int c = peek();
        if (c == end_of_text) return fail(6, open.back().line, open.back().column);
        if (c == '\n') {
            next_line();
        } else if (c == '/' && peek(1) == '*') {
            open.push_back({now.line, column_of(now.at)});
            now.at += 2;
        } else if (c == '*' && peek(1) == '/') {
            open.pop_back();
            now.at += 2;
        } else {
            now.at++;
        }
    } while (!open.empty());
    return true;
}

/// Behind a comma: when nothing but blanks and comments is left on the line, moves to the next line and says so.
bool reader::continues(bool &failed) {
    place behind_comma = now;
    for (;;) {
        int c = peek();
        if (c == ' ' || c == '\r') {
            now.at++;
        } else if (c == '/' && peek(1) == '*') {
            if (!skip_comment()) {
                failed = true;
                return false;
            }
        } else if (c == '\n') {
            next_line();
            return true;
        } else if (c == end_of_text) {
            return true;
        } else {
            now = behind_comma;
            return false;
        }
    }
}

bool reader::read_string() {
    size_t opening = now.at;
    char quote = text[opening];
    std::string joined; // pieces in front of doubled quotes
    bool doubled = false;
    size_t piece = opening + 1;
    size_t closing;
    for (;;) {
        size_t line_end = std::min(text.find('\n', piece), text.size());
        closing = text.substr(0, line_end).find(quote, piece);
        if (closing == std::string_view::npos) return fail(quote == '\'' ? 1 : 2, now.line, column_of(opening));
        now.at = closing + 1;
        if (peek() != quote) break;
        doubled = true;
        joined.append(text, piece, closing + 1 - piece);
        piece = closing + 2;
    }
    std::string_view value = text.substr(piece, closing - piece);
    if (doubled) value = joined.append(value);

    int suffix = peek() == end_of_text ? 0 : peek() | 0x20;
    bool radix =
        (suffix == 'x' || suffix == 'b') && (peek(1) == end_of_text || !rx_is_symbol_char(static_cast<char>(peek(1))));
    size_t column_at = opening;
    std::string bytes;
    if (radix) {
        bool valid = suffix == 'x' ? rx_hex_to_bytes(value, bytes) : rx_bin_to_bytes(value, bytes);
        if (!valid) return fail(suffix == 'x' ? 15 : 67, now.line, column_of(opening));
        value = bytes;
        column_at = now.at++;
    } else if (peek() == end_of_text) {
        column_at = closing;
    }
    bool owned = radix || doubled;
    make_word(STRING, column_at, owned ? arena.copy(value) : value);
    tokens.back().quoted = true;
    tokens.back().owned = owned;
    return true;
}

/// True when a sign behind `word` belongs to it, as in 1e+5.
bool expects_exponent(std::string_view word) {
    if (word.size() < 2 || (word.back() | 0x20) != 'e') return false;
    if (!rx_is_digit(word.front()) && word.front() != '.') return false;
    double ignored;
    return rx_scan_number(word.substr(0, word.size() - 1), ignored);
}

bool reader::read_word() {
    size_t start = now.at;
    while (now.at < text.size()) {
        char c = text[now.at];
        if (!rx_is_symbol_char(c) &&
            !((c == '+' || c == '-') && expects_exponent(text.substr(start, now.at - start)))) {
            break;
        }
        now.at++;
    }
    std::string_view word = text.substr(start, now.at - start);
    if (rx_is_digit(word[0]) || (word.size() > 1 && word[0] == '.' && rx_is_digit(word[1]))) {
        if (last == ';') {
            size_t behind = text.find_first_not_of(" \t", now.at);
            if (behind != std::string_view::npos && text[behind] == '=')
                return fail(31, now.line, column_of(now.at - 1));
        }
        make_word(STRING, start, word);
        return true;
    }
    int keyword = rx_keyword(word);
    make_word(keyword ? keyword : SYMBOL, start, word);
    return true;
}

/// Takes the longest operator that the next characters spell, blanks between them ignored; without any the first
/// character stands for itself.
void reader::read_operator() {
    char spelling[rx_longest_operator];
    size_t behind[rx_longest_operator];
    size_t count = 0;
    size_t start = now.at;
    for (size_t at = start; at < text.size() && count < rx_longest_operator; at++) {
        char c = text[at];
        if (c == ' ' || c == '\t') continue;
        if (!rx_is_operator_char(static_cast<unsigned char>(c))) break;
        spelling[count] = c;
        behind[count++] = at + 1;
    }
    for (size_t length = count; length > 0; length--) {
        int code = rx_operator_code({spelling, length});
        if (code == 0) continue;
        make(code, start);
        now.at = behind[length - 1];
        return;
    }
    make(static_cast<unsigned char>(text[start]), start);
    now.at = start + 1;
}

/// Reads one token, or skips what makes none. False after an error.
bool reader::read_token() {
    int c = peek();
    size_t start = now.at;
    switch (c) {
    case '\r':
    case 26: now.at++; return true;
    case ' ':
    case '\t':
        if (last != ';' && last != ' ' && !rx_is_operator(last)) make(' ', start);
        now.at++;
        return true;
    case '\n':
        if (last != ';') make(';', start);
        next_line();
        return true;
    case '\'':
    case '"': return read_string();
    case '{':
        make_word(DO, start, "DO");
        make(';', start);
        now.at++;
        return true;
    case '}':
        make(';', start);
        make_word(END, start, "END");
        now.at++;
        return true;
    case ',': {
        rx_raw_token comma;
        comma.type = ',';
        comma.line = now.line;
        comma.column = column_of(start);
        now.at++;
        bool failed = false;
        bool joined = continues(failed);
        if (failed) return false;
        if (joined && last == ' ') return true;
        if (joined) comma.type = ' ';
        tokens.push_back(comma);
        last = comma.type;
        return true;
    }
    case ';':
        if (last != ';') make(';', start);
        now.at++;
        return true;
    case '#':
        if (last == ';') {
            now.at = std::min(text.find('\n', start), text.size());
            return true;
        }
        return read_word();
    case '/':
        if (peek(1) == '*') return skip_comment();
        if (peek(1) == end_of_text) { // no operator can follow: a token that nothing can parse
            make_word(OP_NOT, start, "/");
            now.at++;
            return true;
        }
        read_operator();
        return true;
    default: break;
    }
    if (rx_is_symbol_char(static_cast<char>(c))) return read_word();
    if (rx_is_operator_char(static_cast<unsigned char>(c))) {
        read_operator();
        return true;
    }
    make(c, start);
    now.at++;
    return true;
}

bool reader::read_all() {
    while (now.at < text.size()) {
        if (!read_token()) return false;
    }
    if (last != ';') make(';', now.at);
    return true;
}

} // namespace

rx_scan_result lex(std::string_view text, rx_arena &arena, bool apply_modes) {
    rx_scan_result result;
    if (text.size() > 1 && text.back() == '\n') text.remove_suffix(1);
    rx_raw_tokens tokens, settled;
    reader source{text, arena, tokens, result};
    bool scanned = source.read_all();
    result.lines = source.now.line + (text.empty() ? 0 : 1);
    if (!scanned) return result;
    settled.reserve(tokens.size() + tokens.size() / 8);
    rx_settle_words(tokens, settled, arena, apply_modes);
    tokens.clear();
    rx_insert_abuttal(settled, tokens);
    rx_drop_blanks(tokens);
    settled = rx_raw_tokens();
    result.tokens = rx_finish_tokens(tokens, arena);
    return result;
}
