// DISKR, DISKW, DISKI and DISKD.
#include "base/output.h"
#include "commands/execio_actions.h"
#include "commands/execio_records.h"
#include "engine/streams.h"
#include "platform/files.h"
#include "platform/paths.h"

#include <algorithm>

namespace {

constexpr std::string_view who = "EXECIO";

/// The file that the operands name; a single dot stands for a part that is absent.
std::string file_name(const execio_operands &operands) {
    std::string name;
    if (operands.fn != ".") name = operands.fn;
    if (operands.ft != ".") name.append(".").append(operands.ft);
    return name;
}

std::string file_in_directory(const execio_operands &operands) {
    std::string name = file_name(operands);
    return operands.fd == "." ? name : operands.fd + "/" + name;
}

/// The file to be read; empty when there is none.
std::string find_file(const execio_operands &operands) {
    bool has_directory = operands.has_fd && operands.fd != "*";
    std::string name = has_directory ? file_in_directory(operands) : file_name(operands);
    if (has_directory || name.find('/') != std::string::npos || name.starts_with('~'))
        return rx_path_exists(rx_stream_path(name)) ? name : std::string();
    for (const std::string &directory : rx_path_list()) {
        std::string candidate = directory + "/" + name;
        if (rx_path_exists(candidate)) return directory == "." ? name : candidate;
    }
    return {};
}

void finish(const execio_operands &operands, rx_stream *stream) {
    if (operands.finis) rx_stream_close(stream);
}

int bad_linenum(const execio_operands &operands, const std::string &name) {
    return rx_execio_failure(operands, "EXECIO: invalid linenum position for file \"" + name + "\".");
}

bool matches(std::string_view line, const execio_operands &operands) {
    size_t first = static_cast<size_t>(operands.zone_first), last = static_cast<size_t>(operands.zone_last);
    std::string_view zone = first < line.size() ? line.substr(first, last - first + 1) : std::string_view();
    switch (operands.search) {
    case execio_search::find: return zone.starts_with(operands.target);
    case execio_search::locate: return zone.find(operands.target) != std::string_view::npos;
    default: return zone.find(operands.target) == std::string_view::npos;
    }
}

} // namespace

int rx_execio_read(const execio_operands &operands) {
    std::string name = find_file(operands);
    if (name.empty()) {
        if (!operands.notype) rx_print_error("Vandra: File not found.");
        return execio_no_file;
    }
    std::string error;
    rx_stream *stream = rx_stream_open(name, true, who, error);
    if (!stream) return rx_execio_failure(operands, error);
    if (operands.linenum >= 0) {
        size_t line = static_cast<size_t>(operands.linenum);
        if (line >= stream->line_count() && (line > 0 || stream->line_count() > 0)) return bad_linenum(operands, name);
        rx_stream_seek_line(*stream, line);
    }
    size_t left = stream->lines_left();
    size_t wanted = operands.lines == execio_all ? left : static_cast<size_t>(operands.lines);
    size_t most = std::min(wanted, left), taken = 0;
    bool searches = operands.search != execio_search::none, found = false;
    execio_target target(operands);
    if (operands.skip && !searches) {
        rx_stream_seek_line(*stream, stream->current_line + most);
        taken = most;
    }
    while (taken < most && !found) {
        std::string_view line;
        size_t number = stream->current_line + 1;
        if (!rx_stream_read_line(*stream, line))
            return rx_execio_failure(operands, rx_stream_failure("EXECIO: error while reading file", name));
        taken++;
        found = searches && matches(line, operands);
        if (!searches)
            target.store(line);
        else if (found && !operands.skip)
            target.store_found(line, taken, number);
    }
    if (stream->lines_left() == 0) stream->position = stream->known_size;
    target.finish();
    finish(operands, stream);
    if (searches) return found ? 0 : execio_not_found;
    return taken < wanted ? execio_ended_first : 0;
}

namespace {

/// Opens the file to be changed and goes to the line, if one was given. Null, and the code, on failure.
rx_stream *open_to_change(const execio_operands &operands, int &code) {
    std::string name = file_in_directory(operands), error;
    rx_stream *stream = rx_stream_open(name, false, who, error);
    if (!stream) {
        code = rx_execio_failure(operands, error);
        return nullptr;
    }
    if (operands.linenum < 0) return stream;
    if (static_cast<size_t>(operands.linenum) > stream->line_count()) {
        code = bad_linenum(operands, name);
        return nullptr;
    }
    rx_stream_seek_line(*stream, static_cast<size_t>(operands.linenum));
    return stream;
}

constexpr size_t written_at_once = 1 << 18;

} // namespace

int rx_execio_write(const execio_operands &operands) {
    int code = 0;
    rx_stream *stream = open_to_change(operands, code);
    if (!stream) return code;
    execio_source source(operands);
    std::string error;
    if (!source.start(error)) return rx_execio_failure(operands, error);
    // A command that begins inside the file never comes to its end, since it stays at the last line.
    bool appends = stream->lines_left() == 0;
    rx_stream_lines lines;
    auto append = [&] {
        bool done = lines.ends.empty() || rx_stream_append_lines(*stream, lines, who, error);
        lines.clear();
        return done;
    };
    while (const std::string *record = source.next()) {
        if (appends)
            lines.add(*record);
        else if (!rx_stream_write_line(*stream, *record, {}, true, who, error))
            return rx_execio_failure(operands, error);
        // Nobody is to wait for what he has typed before.
        if ((lines.text.size() >= written_at_once || !source.at_hand()) && !append())
            return rx_execio_failure(operands, error);
    }
    if (!append()) return rx_execio_failure(operands, error);
    finish(operands, stream);
    return 0;
}

int rx_execio_insert(const execio_operands &operands) {
    int code = 0;
    rx_stream *stream = open_to_change(operands, code);
    if (!stream) return code;
    execio_source source(operands);
    std::string error;
    if (!source.start(error)) return rx_execio_failure(operands, error);
    rx_stream_lines lines;
    while (const std::string *record = source.next()) lines.add(*record);
    if (!rx_stream_insert_lines(*stream, lines, who, error)) return rx_execio_failure(operands, error);
    finish(operands, stream);
    return 0;
}

int rx_execio_delete(const execio_operands &operands) {
    int code = 0;
    rx_stream *stream = open_to_change(operands, code);
    if (!stream) return code;
    size_t first = stream->current_line, left = stream->lines_left();
    size_t count = operands.lines == execio_all ? left : std::min(left, static_cast<size_t>(operands.lines));
    std::string error;
    if (!rx_stream_delete_lines(*stream, first, count, who, error)) return rx_execio_failure(operands, error);
    finish(operands, stream);
    return 0;
}
