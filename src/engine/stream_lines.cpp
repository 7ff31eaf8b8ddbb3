// Lines of a stream: the index, reading, and the changes in the middle of a file.
#include "base/raise.h"
#include "engine/streams.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t scan_block = 1 << 18;
constexpr size_t longest_line = size_t{1} << 30;

/// Fills the index from the contents; false when they can't be read.
bool index_lines(rx_stream &stream) {
    std::unique_ptr<char[]> block(new char[scan_block]);
    std::vector<uint64_t> &offsets = stream.offsets;
    uint64_t at = 0;
    char last = '\n';
    for (;;) {
        long got = rx_read_at(stream.file, block.get(), scan_block, at);
        if (got < 0) return false;
        if (got == 0) break;
        const char *byte = block.get(), *end = byte + got;
        last = end[-1];
        while (const void *found = std::memchr(byte, '\n', static_cast<size_t>(end - byte))) {
            byte = static_cast<const char *>(found) + 1;
            offsets.push_back(at + static_cast<uint64_t>(byte - block.get()));
        }
        if (at == 0) offsets.reserve(offsets.size() * (stream.status.size / static_cast<uint64_t>(got) + 1));
        at += static_cast<uint64_t>(got);
    }
    bool ends = last == '\n' || (last == '\x1A' && !rx_line_mode->is_unix);
    if (!ends) offsets.push_back(at + 1);
    stream.known_size = at;
    return true;
}

/// Failure of one step of a change. It didn't come to its end, so nothing that was known can be trusted.
bool failed(rx_stream &stream, std::string_view who, const char *what, std::string &error) {
    error = rx_stream_failure(std::string(who).append(": unable to ").append(what), stream.given_name);
    stream.checked_at = 0;
    stream.window_length = 0;
    rx_stream_wrote(stream);
    return false;
}

/// After a change inside the file of which everything is known: the file's size, and the line at which to go on.
void settle(rx_stream &stream, uint64_t size, size_t line) {
    stream.known_size = stream.status.size = size;
    stream.window_length = 0;
    rx_stream_seek_line(stream, line);
    rx_stream_wrote(stream);
}

/// The size of the file right now.
bool size_now(rx_stream &stream, uint64_t &size) {
    rx_file_status status;
    if (!rx_status_of(stream.file, status)) return false;
    size = status.size;
    return true;
}

/// Writes to the end of the file.
bool append(rx_stream &stream, const std::string_view (&pieces)[3], std::string_view who, std::string &error) {
    size_t done;
    if (!rx_append(stream.file, pieces, done)) return failed(stream, who, "write in file", error);
    // Behind the size that was seen last: somebody else may have cut what is known to be longer.
    stream.known_size = stream.position = stream.status.size += done;
    rx_stream_wrote(stream);
    return true;
}

/// Moves what lies behind `end` so that it begins at `new_end`, and takes the new size. Should somebody else have cut the
/// file before that, there is nothing to be moved.
bool make_room(rx_stream &stream, uint64_t end, uint64_t new_end, uint64_t &size) {
    uint64_t old = size;
    if (old < end || new_end == end) return true;
    size = old - end + new_end;
    if (new_end > end && old > end && !rx_lengthen(stream.file, old, size - old)) return false;
    return rx_move_bytes(stream.file, end, old, new_end) && (new_end > end || rx_cut(stream.file, size));
}

/// Moves the entries of the index from number `first` on; `difference` wraps around for a move down.
void shift_index(rx_stream &stream, size_t first, uint64_t difference) {
    for (size_t i = first; i < stream.offsets.size(); i++) stream.offsets[i] += difference;
}

bool replace_line(rx_stream &stream, std::string_view text, std::string_view tail, std::string_view who,
                  std::string &error) {
    size_t line = stream.current_line;
    uint64_t begin = stream.offsets[line], end = stream.offsets[line + 1];
    uint64_t length = text.size() + tail.size(), size;
    if (!size_now(stream, size)) return failed(stream, who, "stat() file", error);
    // The line feed stays where it is in the file, or moves with what follows. A last line may have none.
    if (!make_room(stream, end - 1, begin + length, size)) return failed(stream, who, "scroll file", error);
    shift_index(stream, line + 1, begin + length + 1 - end);
    std::string whole;
    if (!tail.empty()) text = whole.append(text).append(tail);
    if (!rx_write_at(stream.file, text, begin)) return failed(stream, who, "write in file", error);
    settle(stream, std::max(size, begin + length), line + 1);
    if (stream.current_line == stream.line_count()) stream.current_line = line;
    return true;
}

} // namespace

bool rx_stream_scan(rx_stream &stream, bool for_reading) {
    stream.offsets.assign(1, 0);
    stream.known_size = 0;
    stream.current_line = 0;
    stream.indexed = true;
    if (stream.status.has_contents) {
        stream.indexed = index_lines(stream);
        return stream.indexed;
    }
    // Whatever a device or a pipe gives, it has no lines to be numbered; only the pipe says so.
    return !for_reading || rx_stream_has_position(stream);
}

void rx_stream_seek_line(rx_stream &stream, size_t line) {
    stream.current_line = line;
    stream.position = std::min(stream.offsets[line], stream.known_size);
}

bool rx_stream_read_line(rx_stream &stream, std::string_view &line) {
    uint64_t begin = stream.offsets[stream.current_line], end = stream.offsets[stream.current_line + 1];
    if (end - begin > longest_line) rx_raise(5);
    if (!rx_stream_bytes(stream, begin, static_cast<size_t>(end - begin - 1), line)) return false;
    if (!rx_line_mode->is_unix && line.ends_with('\r')) line.remove_suffix(1);
    stream.current_line++;
    stream.position = std::min(end, stream.known_size);
    return true;
}

bool rx_stream_write_line(rx_stream &stream, std::string_view text, std::string_view tail, bool line_feed,
                          std::string_view who, std::string &error) {
    if (stream.current_line < stream.line_count()) return replace_line(stream, text, tail, who, error);
    if (!append(stream, {text, tail, line_feed ? "\n" : ""}, who, error)) return false;
    stream.offsets.push_back(stream.offsets.back() + text.size() + tail.size() + 1);
    stream.current_line = stream.line_count();
    return true;
}

bool rx_stream_append_lines(rx_stream &stream, const rx_stream_lines &lines, std::string_view who, std::string &error) {
    if (!append(stream, {lines.text, {}, {}}, who, error)) return false;
    uint64_t begin = stream.offsets.back();
    for (size_t end : lines.ends) stream.offsets.push_back(begin + end);
    stream.current_line = stream.line_count();
    return true;
}

bool rx_stream_insert_lines(rx_stream &stream, const rx_stream_lines &lines, std::string_view who, std::string &error) {
    if (lines.ends.empty()) return true;
    const std::string &text = lines.text;
    size_t line = stream.current_line, count = lines.ends.size();
    uint64_t begin = stream.offsets[line], size;
    if (!size_now(stream, size)) return failed(stream, who, "stat() file", error);
    if (begin >= size && line == stream.line_count()) return rx_stream_append_lines(stream, lines, who, error);
    if (!make_room(stream, begin, begin + text.size(), size)) return failed(stream, who, "scroll file", error);
    if (!rx_write_at(stream.file, text, begin)) return failed(stream, who, "write in file", error);
    shift_index(stream, line + 1, text.size());
    auto place = stream.offsets.begin() + static_cast<std::ptrdiff_t>(line + 1);
    place = stream.offsets.insert(place, lines.ends.begin(), lines.ends.end());
    std::for_each_n(place, count, [begin](uint64_t &end) { end += begin; });
    settle(stream, std::max(size, begin + text.size()), line + count);
    return true;
}

bool rx_stream_delete_lines(rx_stream &stream, size_t first, size_t count, std::string_view who, std::string &error) {
    if (count == 0) return true;
    uint64_t begin = stream.offsets[first], end = stream.offsets[first + count], size;
    if (!size_now(stream, size)) return failed(stream, who, "stat() file", error);
    uint64_t behind = size > end ? size - end : 0;
    bool moved = rx_move_bytes(stream.file, end, size, begin);
    if (!moved || (size > begin && !rx_cut(stream.file, begin + behind)))
        return failed(stream, who, "scroll file", error);
    auto gap = stream.offsets.begin() + static_cast<std::ptrdiff_t>(first + 1);
    stream.offsets.erase(gap, gap + static_cast<std::ptrdiff_t>(count));
    shift_index(stream, first + 1, begin - end);
    settle(stream, std::min(size, begin + behind), first);
    return true;
}
