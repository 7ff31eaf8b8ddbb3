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

/// A decimal integer at the start of a text, behind white space; false when there is none. Huge ones stand for any that
/// is too large.
bool read_integer(std::string_view text, long long &number) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    bool minus = text.starts_with('-');
    if (minus || text.starts_with('+')) text.remove_prefix(1);
    if (text.empty() || !rx_is_digit(text[0])) return false;
    number = 0;
    for (char digit : text) {
        if (!rx_is_digit(digit)) break;
        number = std::min(number * 10 + (digit - '0'), 1LL << 40);
    }
    if (minus) number = -number;
    return true;
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
    long long buffer = static_cast<long long>(set_aside.size());
    if (!operand.empty() && !read_integer(operand, buffer)) return 1;
    if (buffer < 1 || buffer > static_cast<long long>(set_aside.size())) return 2;
    current = std::move(set_aside[static_cast<size_t>(buffer) - 1]);
    set_aside.resize(static_cast<size_t>(buffer) - 1);
    return 0;
}

void rx_desbuf() {
    current = line_queue();
}
