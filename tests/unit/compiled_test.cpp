// Compiled files that were damaged: whatever is missing or changed, reading ends in tokens or in error 76.
#include "base/raise.h"
#include "compiled/compiled.h"
#include "front/parse.h"

#include <gtest/gtest.h>

namespace {

constexpr std::string_view source = "/* a */ option lower\n"
                                    "say 'a\\' || '0a'x 'b\\'; x.i.7 = f(1,, g('h' i)) + 2.5\n"
                                    "do i = 1 to 3 while x; if i then iterate; else call on error name y; end\n"
                                    "parse value x with a 'b' 3 (c) . ; numeric digits 5; signal value z\n"
                                    "select; when a[1:2] then nop; otherwise drop (q) r; end; 'name': exit {\n}\n";

std::string compiled() {
    *rx_modes = rx_modes_record{};
    rx_arena arena;
    rx_scan_result scanned = lex(source, arena);
    EXPECT_EQ(scanned.error, 0);
    return rx_compiled_bytes(scanned.tokens, "/opt/vandra", source, scanned.lines);
}

/// Reads a file and parses what it gives; the error of the file, or 0.
int read(std::string &text) {
    *rx_modes = rx_modes_record{};
    rx_arena arena;
    rx_scan_result scanned;
    if (!rx_read_compiled(text, arena, true, scanned)) return -1;
    if (scanned.error) return scanned.error;
    rx_label_table labels;
    try {
        rx_parse_tokens(scanned.tokens, {arena, labels, nullptr});
    } catch (const rx_jmp_parse &) {
    }
    return 0;
}

size_t start_of_data(const std::string &file) {
    return file.find("@vcmp\n") + 6;
}

TEST(compiled, gives_back_tokens_source_and_modes) {
    std::string file = compiled();
    rx_arena before, after;
    rx_scan_result scanned = lex(source, before), loaded;
    *rx_modes = rx_modes_record{};
    ASSERT_TRUE(rx_read_compiled(file, after, true, loaded));
    EXPECT_EQ(file, source);
    EXPECT_EQ(rx_modes->case_mode, RX_LOWER);
    EXPECT_EQ(loaded.lines, scanned.lines);
    ASSERT_EQ(loaded.tokens.size(), scanned.tokens.size());
    for (size_t i = 0; i < scanned.tokens.size(); i++) {
        const rx_expr &a = *scanned.tokens[i], &b = *loaded.tokens[i];
        EXPECT_EQ(std::tuple(a.type, a.text, a.line, a.column, a.flag),
                  std::tuple(b.type, b.text, b.line, b.column, b.flag));
        EXPECT_EQ(a.text.data() == nullptr, b.text.data() == nullptr);
    }
}

TEST(compiled, modes_of_a_part_stay_outside) {
    std::string file = compiled();
    *rx_modes = rx_modes_record{.case_mode = RX_UPPER};
    rx_arena arena;
    rx_scan_result loaded;
    ASSERT_TRUE(rx_read_compiled(file, arena, false, loaded));
    EXPECT_EQ(rx_modes->case_mode, RX_UPPER);
    std::vector<std::string_view> symbols;
    for (const rx_expr *token : loaded.tokens) {
        if (token->type == SYMBOL) symbols.push_back(token->text);
    }
    EXPECT_EQ(symbols.at(0), "x.i.7");
}

TEST(compiled, a_torn_file_is_refused_or_lacks_the_end_of_its_source) {
    std::string file = compiled();
    size_t data = start_of_data(file);
    // The shortest file whose tokens are complete.
    size_t complete = 0;
    for (size_t length = data; length < file.size(); length++) {
        std::string text = file.substr(0, length);
        int error = read(text);
        if (error == 0 && !complete) complete = length;
        EXPECT_EQ(error, complete ? 0 : 76) << length;
        EXPECT_TRUE(error || source.starts_with(text)) << length;
    }
    EXPECT_GT(complete, file.size() / 2);
    EXPECT_LT(complete, file.size());
}

TEST(compiled, changed_bytes_are_read_or_refused) {
    const std::string file = compiled();
    for (size_t at = 0; at < file.size(); at++) {
        for (int change : {1, 2, 4, 8, 16, 32, 64, 128, 255, '\n' ^ file[at], '\\' ^ file[at]}) {
            std::string text = file;
            text[at] = static_cast<char>(text[at] ^ change);
            int error = read(text);
            EXPECT_TRUE(error == 0 || error == 76 || (error == -1 && at < start_of_data(file))) << at << ' ' << change;
        }
    }
}

TEST(compiled, counts_that_no_file_can_hold_are_refused_at_once) {
    const std::string file = compiled();
    for (size_t field : {6 * 4, 7 * 4 + 4}) { // the count of tokens, the length of the first text
        std::string text = file;
        text.replace(start_of_data(file) + field, 4, "\xff\xff\xff\xf0");
        EXPECT_EQ(read(text), 76) << field;
    }
}

} // namespace
