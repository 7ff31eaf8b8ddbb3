// Where the records of an EXECIO command go to and come from.
#pragma once

#include "commands/execio_operands.h"
#include "values/numbered.h"

#include <optional>
#include <string>
#include <string_view>

/// Takes the records that were read: to a stem, a variable, or the queue.
struct execio_target {
    explicit execio_target(const execio_operands &given);

    /// Stores what the margins and STRIP leave of a line.
    void store(std::string_view line);
    /// Stores the line that a search has found, and where that was: its ordinal among the lines read and its number in
    /// the file, both from 1. On the queue they go in front unless an order was asked for, the place as the first.
    void store_found(std::string_view line, size_t ordinal, size_t number);
    /// Tells a stem how many records it got.
    void finish();

private:
    const execio_operands &operands_;
    std::optional<rx_numbered_symbol> stem_;
    size_t stored_ = 0;

    void put(std::string_view record, bool in_front);
};

/// Gives the records to be written: from STRING, a stem, a variable, or the queue.
struct execio_source {
    explicit execio_source(const execio_operands &given);

    /// Sees how many records there are to be: the count, or what the stem says for "*", or as many as come before an
    /// empty one. False when what the stem says is no count; `complaint` then tells. Comes before the first `next`.
    bool start(std::string &complaint);

    /// The next record as it is to be written, without its line feed; null when there are no more. Valid until the next
    /// call.
    const std::string *next();

    /// True when the next record is there without waiting for somebody to type it.
    bool at_hand() const;

private:
    const execio_operands &operands_;
    std::optional<rx_numbered_symbol> stem_;
    int count_ = 0;
    int fetched_ = 0;
    std::string record_;

    void fetch();
};
