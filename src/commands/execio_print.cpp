// PRINT: the records become lines and pages of a document. The document stays open from command to command until FINIS
// or the end of the process; the printer named by the first command gets it.
#include "base/output.h"
#include "commands/execio.h"
#include "commands/execio_actions.h"
#include "commands/execio_records.h"
#include "engine/streams.h"
#include "platform/printer.h"

#include <algorithm>

namespace {

constexpr char form_feed = '\f';
constexpr rx_page_shape raw_shape = {1024, 1024};

/// The open document, process-wide.
struct print_state {
    bool open = false;
    bool raw = false;
    std::string printer;
    rx_page_shape shape;
    int line = 0; ///< lines on the page so far
    std::string document;
};
print_state print;

/// 0, or the code with which the command ends.
int open_printer(const execio_operands &operands) {
    std::string printer = operands.printer;
    if (printer == "*") {
        if (rx_chosen_printer.empty()) rx_chosen_printer = rx_default_printer();
        printer = rx_chosen_printer;
        if (printer.empty()) return rx_execio_failure(operands, "EXECIO: there is no default printer.");
    }
    rx_page_shape shape;
    if (!rx_find_printer(printer, shape)) return execio_no_printer;
    print = {.open = true,
             .raw = operands.raw,
             .printer = printer,
             .shape = operands.raw ? raw_shape : shape,
             .line = 0,
             .document = {}};
    return 0;
}

void new_page() {
    print.line = 0;
    if (!print.raw) print.document += form_feed;
}

/// One line of a page. A raw document is a stream of bytes: nothing is added to it.
void print_line(std::string_view text) {
    print.document.append(text);
    if (!print.raw) print.document += '\n';
    print.line++;
    if (print.shape.lines > 0 && print.line >= print.shape.lines) new_page();
}

void print_record(std::string_view record) {
    if (!rx_line_mode->is_unix && record.ends_with('\r')) record.remove_suffix(1);
    if (!print.raw && record.size() == 1 && record[0] == form_feed) {
        new_page();
        return;
    }
    do {
        std::string_view piece = record.substr(0, static_cast<size_t>(print.shape.columns));
        print_line(piece);
        record.remove_prefix(piece.size());
    } while (!record.empty());
}

/// Hands the document to the printer.
bool close_printer(std::string &reason) {
    print_state done = std::move(print);
    print = {};
    return rx_print_document(done.printer, done.raw ? "My Document" : "execio", done.document, done.raw, reason);
}

std::string failure(const std::string &printer, const std::string &reason) {
    return "EXECIO: error while printing on \"" + printer + "\": " + reason + ".";
}

} // namespace

int rx_execio_print(const execio_operands &operands) {
    if (!print.open) {
        if (int code = open_printer(operands)) return code;
    }
    if (!print.raw) {
        if (operands.columns > 0) print.shape.columns = operands.columns;
        if (operands.linespage >= 0) print.shape.lines = operands.linespage;
    }
    execio_source source(operands);
    std::string error;
    if (!source.start(error)) return rx_execio_failure(operands, error);
    while (const std::string *record = source.next()) print_record(*record);
    if (!operands.finis) return 0;
    std::string printer = print.printer;
    return close_printer(error) ? 0 : rx_execio_failure(operands, failure(printer, error));
}

void rx_execio_close_printer() {
    if (!print.open) return;
    std::string printer = print.printer, reason;
    if (!close_printer(reason)) rx_print_error(failure(printer, reason));
}
