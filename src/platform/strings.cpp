#include "platform/strings.h"

#include <algorithm>
#include <charconv>
#include <climits>

void rx_lower(char *text, size_t length) {
    for (size_t i = 0; i < length; i++) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        text[i] = static_cast<char>(c + (static_cast<unsigned char>(c - 'A') < 26 ? 32 : 0));
    }
}

void rx_upper(char *text, size_t length) {
    for (size_t i = 0; i < length; i++) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        text[i] = static_cast<char>(c - (static_cast<unsigned char>(c - 'a') < 26 ? 32 : 0));
    }
}

std::string rx_lowered(std::string_view text) {
    std::string result(text);
    rx_lower(result.data(), result.size());
    return result;
}

std::string rx_uppered(std::string_view text) {
    std::string result(text);
    rx_upper(result.data(), result.size());
    return result;
}

std::string rx_hexadecimal(std::string_view bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (char c : bytes) {
        auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

bool rx_equal_nocase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    return std::equal(a.begin(), a.end(), b.begin(),
                      [](char x, char y) { return rx_lower_byte(x) == rx_lower_byte(y); });
}

std::vector<std::string_view> rx_split_words(std::string_view text) {
    std::vector<std::string_view> words;
    size_t at = 0;
    while ((at = text.find_first_not_of(' ', at)) != std::string_view::npos) {
        size_t end = std::min(text.find(' ', at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

std::vector<std::string> rx_split_quoted(std::string_view text) {
    std::vector<std::string> words;
    size_t at = 0;
    while ((at = text.find_first_not_of(' ', at)) != std::string_view::npos) {
        char quote = text[at];
        std::string word;
        if (quote != '"' && quote != '\'') {
            size_t end = std::min(text.find(' ', at), text.size());
            word = text.substr(at, end - at);
            at = end;
        } else {
            for (at++; at < text.size() && text[at] != quote; at++) {
                if (text[at] == '\\' && at + 1 < text.size() && (text[at + 1] == quote || text[at + 1] == '\\')) at++;
                word += text[at];
            }
            at = std::min(at + 1, text.size());
        }
        words.push_back(std::move(word));
    }
    return words;
}

std::vector<std::string_view> rx_split_at(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (size_t at = 0;;) {
        size_t end = text.find(separator, at);
        pieces.push_back(text.substr(at, end == std::string_view::npos ? end : end - at));
        if (end == std::string_view::npos) return pieces;
        at = end + 1;
    }
}

bool rx_scan_integer(std::string_view &text, int &number) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const char *start = text.data(), *end = start + text.size();
    if (text.starts_with('+')) start++;
    if (start != end && *start == '-' && start != text.data()) return false;
    auto [behind, error] = std::from_chars(start, end, number);
    if (error == std::errc::invalid_argument) return false;
    if (error == std::errc::result_out_of_range) number = *start == '-' ? INT_MIN : INT_MAX;
    text.remove_prefix(static_cast<size_t>(behind - text.data()));
    return true;
}
