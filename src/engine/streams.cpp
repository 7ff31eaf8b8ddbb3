#include "engine/streams.h"

#include "base/raise.h"
#include "platform/clock.h"
#include "platform/directories.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/world.h"

#include <algorithm>
#include <cerrno>

namespace {

constexpr size_t smallest_window = 4096;
constexpr size_t largest_window = 1 << 18;
constexpr uint64_t smallest_unsized = 1 << 16;  ///< read at least, since some files don't tell their size
constexpr uint64_t largest_of_device = 1 << 25; ///< read at most from what has no size at all

struct stream_table {
    std::vector<std::unique_ptr<rx_stream>> rows;
    size_t last_found = 0;
    // The full path of the name that was asked for last.
    std::string path_of, path;
    uint64_t path_change = 0;
};
rx_run_local<stream_table> table;

/// True when the row was opened under this name in the directory that is current now. The system is asked for the
/// directory only after a change.
bool is_meant(rx_stream &stream, std::string_view name) {
    if (stream.given_name != name) return false;
    if (stream.directory_change == rx_directory_changes) return true;
    if (stream.opened_in != rx_current_directory()) return false;
    stream.directory_change = rx_directory_changes;
    return true;
}

bool same_file(const rx_file_status &a, const rx_file_status &b) {
    return a.device == b.device && a.number == b.number;
}

/// The bytes at hand can't be trusted any more.
void forget_window(rx_stream &stream) {
    stream.window_length = 0;
    if (stream.window_capacity > largest_window) {
        stream.window.reset();
        stream.window_capacity = 0;
    }
}

/// Takes a fresh status over; the window may be older.
bool look(rx_stream &stream) {
    if (!rx_status_of(stream.file, stream.status)) return false;
    if (stream.checked_changes != rx_world_changes) stream.is_console.reset();
    stream.checked_at = rx_tick();
    stream.checked_changes = rx_world_changes;
    stream.checked_console = rx_console_writes;
    forget_window(stream);
    return true;
}

/// Adds a row for an opened file; nothing of its contents is known.
rx_stream *add_row(rx_open_file &&file, std::string_view name, const std::string &path) {
    auto stream = std::make_unique<rx_stream>();
    stream->path = path;
    stream->given_name = name;
    stream->opened_in = rx_current_directory();
    stream->directory_change = rx_directory_changes;
    stream->file = std::move(file);
    if (!look(*stream)) return nullptr;
    for (auto &other : table->rows) {
        if (!same_file(other->status, stream->status)) continue;
        other->has_twin = true;
        stream->has_twin = true;
    }
    table->rows.push_back(std::move(stream));
    table->last_found = table->rows.size() - 1;
    return table->rows.back().get();
}

bool open_file(rx_open_file &file, const std::string &path, bool for_reading) {
    return file.open_for_update(path) || (for_reading && file.open_for_reading(path));
}

void go_to_end(rx_stream &stream) {
    stream.current_line = stream.line_count();
    stream.position = stream.known_size;
}

} // namespace

std::string rx_stream_failure(std::string_view head, std::string_view name) {
    std::string reason = rx_system_error();
    std::string text(head);
    text.append(" \"").append(name).append("\": ").append(reason).append(".");
    return text;
}

const std::string &rx_stream_path(std::string_view name) {
    stream_table &known = *table;
    if (known.path.empty() || known.path_of != name || known.path_change != rx_directory_changes) {
        known.path = rx_expand_name(name);
        if (known.path.empty()) known.path = name;
        known.path_of = name;
        known.path_change = rx_directory_changes;
    }
    return known.path;
}

rx_stream *rx_stream_find_given(std::string_view name) {
    std::vector<std::unique_ptr<rx_stream>> &rows = table->rows;
    size_t last = table->last_found;
    if (last < rows.size() && is_meant(*rows[last], name)) return rows[last].get();
    for (size_t i = 0; i < rows.size(); i++) {
        if (!is_meant(*rows[i], name)) continue;
        table->last_found = i;
        return rows[i].get();
    }
    return nullptr;
}

rx_stream *rx_stream_find_path(std::string_view path) {
    for (auto &stream : table->rows)
        if (stream->path == path) return stream.get();
    return nullptr;
}

void rx_stream_close(rx_stream *stream) {
    std::erase_if(table->rows, [&](const auto &row) { return row.get() == stream; });
}

bool rx_stream_is_fresh(rx_stream &stream) {
    if (stream.checked_changes != rx_world_changes || rx_tick() - stream.checked_at >= rx_ticks_of_a_moment)
        return false;
    if (stream.checked_console == rx_console_writes) return true;
    if (!stream.is_console) stream.is_console = rx_is_console_file(stream.status);
    return !*stream.is_console;
}

bool rx_stream_check(rx_stream &stream) {
    return rx_stream_is_fresh(stream) || look(stream);
}

bool rx_stream_has_position(const rx_stream &stream) {
    if (!stream.status.seekable) errno = ESPIPE;
    return stream.status.seekable;
}

void rx_stream_wrote(rx_stream &stream) {
    if (!stream.has_twin) return;
    for (auto &other : table->rows)
        if (other.get() != &stream && same_file(other->status, stream.status)) other->checked_at = 0;
}

rx_stream *rx_stream_open(std::string_view name, bool for_reading, std::string_view who, std::string &error) {
    auto failed = [&](const char *what) {
        error = rx_stream_failure(std::string(who).append("(): unable to ").append(what), name);
        return static_cast<rx_stream *>(nullptr);
    };
    rx_stream *stream = rx_stream_find_given(name);
    if (!stream) {
        const std::string &path = rx_stream_path(name);
        stream = rx_stream_find_path(path);
        if (!stream) {
            rx_open_file file;
            if (!open_file(file, path, for_reading)) return failed("open file");
            stream = add_row(std::move(file), name, path);
            if (!stream) return failed("stat() file");
            if (!rx_stream_scan(*stream, for_reading)) {
                failed("scan file");
                rx_stream_close(stream);
                return nullptr;
            }
            if (!for_reading) go_to_end(*stream);
            return stream;
        }
    }
    if (!rx_stream_check(*stream)) return failed("stat() file");
    if (stream->indexed && stream->known_size >= stream->status.size) return stream;
    if (!rx_stream_scan(*stream, for_reading)) return failed("scan file");
    go_to_end(*stream);
    return stream;
}

rx_stream *rx_stream_open_bytes(std::string_view name, bool for_reading) {
    if (rx_stream *stream = rx_stream_find_given(name)) return stream;
    const std::string &path = rx_stream_path(name);
    rx_open_file file;
    if (!open_file(file, path, for_reading)) return nullptr;
    return add_row(std::move(file), name, path);
}

bool rx_stream_bytes(rx_stream &stream, uint64_t offset, size_t count, std::string_view &bytes) {
    bool inside = offset >= stream.window_start && offset + count <= stream.window_start + stream.window_length;
    if (!inside) {
        const rx_file_status &status = stream.status;
        uint64_t there = std::max<uint64_t>(status.size > offset ? status.size - offset : 0, smallest_unsized);
        count = std::min<uint64_t>(count, status.has_contents ? there : largest_of_device);
        // A window twice as large as what was used of the last one: reading in order soon takes large steps, while
        // lines taken here and there, or between changes, cost no more than themselves.
        size_t wanted = std::max(count, std::clamp(stream.window_used * 2, smallest_window, largest_window));
        if (!status.has_contents) wanted = count;
        forget_window(stream);
        if (wanted > stream.window_capacity) {
            stream.window = std::make_unique_for_overwrite<char[]>(wanted);
            stream.window_capacity = wanted;
        }
        long got = rx_read_at(stream.file, stream.window.get(), wanted, offset, status.seekable);
        if (got < 0) return false;
        stream.window_start = offset;
        stream.window_length = static_cast<size_t>(got);
    }
    size_t skip = static_cast<size_t>(offset - stream.window_start);
    bytes = std::string_view(stream.window.get() + skip, std::min(count, stream.window_length - skip));
    stream.window_used = skip + bytes.size();
    if (!stream.status.has_contents) stream.window_length = 0;
    return true;
}
