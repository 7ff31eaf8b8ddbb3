// PARG: takes command-line options apart.
#include "base/modes.h"
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "platform/strings.h"

#include <algorithm>

namespace {

struct option_rule {
    std::string name; ///< folded, with its "-"
    size_t count = 0; ///< values that it takes
};

struct option_found {
    std::string name; ///< without its "-"
    std::vector<std::string_view> values;
};

/// Reads "-name count -name count ...".
std::vector<option_rule> read_rules(bu_args &args) {
    std::string text = rx_folded(args.text(1));
    std::vector<std::string_view> words = rx_split_words(text);
    if (words.size() % 2) args.fail(1, "argument 2 must have an even number of elements.");
    std::vector<option_rule> rules;
    for (size_t i = 0; i < words.size(); i += 2) {
        double count;
        if (!rx_scan_number(words[i + 1], count) || count < 0 || !rx_is_whole(count))
            args.fail(1, "bad associated length \"" + std::string(words[i + 1]) + "\" for element \"" +
                             std::string(words[i]) + "\".");
        rules.push_back({std::string(words[i]), static_cast<size_t>(std::min(count, 1e9))});
    }
    return rules;
}

/// The scan over the words in front: options are collected, `next` becomes the first word of the rest. 0, or 1 for
/// missing values, 2 for an unknown option.
int scan_options(const std::vector<std::string_view> &words, const std::vector<option_rule> &rules,
                 std::vector<option_found> &found, size_t &next) {
    next = 0;
    while (next < words.size() && words[next].starts_with('-')) {
        std::string word = rx_folded(words[next++]);
        bool known = false;
        for (const option_rule &rule : rules) {
            if (rule.name != word) continue;
            known = true;
            if (words.size() - next < rule.count) return 1;
            option_found option{word.substr(1), {}};
            for (size_t i = 0; i < rule.count; i++) {
                std::string_view value = words[next++];
                if (value.size() > 1 && value[0] == '-') return 1;
                option.values.push_back(value);
            }
            found.push_back(std::move(option));
        }
        if (!known) return 2;
    }
    return 0;
}

/// Sets NAME.0 and NAME.1 and up.
template <class Texts> void set_list(const std::string &name, const Texts &texts) {
    rx_set_var_number(name + ".0", static_cast<double>(texts.size()));
    int i = 0;
    for (const auto &text : texts) rx_set_var_stem(name, ++i, text);
}

} // namespace

/// parg(args, rules, stem, [quotes])
/// Takes the options apart that stand in front of a list of words. The rules are pairs of words: an option with its
/// "-" and the count of values that it takes. The stem, written as a symbol, gets the names of the options found (.0,
/// .1 and up) and then the rest as one string; stem.NAME holds the values of an option, stem.STEM the words of the
/// rest, which with 1 as the last argument may be quoted.
/// Result: number: 0, 1 for a missing value, 2 for an unknown option
/// Errors: 40 for a wrong count, rules that aren't made of pairs, a stem that is no symbol, a last argument that isn't
/// 0 or 1
/// Example: call parg '-o out a b', '-o 1 -v 0', opt; opt.0 opt.1 opt.o.1 opt.2 opt.opt.0 -> 1 O out a b 2
rx_value bu_parg(const rx_expr *list) {
    bu_args args(list, "PARG", 1u << 2);
    args.expect(3, 4, 0, "needs 3 or 4 arguments.");
    args.require(0, "argument 1 missing.");
    args.require(1, "argument 2 missing.");
    if (list->next->next->type == VIDE) args.fail(2, "argument 3 missing.");
    bool quotes = false;
    if (args.given(3)) {
        double flag = args.number(3, "argument 4 muste be 0 or 1.");
        if (flag != 0 && flag != 1) args.fail(3, "argument 4 muste be 0 or 1.");
        quotes = flag == 1;
    }
    std::vector<option_rule> rules = read_rules(args);
    std::string stem(args.symbol(2));

    std::string text(args.text(0));
    std::vector<std::string_view> words = rx_split_words(text);
    std::vector<option_found> found;
    size_t next;
    if (int error = scan_options(words, rules, found, next)) return bu_number(error);
    std::string_view rest;
    if (next < words.size())
        rest = std::string_view(text).substr(static_cast<size_t>(words[next].data() - text.data()));

    int count = static_cast<int>(found.size());
    rx_set_var_number(stem + ".0", count);
    for (int i = 0; i < count; i++) {
        const option_found &option = found[static_cast<size_t>(i)];
        rx_set_var_stem(stem, i + 1, option.name);
        if (bu_is_variable_name(option.name)) rx_set_var(option.name, option.name);
        set_list(stem + "." + option.name, option.values);
    }
    rx_set_var_stem(stem, count + 1, rest);
    if (quotes)
        set_list(stem + "." + stem, rx_split_quoted(rest));
    else
        set_list(stem + "." + stem, rx_split_words(rest));
    return bu_number(0);
}
