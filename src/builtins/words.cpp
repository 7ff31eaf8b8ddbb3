// Word functions. A word is a run of bytes that aren't blanks (a tab is no blank).
//
// Scripts like to walk through a text by WORD(text, i). For a long text the words found so far are kept, so that the
// walk takes linear time: the next call goes on where the last one stopped. Whether the text is still the same is seen
// by the variable that holds it, or else by comparing it with a copy.
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "platform/strings.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t none = std::string_view::npos;

struct span {
    size_t start = 0, length = 0;
    size_t end() const { return start + length; }
};

/// The first word at `at` or behind; without one its start is the end of the text and its length 0.
span word_from(std::string_view text, size_t at) {
    size_t start = at;
    while (start < text.size() && text[start] == ' ') start++;
    if (start >= text.size()) return {text.size(), 0};
    const void *blank = std::memchr(text.data() + start, ' ', text.size() - start);
    size_t end = blank ? static_cast<size_t>(static_cast<const char *>(blank) - text.data()) : text.size();
    return {start, end - start};
}

/// The words of the long text that was asked about last. Lives as long as the process.
struct split_record {
    std::string text;
    std::vector<span> words; ///< found so far
    size_t next = 0;         ///< where the search goes on
    const char *data = nullptr;
    const rx_var *var = nullptr; ///< the variable that held the text, with its state then
    uint32_t generation = 0;
    uint64_t scope = 0;
};
split_record last_split;

constexpr size_t shortest_kept = 256, longest_kept = size_t{1} << 26;

bool same_text(std::string_view text, const rx_var *var) {
    const split_record &last = last_split;
    if (text.size() != last.text.size()) return false;
    if (var && var == last.var && var->generation == last.generation && rx_scope->serial == last.scope &&
        text.data() == last.data)
        return true;
    return std::memcmp(text.data(), last.text.data(), text.size()) == 0;
}

/// Makes `last_split` the record of this text, keeping what is known when it is still the same.
void recall(std::string_view text, const rx_var *var) {
    split_record &last = last_split;
    if (!same_text(text, var)) {
        last.text.assign(text);
        last.words.clear();
        last.next = 0;
    }
    last.data = text.data();
    last.var = var;
    last.generation = var ? var->generation : 0;
    last.scope = rx_scope->serial;
}

/// The words of a text, found as far as they are asked for.
struct word_list {
    std::string_view text;
    bool kept;

    word_list(std::string_view of, const rx_var *var)
        : text(of), kept(of.size() >= shortest_kept && of.size() <= longest_kept) {
        if (kept) recall(of, var);
    }
    explicit word_list(bu_args &args, size_t i = 0) : word_list(args.text(i), args.lender(i)) {}

    /// Word number n, from 1; a word of length 0 at the end of the text when there are fewer.
    span word(size_t n) const {
        if (!kept) {
            span found = word_from(text, 0);
            while (--n && found.length) found = word_from(text, found.end());
            return found;
        }
        std::vector<span> &words = last_split.words;
        while (words.size() < n) {
            span found = word_from(text, last_split.next);
            if (!found.length) return found;
            last_split.next = found.end();
            words.push_back(found);
        }
        return words[n - 1];
    }

    size_t count() const {
        if (kept) {
            word(none);
            return last_split.words.size();
        }
        size_t result = 0;
        for (span each = word_from(text, 0); each.length; each = word_from(text, each.end())) result++;
        return result;
    }

    /// The last of `length` words from number n on that there is; `first` is word n.
    span last_of(size_t n, span first, size_t length) const {
        span last = first;
        for (size_t i = 1; i < length; i++) {
            span following =
                kept && n + i <= last_split.words.size() ? last_split.words[n + i - 1] : word_from(text, last.end());
            if (!following.length) break;
            last = following;
        }
        return last;
    }
};

/// FIND and WORDPOS: the number of the word of `text` at which the words of `phrase` begin, or 0.
size_t find_phrase(std::string_view phrase, std::string_view text, size_t start) {
    std::vector<std::string_view> sought = rx_split_words(phrase), words = rx_split_words(text);
    if (sought.empty() || start > words.size()) return 0;
    auto from = words.begin() + static_cast<std::ptrdiff_t>(start - 1);
    auto found = std::search(from, words.end(), sought.begin(), sought.end());
    return found == words.end() ? 0 : static_cast<size_t>(found - words.begin()) + 1;
}

/// WORD, WORDINDEX and WORDLENGTH: the word asked for.
span word_argument(bu_args &args) {
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
    size_t n = args.position(1, BU_CAPPED | BU_INTEGER);
    size_t length = args.size(2, BU_CAPPED | BU_INTEGER, none);
    word_list words(args);
    std::string_view text = words.text;
    span first = words.word(n);
    if (!first.length || length == 0) return args.take_text(0);
    size_t end = length == none ? text.size() : word_from(text, words.last_of(n, first, length).end()).start;
    rx_value result = rx_string(text.substr(0, first.start));
    bu_append(result, text.substr(end));
    return result;
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
    size_t length = args.size(2, BU_ROUNDED, none);
    word_list words(args);
    std::string_view text = words.text;
    span first = words.word(n);
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
    span word = word_argument(args);
    return rx_string(args.text(0).substr(word.start, word.length));
}

/// wordindex(string, n)
/// The position of the first byte of word n, or 0.
/// Result: number
/// Errors: 40 for a wrong count, an n that isn't whole and above 0
/// Example: wordindex('now is the time', 3) -> 8
rx_value bu_wordindex(const rx_expr *list) {
    bu_args args(list, "WORDINDEX", 2, 2, "must receive 2 arguments.");
    span word = word_argument(args);
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
    size_t start = args.position(2, BU_ROUNDED);
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
