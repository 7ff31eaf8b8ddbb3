#include "values/regex.h"

#include "platform/strings.h"

#include <cstring>

namespace {

// ---- the compiler ---------------------------------------------------------------------------------------------------

constexpr size_t most_classes = 10, most_groups = 9;

constexpr std::string_view repeats_nothing = "* or \\+ or \\? follows nothing";
constexpr std::string_view repeats_no_atom = "* or \\+ or \\? can only follow a normal character or . or []";
constexpr std::string_view repeats_repeat = "* or \\+ or \\? doubled up";
constexpr std::string_view open_group = "Not enough \\)s";
constexpr std::string_view backwards_span = "Backwards span in []";
constexpr std::string_view open_class = "] missing";
constexpr std::string_view too_many_groups = "Too many \\(s";
constexpr std::string_view unopened_group = "Mismatched \\)";
constexpr std::string_view too_many_classes = "Too many []s";

struct compiler {
    std::string_view pattern;
    re_program &program;
    bool special;
    size_t at = 0;
    size_t groups = 0, open_groups = 0;
    enum { nothing, atom, repeat, other } before = nothing; ///< what stands in front
    std::string_view error = {};

    void add(re_kind kind, unsigned char value = 0) {
        program.steps.push_back({kind, RE_ONCE, value});
        before = kind <= RE_CLASS ? atom : other;
    }

    void add_repeat(char mark) {
        if (before != atom) {
            error = before == nothing ? repeats_nothing : before == repeat ? repeats_repeat : repeats_no_atom;
            return;
        }
        if (mark == '+') program.steps.push_back(program.steps.back());
        program.steps.back().repeat = mark == '?' ? RE_OPTIONAL : RE_ANY_COUNT;
        before = repeat;
    }

    void add_group(char mark) {
        before = other;
        if (mark == '(') {
            if (groups == most_groups) error = too_many_groups;
            groups++;
            open_groups++;
        } else if (open_groups == 0) {
            error = unopened_group;
        } else {
            open_groups--;
        }
    }

    /// Reads a class from behind its "[".
    void add_class() {
        if (program.classes.size() == most_classes) {
            error = too_many_classes;
            return;
        }
        re_class members{};
        bool negated = at < pattern.size() && pattern[at] == '^';
        if (negated) at++;
        while (at < pattern.size() && pattern[at] != ']') {
            int low = static_cast<signed char>(pattern[at++]), high = low;
            if (at + 1 < pattern.size() && pattern[at] == '-' && pattern[at + 1] != ']') {
                high = static_cast<signed char>(pattern[at + 1]);
                at += 2;
            }
            if (low > high) {
                error = backwards_span;
                return;
            }
            for (int byte = low; byte <= high; byte++) members[static_cast<unsigned char>(byte)] = true;
        }
        if (at == pattern.size()) {
            error = open_class;
            return;
        }
        at++;
        for (bool &member : members) member = member != negated;
        program.classes.push_back(members);
        add(RE_CLASS, static_cast<unsigned char>(program.classes.size() - 1));
    }

    void add_escaped(char c) {
        if (c == '(' || c == ')') return add_group(c);
        if (c == '+' || c == '?') return add_repeat(c);
        if (c == '<') return add(RE_WORD_START);
        if (c == '>') return add(RE_WORD_END);
        if (!special && c == '.') return add(RE_ANY);
        if (!special && c == '*') return add_repeat(c);
        add(RE_BYTE, static_cast<unsigned char>(c));
    }

    void add_next() {
        char c = pattern[at++];
        if (c == '\\' && at < pattern.size()) return add_escaped(pattern[at++]);
        if (c == '$' && at == pattern.size()) return add(RE_TEXT_END);
        if (special && c == '.') return add(RE_ANY);
        if (special && c == '*') return add_repeat(c);
        if (special && c == '[') return add_class();
        add(RE_BYTE, static_cast<unsigned char>(c));
    }

    void run() {
        program.steps.clear();
        if (pattern.starts_with('^')) {
            program.anchored = true;
            at = 1;
        }
        while (at < pattern.size() && error.empty()) add_next();
        if (error.empty() && open_groups) error = open_group;
        program.steps.push_back({RE_MATCH});
    }
};

bool is_test(re_kind kind) {
    return kind == RE_WORD_START || kind == RE_WORD_END || kind == RE_TEXT_END;
}

void add_first_bytes(const re_step &step, re_program &program) {
    if (step.kind == RE_BYTE) {
        program.first[step.value] = program.first_nocase[step.value] = true;
        if (step.value >= 'a' && step.value <= 'z') program.first_nocase[step.value - 32u] = true;
        return;
    }
    for (unsigned byte = 0; byte < 256; byte++) {
        if (step.kind == RE_ANY ? byte == 0 : !program.classes[step.value][byte]) continue;
        program.first[byte] = program.first_nocase[byte] = true;
    }
}

/// Finds out what can be said of every match.
void learn(re_program &program) {
    bool leading = true;
    for (const re_step &step : program.steps) {
        bool taken = !is_test(step.kind) && step.kind != RE_MATCH;
        if (leading && taken) add_first_bytes(step, program);
        if (!taken || step.repeat != RE_ONCE) continue;
        leading = false;
        program.min_length++;
    }
    program.can_be_empty = leading;
    const re_step *step = program.steps.data();
    while (is_test(step->kind)) step++;
    for (; step->kind == RE_BYTE && step->repeat == RE_ONCE; step++) program.prefix += static_cast<char>(step->value);
}

// ---- the matchers ---------------------------------------------------------------------------------------------------

bool is_word_byte(unsigned char c) {
    return rx_is_letter(static_cast<char>(c)) || rx_is_digit(static_cast<char>(c)) || c == '_';
}

unsigned char lower_of(unsigned char c) {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
}

using position = const unsigned char *;

struct search {
    const re_program &program;
    position begin, end;
    bool ignore_case;

    bool takes(const re_step &step, unsigned char c) const {
        switch (step.kind) {
        case RE_BYTE: return c == step.value || (ignore_case && lower_of(c) == step.value);
        case RE_ANY: return c != 0;
        default: return program.classes[step.value][c];
        }
    }

    bool holds(re_kind kind, position at) const {
        bool before = at > begin && is_word_byte(at[-1]), behind = at < end && is_word_byte(*at);
        switch (kind) {
        case RE_WORD_START: return behind && !before;
        case RE_WORD_END: return before && !behind;
        default: return at == end;
        }
    }

    /// The first place at `at` or behind where a match can begin; null when there is none.
    position candidate(position at) const {
        if (static_cast<size_t>(end - at) < program.min_length) return nullptr;
        size_t left = static_cast<size_t>(end - at);
        if (!ignore_case && !program.prefix.empty()) {
            const std::string &prefix = program.prefix;
            return static_cast<position>(prefix.size() == 1 ? std::memchr(at, prefix[0], left)
                                                            : ::memmem(at, left, prefix.data(), prefix.size()));
        }
        if (program.can_be_empty) return at;
        const re_class &first = ignore_case ? program.first_nocase : program.first;
        while (at < end && !first[*at]) at++;
        return static_cast<size_t>(end - at) < program.min_length ? nullptr : at;
    }

    /// Behind the last of the bytes from `at` on that a repeated step takes.
    position run_of(const re_step &step, position at) const {
        position limit = step.repeat == RE_OPTIONAL && at < end ? at + 1 : end;
        if (step.kind == RE_ANY) {
            const void *nul = std::memchr(at, 0, static_cast<size_t>(limit - at));
            return nul ? static_cast<position>(nul) : limit;
        }
        while (at < limit && takes(step, *at)) at++;
        return at;
    }
};

enum class outcome { found, none, exhausted };

/// The matcher that takes as much as it can and gives back.
struct backtracker {
    const search &in;
    size_t budget;

    /// A repeat that can give back: where the walk goes on behind it, from `at` down to `least`.
    struct choice {
        size_t step;
        position least, at;
    };
    std::vector<choice> choices = {};

    outcome run(position start, position &finish) {
        const std::vector<re_step> &steps = in.program.steps;
        choices.clear();
        position at = start;
        for (size_t number = 0;;) {
            const re_step &step = steps[number];
            if (step.kind == RE_MATCH) {
                finish = at;
                return outcome::found;
            }
            bool passed = true;
            if (is_test(step.kind)) {
                passed = in.holds(step.kind, at);
            } else if (step.repeat == RE_ONCE) {
                passed = at < in.end && in.takes(step, *at);
                at += passed;
            } else {
                position far = in.run_of(step, at);
                if (!spend(static_cast<size_t>(far - at))) return outcome::exhausted;
                if (far > at) choices.push_back({number + 1, at, far});
                at = far;
            }
            number++;
            if (passed) continue;
            if (!give_back(number, at)) return outcome::none;
            if (!spend(1)) return outcome::exhausted;
        }
    }

private:
    bool spend(size_t steps) {
        if (steps > budget) return false;
        budget -= steps;
        return true;
    }

    bool give_back(size_t &number, position &at) {
        if (choices.empty()) return false;
        choice &last = choices.back();
        at = --last.at;
        number = last.step;
        if (last.at == last.least) choices.pop_back();
        return true;
    }
};

/// The matcher that is in all states at a time.
struct simulator {
    const search &in;

    struct thread {
        size_t step;
        position start;
    };
    std::vector<thread> now = {}, next = {};
    std::vector<position> seen = {}; ///< where each step was entered last

    bool run(position at, bool one_start, re_range &match) {
        seen.assign(in.program.steps.size(), nullptr);
        bool found = false, may_start = true;
        for (;; at++) {
            if (!found && may_start && now.empty() && !one_start && !(at = in.candidate(at))) return false;
            if (!found && may_start) enter(now, 0, at, at);
            may_start = !one_start;
            for (const thread &each : now) {
                const re_step &step = in.program.steps[each.step];
                if (step.kind == RE_MATCH) {
                    match = {static_cast<size_t>(each.start - in.begin), static_cast<size_t>(at - each.start)};
                    found = true;
                    break;
                }
                if (at < in.end && in.takes(step, *at))
                    enter(next, each.step + (step.repeat != RE_ANY_COUNT), each.start, at + 1);
            }
            now.swap(next);
            next.clear();
            if (at == in.end || (now.empty() && (found || !may_start))) return found;
        }
    }

private:
    /// Adds the steps that can be reached from one without taking a byte, in the order of the attempts.
    void enter(std::vector<thread> &threads, size_t number, position start, position at) {
        for (;; number++) {
            if (seen[number] == at) return;
            seen[number] = at;
            const re_step &step = in.program.steps[number];
            if (is_test(step.kind)) {
                if (!in.holds(step.kind, at)) return;
                continue;
            }
            threads.push_back({number, start});
            if (step.repeat == RE_ONCE) return;
        }
    }
};

} // namespace

std::string_view re_compile(std::string_view pattern, re_program &program, bool special) {
    program = re_program{};
    compiler work{pattern.substr(0, pattern.find('\0')), program, special};
    work.run();
    if (work.error.empty()) learn(program);
    return work.error;
}

bool re_exec(const re_program &program, std::string_view text, size_t from, bool ignore_case, re_range &match) {
    if (from > text.size() || (program.anchored && from > 0)) return false;
    if (!text.data()) text = "";
    position begin = reinterpret_cast<position>(text.data());
    search in{program, begin, begin + text.size(), ignore_case};
    backtracker attempt{in, program.budget * (text.size() - from) + (program.budget << 10)};
    for (position at = begin + from; program.anchored || (at = in.candidate(at)); at++) {
        position finish;
        switch (attempt.run(at, finish)) {
        case outcome::found: match = {static_cast<size_t>(at - begin), static_cast<size_t>(finish - at)}; return true;
        case outcome::exhausted: return simulator{in}.run(at, program.anchored, match);
        case outcome::none: break;
        }
        if (program.anchored || at == in.end) return false;
    }
    return false;
}

std::string re_glob(std::string_view wildcard) {
    std::string pattern = "^";
    for (char c : wildcard) {
        if (c == '*') {
            pattern += ".*";
        } else if (c == '?') {
            pattern += '.';
        } else {
            if (std::string_view("$.[\\]^").find(c) != std::string_view::npos) pattern += '\\';
            pattern += c;
        }
    }
    if (!wildcard.ends_with('*')) pattern += '$';
    return pattern;
}
