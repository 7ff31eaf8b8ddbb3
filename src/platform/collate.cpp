#include "platform/collate.h"

#include <algorithm>
#include <array>

namespace {

/// What decides about a byte, in this order.
struct weight {
    uint16_t letter = 0; ///< order among marks, digits and letters without regard to accent and case
    uint8_t accent = 0;  ///< order among the forms of one letter
    bool capital = false;
};

/// The small letters that have forms with accents, each with its forms in order.
struct letter_forms {
    unsigned char letter;
    std::string_view forms;
};
constexpr letter_forms forms_of_letters[] = {
    {'a', "\xE1\xE0\xE2\xE5\xE4\xE3\xAA"},
    {'c', "\xE7"},
    {'e', "\xE9\xE8\xEA\xEB"},
    {'i', "\xED\xEC\xEE\xEF"},
    {'n', "\xF1"},
    {'o', "\xF3\xF2\xF4\xF6\xF5\xF8\xBA"},
    {'s', "\xDF"},
    {'u', "\xFA\xF9\xFB\xFC"},
    {'y', "\xFD\xFF"},
};
constexpr unsigned char ae = 0xE6, eth = 0xF0, thorn = 0xFE;

constexpr uint16_t first_digit = 0x100, first_letter = 0x200;
constexpr uint16_t letter_weight(unsigned char small) {
    return static_cast<uint16_t>(first_letter + (small - 'a') * 2);
}

/// The small form of a capital of Latin-1, or the byte itself.
constexpr unsigned char small_of(unsigned char c) {
    bool capital = (c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7);
    return static_cast<unsigned char>(capital ? c + 32 : c);
}

constexpr weight weight_of(unsigned char c) {
    unsigned char small = small_of(c);
    bool capital = small != c;
    if (small >= 'a' && small <= 'z') return {letter_weight(small), 0, capital};
    if (c >= '0' && c <= '9') return {static_cast<uint16_t>(first_digit + c), 0, false};
    // The letters that stand between others.
    if (small == ae) return {static_cast<uint16_t>(letter_weight('a') + 1), 0, capital};
    if (small == eth) return {static_cast<uint16_t>(letter_weight('d') + 1), 0, capital};
    if (small == thorn) return {static_cast<uint16_t>(letter_weight('t') + 1), 0, capital};
    for (const letter_forms &each : forms_of_letters) {
        size_t form = each.forms.find(static_cast<char>(small));
        if (form != std::string_view::npos)
            return {letter_weight(each.letter), static_cast<uint8_t>(form + 1), capital};
    }
    return {c, 0, false};
}

constexpr std::array<weight, 256> make_weights() {
    std::array<weight, 256> weights;
    for (unsigned c = 0; c < 256; c++) weights[c] = weight_of(static_cast<unsigned char>(c));
    return weights;
}
constexpr std::array<weight, 256> weights = make_weights();

int collate(std::string_view a, std::string_view b, bool with_case) {
    size_t common = std::min(a.size(), b.size());
    int accents = 0, capitals = 0;
    for (size_t i = 0; i < common; i++) {
        if (a[i] == b[i]) continue;
        const weight &one = weights[static_cast<unsigned char>(a[i])];
        const weight &other = weights[static_cast<unsigned char>(b[i])];
        if (one.letter != other.letter) return one.letter - other.letter;
        if (!accents) accents = one.accent - other.accent;
        if (!capitals) capitals = one.capital - other.capital;
    }
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return accents || !with_case ? accents : capitals;
}

} // namespace

int rx_collate_nocase(std::string_view a, std::string_view b) {
    return collate(a, b, false);
}

int rx_collate(std::string_view a, std::string_view b) {
    return collate(a, b, true);
}

uint64_t rx_collate_head(std::string_view text) {
    constexpr size_t letters = 6;
    constexpr unsigned bits = 10;
    static_assert(letter_weight('z') + 1 < 1 << bits);
    uint64_t head = 0;
    for (size_t i = 0; i < letters; i++)
        head = head << bits | (i < text.size() ? weights[static_cast<unsigned char>(text[i])].letter : 0u);
    return head;
}
