#include "front/report.h"

#include "base/messages.h"
#include "base/output.h"
#include "base/raise.h"

#include <algorithm>
#include <string>

namespace {

/// The head of a report: the prefixed source line and the caret below it.
std::string head_of(std::string_view prefix, std::string_view line_text, unsigned column) {
    size_t last = line_text.empty() ? 0 : line_text.size() - 1;
    std::string head = "\n";
    head += prefix;
    head += line_text;
    head += '\n';
    head.append(prefix.size() + std::min<size_t>(column, last), ' ');
    head += "^\nError ";
    head += std::to_string(rx_error.number);
    return head;
}

void print(std::string report) {
    report += ": ";
    report += rx_error_text(rx_error.number);
    report += '\n';
    if (rx_error.has_extra) {
        report += '\n';
        report += rx_error.extra;
        report += "\n\n";
        rx_error.extra.clear();
        rx_error.has_extra = false;
    }
    rx_write(report);
}

bool holds(const rx_source_entry &entry, unsigned line) {
    return static_cast<int>(line) >= entry.first_line && static_cast<int>(line) <= entry.last_line;
}

std::string_view line_in(const rx_program &program, const rx_source_entry &entry, unsigned line) {
    std::string_view segment = std::string_view(program.source).substr(entry.start, entry.length);
    return rx_line_of(segment, line - static_cast<unsigned>(entry.first_line));
}

} // namespace

const rx_source_entry &rx_entry_of(const rx_program &program, unsigned line) {
    // Most questions are about the source of the last one; each call of a routine asks, for SIGL.
    static size_t latest = 0;
    if (latest < program.entries.size() && holds(program.entries[latest], line)) return program.entries[latest];
    // Entries follow each other, so the one in front of the first that begins later is the only one that can hold it.
    auto later =
        std::upper_bound(program.entries.begin(), program.entries.end(), line,
                         [](unsigned at, const auto &entry) { return static_cast<int>(at) < entry.first_line; });
    if (later == program.entries.begin() || !holds(later[-1], line)) return program.entries.back();
    latest = static_cast<size_t>(later - program.entries.begin()) - 1;
    return program.entries[latest];
}

namespace {
[[gnu::noinline]] unsigned line_of_loaded(const rx_program &program, unsigned line) {
    return line - static_cast<unsigned>(rx_entry_of(program, line).first_line);
}
} // namespace

unsigned rx_own_line(const rx_program &program, unsigned line) {
    if (program.entries.empty() || static_cast<int>(line) <= program.entries[0].last_line) return line;
    return line_of_loaded(program, line);
}

bool rx_source_line(const rx_program &program, unsigned line, std::string_view &text) {
    if (program.entries.empty()) return false;
    const rx_source_entry &entry = rx_entry_of(program, line);
    if (!holds(entry, line)) return false;
    text = line_in(program, entry, line);
    return true;
}

void rx_report(const rx_program &program, unsigned line, unsigned column, bool syntax_trapped) {
    if (syntax_trapped || program.entries.empty()) return;
    const rx_source_entry &entry = rx_entry_of(program, line);
    unsigned number = line - static_cast<unsigned>(entry.first_line) + 1;
    // The start-up file stands in front of the main source only.
    unsigned rc_lines = &entry == &program.entries.front() ? program.rc_lines : 0;
    bool in_start_up = number <= rc_lines;
    std::string shown = std::to_string(in_start_up ? number : number - rc_lines);
    std::string prefix = "    " + shown + (in_start_up ? " (.vandrarc) +++ " : " +++ ");

    std::string report = head_of(prefix, line_in(program, entry, line), column);
    report += " on line " + shown + " in file \"" + entry.name + '"';
    if (in_start_up) report += " (while processing \".vandrarc\")";
    print(std::move(report));
}

void rx_report_interpreted(std::string_view text, unsigned line, unsigned column, bool syntax_trapped) {
    if (syntax_trapped) return;
    print(head_of("    *interpreted* ", rx_line_of(text, line), column));
}
