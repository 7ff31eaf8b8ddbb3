// Path forms. Inside the interpreter a path uses forward slashes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Every backslash turned into "/".
std::string rx_path_to_slashes(std::string_view path);

/// The full form of a name: "~" stands for the home directory, doubled slashes go (a leading pair stands), any name
/// that isn't absolute is joined to `base` (the current directory when empty), and "." and ".." steps are resolved.
/// Empty for an empty name.
std::string rx_expand_name(std::string_view name, std::string_view base = {});

/// The directory that holds a program file, found through the name itself, the current directory and PATH; empty when
/// nothing is found.
std::string rx_find_home(std::string_view name);

/// The path of the running program file, links resolved.
std::string rx_running_file();

/// The directories in which scripts are looked for: "." and then the absolute elements of PATH, home-expanded.
std::vector<std::string> rx_path_list();
