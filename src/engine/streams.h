// The open streams.
//
// A file is opened once, when it is first named; from then on the name finds its row in the table. The stream functions
// and EXECIO work on the same rows, so they share one current line; that is why the table lives here, below both.
//
// A row is found by the name as the program wrote it together with the directory that was current at that time, so a
// relative name keeps its meaning; failing that, by the full path. Rows are looked up in every call and never held
// longer: closing a stream destroys its row.
//
// A line function gives the row an index: `offsets[k]` is where line k (from 0) starts, and the last entry, which
// belongs to no line, is one past the line feed of the last line. A last line without a line feed counts as if one
// followed; its end then lies one behind the file's. The line feed alone separates lines. The index is made by one pass
// over the file and kept up by the functions that change lines; what else changes the file is only noticed when it
// makes the file larger than `known_size`. Then the index is made anew and the stream stands at the end.
//
// `position` is the byte at which the character functions go on. Line functions set it behind what they read or wrote.
//
// The system is not asked at every use. A row trusts what it knows for less than a millisecond, and as long as this process
// gave nobody else the chance to act (platform/world.h) and wrote nothing to the same file in another way. The same
// holds for the window, a piece of the file that was read ahead. What is written goes to the file at once.
//
// The table belongs to a run; its end closes all rows. Failures are told by a text, made by rx_stream_failure, that the
// caller passes on in its own way: a stream function by NOTREADY, EXECIO by its return code.
#pragma once

#include "base/run_local.h"
#include "platform/open_file.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// How lines end, for the run: in "Windows" mode a line written ends in carriage return and line feed, a line read
/// loses one trailing carriage return, and a final byte 26 makes no extra line. "Unix" leaves bytes as they are.
struct rx_line_mode_record {
    bool is_unix = false;
};
inline rx_run_local<rx_line_mode_record> rx_line_mode;

/// What a written line gets before its line feed.
inline std::string_view rx_line_tail() {
    return rx_line_mode->is_unix ? std::string_view() : std::string_view("\r");
}

struct rx_stream {
    std::string path;              ///< full path
    std::string given_name;        ///< as the program wrote it
    std::string opened_in;         ///< the current directory at that time
    uint64_t directory_change = 0; ///< rx_directory_changes when `opened_in` was last known to be the current one

    rx_open_file file;
    rx_file_status status; ///< kind and identity; its size is that of the last look
    uint64_t known_size = 0;
    uint64_t position = 0;

    bool indexed = false;
    std::vector<uint64_t> offsets; ///< one more than there are lines; empty without an index
    size_t current_line = 0;       ///< what the next line function reads or writes

    size_t line_count() const { return offsets.empty() ? 0 : offsets.size() - 1; }
    size_t lines_left() const { return line_count() > current_line ? line_count() - current_line : 0; }

    // What was read ahead, and how long it may be trusted.
    std::unique_ptr<char[]> window;
    size_t window_capacity = 0;
    size_t window_length = 0;
    uint64_t window_start = 0;
    size_t window_used = 0; ///< bytes of it that were asked for
    uint64_t checked_at = 0;
    uint64_t checked_changes = 0;
    uint64_t checked_console = 0;
    std::optional<bool> is_console; ///< standard output or error goes to this file; asked when it first matters
    bool has_twin = false;          ///< another row may have the same file open
};

/// Finds or opens the stream of a name for a line function; a file that isn't there is made. A new row stands at the
/// first line for reading, at the end for writing. For reading, a file that can't be written will do. A row whose file
/// has grown, or that had no index, stands at the end. Null and `error` on failure; `who` is the caller's name in it.
rx_stream *rx_stream_open(std::string_view name, bool for_reading, std::string_view who, std::string &error);

/// Finds the stream by name and directory, or opens it without an index, for the character functions. The row stands
/// at byte 0. Null, with the reason in rx_system_error(), on failure.
rx_stream *rx_stream_open_bytes(std::string_view name, bool for_reading);

/// The stream of a name in the current directory, or null.
rx_stream *rx_stream_find_given(std::string_view name);

/// The full path of a name; valid until the next call.
const std::string &rx_stream_path(std::string_view name);

/// The first stream open under a full path, or null.
rx_stream *rx_stream_find_path(std::string_view path);

/// Closes a stream and removes its row.
void rx_stream_close(rx_stream *stream);

/// "`head` "name": reason." with the reason of the last failure of the system.
std::string rx_stream_failure(std::string_view head, std::string_view name);

/// True when what is known of the file may be trusted as it is.
bool rx_stream_is_fresh(rx_stream &stream);

/// Makes sure that what is known of the file is fresh; false when the system doesn't answer.
bool rx_stream_check(rx_stream &stream);

/// False, with the reason in rx_system_error(), for what gives its bytes in one order only, such as a pipe.
bool rx_stream_has_position(const rx_stream &stream);

/// Bytes of the file, fewer where it ends; the view is valid until the next use of the stream. False on failure. The
/// caller has checked the stream. From what can't be seeked, the next bytes there are.
bool rx_stream_bytes(rx_stream &stream, uint64_t offset, size_t count, std::string_view &bytes);

/// Tells the other rows of the same file that this one has written.
void rx_stream_wrote(rx_stream &stream);

// ---- lines (stream_lines.cpp) ---------------------------------------------------------------------------------------

/// Makes the index from the file's contents, and goes to the first line.
bool rx_stream_scan(rx_stream &stream, bool for_reading);

/// Moves to a line (from 0, at most the count of lines).
void rx_stream_seek_line(rx_stream &stream, size_t line);

/// Reads the current line, which must exist, and moves on. In Windows mode a carriage return at its end goes. The view
/// is valid until the next use of the stream. False on failure. Error 5 for a line that is longer than a value can be.
bool rx_stream_read_line(rx_stream &stream, std::string_view &line);

/// Writes `text` and `tail` over the current line, the rest of the file moving up or down, or, behind the last line, to
/// the end of the file with a line feed if `line_feed` says so. Then moves on, but after a replacement only as far as
/// the last line: writing again replaces that once more. False and `error` on failure; the file may then be half moved.
bool rx_stream_write_line(rx_stream &stream, std::string_view text, std::string_view tail, bool line_feed,
                          std::string_view who, std::string &error);

/// Lines to be written together.
struct rx_stream_lines {
    std::string text;         ///< each with its line feed
    std::vector<size_t> ends; ///< where each ends in the text, behind the line feed

    void add(std::string_view line) {
        text.append(line).push_back('\n');
        ends.push_back(text.size());
    }
    void clear() {
        text.clear();
        ends.clear();
    }
};

/// Writes lines behind the last one, which must be where the stream stands: the same as writing them one by one.
bool rx_stream_append_lines(rx_stream &stream, const rx_stream_lines &lines, std::string_view who, std::string &error);

/// Inserts lines before the current one and stays in front of that one.
bool rx_stream_insert_lines(rx_stream &stream, const rx_stream_lines &lines, std::string_view who, std::string &error);

/// Deletes `count` existing lines from number `first` on; the line behind them becomes the current one.
bool rx_stream_delete_lines(rx_stream &stream, size_t first, size_t count, std::string_view who, std::string &error);
