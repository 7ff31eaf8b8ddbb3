// The stream functions that work on lines, and the settings of streams.
#include "base/output.h"
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "engine/clauses.h"
#include "engine/streams.h"
#include "platform/input.h"
#include "platform/strings.h"

namespace {

/// What a failure of the system gives: an error, or the empty string after a CALL ON NOTREADY handler.
rx_value not_ready(std::string &&message, std::string_view name) {
    return rx_notready(true, std::move(message), std::string(name));
}

[[noreturn]] void bad_position(const bu_args &args, size_t i, std::string_view name) {
    args.fail(i, std::string("invalid start position for file \"").append(name).append("\"."));
}

} // namespace

/// linein([name], [line], [count])
/// Reads a line of a file: the current one, or the one with that number. With a count of 0 only the position is
/// changed. Behind the last line the result is the empty string; `lines` tells where the end is. A file that doesn't
/// exist is made. Without a name a line of standard input is read, and RC becomes 0, or EOF at its end.
/// Result: string
/// Errors: 40 for a wrong count of arguments, a line that isn't whole and above 0 or lies behind the last one, a count
/// other than 0 and 1; NOTREADY when the system refuses
/// Example: linein(, , 0) || '.' -> .
rx_value bu_linein(const rx_expr *list) {
    bu_args args(list, "LINEIN", 0, 3, "up to 3 arguments.");
    double line = 0;
    if (args.given(1)) {
        line = args.whole(1, BU_ROUNDED, 1, "argument 2 must be a whole number.",
                          "argument 2 must be a strictly positive integer.");
        if (!args.given(0)) args.fail(1, "no start value may be given for \"stdin\".");
    }
    double count = args.given(2) ? args.number(2, "argument 3 must be a whole number.") : 1;
    if (count != 0 && count != 1) args.fail(2, "argument 3 must be \"0\" or \"1\".");
    if (!args.given(0)) return count == 0 ? rx_string("") : rx_queue_door.read_line();

    std::string_view name = args.text(0);
    std::string error;
    rx_stream *stream = rx_stream_open(name, true, "LINEIN", error);
    if (!stream) return not_ready(std::move(error), name);
    if (line > 0) {
        bool there = line <= static_cast<double>(stream->line_count()) || (line == 1 && stream->line_count() == 0);
        if (!there) bad_position(args, 1, name);
        rx_stream_seek_line(*stream, static_cast<size_t>(line) - 1);
    }
    if (count == 0 || stream->lines_left() == 0) return rx_string("");
    std::string_view text;
    if (rx_stream_read_line(*stream, text)) return rx_string(text);
    return not_ready(rx_stream_failure("LINEIN(): error while reading file", name), name);
}

/// lines([name])
/// The count of lines from the current one to the end of a file. A file that doesn't exist is made. Without a name: 1
/// when a key is waiting or, on a pipe or file, when there is something to read.
/// Result: number
/// Errors: 40 for a wrong count of arguments; NOTREADY when the system refuses
/// Example: lines('/dev/null') -> 0
rx_value bu_lines(const rx_expr *list) {
    bu_args args(list, "LINES", 0, 1, "1 argument allowed.");
    if (!args.given(0)) return bu_count(rx_input_waiting());
    std::string_view name = args.text(0);
    std::string error;
    rx_stream *stream = rx_stream_open(name, true, "LINES", error);
    if (!stream) return not_ready(std::move(error), name);
    return bu_count(stream->lines_left());
}

namespace {

/// A plain number in the source is written as SAY would say it.
std::string_view text_to_write(bu_args &args, const rx_expr *list, rx_number_buffer &buffer) {
    const rx_expr *node = list->next;
    bool plain = node->type == STRING && node->flag == 0 && node->literal->number;
    return plain ? rx_arg_text(*node->literal->number, buffer) : args.text(1);
}

void say_line(std::string_view text) {
    static std::string line;
    line.assign(text).append(rx_line_tail()).append("\n");
    rx_write(line);
    if (line.capacity() > 1 << 20) line = std::string();
}

rx_value write_line(const rx_expr *list, bool line_feed) {
    bu_args args(list, "LINEOUT", 0, 3, "up to 3 arguments.");
    rx_number_buffer buffer;
    if (!args.given(0)) {
        if (args.given(1)) say_line(text_to_write(args, list, buffer));
        return bu_count(0);
    }
    std::string_view name = args.text(0);
    if (!args.given(1) && !args.given(2)) {
        if (rx_stream *stream = rx_stream_find_path(rx_stream_path(name))) rx_stream_close(stream);
        return bu_count(0);
    }
    double line = args.given(2) ? rx_round_digits(args.number(2, "argument 3 must be a whole number."), 9) : 0;
    std::string error;
    rx_stream *stream = rx_stream_open(name, false, "LINEOUT", error);
    if (!stream) return not_ready(std::move(error), name);
    if (args.given(2)) {
        if (!(line > 0) || line > static_cast<double>(stream->line_count()) + 1 || !rx_is_whole(line))
            bad_position(args, 2, name);
        rx_stream_seek_line(*stream, static_cast<size_t>(line) - 1);
    }
    if (!args.given(1)) return bu_count(0);
    std::string_view text = text_to_write(args, list, buffer);
    if (!rx_stream_write_line(*stream, text, rx_line_tail(), line_feed, "LINEOUT()", error))
        return not_ready(std::move(error), name);
    return bu_count(0);
}

} // namespace

/// lineout([name], [text], [line])
/// Writes a line to a file: over the current one, or the one with that number, the lines behind it moving; or behind
/// the last one, when the file was just opened, has been read to its end, or the number is one more than there are
/// lines. With a line only, goes there. With a name only, closes the file. Without a name the text goes to standard
/// output.
/// Result: 0
/// Errors: 40 for a wrong count of arguments, a line that isn't whole and above 0 or lies further behind; NOTREADY when
/// the system refuses
/// Example: lineout('/dev/null', 'text') -> 0
rx_value bu_lineout(const rx_expr *list) {
    return write_line(list, true);
}

/// linelast([name], [text], [line])
/// The same as `lineout`, except that no line feed follows a line that is written behind the last one.
/// Result: 0
/// Errors: those of `lineout`, under its name
/// Example: linelast('/dev/null', 'text') -> 0
rx_value bu_linelast(const rx_expr *list) {
    return write_line(list, false);
}

/// linesize()
/// The width of lines, which isn't limited.
/// Result: 0
/// Errors: 40 for any argument
/// Example: linesize() -> 0
rx_value bu_linesize(const rx_expr *list) {
    bu_args args(list, "LINESIZE");
    args.expect_none("must receive 0 argument.");
    return bu_count(0);
}

/// stream(...)
/// Streams are always ready. The arguments aren't even evaluated.
/// Result: READY
/// Example: stream('any', 'S') -> READY
rx_value bu_stream(const rx_expr *) {
    return rx_string("READY");
}

/// fileconv([mode])
/// Sets how lines end, to Unix (a line feed) or Windows (a carriage return and a line feed; the default of every run),
/// by the first letter in any case.
/// Result: UNIX or WINDOWS, the mode in force afterwards
/// Errors: 40 for a wrong count or another mode
/// Example: fileconv('u') -> UNIX
rx_value bu_fileconv(const rx_expr *list) {
    bu_args args(list, "FILECONV");
    constexpr const char *usage = "FILECONV() usage: FILECONV(Unix|Windows)";
    if (args.count() > 1) rx_arg_error(list, 0, usage);
    if (args.given(0)) {
        std::string mode = rx_lowered(args.text(0));
        mode.erase(0, mode.find_first_not_of(' '));
        if (!mode.starts_with('u') && !mode.starts_with('w')) rx_arg_error(list, 0, usage);
        rx_line_mode->is_unix = mode[0] == 'u';
    }
    return rx_string(rx_line_mode->is_unix ? "UNIX" : "WINDOWS");
}
