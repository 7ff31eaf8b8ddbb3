// EXECIO: records between files, or a printer, and the queue, a stem or a variable.
//
//     EXECIO count DISKR fn ft [fd [linenum]] [( options]
//     EXECIO count DISKW|DISKI fn ft fd [linenum [recfm [lrecl]]] [( options]
//     EXECIO count DISKD fn ft fd [linenum] [( FINIS]
//     EXECIO count PRINT printer [( options]
//
// A command is scanned and parsed into an execio_operands record (execio_operands.h, execio_grammar.y) and then run.
// The disk actions work on the streams of engine/streams.h, so a file that EXECIO keeps open is the one that LINEIN
// sees. Nothing of a command outlives it but the streams, and the print job, which belongs to the process.
#pragma once

#include <string_view>

/// Runs the command with the text behind its name. The code for RC: 0 done, 2 the file ended first, 3 the text searched
/// for wasn't found, 24 bad operands, 28 no such file, 29 no such printer, 101 a failure of input or output, 2008 a bad
/// name of a stem or variable.
int rx_execio(std::string_view text);

/// Ends the print job that is still open, if any; for the end of the process.
void rx_execio_close_printer();
