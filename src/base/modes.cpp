#include "base/modes.h"

#include "platform/strings.h"

void rx_fold_case(char *text, size_t length) {
    switch (rx_modes->case_mode) {
    case RX_MIXED: break;
    case RX_LOWER: rx_lower(text, length); break;
    case RX_UPPER:
    case RX_CASE_UNSET: rx_upper(text, length); break;
    }
}

std::string rx_folded(std::string_view text) {
    std::string result(text);
    rx_fold_case(result.data(), result.size());
    return result;
}
