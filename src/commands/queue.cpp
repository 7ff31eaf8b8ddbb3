#include "commands/queue.h"

#include "engine/engine.h"
#include "platform/input.h"
#include "platform/strings.h"

#include <algorithm>
#include <deque>
#include <vector>

namespace {

using line_queue = std::deque<rx_value>;

line_queue current;
std::vector<line_queue> set_aside; ///< by MAKEBUF, the oldest first

/// A long text without the room that it has left for growing.
rx_value without_waste(rx_value &&line) {
    bool wasteful = line.storage == RX_HEAP && line.heap.capacity > line.length + size_t{line.length} / 8 + 16;
    return wasteful ? rx_string(line.text()) : std::move(line);
}

} // namespace

void rx_queue_tail(rx_value &&line) {
    current.push_back(without_waste(std::move(line)));
}

void rx_queue_head(rx_value &&line) {
    current.push_front(without_waste(std::move(line)));
}

std::optional<rx_value> rx_queue_take() {
    if (current.empty()) return std::nullopt;
    rx_value line = std::move(current.front());
    current.pop_front();
    return line;
}

rx_value rx_queue_pull() {
    std::optional<rx_value> line = rx_queue_take();
    return line ? std::move(*line) : rx_read_terminal_line();
}

size_t rx_queue_count() {
    return current.size();
}

rx_value rx_read_terminal_line() {
    static std::string line;
    bool whole = rx_input_line(line);
    rx_value text = rx_string(line);
    if (line.capacity() > 1 << 20) line = std::string();
    if (whole)
        rx_set_code(RX_RC, 0);
    else
        rx_var_assign(rx_system_symbol(RX_RC), rx_string("EOF"));
    return text;
}

int rx_makebuf() {
    set_aside.push_back(std::move(current));
    current = line_queue();
    return static_cast<int>(set_aside.size());
}

int rx_dropbuf(std::string_view operand) {
    operand.remove_prefix(std::min(operand.find_first_not_of(' '), operand.size()));
    int depth = static_cast<int>(set_aside.size()), buffer = depth;
    if (!operand.empty() && !rx_scan_integer(operand, buffer)) return 1;
    if (buffer < 1 || buffer > depth) return 2;
    current = std::move(set_aside[static_cast<size_t>(buffer) - 1]);
    set_aside.resize(static_cast<size_t>(buffer) - 1);
    return 0;
}

void rx_desbuf() {
    current = line_queue();
}
