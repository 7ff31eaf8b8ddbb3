#include "commands/execio.h"

#include "base/output.h"
#include "commands/execio_actions.h"

int rx_execio_failure(const execio_operands &operands, const std::string &message) {
    constexpr int failed = 101;
    if (!operands.notype) rx_print_error(message);
    return failed;
}

int rx_execio(std::string_view text) {
    execio_operands operands;
    if (int code = rx_execio_parse(text, operands)) return code;
    switch (operands.mode) {
    case execio_mode::diskr: return rx_execio_read(operands);
    case execio_mode::diskw: return rx_execio_write(operands);
    case execio_mode::diski: return rx_execio_insert(operands);
    case execio_mode::diskd: return rx_execio_delete(operands);
    case execio_mode::print: return rx_execio_print(operands);
    }
    return 0;
}
