// Taking texts apart into words and putting results together.
#pragma once

#include "builtins/arguments.h"
#include "platform/strings.h"

#include <algorithm>
#include <bit>
#include <cstring>

/// A part of a text: one of its words.
struct bu_span {
    size_t start = 0, length = 0;
    size_t end() const { return start + length; }
};

/// The first blank at `at` or behind, or the end of the text. Most words are so short that the library's search would
/// take longer to begin than to find: their end is looked for in eight bytes at once, then byte by byte.
inline size_t bu_blank_from(std::string_view text, size_t at) {
    if constexpr (std::endian::native == std::endian::little) {
        uint64_t bytes;
        if (text.size() - at >= sizeof bytes) {
            // A byte that is a blank becomes 0 and borrows from its upper bit; so may bytes above the first such one.
            constexpr uint64_t ones = 0x0101010101010101;
            std::memcpy(&bytes, text.data() + at, sizeof bytes);
            bytes ^= ones * ' ';
            uint64_t found = (bytes - ones) & ~bytes & ones << 7;
            if (found) return at + static_cast<size_t>(std::countr_zero(found)) / 8;
            at += sizeof bytes;
        }
    }
    size_t near_end = std::min(at + 8, text.size());
    while (at < near_end && text[at] != ' ') at++;
    if (at < near_end || at == text.size()) return at;
    const void *blank = std::memchr(text.data() + at, ' ', text.size() - at);
    return blank ? static_cast<size_t>(static_cast<const char *>(blank) - text.data()) : text.size();
}

/// The first word at `at` or behind; without one its start is the end of the text and its length 0. Only the blank
/// separates words.
inline bu_span bu_word_from(std::string_view text, size_t at) {
    while (at < text.size() && text[at] == ' ') at++;
    if (at >= text.size()) return {text.size(), 0};
    return {at, bu_blank_from(text, at) - at};
}

/// Calls `use(word)` with each word of the text, as long as it returns true.
template <class Use> void bu_each_word(std::string_view text, Use use) {
    for (bu_span word = bu_word_from(text, 0); word.length; word = bu_word_from(text, word.end()))
        if (!use(text.substr(word.start, word.length))) return;
}

/// Writes the parts of a result one behind the other.
struct bu_writer {
    char *at;

    explicit bu_writer(rx_value &result) : at(rx_bytes(result)) {}
    void put(std::string_view text) {
        rx_copy_bytes(at, text.data(), text.size());
        at += text.size();
    }
    void fill(size_t count, char pad) {
        if (count == 1)
            *at = pad;
        else
            std::memset(at, pad, count);
        at += count;
    }
    /// The text in exactly `length` bytes: cut or padded at the right.
    void put_in(std::string_view text, size_t length, char pad) {
        put(text.substr(0, length));
        if (length > text.size()) fill(length - text.size(), pad);
    }
};

/// The two texts joined.
inline rx_value bu_join(std::string_view head, std::string_view tail) {
    rx_value result = bu_string(head.size() + tail.size());
    bu_writer out(result);
    out.put(head);
    out.put(tail);
    return result;
}

/// The rest of the text from a position (from 0); empty behind its end.
inline std::string_view bu_behind(std::string_view text, size_t position) {
    return text.substr(std::min(position, text.size()));
}
