#include "values/symbol.h"

#include "platform/strings.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

uint64_t rx_lookup_hash(std::string_view name) {
    // Eight bytes at a time, each folded in by a multiplication and a shift that brings the high bits down. All of
    // these steps can be undone, so nothing is lost of a name of at most eight bytes.
    constexpr uint64_t factor = 0x9E3779B97F4A7C15u;
    uint64_t hash = name.size() * factor;
    const char *at = name.data();
    size_t left = name.size();
    for (; left >= 8; left -= 8, at += 8) {
        uint64_t chunk;
        std::memcpy(&chunk, at, 8);
        hash = (hash ^ chunk) * factor;
        hash ^= hash >> 32;
    }
    uint64_t rest = 0;
    if (left >= 4) {
        uint32_t first, last;
        std::memcpy(&first, at, 4);
        std::memcpy(&last, at + left - 4, 4);
        rest = uint64_t{first} << 32 | last;
    } else if (left > 0) {
        auto byte = [&](size_t i) { return static_cast<uint64_t>(static_cast<unsigned char>(at[i])); };
        rest = byte(0) << 16 | byte(left / 2) << 8 | byte(left - 1);
    }
    hash = (hash ^ rest) * factor;
    return hash ^ hash >> 32;
}

int32_t rx_plain_digits(std::string_view tail) {
    if (tail.size() > 9 || (tail[0] == '0' && tail.size() > 1)) return -1;
    int32_t index = 0;
    for (char c : tail) {
        if (!rx_is_digit(c)) return -1;
        index = index * 10 + (c - '0');
    }
    return index;
}

uint32_t rx_place_of(std::string_view name, bool stem) {
    static std::map<std::string, uint32_t, std::less<>> places[2];
    auto &known = places[stem];
    auto found = known.find(name);
    if (found != known.end()) return found->second;
    if (rx_next_place == rx_most_places) return RX_PLACELESS;
    known.emplace(name, rx_next_place);
    return rx_next_place++;
}

rx_symbol *rx_parse_tails(rx_arena &arena, std::string_view name) {
    rx_symbol *symbol = arena.make<rx_symbol>();
    symbol->name = name;
    symbol->hash = rx_lookup_hash(name);
    symbol->environment = name.size() >= 2 && name[0] == '$';
    // Such a name is looked up in the process environment, too.
    if (symbol->environment) symbol->place = RX_PLACELESS;
    symbol->bad_name = !name.empty() && (name[0] == '.' || rx_is_digit(name[0]));
    size_t dot = name.find('.');
    if (dot == std::string_view::npos) return symbol;

    symbol->stem = name.substr(0, dot);
    symbol->stem_hash = rx_lookup_hash(symbol->stem);
    symbol->tail_count = static_cast<uint32_t>(std::count(name.begin(), name.end(), '.'));
    symbol->tails = arena.make_array<rx_tail>(symbol->tail_count);
    symbol->whole_stem = symbol->tail_count == 1 && dot + 1 == name.size();
    for (uint32_t i = 0; i < symbol->tail_count; i++) {
        size_t end = std::min(name.find('.', dot + 1), name.size());
        rx_tail &tail = symbol->tails[i];
        tail.text = name.substr(dot + 1, end - dot - 1);
        tail.hash = rx_lookup_hash(tail.text);
        tail.index = rx_plain_index(tail.text);
        if (tail.text.size() < 8)
            tail.word = rx_short_tail_word(rx_load_short(tail.text.data(), tail.text.size()).first, tail.text.size());
        tail.constant = tail.text.empty() || rx_is_digit(tail.text[0]);
        dot = end;
    }
    return symbol;
}

bool rx_is_variable_name(std::string_view text) {
    return !text.empty() && text[0] != '.' && !rx_is_digit(text[0]) &&
           std::all_of(text.begin(), text.end(), rx_is_symbol_char);
}
