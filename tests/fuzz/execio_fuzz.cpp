// The operands of EXECIO over any bytes: every text is refused with one of the two codes, or gives operands that fit
// together.

#include "commands/execio_operands.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool truth) {
    if (!truth) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    execio_operands operands;
    std::string_view text(reinterpret_cast<const char *>(data), size);
    int code = rx_execio_parse(text, operands);
    require(code == 0 || code == 24 || code == 2008);
    if (code) return 0;
    bool prints = operands.mode == execio_mode::print;
    require(operands.lines >= execio_all && operands.linenum >= -1);
    require(operands.lrecl == -1 || operands.lrecl > 0);
    require(prints || operands.has_fd || operands.mode == execio_mode::diskr);
    require(operands.zone_first >= 0 && operands.zone_first <= operands.zone_last);
    require(operands.margin_first >= 0 && operands.margin_first <= operands.margin_last);
    require((operands.search == execio_search::none) == operands.target.empty());
    require(operands.var.empty() || (operands.stem.empty() && operands.lines == 1));
    return 0;
}
