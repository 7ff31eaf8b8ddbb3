#include "commands/globalv.h"

#include "base/arena.h"
#include "base/modes.h"
#include "base/output.h"
#include "commands/globalv_store.h"
#include "commands/queue.h"
#include "platform/environment.h"
#include "platform/strings.h"
#include "values/numbers.h"
#include "values/store.h"

namespace {

constexpr int bad_operand = 1000004;
constexpr int no_operand = 1000024;
constexpr const char *group_variable = "vandra_GROUP_GL";
constexpr const char *default_group = "unnamed";

/// The group in force; empty until the first command. Process-wide, as the store is.
std::string current_group;

void select_group(std::string_view name) {
    current_group = name;
    rx_setenv(group_variable, name);
}

/// A group for one command.
struct group_selection {
    std::string before;

    explicit group_selection(std::string_view name) : before(current_group) { current_group = name; }
    ~group_selection() { current_group = before; }
    group_selection(const group_selection &) = delete;
    group_selection &operator=(const group_selection &) = delete;
};

// ---- words ----------------------------------------------------------------------------------------------------------

std::string_view skip_blanks(std::string_view text, const char *blanks = " ") {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text;
}

/// Takes the first word off a text that begins with it.
std::string_view take_word(std::string_view &text) {
    std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    return word;
}

// ---- variables of the program ---------------------------------------------------------------------------------------

struct program_variable {
    std::string name; ///< resolved
    std::string value;
};

/// A variable as the program would read it, without raising anything.
program_variable read_variable(std::string_view name) {
    std::string folded = rx_folded(name);
    rx_arena arena;
    const rx_symbol &symbol = *rx_parse_tails(arena, arena.copy(folded));
    if (symbol.bad_name) return {folded, folded};
    std::string resolved = rx_resolve_name(symbol);
    rx_value scratch;
    rx_value text = rx_to_string(rx_copy_value(rx_var_get(symbol, scratch, rx_read::quiet)));
    return {std::move(resolved), std::string(text.text())};
}

// ---- writing --------------------------------------------------------------------------------------------------------

using pairs = std::vector<program_variable>;

/// `set`: names and values in turn.
pairs word_pairs(std::string_view operands) {
    pairs result;
    std::vector<std::string_view> words = rx_split_words(operands);
    for (size_t i = 0; i < words.size(); i += 2)
        result.push_back({rx_folded(words[i]), std::string(i + 1 < words.size() ? words[i + 1] : "")});
    return result;
}

/// `setl`: a name, and all that follows the blank behind it.
pairs rest_of_line(std::string_view operands) {
    std::string_view name = operands.substr(0, operands.find(' '));
    operands.remove_prefix(std::min(name.size() + 1, operands.size()));
    return {{rx_folded(name), std::string(operands)}};
}

/// `put`: names of variables of the program.
pairs program_variables(std::string_view operands) {
    pairs result;
    for (std::string_view name : rx_split_words(operands)) result.push_back(read_variable(name));
    return result;
}

/// Writes everything to one tree, up to the first failure.
int write_to(rx_lifetime lifetime, const pairs &values) {
    for (const program_variable &each : values) {
        if (int code = rx_globalv_write(lifetime, current_group, each.name, each.value)) return code;
    }
    return 0;
}

int write(rx_lifetime lifetime, const pairs &values) {
    if (!rx_globalv_make_group(lifetime, current_group)) return static_cast<int>(lifetime);
    int code = write_to(lifetime, values);
    // What outlives the process stands in the working storage too; how that went isn't told.
    if (lifetime != rx_lifetime::storage && rx_globalv_make_group(rx_lifetime::storage, current_group))
        write_to(rx_lifetime::storage, values);
    return code;
}

// ---- reading --------------------------------------------------------------------------------------------------------

/// Each program variable is set to what was stored under its name, or under the one that it resolves to.
int get(std::string_view operands) {
    for (std::string_view word : rx_split_words(operands)) {
        std::string name = rx_folded(word), value;
        rx_arena arena;
        const rx_symbol &symbol = *rx_parse_tails(arena, arena.copy(name));
        if (symbol.bad_name) return bad_operand;
        bool found;
        int code = rx_globalv_read(current_group, name, value, &found);
        if (!code && !found && symbol.compound()) code = rx_globalv_read(current_group, rx_resolve_name(symbol), value);
        if (code) return code;
        rx_set_var(name, value);
    }
    return 0;
}

int list(std::string_view operands) {
    std::vector<std::string> names;
    for (std::string_view word : rx_split_words(operands)) names.push_back(rx_folded(word));
    if (names.empty()) names = rx_globalv_names(current_group);
    std::string value;
    for (const std::string &name : names) {
        if (int code = rx_globalv_read(current_group, name, value)) return code;
        rx_write(name + " = \"" + value + "\"\n");
    }
    return 0;
}

int stack(std::string_view operands) {
    std::vector<std::string> values;
    for (std::string_view word : rx_split_words(operands)) {
        std::string value;
        if (int code = rx_globalv_read(current_group, rx_folded(word), value)) return code;
        values.push_back(std::move(value));
    }
    while (!values.empty()) {
        rx_queue_head(rx_string(values.back()));
        values.pop_back();
    }
    return 0;
}

// ---- verbs ----------------------------------------------------------------------------------------------------------

struct writing_verb {
    std::string_view name;
    rx_lifetime lifetime;
    pairs (*read)(std::string_view operands);
};

constexpr writing_verb writing_verbs[] = {
    {"set", rx_lifetime::storage, word_pairs},         {"sets", rx_lifetime::session, word_pairs},
    {"setp", rx_lifetime::lasting, word_pairs},        {"setl", rx_lifetime::storage, rest_of_line},
    {"setls", rx_lifetime::session, rest_of_line},     {"setsl", rx_lifetime::session, rest_of_line},
    {"setlp", rx_lifetime::lasting, rest_of_line},     {"setpl", rx_lifetime::lasting, rest_of_line},
    {"put", rx_lifetime::storage, program_variables},  {"puts", rx_lifetime::session, program_variables},
    {"putp", rx_lifetime::lasting, program_variables},
};

struct reading_verb {
    std::string_view name;
    int (*run)(std::string_view operands);
};

constexpr reading_verb reading_verbs[] = {
    {"get", get},
    {"list", list},
    {"stack", stack},
    {"purge", [](std::string_view) { return rx_globalv_purge(current_group); }},
};

/// Runs a verb; false when the word is none. `selecting`: the word stands behind SELECT, where a group could stand.
bool run_verb(std::string_view word, std::string_view operands, bool selecting, int &code) {
    operands = skip_blanks(operands);
    std::string verb = rx_lowered(word);
    auto settle_group = [selecting] {
        if (selecting) select_group(default_group);
    };
    for (const writing_verb &row : writing_verbs) {
        if (row.name != verb) continue;
        settle_group();
        code = operands.empty() ? bad_operand : write(row.lifetime, row.read(operands));
        return true;
    }
    for (const reading_verb &row : reading_verbs) {
        if (row.name != verb) continue;
        settle_group();
        code = row.run(operands);
        return true;
    }
    return false;
}

int select(std::string_view rest) {
    rest = skip_blanks(rest);
    if (rest.empty()) {
        select_group(default_group);
        return 0;
    }
    std::string_view word = take_word(rest);
    int code;
    if (run_verb(word, rest, true, code)) return code;
    rest = skip_blanks(rest);
    if (rest.empty()) {
        select_group(word);
        return 0;
    }
    group_selection selection(word);
    word = take_word(rest);
    return run_verb(word, rest, false, code) ? code : bad_operand;
}

int list_groups(std::string_view) {
    for (const std::string &name : rx_globalv_groups()) rx_write(name + "\n");
    return 0;
}

int stack_groups(std::string_view) {
    rx_queue_head(rx_string(""));
    std::vector<std::string> names = rx_globalv_groups();
    for (size_t i = names.size(); i > 0; i--) rx_queue_head(rx_string(names[i - 1]));
    return 0;
}

int purge_groups(std::string_view) {
    for (const std::string &name : rx_globalv_groups()) {
        if (int code = rx_globalv_purge(name)) return code;
    }
    return 0;
}

constexpr reading_verb first_words[] = {
    {"init", [](std::string_view) { return rx_globalv_initialise(); }},
    {"select", select},
    {"grplist", list_groups},
    {"grpstack", stack_groups},
    {"purge", purge_groups},
};

} // namespace

int rx_globalv(std::string_view text) {
    bool storage = rx_globalv_storage();
    text = skip_blanks(text, " \t");
    if (text.empty()) return no_operand;
    if (current_group.empty()) current_group = rx_getenv(group_variable).value_or("");
    if (current_group.empty()) current_group = default_group;
    if (!storage) return static_cast<int>(rx_lifetime::storage);
    if (int code = rx_globalv_initialise_once()) return code;
    std::string_view word = take_word(text);
    std::string lowered = rx_lowered(word);
    for (const reading_verb &row : first_words) {
        if (row.name == lowered) return row.run(text);
    }
    int code;
    return run_verb(word, text, false, code) ? code : bad_operand;
}
