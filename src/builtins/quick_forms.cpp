#include "builtins/quick_forms.h"

#include "builtins/pieces.h"
#include "builtins/text_search.h"
#include "engine/streams.h"
#include "values/arithmetic.h"

#include <cmath>

namespace {

constexpr rx_plain refused = rx_no_plain(rx_arithmetic_fault::not_a_number);

rx_plain count_of(size_t count) {
    return {static_cast<double>(count), rx_whole_head};
}

/// True when there are `wanted` arguments, all texts.
bool are_texts(const rx_value *const *args, size_t count, size_t wanted) {
    if (count != wanted) return false;
    for (size_t i = 0; i < count; i++)
        if (!args[i]->is_string()) return false;
    return true;
}

/// Texts from here on are left to the word functions, which remember their words.
constexpr size_t longest_split = 255;

} // namespace

rx_plain bu_quick_length(const rx_value *const *args, size_t count) {
    return are_texts(args, count, 1) ? count_of(args[0]->length) : refused;
}

rx_plain bu_quick_pos(const rx_value *const *args, size_t count) {
    if (!are_texts(args, count, 2)) return refused;
    if (args[0]->length == 0) return count_of(0);
    return count_of(bu_search(args[1]->text(), args[0]->text(), 0) + 1); // nowhere is one below 0
}

rx_plain bu_quick_lastpos(const rx_value *const *args, size_t count) {
    if (!are_texts(args, count, 2)) return refused;
    if (args[0]->length == 0) return count_of(0);
    return count_of(bu_search_last(args[1]->text(), args[0]->text()) + 1);
}

rx_plain bu_quick_abbrev(const rx_value *const *args, size_t count) {
    if (!are_texts(args, count, 2)) return refused;
    return count_of(args[0]->text().starts_with(args[1]->text()));
}

rx_plain bu_quick_words(const rx_value *const *args, size_t count) {
    if (!are_texts(args, count, 1) || args[0]->length > longest_split) return refused;
    size_t words = 0;
    bu_each_word(args[0]->text(), [&](std::string_view) {
        words++;
        return true;
    });
    return count_of(words);
}

rx_plain bu_quick_lines(const rx_value *const *args, size_t count) {
    if (!are_texts(args, count, 1)) return refused;
    rx_stream *stream = rx_stream_find_given(args[0]->text());
    if (!stream || !stream->indexed || !rx_stream_check(*stream)) return refused;
    return stream->known_size >= stream->status.size ? count_of(stream->lines_left()) : refused;
}

rx_plain bu_quick_abs(const rx_value *const *args, size_t count) {
    if (count != 1 || !args[0]->is_number()) return refused;
    double number = std::fabs(args[0]->real);
    return {number, rx_plain_head(0, rx_is_whole(number) ? 1 : 0)};
}
