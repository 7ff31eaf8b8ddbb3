// Word functions. A word is a run of bytes that aren't blanks (a tab is no blank).
//
// Scripts like to walk through a text by WORD(text, i), or through two side by side. For the two long texts asked about
// last the words found so far are kept, so that the walk takes linear time: the next call goes on where the last one
// stopped. Whether a text is still the same is seen by the variable that holds it, or else by comparing it with a copy.
#include "builtins/handlers.h"
#include "builtins/pieces.h"
#include "builtins/text_search.h"

#include <algorithm>
#include <vector>

namespace {

constexpr size_t none = std::string_view::npos;

/// The words of a long text.
struct split_record {
    std::string text;
    std::vector<bu_span> words;  ///< found so far
    size_t next = 0;             ///< where the search goes on
    const rx_var *var = nullptr; ///< the variable that held the text; it still does while it is marked
};

/// The two texts asked about last, the last one in front; they live as long as the process. No two records have the
/// same variable.
split_record splits[2];

constexpr size_t shortest_kept = 256, longest_kept = size_t{1} << 26;

/// Makes the front record that of this text, keeping what is known when the text is still the same. `var` is the
/// variable that the text belongs to, or null.
void recall(std::string_view text, rx_var *var) {
    auto &[front, other] = splits;
    if (var && var->marks & RX_REMEMBERED) {
        if (var == other.var) std::swap(front, other);
        if (var == front.var) return;
    }
    if (text != front.text) std::swap(front, other);
    if (text != front.text) {
        front.text.assign(text);
        front.words.clear();
        front.next = 0;
    }
    if (var) var->marks |= RX_REMEMBERED;
    if (var == other.var) other.var = nullptr;
    front.var = var;
}

/// The words of a text, found as far as they are asked for.
struct word_list {
    std::string_view text;
    bool kept;

    explicit word_list(bu_args &args, size_t i = 0)
        : text(args.text(i)), kept(text.size() >= shortest_kept && text.size() <= longest_kept) {
        if (kept) recall(text, args.lender(i));
    }

    /// Word number n, from 1; a word of length 0 at the end of the text when there are fewer.
    bu_span word(size_t n) const {
        if (!kept) {
            bu_span found = bu_word_from(text, 0);
            while (--n && found.length) found = bu_word_from(text, found.end());
            return found;
        }
        std::vector<bu_span> &words = splits[0].words;
        while (words.size() < n) {
            bu_span found = bu_word_from(text, splits[0].next);
            if (!found.length) return found;
            splits[0].next = found.end();
            words.push_back(found);
        }
        return words[n - 1];
    }

    size_t count() const {
        if (kept) {
            word(none);
            return splits[0].words.size();
        }
        size_t result = 0;
        for (bu_span each = bu_word_from(text, 0); each.length; each = bu_word_from(text, each.end())) result++;
        return result;
    }

    /// The last of `length` words from number n on that there is; `first` is word n.
    bu_span last_of(size_t n, bu_span first, size_t length) const {
        bu_span last = first;
        for (size_t i = 1; i < length; i++) {
            bu_span following =
                kept && n + i <= splits[0].words.size() ? splits[0].words[n + i - 1] : bu_word_from(text, last.end());
            if (!following.length) break;
            last = following;
        }
        return last;
    }
};

/// The words of a text from number `from` on, each with a blank before it, and a blank at the end.
std::string blanks_around(std::string_view text, size_t from) {
    std::string result;
    result.reserve(text.size() + 2);
    bu_each_word(text, [&](std::string_view word) {
        if (from > 1)
            from--;
        else
            result.append(1, ' ').append(word);
        return true;
    });
    return result += ' ';
}

/// True when the words of the phrase from `sought` on are those of the text from `word` on.
bool has_phrase(std::string_view text, bu_span word, std::string_view phrase, bu_span sought) {
    while (text.substr(word.start, word.length) == phrase.substr(sought.start, sought.length)) {
        sought = bu_word_from(phrase, sought.end());
        if (!sought.length) return true;
        word = bu_word_from(text, word.end());
    }
    return false;
}

/// FIND and WORDPOS: the number of the word of `text` at which the words of `phrase` begin, or 0.
size_t find_phrase(std::string_view phrase, std::string_view text, size_t start) {
    if (text.size() < shortest_kept) {
        bu_span sought = bu_word_from(phrase, 0), word = bu_word_from(text, 0);
        for (size_t n = 1; sought.length && word.length; n++) {
            if (n >= start && has_phrase(text, word, phrase, sought)) return n;
            word = bu_word_from(text, word.end());
        }
        return 0;
    }
    // In a long text trying each word could take very long; this takes linear time.
    std::string sought = blanks_around(phrase, 1), words = blanks_around(text, start);
    size_t found = sought.size() == 1 ? none : bu_search(words, sought, 0);
    if (found == none) return 0;
    return start + static_cast<size_t>(std::count(words.data(), words.data() + found, ' '));
}

/// WORD, WORDINDEX and WORDLENGTH: the word asked for.
bu_span word_argument(bu_args &args) {
    size_t n = args.position(1, BU_ROUNDED);
    return word_list(args).word(n);
}

} // namespace

/// delword(string, n, [length])
/// The text without `length` words from word n on and the blanks behind each; without a length the rest goes.
/// Result: string
/// Errors: 40 for a wrong count, an n that isn't whole and above 0, a length that isn't whole and 0 or more
/// Example: delword('now is the  time', 2, 2) -> now time
rx_value bu_delword(const rx_expr *list) {
    bu_args args(list, "DELWORD", 2, 3, "must receive 2 or 3 arguments.");
    size_t n = args.position(1, BU_ROUNDED | BU_INTEGER);
    size_t length = args.size(2, BU_EXACT | BU_INTEGER, none);
    word_list words(args);
    std::string_view text = words.text;
    bu_span first = words.word(n);
    if (!first.length || length == 0) return args.take_text(0);
    size_t end = length == none ? text.size() : bu_word_from(text, words.last_of(n, first, length).end()).start;
    return bu_join(text.substr(0, first.start), text.substr(end));
}

/// find(phrase, target)
/// The number of the word of the first text at which the words of the second begin, or 0.
/// Result: number
/// Errors: 40 for a wrong count
/// Example: find('now is the time', 'is the') -> 2
rx_value bu_find(const rx_expr *list) {
    bu_args args(list, "FIND", 2, 2, "must receive 2 arguments.");
    return bu_count(find_phrase(args.text(1), args.text(0), 1));
}

/// subword(string, n, [length])
/// The text from word n on, up to the end of the last of `length` words.
/// Result: string
/// Errors: 40 for a wrong count, an n that isn't whole and above 0, a length that isn't whole and 0 or more
/// Example: subword('now is  the time', 2, 2) -> is  the
rx_value bu_subword(const rx_expr *list) {
    bu_args args(list, "SUBWORD", 2, 3, "must receive 2 to 3 arguments.");
    size_t n = args.position(1, BU_ROUNDED);
    size_t length = args.size(2, BU_EXACT, none);
    word_list words(args);
    std::string_view text = words.text;
    bu_span first = words.word(n);
    if (!first.length || length == 0) return rx_string({});
    size_t end = length == none ? text.find_last_not_of(' ') + 1 : words.last_of(n, first, length).end();
    return rx_string(text.substr(first.start, end - first.start));
}

/// word(string, n)
/// Word n of the text; empty when there are fewer.
/// Result: string
/// Errors: 40 for a wrong count, an n that isn't whole and above 0
/// Example: word('now is the time', 3) -> the
rx_value bu_word(const rx_expr *list) {
    bu_args args(list, "WORD", 2, 2, "must receive 2 arguments.");
    bu_span word = word_argument(args);
    return rx_string(args.text(0).substr(word.start, word.length));
}

/// wordindex(string, n)
/// The position of the first byte of word n, or 0.
/// Result: number
/// Errors: 40 for a wrong count, an n that isn't whole and above 0
/// Example: wordindex('now is the time', 3) -> 8
rx_value bu_wordindex(const rx_expr *list) {
    bu_args args(list, "WORDINDEX", 2, 2, "must receive 2 arguments.");
    bu_span word = word_argument(args);
    return bu_count(word.length ? word.start + 1 : 0);
}

/// wordlength(string, n)
/// The count of bytes of word n, or 0.
/// Result: number
/// Errors: 40 for a wrong count, an n that isn't whole and above 0
/// Example: wordlength('now is the time', 4) -> 4
rx_value bu_wordlength(const rx_expr *list) {
    bu_args args(list, "WORDLENGTH", 2, 2, "must receive 2 arguments.");
    return bu_count(word_argument(args).length);
}

/// wordpos(phrase, string, [start])
/// The number of the word of the text, from word `start` on, at which the words of the phrase begin, or 0.
/// Result: number
/// Errors: 40 for a wrong count, a start that isn't whole and above 0
/// Example: wordpos('be', 'to be or not to be', 3) -> 6
rx_value bu_wordpos(const rx_expr *list) {
    bu_args args(list, "WORDPOS", 2, 3, "must receive 2 or 3 arguments.");
    size_t start = args.position(2, BU_EXACT);
    return bu_count(find_phrase(args.text(0), args.text(1), start));
}

/// words(string)
/// The count of words of the text.
/// Result: number
/// Errors: 40 for a wrong count
/// Example: words(' now is  the time ') -> 4
rx_value bu_words(const rx_expr *list) {
    bu_args args(list, "WORDS", 1, 1, "must receive 1 argument.");
    return bu_count(word_list(args).count());
}
