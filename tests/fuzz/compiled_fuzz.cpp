// Any bytes as a compiled file: tokens that the grammar turns into a tree or an error, or error 76. What lies behind the
// marks is tried as well when the bytes have none.

#include "base/messages.h"
#include "base/raise.h"
#include "compiled/compiled.h"
#include "front/parse.h"
#include "tree_check.h"

#include <cstdint>

namespace {

void read(std::string text) {
    *rx_modes = rx_modes_record{};
    size_t size = text.size();
    rx_arena arena;
    rx_scan_result scanned;
    if (!rx_read_compiled(text, arena, true, scanned)) return;
    require(text.size() <= size && scanned.lines <= size);
    if (scanned.error) {
        require(scanned.error == 76 && scanned.tokens.empty());
        return;
    }
    rx_label_table labels;
    std::vector<unsigned> lines;
    try {
        check_chain(rx_parse_tokens(scanned.tokens, {arena, labels, &lines}));
    } catch (const rx_jmp_parse &) {
        require(!rx_error_text(rx_error.number).empty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string text(reinterpret_cast<const char *>(data), size);
    read(text);
    read("#!vandra\n@vcmp\n" + text);
    return 0;
}
