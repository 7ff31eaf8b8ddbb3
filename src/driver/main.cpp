// The process entry.
#include "base/output.h"
#include "driver/run.h"
#include "platform/files.h"
#include "platform/paths.h"

#include <cstdlib>

namespace {

std::string base_name(std::string_view path) {
    size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

/// The directory of the running file: where its name leads, else where the system says that it is.
std::string installation_directory(const std::string &invoked, const std::string &name) {
    size_t slash = invoked.rfind('/');
    std::string home = slash == std::string::npos ? rx_find_home(name) : invoked.substr(0, slash + 1);
    if (!home.empty() && rx_path_exists(home + "/vandra")) return home;
    std::string file = rx_running_file();
    return file.substr(0, file.rfind('/') + 1);
}

/// A script's name that holds blanks survives the splitting of the line when it is quoted.
std::string command_line(int count, char **words) {
    std::string line = words[1];
    if (line.empty() || (line[0] != '"' && line[0] != '\'' && line[0] != '-')) line = "\"" + line + "\"";
    for (int i = 2; i < count; i++) line.append(" ").append(words[i]);
    return line;
}

} // namespace

int main(int argc, char **argv) {
    std::string invoked = rx_path_to_slashes(argc > 0 ? argv[0] : "vandra");
    std::string name = base_name(invoked);
    if (name.starts_with("vcmp")) {
        rx_print_error("vcmp: compiled files aren't available in this build.");
        return 1;
    }
    if (argc < 2) {
        rx_print_error("\"vandra\" usage: vandra file-name");
        std::exit(-1);
    }
    std::string home = installation_directory(invoked, name);
    if (home.empty()) {
        rx_print_error("\nVandra: unable to find the installation directory.\n");
        return 1;
    }
    rx_command_words.assign(argv + 1, argv + argc);
    rx_final_exit(run_rx(command_line(argc, argv), home.c_str()));
}
