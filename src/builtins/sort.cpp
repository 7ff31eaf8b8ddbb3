// SORT: the elements of a stem put in order by columns.
//
// What moves while sorting is a record of an index and the first eight bytes, or the number, of the first key, in a
// form whose order is that of unsigned integers; most comparisons need no more.
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "builtins/stems.h"
#include "platform/collate.h"
#include "platform/strings.h"

#include <algorithm>
#include <bit>
#include <climits>

namespace {

enum class key_kind { bytes, number, text, text_with_case };

constexpr size_t line_end = INT_MAX - 1; ///< the last column of a key that was written as "*"
constexpr size_t longest_number = 40;
constexpr double most_elements = 100000000;

struct sort_key {
    size_t first, last; ///< columns, from 0
    key_kind kind;
    bool descending;

    /// The part of a line in the key's columns.
    std::string_view field(std::string_view line) const {
        return first < line.size() ? line.substr(first, last - first + 1) : std::string_view();
    }
};

/// The integer at the beginning of a word; -1 without one.
long column_of(std::string_view word) {
    if (word.starts_with('+')) word.remove_prefix(1);
    if (word.empty() || !rx_is_digit(word[0])) return -1;
    long column = 0;
    for (size_t i = 0; i < word.size() && rx_is_digit(word[i]) && column < INT_MAX; i++)
        column = column * 10 + (word[i] - '0');
    return column;
}

/// Takes a type from a word that begins with its letter. The case counts for all but "a" and "d".
bool read_type(std::string_view word, sort_key &key) {
    constexpr std::string_view letters = "aAdDNnXxZz";
    size_t place = letters.find(word[0]);
    if (place == std::string_view::npos) return false;
    constexpr key_kind kinds[] = {key_kind::bytes, key_kind::bytes, key_kind::number, key_kind::text,
                                  key_kind::text_with_case};
    key.kind = kinds[place / 2];
    key.descending = place < 4 ? place >= 2 : place % 2 == 1;
    return true;
}

std::vector<sort_key> read_columns(bu_args &args) {
    std::vector<sort_key> keys;
    sort_key key{0, line_end, key_kind::bytes, false};
    std::string_view text = args.text(1);
    std::vector<std::string_view> words = rx_split_words(text);
    for (size_t i = 0; i < words.size(); i += 2) {
        if (read_type(words[i], key)) i++;
        long first = i + 1 < words.size() ? column_of(words[i]) : -1;
        long last = first < 1 ? -1 : words[i + 1] == "*" ? INT_MAX : column_of(words[i + 1]);
        if (first < 1 || last < first)
            rx_arg_error(args.list, 1, "Invalid columns \"" + std::string(text) + "\" SORT() parameters.");
        key.first = static_cast<size_t>(first) - 1;
        key.last = static_cast<size_t>(last) - 1;
        keys.push_back(key);
    }
    if (keys.empty()) keys.push_back(key);
    return keys;
}

struct sorter {
    bu_args &args;
    std::vector<sort_key> keys;
    std::vector<rx_value> lines;

    struct entry {
        uint64_t head; ///< of the first key
        uint32_t index;
    };
    std::vector<entry> entries = {};

    /// The numbers of a key's fields in their sortable form, read when they are first needed.
    struct number_column {
        std::vector<uint64_t> values;
        std::vector<bool> known;
    };
    std::vector<number_column> numbers = {};

    void run() {
        entries.resize(lines.size());
        numbers.resize(keys.size());
        for (uint32_t i = 0; i < entries.size(); i++) entries[i] = {entries.size() > 1 ? head_of(i) : 0, i};
        std::sort(entries.begin(), entries.end(), [this](const entry &a, const entry &b) {
            if (a.head != b.head) return a.head < b.head;
            int order = compare(a.index, b.index);
            return order ? order < 0 : a.index < b.index;
        });
    }

private:
    uint64_t head_of(uint32_t index) {
        const sort_key &key = keys[0];
        if (key.kind == key_kind::number) return number_of(0, index);
        std::string_view field = key.field(lines[index].text());
        uint64_t head = 0;
        if (key.kind != key_kind::bytes) {
            head = rx_collate_head(field);
            return key.descending ? ~head : head;
        }
        size_t width = std::min(key.last - key.first + 1, sizeof head);
        for (size_t i = 0; i < width; i++)
            head = head << 8 | static_cast<unsigned char>(i < field.size() ? field[i] : ' ');
        return key.descending ? ~head : head;
    }

    /// A number as an unsigned integer of the same order, turned round for a descending key; 0 for a line that ends
    /// before the field, so that it always comes first.
    uint64_t number_of(size_t k, uint32_t index) {
        number_column &column = numbers[k];
        if (column.values.empty()) {
            column.values.resize(lines.size());
            column.known.resize(lines.size());
        }
        if (!column.known[index]) {
            column.values[index] = read_number(keys[k], index);
            column.known[index] = true;
        }
        return column.values[index];
    }

    uint64_t read_number(const sort_key &key, uint32_t index) {
        std::string_view line = lines[index].text();
        if (key.first >= line.size()) return 0;
        std::string_view field = key.field(line);
        field.remove_prefix(std::min(field.find_first_not_of(' '), field.size()));
        double number;
        if (field.size() > longest_number || !rx_scan_number(field, number)) refuse(key, index, field);
        uint64_t bits = std::bit_cast<uint64_t>(number + 0.0);
        bits = bits >> 63 ? ~bits : bits | uint64_t{1} << 63;
        return key.descending ? ~bits : bits;
    }

    [[noreturn]] void refuse(const sort_key &key, uint32_t index, std::string_view field) {
        std::string last = key.last == line_end ? "*" : std::to_string(key.last + 1);
        args.fail(0, "Invalid number (\"" + std::string(field) + "\") for" + std::to_string(index + 1) +
                         " on columns " + std::to_string(key.first + 1) + " " + last);
    }

    int compare(uint32_t a, uint32_t b) {
        for (size_t k = 0; k < keys.size(); k++) {
            int order = compare(k, a, b);
            if (order) return order;
        }
        return 0;
    }

    int compare(size_t k, uint32_t a, uint32_t b) {
        const sort_key &key = keys[k];
        if (key.kind == key_kind::number) {
            uint64_t one = number_of(k, a), other = number_of(k, b);
            return one < other ? -1 : one > other;
        }
        std::string_view one = key.field(lines[a].text()), other = key.field(lines[b].text());
        int order = key.kind == key_kind::bytes  ? compare_bytes(one, other)
                    : key.kind == key_kind::text ? rx_collate_nocase(one, other)
                                                 : rx_collate(one, other);
        return key.descending ? -order : order;
    }

    /// The shorter field goes on with blanks.
    static int compare_bytes(std::string_view one, std::string_view other) {
        size_t common = std::min(one.size(), other.size());
        // A field that a line doesn't reach has no bytes to point at.
        if (int order = common ? std::memcmp(one.data(), other.data(), common) : 0) return order;
        for (size_t i = common; i < one.size(); i++)
            if (one[i] != ' ') return static_cast<unsigned char>(one[i]) < ' ' ? -1 : 1;
        for (size_t i = common; i < other.size(); i++)
            if (other[i] != ' ') return static_cast<unsigned char>(other[i]) < ' ' ? 1 : -1;
        return 0;
    }
};

/// A bound of the range: a number of 1 or more.
double bound_argument(bu_args &args, size_t i, bool whole) {
    std::string text(args.text(i));
    bool good = rx_is_number(args.values[i]) && args.values[i].real >= 1 && args.values[i].real <= INT_MAX;
    if (!good || (whole && !rx_is_whole(args.values[i].real)))
        args.fail(i, "Argument " + std::to_string(i + 1) + " (" + text + ") is not a valid number.");
    return args.values[i].real;
}

/// STEM.0.
double count_of(bu_args &args, bu_stem &stem, std::string_view name) {
    const rx_value *value = stem.get(0);
    rx_value number;
    bool good = value && rx_number_of(*value, number) && number.real >= 0 && number.real <= INT_MAX;
    if (!good || !rx_is_whole(number.real)) {
        rx_number_buffer buffer;
        std::string text = value ? std::string(rx_arg_text(*value, buffer)) : stem.name(0);
        args.fail(0, std::string(name) + ".0 (" + text + ") is not a valid number.");
    }
    return number.real;
}

} // namespace

/// sort(stem, [columns], [first], [last])
/// Puts the elements of a stem in order, or those from first to last; stem.0 is the last when none is given. The stem
/// is written as a symbol. The columns are groups of a type (which may be left out: that of the group before, at first
/// a), the first column and the last column or *: a or d for bytes ascending and descending, N or n for numbers, X or x
/// for words without regard to case, Z or z with it (capital: ascending). stem.SortOrder.k tells where element k came
/// from.
/// Result: number: 0
/// Errors: 40 for a wrong count, a stem that is no symbol, columns, bounds or a stem.0 that are wrong, a field that
/// isn't a number where one is needed
/// Example: parse value '3 7 20 100' with a.0 a.1 a.2 a.3; call sort a, 'n 1 *'; a.1 a.2 a.3 a.sortorder.1 -> 100 20 7 3
rx_value bu_sort(const rx_expr *list) {
    bu_args args(list, "SORT", 1);
    if (!list || list->type == VIDE) args.fail(0, "argument 1 missing.");
    if (args.count() > 4) args.fail(0, "up to 4 arguments allowed.");
    std::string name(args.symbol(0));
    std::vector<sort_key> keys = read_columns(args);
    bu_stem stem(name);
    double first = args.given(2) ? std::trunc(bound_argument(args, 2, false)) : 1;
    double last = args.given(3) ? bound_argument(args, 3, true) : count_of(args, stem, name);
    if (last < first) return bu_number(0);
    if (last - first >= most_elements) rx_raise(5);

    size_t offset = static_cast<size_t>(first), count = static_cast<size_t>(last - first) + 1;
    sorter work{args, std::move(keys), {}};
    work.lines.reserve(count);
    for (size_t i = 0; i < count; i++) {
        const rx_value *value = stem.get(offset + i);
        work.lines.push_back(value ? rx_to_string(rx_copy_value(*value)) : rx_string(stem.name(offset + i)));
    }
    work.run();
    bu_stem order(name + ".SortOrder");
    for (size_t i = 0; i < count; i++) {
        uint32_t index = work.entries[i].index;
        stem.set(offset + i, std::move(work.lines[index]));
        order.set(offset + i, bu_count(index + 1));
    }
    return bu_number(0);
}
