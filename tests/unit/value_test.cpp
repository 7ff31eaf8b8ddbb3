#include "base/raise.h"
#include "values/value.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const std::string long_text = "a text that doesn't fit into the record itself";

TEST(value, texts_of_every_length_end_in_a_nul) {
    std::string text;
    for (size_t length = 0; length < 40; length++, text.push_back(static_cast<char>('a' + length % 26))) {
        rx_value value = rx_string(text);
        ASSERT_EQ(value.text(), text);
        ASSERT_EQ(value.data()[length], '\0');
        ASSERT_EQ(value.storage, length > rx_value::inline_capacity ? RX_HEAP : RX_INLINE);
        rx_value copy = rx_copy_value(value);
        rx_bytes(value)[0] = '!';
        ASSERT_EQ(copy.text(), text);
    }
}

TEST(value, a_move_leaves_none_behind) {
    rx_value first = rx_string(long_text);
    const char *bytes = first.data();
    rx_value second = std::move(first);
    EXPECT_TRUE(first.is_none()); // NOLINT: what a move leaves is defined here
    EXPECT_EQ(second.data(), bytes);
    first = rx_string(long_text + "!");
    second = std::move(first);
    EXPECT_EQ(second.text(), long_text + "!");
    rx_value &itself = second;
    second = std::move(itself);
    EXPECT_EQ(second.text(), long_text + "!");
    second = rx_number(1.5, 2);
    rx_value number = std::move(second);
    EXPECT_EQ(number.real, 1.5);
    EXPECT_EQ(number.decimals, 2);
    EXPECT_EQ(rx_copy_value(number).decimals, 2);
}

TEST(value, borrowed_text_is_never_changed_nor_passed_on) {
    std::string literal = long_text;
    {
        rx_value borrowed = rx_borrowed(literal);
        EXPECT_EQ(borrowed.data(), literal.data());
        rx_value copy = rx_copy_value(borrowed);
        EXPECT_NE(copy.data(), literal.data());
        EXPECT_EQ(copy.text(), long_text);
        rx_value appended = std::move(borrowed);
        EXPECT_EQ(appended.data(), literal.data());
        rx_append(appended, "!");
        EXPECT_EQ(appended.text(), long_text + "!");
        rx_value shortened = rx_borrowed(literal);
        rx_resize(shortened, 3);
        EXPECT_EQ(shortened.text(), "a t");
        EXPECT_EQ(shortened.data()[3], '\0');
        rx_value changed = rx_borrowed(literal);
        rx_reserve(changed, 0);
        rx_bytes(changed)[0] = 'A';
    }
    EXPECT_EQ(literal, long_text);
    // A short text is held in the record, so it needs no literal.
    EXPECT_EQ(rx_borrowed("short").storage, RX_INLINE);
}

TEST(value, appending_moves_the_text_seldom) {
    rx_value value = rx_string("");
    std::string expected;
    int moves = 0;
    for (int i = 0; i < 100000; i++) {
        const char *before = value.data();
        std::string piece(static_cast<size_t>(i % 5), static_cast<char>('a' + i % 26));
        rx_append(value, piece);
        expected += piece;
        moves += value.data() != before;
    }
    EXPECT_EQ(value.text(), expected);
    EXPECT_EQ(value.data()[value.length], '\0');
    EXPECT_LT(moves, 50);
}

TEST(value, resizing_keeps_the_front) {
    rx_value value = rx_string("0123456789");
    rx_resize(value, 4);
    EXPECT_EQ(value.text(), "0123");
    rx_resize(value, 30);
    EXPECT_EQ(value.text().substr(0, 4), "0123");
    EXPECT_EQ(value.data()[30], '\0');
    rx_reserve(value, 1000);
    const char *bytes = value.data();
    rx_resize(value, 1000);
    EXPECT_EQ(value.data(), bytes);
    EXPECT_EQ(value.text().substr(0, 4), "0123");
}

TEST(value, too_long_a_text_is_error_5) {
    EXPECT_THROW(rx_string_of(rx_longest_text + 1), rx_jmp_syntax);
    EXPECT_EQ(rx_error.number, 5);
    rx_value value = rx_string("abc");
    EXPECT_THROW(rx_resize(value, rx_longest_text + 1), rx_jmp_syntax);
    EXPECT_EQ(value.text(), "abc");
}

} // namespace
