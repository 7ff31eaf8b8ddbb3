#include "commands/execio_records.h"

#include "base/modes.h"
#include "commands/queue.h"
#include "engine/streams.h"
#include "platform/strings.h"
#include "values/numbers.h"

#include <algorithm>

namespace {

/// What lies within the margins.
std::string_view slice_of(std::string_view line, const execio_operands &operands) {
    size_t first = static_cast<size_t>(operands.margin_first), last = static_cast<size_t>(operands.margin_last);
    return first < line.size() ? line.substr(first, last - first + 1) : std::string_view();
}

/// What is stored of a line that was read. Which blanks STRIP takes off is seen at the beginning of the whole line,
/// even where the slice lies further to the right.
std::string_view kept_of(std::string_view line, const execio_operands &operands) {
    std::string_view slice = slice_of(line, operands);
    if (operands.strip)
        while (!slice.empty() && line[slice.size() - 1] == ' ') slice.remove_suffix(1);
    return slice;
}

/// A copy of a variable's text; an unset one is its name.
void read_variable(const rx_symbol &symbol, std::string &text) {
    rx_value scratch;
    rx_number_buffer buffer;
    text = rx_arg_text(rx_var_get(symbol, scratch, rx_read::quiet), buffer);
}

} // namespace

// ---- reading --------------------------------------------------------------------------------------------------------

execio_target::execio_target(const execio_operands &given) : operands_(given) {
    if (!operands_.stem.empty()) stem_.emplace(operands_.stem);
}

void execio_target::put(std::string_view record, bool in_front) {
    stored_++;
    if (stem_)
        rx_var_assign(stem_->at(stored_), rx_string(record));
    else if (!operands_.var.empty())
        rx_set_var(operands_.var, record);
    else if (in_front)
        rx_queue_head(rx_string(record));
    else
        rx_queue_tail(rx_string(record));
}

void execio_target::store(std::string_view line) {
    put(kept_of(line, operands_), operands_.order == execio_order::lifo);
}

void execio_target::store_found(std::string_view line, size_t ordinal, size_t number) {
    bool in_front = operands_.order == execio_order::not_given;
    put(kept_of(line, operands_), in_front);
    put(rx_int_text(static_cast<long long>(ordinal)) + " " + rx_int_text(static_cast<long long>(number)), in_front);
}

void execio_target::finish() {
    if (stem_ && !operands_.skip) rx_var_assign(stem_->at(0), rx_number(static_cast<double>(stored_), 0, 1));
}

// ---- writing --------------------------------------------------------------------------------------------------------

execio_source::execio_source(const execio_operands &given) : operands_(given) {
    if (!operands_.stem.empty()) stem_.emplace(operands_.stem);
}

bool execio_source::start(std::string &complaint) {
    count_ = operands_.lines;
    if (count_ != execio_all || !stem_) return true;
    std::string text;
    read_variable(stem_->at(0), text);
    double number;
    if (rx_scan_number(text, number) && number >= 0 && rx_is_whole(number)) {
        count_ = rx_to_int(number);
        return true;
    }
    complaint = "EXECIO: invalid stem " + operands_.stem + "0 value \"" + text + "\"";
    return false;
}

bool execio_source::at_hand() const {
    return operands_.has_string || stem_ || !operands_.var.empty() || rx_queue_count() > 0;
}

void execio_source::fetch() {
    if (operands_.has_string) {
        record_ = operands_.string;
    } else if (stem_) {
        read_variable(stem_->at(static_cast<unsigned>(fetched_)), record_);
    } else if (!operands_.var.empty()) {
        rx_arena arena;
        read_variable(*rx_parse_tails(arena, arena.copy(rx_folded(operands_.var))), record_);
    } else {
        record_ = rx_queue_pull().text();
    }
}

const std::string *execio_source::next() {
    if (fetched_ == count_) return nullptr;
    if (count_ != execio_all) fetched_++;
    fetch();
    std::string_view slice = slice_of(record_, operands_);
    if (operands_.strip) slice = slice.substr(0, slice.find_last_not_of(' ') + 1);
    if (slice.size() != record_.size()) record_ = std::string(slice);
    if (record_.empty()) return count_ == execio_all ? nullptr : &record_;
    if (operands_.lrecl >= 0) record_.resize(static_cast<size_t>(operands_.lrecl), ' ');
    record_ += rx_line_tail();
    if (operands_.case_upper) rx_upper(record_.data(), record_.size());
    return &record_;
}
