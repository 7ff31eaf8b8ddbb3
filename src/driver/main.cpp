// The process entry.
#include "base/output.h"
#include "driver/compile.h"
#include "driver/run.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/startup.h"

#include <cstdlib>

namespace {

/// A script's name that holds blanks survives the splitting of the line when it is quoted.
std::string command_line(int count, char **words) {
    std::string line = words[1];
    if (line.empty() || (line[0] != '"' && line[0] != '\'' && line[0] != '-')) line = "\"" + line + "\"";
    for (int i = 2; i < count; i++) line.append(" ").append(words[i]);
    return line;
}

} // namespace

int main(int argc, char **argv) {
    rx_mend_inheritance();
    std::string invoked = rx_path_to_slashes(argc > 0 ? argv[0] : "vandra");
    std::string home = rx_installation_directory(invoked);
    if (rx_is_compile_tool(std::string_view(invoked).substr(invoked.rfind('/') + 1)))
        rx_final_exit(rx_compile_main(argc, argv, home));
    if (argc < 2) {
        rx_print_error("\"vandra\" usage: vandra file-name");
        std::exit(-1);
    }
    if (home.empty()) {
        rx_print_error("\nVandra: unable to find the installation directory.\n");
        return 1;
    }
    // A program file of another name tells its own, so that child runs find it.
    if (!rx_path_exists(home + "/vandra")) home = rx_running_file();
    rx_command_words.assign(argv + 1, argv + argc);
    rx_final_exit(run_rx(command_line(argc, argv), home.c_str()));
}
