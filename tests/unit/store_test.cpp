// The variable store where no script can see it: listings, pins, sparse and dense tails, levels that are used again.
#include "values/numbers.h"
#include "values/store.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {

struct store : testing::Test {
    rx_arena arena;
    void SetUp() override { rx_push_level(); }
    void TearDown() override {
        while (rx_scope->level) rx_pop_level();
    }
    const rx_symbol &symbol(std::string_view name) { return *rx_parse_tails(arena, arena.copy(name)); }
    void set(std::string_view name, std::string_view text) { rx_var_assign(symbol(name), rx_string(text)); }
    std::string get(std::string_view name) {
        rx_value scratch;
        rx_number_buffer buffer;
        return std::string(rx_arg_text(rx_var_get(symbol(name), scratch), buffer));
    }
};

/// The defined hash in its own words: every step as told, one byte at a time, the closing NUL included.
unsigned slow_hash(const std::string &name) {
    unsigned h = static_cast<unsigned>(static_cast<signed char>(name.c_str()[0]));
    for (size_t i = 1; i <= name.size(); i++)
        h = (h * 31 + static_cast<unsigned>(static_cast<signed char>(name.c_str()[i]))) & 0x9FFF;
    return h;
}

TEST_F(store, listing_follows_the_defined_hash) {
    set("S.", "d");
    std::vector<std::string> tails{"1", "2", "10", "ABC", "X.Y", "\xe9", "", "0001"};
    for (const std::string &tail : tails) rx_set_resolved("S." + tail + (tail.empty() ? "." : ""), rx_string("v"));
    tails[6] = ".";
    std::stable_sort(tails.begin(), tails.end(),
                     [](const auto &a, const auto &b) { return slow_hash("S." + a) < slow_hash("S." + b); });
    std::string expected;
    for (const std::string &tail : tails) expected += (expected.empty() ? "" : " ") + tail;
    EXPECT_EQ(rx_list_tails("S."), expected);
    rx_drop(symbol("S."));
    EXPECT_EQ(rx_list_tails("S."), "");
}

TEST_F(store, showing_tells_every_state) {
    EXPECT_EQ(rx_show_vars(0), "");
    set("A", "1");
    rx_drop(symbol("A"));
    EXPECT_EQ(rx_show_vars(0), "\n.......... show: level 0\n\n\"A\" is DROPPED\n");
    rx_push_level();
    rx_expose(symbol("A"));
    EXPECT_EQ(rx_show_vars(0), "\n.......... show: level 0\n\n\"A\" is EXPOSED\n");
    set("A", "x");
    EXPECT_EQ(rx_show_vars(1), "\n.......... show: level 1\n\n\"A\" = \"x\"\n");
}

TEST_F(store, dense_and_sparse_tails_are_one_namespace) {
    std::mt19937 random(7);
    std::set<unsigned> numbers;
    for (int i = 0; i < 3000; i++)
        numbers.insert(i % 3 ? static_cast<unsigned>(i) : static_cast<unsigned>(random() % 1000000000));
    std::vector<unsigned> shuffled(numbers.begin(), numbers.end());
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    for (unsigned n : shuffled) {
        // Alternately by a number and by its text: both name the same variable.
        rx_var_assign(symbol("I"), n % 2 ? rx_number(n) : rx_string(std::to_string(n)));
        set("T.I", std::to_string(n));
    }
    for (unsigned n : shuffled) {
        rx_var_assign(symbol("I"), n % 2 ? rx_string(std::to_string(n)) : rx_number(n));
        EXPECT_EQ(get("T.I"), std::to_string(n));
        EXPECT_EQ(get("T." + std::to_string(n)), std::to_string(n));
    }
    EXPECT_EQ(get("T.01"), "T.01");
}

TEST_F(store, numbers_in_tails_are_spelled_under_the_settings) {
    rx_var_assign(symbol("I"), rx_number(123456));
    set("T.I", "six digits");
    rx_numeric->digits = 3;
    EXPECT_EQ(get("T.I"), "T.1.23E+5");
    rx_numeric->digits = 9;
    EXPECT_EQ(get("T.I"), "six digits");
    rx_var_assign(symbol("I"), rx_number(2, 2));
    EXPECT_EQ(rx_resolve_name(symbol("T.I")), "T.2.00");
}

TEST_F(store, a_pin_keeps_the_value_that_it_was_made_for) {
    std::string text(100, 'x');
    set("S", text);
    {
        rx_pin outer(*rx_var_find(symbol("S")));
        rx_pin pin(*rx_var_find(symbol("S")));
        EXPECT_TRUE(pin.untouched());
        set("S", "new");
        EXPECT_FALSE(pin.untouched());
        EXPECT_EQ(pin.value().text(), text);
        EXPECT_EQ(outer.value().text(), text);
        EXPECT_EQ(get("S"), "new");
    }
    rx_pin pin(*rx_var_find(symbol("S")));
    rx_drop(symbol("S"));
    EXPECT_EQ(pin.value().text(), "new");
}

TEST_F(store, a_level_that_is_used_again_is_empty) {
    set("A", "main");
    for (int round = 0; round < 3; round++) {
        rx_push_level();
        EXPECT_EQ(get("A"), "A");
        set("A", std::string(40, 'y'));
        for (int i = 0; i < 200; i++) set("B." + std::to_string(i * 7) + ".X", std::string(20, 'z'));
        rx_pop_level();
    }
    EXPECT_EQ(get("A"), "main");
    EXPECT_EQ(get("B.7.X"), "B.7.X");
}

TEST_F(store, exposure_made_after_a_cached_read_counts) {
    const rx_symbol &a = symbol("A");
    set("A", "outer");
    rx_push_level();
    rx_value scratch;
    rx_var_assign(a, rx_string("inner"));
    EXPECT_EQ(rx_var_get(a, scratch).text(), "inner");
    rx_expose(a);
    EXPECT_EQ(rx_var_get(a, scratch).text(), "outer");
    rx_var_assign(a, rx_string("changed"));
    rx_pop_level();
    EXPECT_EQ(get("A"), "changed");
}

} // namespace
