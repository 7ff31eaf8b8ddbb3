// The stream functions that work on bytes.
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "engine/engine.h"
#include "engine/streams.h"
#include "platform/console.h"
#include "platform/files.h"
#include "platform/input.h"
#include "platform/path_status.h"

#include <algorithm>
#include <cerrno>

namespace {

/// What a failure of the system gives: an error, or the empty string after a CALL ON NOTREADY handler.
rx_value not_ready(std::string_view head, std::string_view name) {
    return rx_notready(true, rx_stream_failure(head, name), std::string(name));
}

[[noreturn]] void bad_position(const bu_args &args, size_t i, std::string_view name) {
    args.fail(i, std::string("invalid start position for file \"").append(name).append("\"."));
}

/// The bytes that were read, with RC 0; at the end of the file the empty string, with RC "EOF".
rx_value bytes_read(std::string_view bytes) {
    if (bytes.empty())
        rx_var_assign(rx_system_symbol(RX_RC), rx_string("EOF"));
    else
        rx_set_code(RX_RC, 0);
    return rx_string(bytes);
}

/// Keys of the terminal, bytes of any other standard input.
rx_value read_keys(size_t count, bool echo) {
    constexpr size_t at_once = 1 << 16;
    std::string keys;
    while (keys.size() < count) {
        size_t done = keys.size(), part = std::min(count - done, at_once);
        keys.resize(done + part);
        long got = rx_input_keys(keys.data() + done, part, echo);
        if (got < 0 && done == 0) return not_ready("CHARIN(): error while reading file", "stdin");
        keys.resize(done + static_cast<size_t>(std::max(got, 0L)));
        if (keys.size() < done + part) break;
        if (keys.size() > bu_longest_result) rx_raise(5);
    }
    return bytes_read(keys);
}

} // namespace

/// charin([name], [start], [count]), also SysGetKey
/// Reads bytes of a file, from the position that reading or writing has left or from that byte on; 1 unless told. RC
/// becomes 0, or EOF with an empty result at the end of the file. A file that doesn't exist is made. Without a name
/// keys are read, each as soon as it is pressed; they are shown unless a start is given. Enter gives a line feed.
/// Result: string
/// Errors: 40 for a wrong count of arguments, a start that isn't whole and above 0 or lies behind the last byte, a count
/// that isn't whole and 0 or more; NOTREADY when the system refuses
/// Example: charin('/dev/zero', 1, 3) == '000000'x -> 1
rx_value bu_charin(const rx_expr *list) {
    bu_args args(list, "CHARIN", 0, 3, "up to 3 arguments.");
    size_t start = args.position(1, BU_ROUNDED, 0);
    size_t count = args.size(2, BU_ROUNDED, 1);
    if (!args.given(0)) {
        if (count > 0) return read_keys(count, start == 0);
        rx_set_code(RX_RC, 0);
        return rx_string("");
    }
    std::string_view name = args.text(0);
    rx_stream *stream = rx_stream_open_bytes(name, true);
    if (!stream) return not_ready("CHARIN(): unable to open file", name);
    if (!rx_stream_check(*stream)) return not_ready("CHARIN(): unable to get information for file", name);
    if (start > 0) {
        if (!rx_stream_has_position(*stream)) return not_ready("CHARIN(): unable to get information for file", name);
        if (stream->status.has_contents && start > stream->status.size) bad_position(args, 1, name);
        stream->position = start - 1;
    } else if (count == 0) {
        stream->position = 0;
    }
    if (count == 0) {
        rx_set_code(RX_RC, 0);
        return rx_string("");
    }
    std::string_view bytes;
    if (!rx_stream_bytes(*stream, stream->position, count, bytes))
        return not_ready("CHARIN(): error while reading file", name);
    if (bytes.size() > bu_longest_result) rx_raise(5);
    stream->position += bytes.size();
    return bytes_read(bytes);
}

namespace {

rx_value write_to_console(std::string_view text) {
    size_t written = rx_console_write(1, text);
    if (written > 0 || text.empty()) return bu_count(text.size() - written);
    std::string message = "CHAROUT(): error while writing stdout: " + rx_system_error();
    return rx_notready(true, std::move(message), "stdout");
}

} // namespace

/// charout([name], [text], [start])
/// Writes bytes to a file, at the position that reading or writing has left (at the end, when the file was just
/// opened) or over those from that byte on. With a start only, goes there. With a name only, closes the file. Without a
/// name the text goes to standard output.
/// Result: the count of bytes that could not be written
/// Errors: 40 for a wrong count of arguments, a start that isn't whole and above 0 or lies behind the last byte; NOTREADY
/// when the system refuses
/// Example: charout('/dev/null', 'text') -> 0
rx_value bu_charout(const rx_expr *list) {
    bu_args args(list, "CHAROUT", 0, 3, "up to 3 arguments.");
    size_t start = args.position(2, BU_ROUNDED, 0);
    if (!args.given(0)) {
        if (start > 0) args.fail(2, "no start value may be given for \"stdout\".");
        return args.given(1) ? write_to_console(args.text(1)) : bu_count(0);
    }
    std::string_view name = args.text(0);
    rx_stream *stream = rx_stream_find_given(name);
    if (!args.given(1) && start == 0) {
        if (stream) rx_stream_close(stream);
        return bu_count(0);
    }
    if (!stream) {
        stream = rx_stream_open_bytes(name, false);
        if (!stream) return not_ready("CHAROUT(): unable to open file", name);
        stream->position = stream->status.size;
    }
    if (start > 0) {
        if (!rx_stream_check(*stream)) return not_ready("CHAROUT(): unable to get information for file", name);
        if (stream->status.has_contents && start > stream->status.size) bad_position(args, 2, name);
        stream->position = start - 1;
    }
    std::string_view text = args.text(1);
    if (text.empty()) return bu_count(0);
    long written = rx_write_once(stream->file, text, stream->position, stream->status.seekable);
    if (written < 0) return not_ready("CHAROUT(): error while writing file", name);
    stream->position += static_cast<size_t>(written);
    stream->status.size = std::max(stream->status.size, stream->position);
    stream->window_length = 0;
    rx_stream_wrote(*stream);
    return bu_count(text.size() - static_cast<size_t>(written));
}

/// chars([name])
/// The count of bytes from the position in an open file to its end, the size of any other file, 0 when there is none.
/// Without a name the same as `lines`.
/// Result: number
/// Errors: 40 for a wrong count of arguments; NOTREADY when the system refuses
/// Example: chars('/no/such/file') -> 0
rx_value bu_chars(const rx_expr *list) {
    bu_args args(list, "CHARS", 0, 1, "1 argument allowed.");
    if (!args.given(0)) return bu_count(rx_input_waiting());
    std::string_view name = args.text(0);
    const std::string &path = rx_stream_path(name);
    rx_stream *stream = rx_stream_find_path(path);
    if (!stream || !rx_stream_is_fresh(*stream)) {
        rx_path_status status;
        bool missing = !rx_get_path_status(path, true, status);
        if (missing && (errno == ENOENT || errno == ENOTDIR)) return bu_count(0);
        if (missing) return not_ready("CHARS(): unable to stat() file", name);
        if (!stream) return bu_count(static_cast<size_t>(status.size));
        if (!rx_stream_check(*stream)) return not_ready("CHARS(): unable to stat() file", name);
    }
    if (!rx_stream_has_position(*stream)) return not_ready("CHARS(): unable to lseek() file", name);
    uint64_t size = stream->status.size;
    return bu_count(size > stream->position ? size - stream->position : 0);
}
