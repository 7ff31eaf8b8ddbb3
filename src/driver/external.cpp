// External routines: the search for the script of a routine that the program doesn't contain, and its loading into the
// running program or its run as a child process.
#include "base/output.h"
#include "driver/run.h"
#include "driver/source.h"
#include "front/parse.h"
#include "front/report.h"
#include "platform/directories.h"
#include "platform/environment.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/strings.h"

namespace {

constexpr std::string_view script_extension = ".vnd";
constexpr std::string_view script_mark = "#!";
constexpr std::string_view interpreter_name = "vandra";
constexpr int not_started = 28;

// ---- the search ----------------------------------------------------------------------------------------------------

/// True for a first line that hands a file to this interpreter.
bool rx_is_script_line(std::string_view line) {
    return line.starts_with(script_mark) && line.find(interpreter_name, 1) != std::string_view::npos;
}

/// A program that traps its errors wants no talk about them.
void warn(const std::string &message) {
    if (rx_settings->traps[RX_SYNTAX] == RX_TRAP_OFF) rx_print_error("vandra: warning: " + message);
}

enum class candidate { accepted, refused, closed };

/// Looks whether a file is a script. One that can't be opened is told of.
candidate examine(const std::string &path) {
    std::optional<std::string> line = rx_first_line(path, script_mark);
    if (!line) {
        warn("unable to open file \"" + path + "\"");
        return candidate::closed;
    }
    bool accepted = path.ends_with(script_extension) || rx_is_script_line(*line);
    return accepted ? candidate::accepted : candidate::refused;
}

bool is_path(std::string_view name) {
    if (name.empty()) return false;
    return name[0] == '/' || name[0] == '~' || name[0] == '.' || (name.size() > 2 && name[1] == ':');
}

/// True for anything of that name but a directory, which is no script and ends no search.
bool is_candidate(const std::string &path) {
    return rx_path_exists(path) && !rx_is_directory(path);
}

/// The script in one directory: the name as it stands, or with the extension. Empty when there is none.
std::string find_in(const std::string &directory, const std::string &name) {
    std::string path = directory + "/" + name;
    if (is_candidate(path)) {
        candidate found = examine(path);
        if (found == candidate::closed) return {};
        if (found == candidate::accepted) return path;
    }
    if (path.ends_with(script_extension)) return {};
    path += script_extension;
    return is_candidate(path) && examine(path) == candidate::accepted ? path : std::string();
}

std::string find_routine(const std::string &name) {
    if (is_path(name)) {
        std::string path = rx_expand_name(name);
        candidate found = examine(path);
        if (found == candidate::refused) warn("file " + path + " is not a valid \"vandra\" file");
        return found == candidate::accepted ? path : std::string();
    }
    for (const std::string &directory : rx_path_list()) {
        std::string path = find_in(directory, name);
        if (!path.empty()) return path;
    }
    return {};
}

// ---- loading -------------------------------------------------------------------------------------------------------

/// Raises the error that rx_error holds, at a place in a source that was to be loaded.
[[noreturn]] void refuse(rx_program &program, unsigned line, unsigned column) {
    program.spoiled = true;
    std::string_view text;
    rx_source_line(program, line, text);
    rx_change_condition_text() = text;
    // The report is about that source, also when an interpreted text called the routine.
    if (rx_settings->traps[RX_SYNTAX] == RX_TRAP_OFF) rx_routine->interpreted = nullptr;
    int number = rx_error.number;
    if (rx_error.has_extra) rx_raise_at(line, column, number, std::move(rx_error.extra));
    rx_raise_at(line, column, number);
}

rx_expr *make_token(rx_arena &arena, int type, unsigned line, std::string_view text = {}) {
    rx_expr *token = arena.make<rx_expr>();
    token->type = type;
    token->line = line;
    token->text = text;
    return token;
}

/// What stands in front of a loaded source: a clause that stops a program which runs into it from above, and the label
/// that bears the routine's name.
std::vector<rx_expr *> tokens_in_front(rx_arena &arena, std::string_view name, bool compiled) {
    unsigned line = compiled ? 1 : 0;
    rx_expr *label = make_token(arena, STRING, line, arena.copy(name));
    label->flag = 1;
    return {make_token(arena, compiled ? EXIT : RETURN, 0), make_token(arena, ';', 0), label,
            make_token(arena, ':', line), make_token(arena, ';', line)};
}

/// Hangs a chain at the end of the main one.
void append_chain(rx_program &program, rx_clause_cell *chain, unsigned first_line) {
    rx_clause_cell *end = program.tail ? program.tail : program.head;
    while (end->clause) end = end->next;
    auto *seam = program.arena.make<rx_clause>();
    seam->kind = CL_SOURCE_BREAK;
    seam->line = first_line;
    end->clause = seam;
    end->next = chain;
    program.tail = chain;
}

/// The labels of the new source, behind those that are there.
void enter_labels(rx_program &program, const rx_label_table &labels) {
    for (const rx_label *label : labels.buckets) {
        for (; label; label = label->next) rx_enter_label(program.labels, program.arena, *label);
    }
}

bool load(rx_program &program, std::string_view name, const std::string &path) {
    rx_read_failure failure;
    std::string text = rx_read_file(path, failure);
    if (failure != rx_read_failure::none) {
        rx_print_error(rx_unreadable(rx_read_failure::read, program.entries[0].name));
        return false;
    }
    rx_source_entry entry;
    entry.first_line = entry.last_line = program.entries.back().last_line + 1;
    entry.start = program.source.size();
    entry.name = path;
    entry.routine = name;
    entry.mtime = rx_file_time(path).value_or(0);
    auto first_line = static_cast<unsigned>(entry.first_line);

    // The program keeps its modes, whatever a part of it asks for.
    bool compiled = false;
    rx_scan_result scanned = rx_scan_source(text, program.arena, false, compiled);
    entry.last_line += static_cast<int>(scanned.lines);
    entry.length = text.size();
    program.source += text;
    program.entries.push_back(std::move(entry));
    if (scanned.error) {
        rx_error.number = scanned.error;
        rx_error.has_extra = false;
        refuse(program, scanned.error_line + first_line, scanned.error_column);
    }

    std::vector<rx_expr *> tokens = tokens_in_front(program.arena, name, compiled);
    tokens.insert(tokens.end(), scanned.tokens.begin(), scanned.tokens.end());
    for (rx_expr *token : tokens) token->line += first_line;
    size_t lines_before = program.exec_lines.size();
    // A source that can't be parsed leaves no label behind.
    rx_label_table labels;
    rx_clause_cell *chain;
    rx_error.number = 55;
    try {
        chain = rx_parse_tokens(tokens, {program.arena, labels, &program.exec_lines});
    } catch (const rx_jmp_parse &) {
        chain = nullptr;
    }
    if (!chain) {
        program.exec_lines.resize(lines_before);
        refuse(program, rx_error.line, rx_error.column);
    }
    enter_labels(program, labels);
    append_chain(program, chain, first_line);
    program.serial = rx_next_program_serial();
    return true;
}

bool is_loaded(const rx_program &program, std::string_view name) {
    if (!rx_find_label(program.labels, name)) return false;
    for (const rx_source_entry &entry : program.entries) {
        if (entry.routine == name) return true;
    }
    return false;
}

// ---- child runs ----------------------------------------------------------------------------------------------------

/// Puts the arguments in the environment, where the child finds them; gives the text that shows them.
std::string hand_over(const rx_expr *list, int level) {
    std::string shown;
    int count = 0;
    if (list && (list->type != VIDE || list->next)) {
        for (; list; list = list->next, count++) {
            rx_value text = list->type == VIDE ? rx_string("") : rx_to_string(do_exec(list, level));
            if (count) shown += ',';
            shown += text.text();
            rx_setenv("vandra_ARG" + std::to_string(count), rx_hexadecimal(text.text()));
        }
    }
    rx_setenv("vandra_NB_ARGS", std::to_string(count));
    return shown;
}

rx_value rx_call_child(const std::string &file, const rx_expr *list, int level) {
    std::string shown = hand_over(list, level);
    std::string program = *rx_home_directory + *rx_program_name;
    std::vector<std::string> words{program, file};
    if (!shown.empty()) words.push_back(shown.substr(0, shown.find('\0')));
    int error;
    int process = rx_start_process({.path = program, .arguments = std::move(words)}, error);
    int code = process < 0 ? not_started : rx_wait_process(process);
    rx_unsetenv("vandra_NB_ARGS");
    return rx_number(code);
}

} // namespace

int rx_load_external_routine(std::string_view name, bool fold, const rx_expr *arguments, rx_value &result, int level) {
    rx_program &program = **rx_program_now;
    if (name.empty() || name.find('\0') != std::string_view::npos) return 0;
    // A quoted name comes here each time, for labels aren't its first choice.
    if (is_loaded(program, name)) return 1;
    std::string path = rx_path_to_slashes(name);
    if (fold) rx_lower(path.data(), path.size());
    path = find_routine(path);
    if (path.empty()) return 0;
    if (rx_modes->load_mode == RX_NOLOAD) {
        result = rx_call_child(path, arguments, level);
        return 2;
    }
    return load(program, name, path) ? 1 : 0;
}
