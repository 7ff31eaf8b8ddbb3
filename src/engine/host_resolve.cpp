#include "engine/host_resolve.h"

#include "platform/environment.h"
#include "platform/process.h"
#include "platform/strings.h"

#include <algorithm>

namespace {

constexpr const char *shell = "/bin/sh";

/// Reserved words and the commands that only make sense inside the shell (or that it always has).
constexpr std::string_view shell_words[] = {
    "!",        ".",      ":",     "alias",   "bg",    "break", "case", "cd",   "command", "continue",
    "do",       "done",   "elif",  "else",    "esac",  "eval",  "exec", "exit", "export",  "fc",
    "fg",       "fi",     "for",   "getopts", "hash",  "if",    "in",   "jobs", "kill",    "read",
    "readonly", "return", "set",   "shift",   "then",  "times", "trap", "type", "ulimit",  "umask",
    "unalias",  "unset",  "until", "wait",    "while", "{",     "}",
};

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

/// Characters that end a word for the shell and mean something to it.
bool is_operator(char c) {
    return c == '|' || c == '&' || c == ';' || c == '<' || c == '>' || c == '(' || c == ')' || c == '\n';
}

/// Characters that the shell would replace by something else.
bool is_expansion(char c) {
    return c == '$' || c == '`' || c == '*' || c == '?' || c == '[';
}

/// Words of a command, taken apart with the shell's quotes: '...' literally, "..." with \ before ", \, $, ` and a line
/// feed, and \ elsewhere before anything.
struct word_reader {
    std::string_view text;
    size_t at = 0;
    bool for_shell = false; ///< the shell is needed to understand what was read

    /// Reads the next word up to a blank or an operator; false at the end.
    bool next(std::string &word, bool &quoted) {
        while (at < text.size() && is_blank(text[at])) at++;
        word.clear();
        quoted = false;
        if (at == text.size()) return false;
        if (text[at] == '#' || text[at] == '~') for_shell = true;
        for (; at < text.size() && !is_blank(text[at]); at++) {
            char c = text[at];
            if (is_operator(c)) {
                for_shell = true;
                return true;
            }
            if (c == '\'' || c == '"') {
                quoted = true;
                if (!quote(c, word)) return true;
            } else if (c == '\\') {
                quoted = true;
                if (at + 1 == text.size() || text[at + 1] == '\n') {
                    for_shell = true;
                    return true;
                }
                word += text[++at];
            } else {
                if (is_expansion(c)) for_shell = true;
                word += c;
            }
        }
        return true;
    }

private:
    /// Reads to the closing quote and stays on it; false when it is missing.
    bool quote(char mark, std::string &word) {
        for (at++; at < text.size() && text[at] != mark; at++) {
            char c = text[at];
            if (mark == '"' && (c == '$' || c == '`')) for_shell = true;
            if (mark == '"' && c == '\\' && at + 1 < text.size()) {
                char next = text[at + 1];
                if (next == '\n') for_shell = true;
                if (next == '"' || next == '\\' || next == '$' || next == '`') c = text[++at];
            }
            word += c;
        }
        if (at < text.size()) return true;
        for_shell = true;
        return false;
    }
};

bool is_assignment(std::string_view word) {
    size_t equals = word.find('=');
    if (equals == std::string_view::npos || equals == 0 || rx_is_digit(word[0])) return false;
    return std::all_of(word.begin(), word.begin() + static_cast<std::ptrdiff_t>(equals),
                       [](char c) { return rx_is_letter(c) || rx_is_digit(c) || c == '_'; });
}

rx_command_line shell_command(std::string text) {
    return {shell, {"sh", "-c", std::move(text)}};
}

/// The program file of a command's first word, or the empty text.
std::string find_program(const std::string &word) {
    if (word.find('/') != std::string::npos) return rx_is_program(word) ? word : "";
    if (rx_is_program("./" + word)) return "./" + word;
    std::string path = rx_getenv("PATH").value_or("/usr/local/bin:/usr/bin:/bin");
    for (std::string_view directory : rx_split_at(path, ':')) {
        if (directory.empty()) continue;
        std::string candidate = std::string(directory) + "/" + word;
        if (rx_is_program(candidate)) return candidate;
    }
    return {};
}

} // namespace

rx_command_line rx_resolve_command(std::string_view text, const char *shell_variable) {
    if (shell_variable) {
        if (std::optional<std::string> shell = rx_getenv(shell_variable))
            return rx_resolve_command(*shell + " " + std::string(text));
    }
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    word_reader reader{.text = text};
    std::string word;
    bool quoted;
    if (!reader.next(word, quoted)) return {};
    bool no_file_name = reader.for_shell && (word.empty() || word.find_first_of("$`*?[~#") != std::string::npos);
    bool shell_word = std::find(std::begin(shell_words), std::end(shell_words), word) != std::end(shell_words);
    if (no_file_name || (!quoted && (shell_word || is_assignment(word)))) return shell_command(std::string(text));

    rx_command_line command;
    command.path = find_program(word);
    if (command.path.empty()) return {};
    command.arguments.push_back(word);
    while (!reader.for_shell && reader.next(word, quoted)) command.arguments.push_back(word);
    if (!reader.for_shell) return command;
    // The shell looks along PATH only.
    bool here = command.path[1] == '/' && command.path[0] == '.' && command.arguments[0].find('/') == std::string::npos;
    return shell_command((here ? "./" : "") + std::string(text));
}
