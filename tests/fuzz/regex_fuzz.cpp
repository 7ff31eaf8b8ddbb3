// Regular expressions over any bytes: a pattern up to the first line feed, behind it a text. Both matchers must find
// the same, and a replacement of what was found must lie within the text.

#include "values/regex.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool truth) {
    if (!truth) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view input(reinterpret_cast<const char *>(data), size);
    size_t feed = input.find('\n');
    std::string_view pattern = input.substr(0, feed);
    std::string_view text = feed == std::string_view::npos ? std::string_view() : input.substr(feed + 1);
    for (bool special : {true, false}) {
        re_program program;
        if (!re_compile(pattern, program, special).empty()) continue;
        for (bool ignore_case : {false, true}) {
            for (size_t from = 0; from <= text.size(); from += 1 + text.size() / 3) {
                program.budget = 1 << 20;
                re_range first, second;
                bool found = re_exec(program, text, from, ignore_case, first);
                program.budget = 0;
                require(re_exec(program, text, from, ignore_case, second) == found);
                if (!found) continue;
                require(first.start == second.start && first.length == second.length);
                require(first.start >= from && first.start + first.length <= text.size());
            }
        }
    }
    re_program wildcard;
    require(re_compile(re_glob(pattern.substr(0, pattern.find('\0'))), wildcard).empty());
    return 0;
}
