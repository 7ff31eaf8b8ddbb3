// Hexadecimal and binary texts. Both are read from the right end, so that an incomplete group stands at the left.
#include "values/numbers.h"

#include <algorithm>

namespace {

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool blank_at_an_end(std::string_view text) {
    return !text.empty() && (text.front() == ' ' || text.back() == ' ');
}

} // namespace

bool rx_hex_to_bytes(std::string_view text, std::string &bytes, bool odd_digit) {
    if (blank_at_an_end(text)) return false;
    std::string reversed;
    reversed.reserve(text.size() / 2 + 1);
    for (size_t at = text.size(); at > 0;) {
        char c = text[--at];
        if (c == ' ') continue;
        int low = hex_digit(c);
        int high = odd_digit ? 15 : 0;
        if (at > 0) high = hex_digit(text[--at]);
        if (low < 0 || high < 0) return false;
        reversed.push_back(static_cast<char>(high * 16 + low));
    }
    std::reverse(reversed.begin(), reversed.end());
    bytes = std::move(reversed);
    return true;
}

bool rx_bin_to_bytes(std::string_view text, std::string &bytes) {
    if (blank_at_an_end(text)) return false;
    std::string reversed;
    reversed.reserve(text.size() / 8 + 1);
    unsigned byte = 0;
    unsigned bits = 0;
    size_t run = 0; // digits since the last blank
    for (size_t at = text.size(); at > 0;) {
        char c = text[--at];
        if (c == ' ') {
            if (run != 4 && run != 8) return false;
            run = 0;
            continue;
        }
        if (c != '0' && c != '1') return false;
        run++;
        byte |= static_cast<unsigned>(c - '0') << bits;
        if (++bits == 8) {
            reversed.push_back(static_cast<char>(byte));
            byte = bits = 0;
        }
    }
    if (bits > 0) reversed.push_back(static_cast<char>(byte));
    std::reverse(reversed.begin(), reversed.end());
    bytes = std::move(reversed);
    return true;
}
