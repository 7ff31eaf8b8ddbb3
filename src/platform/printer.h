// Printing.
//
// Two services stand behind these functions: CUPS, whose library is loaded when somebody first asks for a printer, and
// none, where there is no such library: then there are no printers. A document is gathered and handed over as one job
// when it is finished, so a script may take as long as it likes over it.
#pragma once

#include <string>
#include <string_view>

/// What a page of plain text holds.
struct rx_page_shape {
    int columns = 0;
    int lines = 0;
};

/// Looks for a printer by its exact name; false when there is none or it takes no documents. The shape is that of its
/// default paper at 10 characters and 6 lines per inch.
bool rx_find_printer(std::string_view name, rx_page_shape &shape);

/// The name of the default printer, empty when there is none.
std::string rx_default_printer();

/// The printer that was chosen last in this process; empty: none yet.
inline std::string rx_chosen_printer;

/// Prints a document: plain text with line feeds and form feeds, or bytes that go to the printer as they are. False,
/// and why, on failure.
bool rx_print_document(const std::string &printer, const std::string &title, std::string_view document, bool raw,
                       std::string &reason);
