#include "builtins/text_search.h"

#include "platform/strings.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

constexpr size_t none = std::string_view::npos;

/// Up to this length the bytes of a text are compared where they stand.
constexpr size_t short_text = 128;

size_t offset(std::string_view text, const void *found) {
    return found ? static_cast<size_t>(static_cast<const char *>(found) - text.data()) : none;
}

} // namespace

size_t bu_search(std::string_view haystack, std::string_view needle, size_t from) {
    if (from > haystack.size() || haystack.size() - from < needle.size()) return none;
    const char *begin = haystack.data() + from, *end = haystack.data() + haystack.size();
    const char *at = begin, *behind = end - needle.size() + 1; // where it can begin, and where no more
    // The first byte leads to candidates. Only where many of them prove false the library's search for texts is worth
    // its preparations, which take longer than most searches.
    for (ptrdiff_t wrong = 0; wrong <= 4 + (at - begin) / 64; wrong++) {
        at = static_cast<const char *>(std::memchr(at, needle[0], static_cast<size_t>(behind - at)));
        if (!at) return none;
        if (std::memcmp(at + 1, needle.data() + 1, needle.size() - 1) == 0) return offset(haystack, at);
        if (++at == behind) return none;
    }
    return offset(haystack, memmem(at, static_cast<size_t>(end - at), needle.data(), needle.size()));
}

size_t bu_search_nocase(std::string_view haystack, std::string_view needle, size_t from) {
    if (from > haystack.size() || haystack.size() - from < needle.size()) return none;
    if (haystack.size() - from <= short_text) {
        char small = rx_lower_byte(needle[0]), capital = rx_upper_byte(needle[0]);
        for (size_t at = from; at + needle.size() <= haystack.size(); at++)
            if ((haystack[at] == small || haystack[at] == capital) &&
                rx_equal_nocase(haystack.substr(at, needle.size()), needle))
                return at;
        return none;
    }
    std::string pattern = rx_uppered(needle);
    // The haystack is folded piece by piece, so that a match near the beginning is found soon. Pieces overlap by all
    // but one byte of the needle.
    char small[4096];
    std::string large;
    size_t size = sizeof small;
    char *piece = small;
    if (needle.size() > size / 4) {
        large.resize(size = needle.size() * 4);
        piece = large.data();
    }
    while (haystack.size() - from >= needle.size()) {
        size_t length = std::min(size, haystack.size() - from);
        std::memcpy(piece, haystack.data() + from, length);
        rx_upper(piece, length);
        size_t found = bu_search({piece, length}, pattern, 0);
        if (found != none) return from + found;
        from += length - needle.size() + 1;
    }
    return none;
}

size_t bu_search_last(std::string_view haystack, std::string_view needle) {
    if (haystack.size() < needle.size()) return none;
    if (needle.size() > 256) {
        // Comparing at each candidate could take very long; the search forward takes linear time.
        std::string backward(haystack.rbegin(), haystack.rend()), pattern(needle.rbegin(), needle.rend());
        size_t found = bu_search(backward, pattern, 0);
        return found == none ? none : haystack.size() - needle.size() - found;
    }
    for (size_t length = haystack.size() - needle.size() + 1; length > 0;) {
        size_t found = offset(haystack, memrchr(haystack.data(), needle[0], length));
        if (found == none || std::memcmp(haystack.data() + found, needle.data(), needle.size()) == 0) return found;
        length = found;
    }
    return none;
}

size_t bu_mismatch(std::string_view one, std::string_view two) {
    size_t length = std::min(one.size(), two.size()), at = 0;
    constexpr size_t step = 64;
    while (at + step <= length && std::memcmp(one.data() + at, two.data() + at, step) == 0) at += step;
    for (uint64_t a, b; at + sizeof a <= length; at += sizeof a) {
        std::memcpy(&a, one.data() + at, sizeof a);
        std::memcpy(&b, two.data() + at, sizeof b);
        if (a != b) break;
    }
    while (at < length && one[at] == two[at]) at++;
    return at;
}
