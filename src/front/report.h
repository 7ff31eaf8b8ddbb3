// Error reports: the failing line with its number, a caret below it, and the catalogue text.
#pragma once

#include "front/tree.h"

/// Prints the report of rx_error.number at a program-wide position (from 0), and the extra text behind it, which it
/// consumes. Does nothing while `syntax_trapped`.
void rx_report(const rx_program &program, unsigned line, unsigned column, bool syntax_trapped);

/// The same for a text run by INTERPRET.
void rx_report_interpreted(std::string_view text, unsigned line, unsigned column, bool syntax_trapped);

/// The source entry that holds a program-wide line; the last one when none does.
const rx_source_entry &rx_entry_of(const rx_program &program, unsigned line);

/// The text of a program-wide line; false when it lies outside all entries.
bool rx_source_line(const rx_program &program, unsigned line, std::string_view &text);

/// A program-wide line as its own source counts it, from 0: what SIGL tells. The start-up file counts with the script.
unsigned rx_own_line(const rx_program &program, unsigned line);
