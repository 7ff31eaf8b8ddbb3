// What an EXECIO command does, by its mode. Each gives the code for RC.
#pragma once

#include "commands/execio_operands.h"

#include <string>

int rx_execio_read(const execio_operands &operands);
int rx_execio_write(const execio_operands &operands);
int rx_execio_insert(const execio_operands &operands);
int rx_execio_delete(const execio_operands &operands);
int rx_execio_print(const execio_operands &operands);

constexpr int execio_ended_first = 2;
constexpr int execio_not_found = 3;
constexpr int execio_no_file = 28;
constexpr int execio_no_printer = 29;

/// Shows the message unless NOTYPE; the code of a failure of input or output.
int rx_execio_failure(const execio_operands &operands, const std::string &message);
