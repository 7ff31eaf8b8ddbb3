// Regular expressions: a compiler to a program and a matcher.
//
// An expression is a row of atoms, each of which takes exactly one byte (a byte, `.`, a class), may be repeated by
// `*`, `\+` or `\?`, and stands between tests that take none (`\<`, `\>`, `$`). Groups are checked for their balance
// and leave nothing behind: nothing can ask where a group matched, and a group can't be repeated. There are no
// alternatives. So a program is a plain row of steps; `a\+` becomes the two steps `a` and `a*`.
//
// The result of a search is the first match of a matcher that tries each start in turn and, there, takes as much as it
// can for each repeat and gives it back byte by byte. Written down like that it takes a time that explodes with the
// count of repeats. So it has a budget of steps, in proportion to the length of the text; when that is used up, a
// second matcher goes on at the start that was reached. It walks the text once, with all states that the first one
// could be in at a time, in the order in which the first one would try them, and so gives the same result in a time
// that is at most the product of both lengths.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum re_kind : uint8_t {
    RE_BYTE,       ///< that byte; without regard to case also its capital in the text
    RE_ANY,        ///< any byte but NUL
    RE_CLASS,      ///< a byte of the class, whatever its case
    RE_WORD_START, ///< a word byte (ASCII letter, digit, "_") follows and none precedes
    RE_WORD_END,   ///< a word byte precedes and none follows
    RE_TEXT_END,   ///< nothing follows
    RE_MATCH       ///< the end of the program
};
enum re_repeat : uint8_t { RE_ONCE, RE_OPTIONAL, RE_ANY_COUNT };

struct re_step {
    re_kind kind;
    re_repeat repeat = RE_ONCE;
    unsigned char value = 0; ///< the byte, or the number of the class
};

/// A set of bytes.
using re_class = std::array<bool, 256>;

/// A compiled expression. Value-initialised it matches the empty text.
struct re_program {
    std::vector<re_step> steps{{RE_MATCH}};
    std::vector<re_class> classes;
    bool anchored = false;     ///< only matches at the start of the text
    bool can_be_empty = true;  ///< nothing is known of a match's first byte
    size_t min_length = 0;     ///< bytes that every match has
    std::string prefix;        ///< bytes that every match begins with, when case counts
    re_class first{};          ///< what the first byte of a match can be,
    re_class first_nocase{};   ///< and without regard to case
    unsigned long budget = 16; ///< steps of the first matcher for each byte of the text
};

/// Compiles a pattern, which ends at its first NUL. Returns nothing, or the text of the error; the program is then
/// one that must not be used. With `special` off, `.`, `*` and `[` are plain bytes, and `\.` and `\*` take on their
/// meanings.
std::string_view re_compile(std::string_view pattern, re_program &program, bool special = true);

/// The range of a match.
struct re_range {
    size_t start = 0, length = 0;
};

/// Searches a text from an offset on; an anchored expression only matches when that is 0. False without a match. The
/// bytes in front of the offset count for `\<` and `\>`.
bool re_exec(const re_program &program, std::string_view text, size_t from, bool ignore_case, re_range &match);

/// The expression of a file-name wild card: "*" any bytes, "?" one byte.
std::string re_glob(std::string_view wildcard);
