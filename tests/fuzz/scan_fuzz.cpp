// Scanner and grammar over any bytes: every text ends in a tree whose records fit together, or in an error whose
// position lies within the text.

#include "base/messages.h"
#include "base/raise.h"
#include "front/parse.h"
#include "front/scan.h"
#include "tree_check.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view text(reinterpret_cast<const char *>(data), size);
    *rx_modes = rx_modes_record{};
    rx_arena arena;
    rx_scan_result scanned = lex(text, arena);
    if (scanned.error) {
        require(!rx_error_text(scanned.error).empty() && scanned.error_line < scanned.lines);
        return 0;
    }
    rx_label_table labels;
    std::vector<unsigned> lines;
    try {
        check_chain(rx_parse_tokens(scanned.tokens, {arena, labels, &lines}));
    } catch (const rx_jmp_parse &) {
        require(!rx_error_text(rx_error.number).empty() && rx_error.line <= scanned.lines);
    }
    return 0;
}
