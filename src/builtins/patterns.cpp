// REGCOMP, REGEXEC, RCHANGE: the regular expressions of values/regex.h at the hands of scripts.
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "values/regex.h"

#include <unordered_map>

namespace {

struct pattern_state {
    std::unordered_map<double, re_program> compiled; ///< by handle
    std::string last;                                ///< what an empty pattern stands for
};
rx_run_local<pattern_state> patterns;

std::string_view compile(std::string_view pattern, re_program &program) {
    pattern = pattern.substr(0, pattern.find('\0'));
    if (!pattern.empty()) patterns->last = pattern;
    if (patterns->last.empty()) return "No previous RE";
    return re_compile(patterns->last, program);
}

double handle_argument(bu_args &args, size_t i) {
    const char *complaint = "argument 2 must be a positive integer.";
    double handle = rx_round_digits(args.number(i, complaint, 41), 9);
    if (!(handle >= 0) || !rx_is_whole(handle)) args.fail(i, complaint, 41);
    return handle;
}

/// Replaces the matches of a pattern one after the other. The position of a match counts from where its search began
/// and is used from the start of the text all the same, so that from the second match on bytes are taken from the
/// front; programs are written for that. It can go round in circles, or grow forever.
struct replacer {
    std::string text;
    std::string_view replacement;
    const re_program &program;
    bool ignore_case;
    size_t offset = 0; ///< where the next search begins

    /// False when it doesn't end.
    bool run() {
        // A state that was there before comes again and again. One old state is kept, and renewed after 1, 2, 4, 8, ...
        // steps: once both it and the steps between are far enough, a circle is found.
        std::string old_text;
        size_t old_offset = 0;
        double moved = 0;
        const double most_moved = 4e9 + 4096.0 * static_cast<double>(text.size());
        for (size_t steps = 0, renewal = 1; step(); steps++) {
            if (steps && offset == old_offset && text == old_text) return false;
            if (steps + 1 == renewal) {
                renewal *= 2;
                old_text = text;
                old_offset = offset;
            }
            moved += 1024 + static_cast<double>(text.size());
            if (moved > most_moved || text.size() > bu_longest_result) return false;
        }
        return true;
    }

private:
    /// One replacement; false when it was the last or there was none.
    bool step() {
        re_range match;
        if (!re_exec(program, text, offset, ignore_case, match)) return false;
        size_t place = match.start - offset;
        text.replace(place, match.length, replacement);
        offset = place + replacement.size();
        return offset < text.size();
    }
};

} // namespace

/// rchange(string, pattern, new, [ignore])
/// The string with the matches of a regular expression replaced by a text, which stands for itself. Each search begins
/// behind the replacement before it; the place that it finds counts from there but is used from the start of the
/// string. With 1 as the last argument capitals of the string match the small letters of the pattern.
/// Result: string
/// Errors: 40 for a wrong count, a flag that isn't 0 or 1, a pattern that is none, replacements that never end
/// Example: rchange('size 1024k', '[0-9]\+', '2') -> size 2k
rx_value bu_rchange(const rx_expr *list) {
    bu_args args(list, "RCHANGE", 3, 4, "must receive 3 to 4 arguments.");
    bool ignore = false;
    if (args.given(3)) {
        double flag = args.number(3, "argument 4 must be 0 or 1");
        if (flag != 0 && flag != 1) args.fail(3, "argument 4 must be 0 or 1");
        ignore = flag == 1;
    }
    re_program program;
    if (!compile(args.text(1), program).empty()) args.fail(1, "Invalid regular expression.");
    replacer work{std::string(args.text(0)), args.text(2), program, ignore};
    if (!work.run()) args.fail(0, "the replacement does not end.");
    return rx_string(work.text);
}

/// regcomp(pattern, handle)
/// Compiles a regular expression for REGEXEC. The handle is a number that the program chooses; what was compiled under
/// it before is forgotten. An empty pattern stands for the last one. Special are `.`, `*`, `\+`, `\?`, `[...]`, `^` at
/// the start, `$` at the end, `\(`, `\)`, `\<` and `\>`.
/// Result: number: 0, or the text of the error in the pattern
/// Errors: 40 for a wrong count; 41 for a handle that isn't whole or negative
/// Example: regcomp('a**', 1) -> * or \+ or \? doubled up
rx_value bu_regcomp(const rx_expr *list) {
    bu_args args(list, "REGCOMP", 2, 2, "must receive 2 arguments.");
    double handle = handle_argument(args, 1);
    patterns->compiled.erase(handle);
    re_program program;
    std::string_view error = compile(args.text(0), program);
    if (!error.empty()) return rx_string(error);
    patterns->compiled[handle] = std::move(program);
    return bu_number(0);
}

/// regexec(string, handle, [case])
/// Where the first match of a compiled regular expression begins; 0 when there is none or nothing was compiled under
/// the handle. The case counts (R) or doesn't (I): then capitals of the string match the small letters of the pattern.
/// Result: number
/// Errors: 40 for a wrong count, a case that doesn't begin with I or R; 41 for a handle that isn't whole or negative
/// Example: call regcomp '[0-9]*\.c$', 5; regexec('file12.c', 5) -> 5
rx_value bu_regexec(const rx_expr *list) {
    bu_args args(list, "REGEXEC", 2, 3, "must receive 2 or 3 arguments.");
    double handle = handle_argument(args, 1);
    char mode = args.option(2, 'r');
    if (mode != 'i' && mode != 'r') args.fail(2, "argument 3 must be \"Ignore\" or \"Respect\".");
    auto found = patterns->compiled.find(handle);
    re_range match;
    if (found == patterns->compiled.end() || !re_exec(found->second, args.text(0), 0, mode == 'i', match))
        return bu_number(0);
    return bu_count(match.start + 1);
}
