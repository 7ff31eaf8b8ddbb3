#include "values/regex.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <random>

namespace {

/// An atom of a random expression and how it may be repeated.
struct atom {
    std::string written;
    std::function<bool(std::string_view text, size_t at, bool ignore)> takes;
    size_t width;
    size_t least, most;
};

bool is_word(std::string_view text, size_t at) {
    return at < text.size() && (std::isalnum(static_cast<unsigned char>(text[at])) || text[at] == '_');
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

atom random_atom(std::mt19937 &random, bool last) {
    auto one = [](std::string written, auto takes) {
        return atom{std::move(written),
                    [takes](std::string_view text, size_t at, bool ignore) {
                        return at < text.size() && takes(text[at], ignore);
                    },
                    1, 1, 1};
    };
    atom made;
    switch (random() % 12) {
    case 0:
        return {"\\<", [](auto text, size_t at, bool) { return is_word(text, at) && (!at || !is_word(text, at - 1)); },
                0, 1, 1};
    case 1:
        return {"\\>", [](auto text, size_t at, bool) { return !is_word(text, at) && at && is_word(text, at - 1); }, 0,
                1, 1};
    case 2:
        if (last) return {"$", [](auto text, size_t at, bool) { return at == text.size(); }, 0, 1, 1};
        made = one("$", [](char c, bool) { return c == '$'; });
        break;
    case 3: made = one(".", [](char c, bool) { return c != 0; }); break;
    case 4: made = one("[^a-]", [](char c, bool) { return c != 'a' && c != '-'; }); break;
    case 5: made = one("[b-dA]", [](char c, bool) { return (c >= 'b' && c <= 'd') || c == 'A'; }); break;
    case 6: made = one("\\.", [](char c, bool) { return c == '.'; }); break;
    default: {
        char byte = "abcA"[random() % 4];
        made = one(std::string(1, byte),
                   [byte](char c, bool ignore) { return c == byte || (ignore && lower(c) == byte); });
    }
    }
    constexpr size_t many = 1000;
    switch (random() % 5) {
    case 0: return {made.written + "*", made.takes, 1, 0, many};
    case 1: return {made.written + "\\+", made.takes, 1, 1, many};
    case 2: return {made.written + "\\?", made.takes, 1, 0, 1};
    default: return made;
    }
}

/// Tries everything, greedy repeats first: where the match ends that begins at `at`.
std::optional<size_t> match_end(const std::vector<atom> &atoms, size_t i, std::string_view text, size_t at,
                                bool ignore) {
    if (i == atoms.size()) return at;
    const atom &each = atoms[i];
    if (each.width == 0) return each.takes(text, at, ignore) ? match_end(atoms, i + 1, text, at, ignore) : std::nullopt;
    size_t taken = 0;
    while (taken < each.most && each.takes(text, at + taken, ignore)) taken++;
    for (;; taken--) {
        if (taken < each.least) return std::nullopt;
        if (auto end = match_end(atoms, i + 1, text, at + taken, ignore)) return end;
        if (taken == 0) return std::nullopt;
    }
}

TEST(regex, both_matchers_find_what_trying_everything_finds) {
    std::mt19937 random(20240611);
    size_t found = 0;
    for (int round = 0; round < 60000; round++) {
        std::string pattern, text;
        bool anchored = random() % 8 == 0, ignore = random() % 2, grouped = random() % 4 == 0;
        std::vector<atom> atoms;
        size_t count = 1 + random() % 6;
        for (size_t i = 0; i < count; i++) atoms.push_back(random_atom(random, i + 1 == count && !grouped));
        if (anchored) pattern = "^";
        if (grouped) pattern += "\\(";
        for (const atom &each : atoms) pattern += each.written;
        if (grouped) pattern += "\\)";
        for (size_t length = random() % 12; length--;) text += "aabcdAB-$. \0"[random() % 12];
        size_t from = random() % 4 == 0 ? random() % (text.size() + 1) : 0;

        std::optional<re_range> expected;
        for (size_t start = from; start <= text.size() && !expected && !(anchored && start > 0); start++) {
            if (auto end = match_end(atoms, 0, text, start, ignore)) expected = re_range{start, *end - start};
        }
        found += expected.has_value();

        re_program program;
        ASSERT_EQ(re_compile(pattern, program), "") << pattern;
        for (unsigned long budget : {program.budget, 0ul, 1ul}) {
            // Without a budget the second matcher does all the work; with a small one it takes over on the way.
            program.budget = budget;
            re_range match;
            ASSERT_EQ(re_exec(program, text, from, ignore, match), expected.has_value()) << pattern << " | " << text;
            if (!expected) continue;
            ASSERT_EQ(match.start, expected->start) << pattern << " | " << text << " | " << from;
            ASSERT_EQ(match.length, expected->length) << pattern << " | " << text << " | " << from;
        }
    }
    ASSERT_GT(found, 15000u);
    ASSERT_LT(found, 50000u);
}

TEST(regex, exploding_patterns_end) {
    std::string text(20000, 'a'), pattern;
    for (int i = 0; i < 40; i++) pattern += "a*.*z*.\\?";
    re_program program;
    re_range match;
    ASSERT_EQ(re_compile(pattern + "b", program), "");
    EXPECT_FALSE(re_exec(program, text, 0, false, match));
    text += "ab";
    ASSERT_TRUE(re_exec(program, text, 0, false, match));
    EXPECT_EQ(match.start, 0u);
    EXPECT_EQ(match.length, text.size());
    // A long program on a long text needs no deep stack either.
    ASSERT_EQ(re_compile(std::string(300000, '.'), program), "");
    EXPECT_FALSE(re_exec(program, text, 0, true, match));
    ASSERT_EQ(re_compile(".*x", program), "");
    EXPECT_FALSE(re_exec(program, std::string(300000, 'y'), 0, true, match));
}

TEST(regex, special_characters_can_be_switched_off) {
    re_program program;
    re_range match;
    ASSERT_EQ(re_compile("a.[b]*\\.\\*", program, false), "");
    ASSERT_TRUE(re_exec(program, "xa.[b]*yzw", 0, false, match));
    EXPECT_EQ(match.start, 1u);
    EXPECT_EQ(match.length, 9u);
    EXPECT_FALSE(re_exec(program, "xabyzw", 0, false, match));
}

TEST(regex, wild_cards) {
    EXPECT_EQ(re_glob("a?b*.c"), "^a.b.*\\.c$");
    EXPECT_EQ(re_glob("x*"), "^x.*");
    EXPECT_EQ(re_glob("?"), "^.$");
    EXPECT_EQ(re_glob("$[^]\\"), "^\\$\\[\\^\\]\\\\$");
    EXPECT_EQ(re_glob(""), "^$");
    re_program program;
    re_range match;
    ASSERT_EQ(re_compile(re_glob("*.c?[1]"), program), "");
    EXPECT_TRUE(re_exec(program, "a\nb.cc[1]", 0, false, match));
    EXPECT_FALSE(re_exec(program, "ab.cc1", 0, false, match));
    EXPECT_FALSE(re_exec(program, "ab.cc[1]x", 0, false, match));
}

} // namespace
