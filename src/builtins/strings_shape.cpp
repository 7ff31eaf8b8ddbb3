// String functions that cut, pad and put together.
#include "builtins/handlers.h"
#include "builtins/pieces.h"

#include <algorithm>

namespace {

/// A comma before every group of three bytes from the right.
rx_value with_commas(std::string_view text) {
    if (text.empty()) return rx_string(text);
    size_t head = (text.size() - 1) % 3 + 1;
    rx_value result = bu_string(text.size() + (text.size() - 1) / 3);
    bu_writer out(result);
    out.put(text.substr(0, head));
    for (size_t at = head; at < text.size(); at += 3) {
        out.fill(1, ',');
        out.put(text.substr(at, 3));
    }
    return result;
}

/// The words of a text that a first walk counts, because the length of the result depends on them, and a second one
/// puts there. The first few needn't be found again.
struct counted_words {
    static constexpr size_t few = 16;
    size_t count = 0, bytes = 0;
    const char *starts[few]; // apart from the lengths: a view as a whole would wait for its two halves to be stored
    size_t lengths[few];

    void add(std::string_view word) {
        if (count < few) {
            starts[count] = word.data();
            lengths[count] = word.size();
        }
        count++;
        bytes += word.size();
    }

    /// Calls `use(word)` with each word, as long as it returns true.
    template <class Use> void each_again(std::string_view text, Use use) const {
        for (size_t i = 0; i < std::min(count, few); i++)
            if (!use(std::string_view(starts[i], lengths[i]))) return;
        if (count <= few) return;
        const char *behind = starts[few - 1] + lengths[few - 1];
        bu_each_word(text.substr(static_cast<size_t>(behind - text.data())), use);
    }
};

} // namespace

/// center(string, length, [pad]), also centre
/// The text in the middle of `length` bytes. A longer text loses bytes on both sides, a shorter one is padded; where
/// the sides can't be equal the left one loses or gets the smaller part.
/// Result: string
/// Errors: 40 for a wrong count, a length that isn't whole and 0 or more, a pad that isn't one byte
/// Example: center('ab', 7, '.') -> ..ab...
rx_value bu_center(const rx_expr *list) {
    bu_args args(list, "CENTER", 2, 3, "must receive 2 or 3 arguments.");
    const char *complaint = "the second argument must be a positive integer.";
    size_t length = static_cast<size_t>(std::min(args.whole(1, BU_EXACT, 0, complaint, complaint), 1e15));
    char pad = args.pad(2);
    std::string_view text = args.text(0);
    if (length <= text.size()) return rx_string(text.substr((text.size() - length) / 2, length));
    rx_value result = bu_string(length);
    bu_writer out(result);
    size_t missing = length - text.size();
    out.fill(missing / 2, pad);
    out.put_in(text, length - missing / 2, pad);
    return result;
}

/// comma(string)
/// The text with a comma before every group of three bytes from the right, when it is longer than 6 bytes; no test
/// that it is a number.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: comma(1234567) -> 1,234,567
rx_value bu_comma(const rx_expr *list) {
    bu_args args(list, "COMMA", 1, 1, "must receive 1 argument.");
    return args.text(0).size() > 6 ? with_commas(args.text(0)) : args.take_text(0);
}

/// copies(string, count)
/// The text repeated.
/// Result: string
/// Errors: 40 for a wrong count of arguments, a count that isn't whole and 0 or more; 5 for a result above 1 GiB
/// Example: copies('ab', 3) -> ababab
rx_value bu_copies(const rx_expr *list) {
    bu_args args(list, "COPIES", 2, 2, "must receive 2 arguments.");
    size_t count = static_cast<size_t>(
        args.whole(1, BU_CAPPED, 0, "argument 2 must be an integer", "argument 2 must be a positive integer"));
    std::string_view text = args.text(0);
    rx_value result = bu_string(text.size() * count);
    bu_writer out(result);
    if (text.size() == 1) {
        out.fill(count, text[0]);
    } else if (result.length) {
        out.put(text);
        // Double what is there as often as it fits.
        std::string_view done(rx_bytes(result), text.size());
        while (done.size() * 2 <= result.length) {
            out.put(done);
            done = {done.data(), done.size() * 2};
        }
        out.put(done.substr(0, result.length - done.size()));
    }
    return result;
}

/// delstr(string, position, [length])
/// The text without `length` bytes from the position on; without a length the rest goes.
/// Result: string
/// Errors: 40 for a wrong count, a position that isn't whole and above 0, a length that isn't whole and 0 or more
/// Example: delstr('abcdef', 3, 2) -> abef
rx_value bu_delstr(const rx_expr *list) {
    bu_args args(list, "DELSTR", 2, 3, "must receive 2 or 3 arguments.");
    size_t from = args.position(1, BU_CAPPED | BU_INTEGER) - 1;
    size_t length = args.size(2, BU_CAPPED | BU_INTEGER, rx_longest_text);
    std::string_view text = args.text(0);
    return bu_join(text.substr(0, from), bu_behind(text, from + length));
}

/// fwc(string)
/// The text with a comma before every group of three bytes from the right, whatever the bytes are.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: fwc('-1234') -> -1,234
rx_value bu_fwc(const rx_expr *list) {
    bu_args args(list, "FWC");
    args.expect(1, 1, 0, "needs 1 argument.");
    return with_commas(args.text(0));
}

/// insert(new, target, [n], [length], [pad])
/// The target with `length` bytes of the new text behind its first n bytes; a target shorter than n is padded.
/// Result: string
/// Errors: 40 for a wrong count, an n or a length that isn't whole and 0 or more, a pad that isn't one byte
/// Example: insert('new', 'abcd', 2, 4, '.') -> abnew.cd
rx_value bu_insert(const rx_expr *list) {
    bu_args args(list, "INSERT", 2, 5, "must receive between 2 and 5 arguments.");
    size_t n = args.size(2, BU_ROUNDED);
    std::string_view piece = args.text(0), target = args.text(1);
    size_t length = args.size(3, BU_ROUNDED, piece.size());
    char pad = args.pad(4);
    std::string_view tail = bu_behind(target, n);
    rx_value result = bu_string(n + length + tail.size());
    bu_writer out(result);
    out.put_in(target, n, pad);
    out.put_in(piece, length, pad);
    out.put(tail);
    return result;
}

/// justify(string, length, [pad])
/// The words of the text spread over `length` bytes; the gaps are filled with the pad, the left ones first. Words that
/// don't fit are cut or left out, a single word is padded at the right.
/// Result: string
/// Errors: 40 for a wrong count, a length that isn't whole and 0 or more, a pad that isn't one byte
/// Example: justify('a b c', 8, '.') -> a...b..c
rx_value bu_justify(const rx_expr *list) {
    bu_args args(list, "JUSTIFY", 2, 3, "must receive 2 or 3 arguments.");
    size_t length = args.size(1, BU_ROUNDED);
    char pad = args.pad(2);
    std::string_view text = args.text(0);
    rx_value result = bu_string(length);
    // What is kept: words as long as a byte of the next one fits behind its blank.
    counted_words kept;
    size_t used = 0;
    bu_each_word(text, [&](std::string_view word) {
        size_t from = used + (kept.count ? 1 : 0);
        if (from >= length) return false;
        kept.add(word.substr(0, length - from));
        used = from + std::min(word.size(), length - from);
        return true;
    });
    size_t gaps = kept.count > 1 ? kept.count - 1 : 0, room = length - kept.bytes, bytes = kept.bytes, i = 0;
    size_t gap = gaps ? room / gaps : 0, longer = gaps ? room % gaps : 0;
    bu_writer out(result);
    kept.each_again(text, [&](std::string_view word) {
        if (i == kept.count) return false;
        out.put(word.substr(0, bytes));
        bytes -= std::min(bytes, word.size());
        if (i < gaps) out.fill(gap + (i < longer ? 1 : 0), pad);
        i++;
        return true;
    });
    if (!gaps) out.fill(room, pad);
    return result;
}

/// left(string, length, [pad])
/// The first `length` bytes of the text, padded at the right.
/// Result: string
/// Errors: 40 for a wrong count, a length that isn't whole and 0 or more, a pad that isn't one byte
/// Example: left('abc', 5, '.') -> abc..
rx_value bu_left(const rx_expr *list) {
    bu_args args(list, "LEFT", 2, 3, "must receive 2 or 3 arguments.");
    size_t length = args.size(1, BU_ROUNDED);
    char pad = args.pad(2);
    rx_value result = bu_string(length);
    bu_writer(result).put_in(args.text(0), length, pad);
    return result;
}

/// length(string)
/// The count of bytes of the text.
/// Result: number
/// Errors: 40 for a wrong count
/// Example: length('a b ') -> 4
rx_value bu_length(const rx_expr *list) {
    bu_args args(list, "LENGTH", 1, 1, "must receive 1 argument.");
    return bu_count(args.text(0).size());
}

/// overlay(new, target, [n], [length], [pad])
/// The target with the bytes from n on replaced by `length` bytes of the new text; either is padded where it is short.
/// Result: string
/// Errors: 40 for a wrong count, an n that isn't whole and above 0, a length that isn't whole and 0 or more, a pad that
/// isn't one byte
/// Example: overlay('xy', 'abcdef', 3) -> abxyef
rx_value bu_overlay(const rx_expr *list) {
    bu_args args(list, "OVERLAY", 2, 5, "must receive between 2 and 5 arguments.");
    size_t from = args.position(2, BU_ROUNDED) - 1;
    std::string_view piece = args.text(0), target = args.text(1);
    size_t length = args.size(3, BU_ROUNDED, piece.size());
    char pad = args.pad(4);
    rx_value result = bu_string(std::max(target.size(), from + length));
    bu_writer out(result);
    out.put_in(target, from, pad);
    out.put_in(piece, length, pad);
    out.put(bu_behind(target, from + length));
    return result;
}

/// reverse(string)
/// The bytes of the text from the last to the first.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: reverse('abc') -> cba
rx_value bu_reverse(const rx_expr *list) {
    bu_args args(list, "REVERSE", 1, 1, "must receive 1 argument.");
    std::string_view text = args.text(0);
    rx_value result = bu_string(text.size());
    char *out = rx_bytes(result);
    size_t left = text.size();
    for (; left >= sizeof(uint64_t); left -= sizeof(uint64_t)) {
        uint64_t bytes;
        std::memcpy(&bytes, text.data() + left - sizeof bytes, sizeof bytes);
        bytes = __builtin_bswap64(bytes);
        std::memcpy(out, &bytes, sizeof bytes);
        out += sizeof bytes;
    }
    while (left) *out++ = text[--left];
    return result;
}

/// right(string, length, [pad])
/// The last `length` bytes of the text, padded at the left.
/// Result: string
/// Errors: 40 for a wrong count, a length that isn't whole and 0 or more, a pad that isn't one byte
/// Example: right(7, 3, 0) -> 007
rx_value bu_right(const rx_expr *list) {
    bu_args args(list, "RIGHT", 2, 3, "must receive 2 or 3 arguments.");
    size_t length = args.size(1, BU_ROUNDED);
    char pad = args.pad(2);
    std::string_view text = args.text(0);
    if (text.size() >= length) return rx_string(text.substr(text.size() - length));
    rx_value result = bu_string(length);
    bu_writer out(result);
    out.fill(length - text.size(), pad);
    out.put(text);
    return result;
}

/// space(string, [n], [pad])
/// The words of the text with n pads between them.
/// Result: string
/// Errors: 40 for a wrong count, an n that isn't whole and 0 or more, a pad that isn't one byte
/// Example: space('  a  b c ', 2, '.') -> a..b..c
rx_value bu_space(const rx_expr *list) {
    bu_args args(list, "SPACE", 1, 3, "must receive 1 to 3 arguments.");
    size_t n = args.size(1, BU_ROUNDED, 1);
    char pad = args.pad(2);
    std::string_view text = args.text(0);
    counted_words words;
    bu_each_word(text, [&](std::string_view word) {
        words.add(word);
        return true;
    });
    if (words.count > 1 && n > bu_longest_result) rx_raise(5);
    rx_value result = bu_string(words.bytes + (words.count > 1 ? n * (words.count - 1) : 0));
    bu_writer out(result);
    size_t left = words.count;
    words.each_again(text, [&](std::string_view word) {
        out.put(word);
        if (--left) out.fill(n, pad);
        return left > 0;
    });
    return result;
}

/// strip(string, [option], [pad])
/// The text without the pads at its beginning (option L), its end (T) or both (B).
/// Result: string
/// Errors: 40 for a wrong count, another option, a pad that isn't one byte
/// Example: strip('007', 'L', 0) -> 7
rx_value bu_strip(const rx_expr *list) {
    bu_args args(list, "STRIP", 1, 3, "must receive 1 to 3 arguments.");
    char option = args.option(1, 'b');
    if (option != 'b' && option != 'l' && option != 't') args.fail(1, "argument 3 must be L|T|B.");
    char pad = args.pad(2);
    std::string_view text = args.text(0);
    if (option != 't') text = bu_behind(text, text.find_first_not_of(pad));
    if (option != 'l') text = text.substr(0, text.find_last_not_of(pad) + 1);
    return rx_string(text);
}

/// substr(string, position, [length], [pad])
/// The bytes of the text from the position on, padded at the right to `length`; without a length up to its end.
/// Result: string
/// Errors: 40 for a wrong count, a position that isn't whole and above 0, a length that isn't whole and 0 or more, a
/// length of 2147483646 or more, a pad that isn't one byte
/// Example: substr('abcdef', 5, 4, '.') -> ef..
rx_value bu_substr(const rx_expr *list) {
    bu_args args(list, "SUBSTR", 2, 4, "must receive 2 to 4 arguments.");
    size_t from = args.position(1, BU_ROUNDED) - 1;
    size_t length = args.size(2, BU_ROUNDED);
    if (length >= 2147483646) args.fail(2, "Overflow on argument 3.");
    char pad = args.pad(3);
    std::string_view text = bu_behind(args.text(0), from);
    if (!args.given(2)) return rx_string(text);
    rx_value result = bu_string(length);
    bu_writer(result).put_in(text, length, pad);
    return result;
}
