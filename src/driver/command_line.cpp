// What the process's own command line tells: where the program lies, which script shall run, and the rest.
#include "driver/run.h"
#include "platform/files.h"
#include "platform/paths.h"

std::string rx_installation_directory(const std::string &invoked) {
    size_t slash = invoked.rfind('/');
    std::string home = slash == std::string::npos ? rx_find_home(invoked) : invoked.substr(0, slash + 1);
    if (!home.empty() && rx_path_exists(home + "/vandra")) return home;
    std::string file = rx_running_file();
    return file.substr(0, file.rfind('/') + 1);
}

rx_split_line rx_split_command(std::string_view line) {
    rx_split_line split;
    size_t at = line.find_first_not_of(' ');
    if (at == std::string_view::npos) return split;
    char quote = 0;
    bool quoted = false;
    for (; at < line.size(); at++) {
        char c = line[at];
        bool is_quote = c == '"' || c == '\'';
        if (c == '\\' && at + 1 < line.size() &&
            (line[at + 1] == '"' || line[at + 1] == '\'' || line[at + 1] == '\\')) {
            split.script += line[++at];
        } else if (quote && c == quote) {
            at++;
            quote = 0;
            quoted = true;
            break;
        } else if (!quote && is_quote) {
            if (!split.script.empty()) break;
            quote = c;
        } else if (!quote && c == ' ') {
            break;
        } else {
            split.script += c;
        }
    }
    if (split.script.empty() && quote && !quoted) split.script = quote;
    size_t second = line.find_first_not_of(' ', at);
    if (second != std::string_view::npos) split.rest = line.substr(second);
    return split;
}
