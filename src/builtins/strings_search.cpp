// String functions that search and compare.
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "builtins/text_search.h"
#include "platform/strings.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr size_t none = std::string_view::npos;

/// POS and INDEX: the position from 1, or 0.
rx_value position_of(std::string_view needle, std::string_view haystack, size_t start, bool ignore_case) {
    if (needle.empty()) return bu_number(0);
    size_t found = (ignore_case ? bu_search_nocase : bu_search)(haystack, needle, start - 1);
    return bu_count(found == none ? 0 : found + 1);
}

/// True for each byte that occurs in a text.
std::array<bool, 256> bytes_of(std::string_view text) {
    std::array<bool, 256> set{};
    for (char c : text) set[static_cast<unsigned char>(c)] = true;
    return set;
}

/// CHANGE. After a replacement the scan goes on a little before the end of the new text, so that the end of the new
/// text and what follows it can make a further occurrence. The text is scanned once all the same: how many bytes of
/// the old text the rescanned end of the new one gives is the same for each replacement, and from there on a
/// Knuth-Morris-Pratt automaton reads the source. As long as it has matched nothing, the plain search runs.
struct changer {
    std::string_view source; ///< as it is copied
    std::string_view fill;   ///< the new text
    std::string_view scan;   ///< the source as it is searched: folded when case is ignored
    std::string_view old;    ///< the text to be found, folded likewise
    size_t carried = 0;      ///< bytes of `old` that the end of a replacement matches
    std::vector<size_t> failure;

    /// `folded_fill` is the new text as it is searched.
    void prepare(std::string_view folded_fill) {
        if (fill.empty()) return;
        size_t skipped = fill.size() > old.size() ? fill.size() - old.size() + 1 : 1;
        std::string_view tail = folded_fill.substr(skipped);
        if (tail.find(old[0]) == none) return;
        failure.assign(old.size(), 0);
        for (size_t i = 1; i < old.size(); i++) failure[i] = advance(failure[i - 1], old[i]);
        for (char c : tail) carried = advance(carried, c);
    }

    /// The bytes of `old` matched when `matched` were and this byte comes.
    size_t advance(size_t matched, char c) const {
        while (matched && old[matched] != c) matched = failure[matched - 1];
        return old[matched] == c ? matched + 1 : 0;
    }

    /// The end of the next occurrence in the source, or npos. `at` is where the scan goes on.
    size_t next_end(size_t at, size_t matched) const {
        while (matched && at < scan.size()) {
            matched = advance(matched, scan[at++]);
            if (matched == old.size()) return at;
        }
        if (at >= scan.size()) return none;
        size_t found = bu_search(scan, old, at);
        return found == none ? none : found + old.size();
    }

    rx_value run() const {
        size_t end = next_end(0, 0);
        if (end == none) return rx_string(source);
        // Room for one replacement; cut to its length at the end.
        rx_value result = bu_string(source.size() + (fill.size() > old.size() ? fill.size() - old.size() : 0));
        size_t used = 0, copied = 0;
        auto put = [&](std::string_view text) {
            if (used + text.size() > bu_longest_result) rx_raise(5);
            if (used + text.size() > result.length) rx_resize(result, (used + text.size()) * 3 / 2);
            std::memcpy(rx_bytes(result) + used, text.data(), text.size());
            used += text.size();
        };
        while (end != none) {
            put(source.substr(copied, end - copied));
            used -= old.size();
            put(fill);
            copied = end;
            end = next_end(end, carried);
        }
        put(source.substr(copied));
        rx_resize(result, used);
        return result;
    }
};

/// The text with both bytes replaced by a third.
rx_value exchange(std::string_view source, char one, char other, char by) {
    rx_value result = bu_string(source.size());
    char *out = rx_bytes(result);
    for (size_t i = 0; i < source.size(); i++) out[i] = source[i] == one || source[i] == other ? by : source[i];
    return result;
}

/// The new text before each byte and behind the last.
rx_value spread(std::string_view source, std::string_view fill) {
    rx_value result = rx_string(fill);
    for (char c : source) {
        bu_append(result, {&c, 1});
        bu_append(result, fill);
    }
    return result;
}

} // namespace

/// abbrev(info, abbrev, [length])
/// 1 when the second text is a beginning of the first and has at least `length` bytes (all of its own when omitted).
/// Result: number
/// Errors: 40 for a wrong count, a length that isn't whole and 0 or more
/// Example: abbrev('Print', 'Pri', 2) -> 1
rx_value bu_abbrev(const rx_expr *list) {
    bu_args args(list, "ABBREV", 2, 3, "must receive 2 or 3 arguments.");
    std::string_view info = args.text(0), abbrev = args.text(1);
    const char *complaint = "the third argument must be an integer.";
    size_t length = abbrev.size();
    if (args.given(2)) length = static_cast<size_t>(args.whole(2, BU_CAPPED, 0, complaint, complaint));
    return bu_number(abbrev.size() >= length && info.starts_with(abbrev) && (length == 0 || !abbrev.empty()));
}

/// change(string, old, new, [ignore])
/// The text with every occurrence of old replaced by new; with 1 as the last argument case is ignored. Where the end
/// of a replacement and what follows it make another occurrence that one is replaced too. An empty old text puts the
/// new one before each byte and at the end.
/// Result: string
/// Errors: 40 for a wrong count, a last argument that isn't 0 or 1
/// Example: change('banana', 'an', 'o') -> booa
rx_value bu_change(const rx_expr *list) {
    bu_args args(list, "CHANGE", 3, 4, "must receive 3 or 4 arguments.");
    bool ignore_case = args.flag(3);
    std::string_view source = args.text(0), old = args.text(1), fill = args.text(2);
    if (old.empty()) return fill.empty() ? rx_string(source) : spread(source, fill);
    if (old.size() == 1 && fill.size() == 1) {
        char found = old[0], by = fill[0];
        return ignore_case ? exchange(source, rx_lower_byte(found), rx_upper_byte(found), by)
                           : exchange(source, found, found, by);
    }
    if (!ignore_case) {
        changer change{source, fill, source, old, 0, {}};
        change.prepare(fill);
        return change.run();
    }
    std::string folded_source = rx_uppered(source), folded_old = rx_uppered(old);
    changer change{source, fill, folded_source, folded_old, 0, {}};
    change.prepare(rx_uppered(fill));
    return change.run();
}

/// compare(one, two, [pad])
/// 0 when the texts are equal, else the position of the first difference; the shorter text counts as padded.
/// Result: number
/// Errors: 40 for a wrong count, a pad that isn't one byte
/// Example: compare('abc', 'abd') -> 3
rx_value bu_compare(const rx_expr *list) {
    bu_args args(list, "COMPARE", 2, 3, "must receive 2 or 3 arguments.");
    char pad = args.pad(2);
    std::string_view shorter = args.text(0), longer = args.text(1);
    if (shorter.size() > longer.size()) std::swap(shorter, longer);
    size_t at = bu_mismatch(shorter, longer);
    if (at == shorter.size()) at = longer.find_first_not_of(pad, at);
    return bu_count(at == none ? 0 : at + 1);
}

/// index(haystack, needle, [start], [ignore])
/// The position of the needle's first occurrence, or 0. The start counts only in a call with three arguments; with 1
/// as the fourth argument case is ignored.
/// Result: number
/// Errors: 40 for a wrong count, a start that isn't whole and above 0, a fourth argument that isn't 0 or 1
/// Example: index('abcabc', 'b', 3) -> 5
rx_value bu_index(const rx_expr *list) {
    bu_args args(list, "INDEX", 2, 4, "must receive 2 or 3 arguments.");
    size_t start = args.count() == 3 ? args.position(2, BU_EXACT) : 1;
    bool ignore_case = args.flag(3);
    return position_of(args.text(1), args.text(0), start, ignore_case);
}

/// lastpos(needle, haystack, [start])
/// The position of the needle's last occurrence, or 0. With a start only the haystack's bytes up to there count.
/// Result: number
/// Errors: 40 for a wrong count, a start that isn't whole and above 0
/// Example: lastpos('b', 'abcabc', 4) -> 2
rx_value bu_lastpos(const rx_expr *list) {
    bu_args args(list, "LASTPOS", 2, 3, "must receive 2 or 3 arguments.");
    size_t start = args.position(2, BU_EXACT, none);
    std::string_view needle = args.text(0), haystack = args.text(1).substr(0, start);
    size_t found = needle.empty() ? none : bu_search_last(haystack, needle);
    return bu_count(found == none ? 0 : found + 1);
}

/// pos(needle, haystack, [start], [ignore])
/// The position of the needle's first occurrence at the start or behind it, or 0; with 1 as the fourth argument case
/// is ignored. An empty needle gives 0.
/// Result: number
/// Errors: 40 for a wrong count, a start that isn't whole and above 0, a fourth argument that isn't 0 or 1
/// Example: pos('B', 'abcabc', 3, 1) -> 5
rx_value bu_pos(const rx_expr *list) {
    bu_args args(list, "POS", 2, 4, "must receive 2 to 4 arguments.");
    size_t start = args.position(2, BU_EXACT);
    bool ignore_case = args.flag(3);
    return position_of(args.text(0), args.text(1), start, ignore_case);
}

/// verify(string, reference, [option], [start])
/// The position of the first byte that isn't in the reference (option N), or that is in it (M); 0 when there is none.
/// Result: number
/// Errors: 40 for a wrong count, another option, a start that isn't whole and above 0
/// Example: verify('12x4', '0123456789') -> 3
rx_value bu_verify(const rx_expr *list) {
    bu_args args(list, "VERIFY");
    args.expect(2, args.count(), 2, "needs at least 2 arguments.");
    args.expect(2, 5, 2, "up to 5 arguments allowed.");
    char option = args.option(2, 'n');
    if (option != 'm' && option != 'n') args.fail(2, "arguments 3 must be \"M\" or \"N\".");
    size_t start = 1;
    if (args.given(3)) {
        if (!rx_is_number(args.values[3])) args.fail(3, "argument 4 must be a whole number.");
        args.name = "TRUNC";
        start = args.position(3, BU_ROUNDED);
    }
    std::string_view text = args.text(0);
    std::array<bool, 256> reference = bytes_of(args.text(1));
    bool sought = option == 'm';
    for (size_t i = start - 1; i < text.size(); i++)
        if (reference[static_cast<unsigned char>(text[i])] == sought) return bu_count(i + 1);
    return bu_number(0);
}
