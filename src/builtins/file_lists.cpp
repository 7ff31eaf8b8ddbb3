// Directories read into stems: LS, SUBDIRS, MKLISTFILES.
#include "base/output.h"
#include "builtins/file_names.h"
#include "builtins/handlers.h"
#include "builtins/stems.h"
#include "platform/directories.h"
#include "platform/file_operations.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/strings.h"
#include "values/regex.h"

#include <algorithm>
#include <cerrno>

namespace {

/// Reasons why directories couldn't be read; they don't stop a list.
struct reading_problems {
    const char *function;
    std::string text = {};
    int count = 0;

    void add(std::string_view directory) {
        std::string reason = rx_system_error();
        if (count++) text += '\n';
        text +=
            std::string(function) + "(): Unable to open " + bu_quoted(directory) + ".\n           (" + reason + ").";
    }
    rx_value result() const { return count ? bu_status(count, text) : bu_status(0); }
};

size_t count_arguments(const rx_expr *list) {
    size_t count = 0;
    for (; list; list = list->next) count++;
    return count;
}

/// The stem that argument `i` names; refused also when it isn't there.
std::string stem_argument(bu_args &args, size_t i) {
    if (i >= args.count()) args.fail(i, "\"\" is not a valid REXX symbol.");
    return std::string(args.symbol(i));
}

// ---- LS -------------------------------------------------------------------------------------------------------------

/// A wild card of file names, compiled.
struct wildcard {
    re_program program;
    bool ignore_case;

    wildcard(std::string_view text, bool ignore) : ignore_case(ignore) {
        re_compile(re_glob(ignore ? rx_lowered(text) : std::string(text)), program);
    }
    bool matches(std::string_view name) const {
        re_range range;
        return re_exec(program, name, 0, ignore_case, range);
    }
};

void list_matching(std::string_view name, bool ignore_case, std::vector<std::string> &found,
                   reading_problems &problems) {
    std::string path = rx_path_to_slashes(name);
    size_t slash = path.rfind('/');
    std::string prefix = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    std::string pattern = path.substr(prefix.size());
    std::string directory = bu_solve_name(prefix.empty() ? "." : prefix);
    rx_path_status status;
    std::vector<rx_directory_entry> entries;
    bool hidden = *bu_no_follow && rx_get_path_status(directory, false, status) && status.type == rx_file_type::link;
    if (hidden) errno = ENOTDIR;
    if (hidden || !rx_list_directory(directory, entries)) return problems.add(prefix.empty() ? "." : prefix);
    wildcard wanted(pattern.empty() ? "*" : pattern, ignore_case);
    for (const rx_directory_entry &entry : entries)
        if (wanted.matches(entry.name)) found.push_back(prefix + entry.name);
}

} // namespace

/// dir(names, [case], stem), also ls
/// Lists the files whose names match. Each word, or quoted word, of the names is a directory (which may be missing:
/// the current one) and a wild card with "*" and "?"; without any it is "*". The case counts (Respect, the default) or
/// doesn't (Ignore). The stem, written as a symbol, gets what was found, with the directory as it was given, and the
/// count as .0.
/// Result: number: 0; or string: the directories that can't be read, RC is their count
/// Errors: 40 for a wrong count, a case that is neither, a stem that is no symbol
/// Example: call ls '/etc/pass?d', a; a.0 a.1 -> 1 /etc/passwd
rx_value bu_ls(const rx_expr *list) {
    size_t count = count_arguments(list);
    bu_args args(list, "LS", count >= 2 ? 1u << (count - 1) : 0);
    if (count > 3) args.fail(0, "up to 3 arguments allowed.");
    if (count < 2) args.fail(0, bu_quoted(args.text(0)) + " is not a valid REXX symbol.");
    bool ignore = false;
    if (count == 3 && args.given(1)) {
        char how = args.option(1, 'r');
        if (how != 'i' && how != 'r') args.fail(1, "argument 2 must be 'Ignore' or 'Respect'.");
        ignore = how == 'i';
    }
    std::string stem = stem_argument(args, count - 1);
    std::vector<std::string> names = rx_split_quoted(args.text(0)), found;
    if (names.empty()) names.emplace_back("*");
    reading_problems problems{"LS"};
    for (const std::string &name : names) list_matching(name, ignore, found, problems);
    bu_fill_stem(stem, found);
    return problems.result();
}

// ---- SUBDIRS --------------------------------------------------------------------------------------------------------

namespace {

void list_below(const std::string &directory, const std::string &shown, bool recursive, std::vector<std::string> &found,
                reading_problems &problems) {
    std::vector<rx_directory_entry> entries;
    if (!rx_list_directory(directory, entries)) return problems.add(shown);
    for (const rx_directory_entry &entry : entries) {
        if (entry.type != rx_file_type::directory) continue;
        std::string name = shown.ends_with('/') ? shown + entry.name : shown + "/" + entry.name;
        found.push_back(name);
        if (recursive) list_below(directory + "/" + entry.name, name, true, found, problems);
    }
}

} // namespace

/// subdirs(directory, stem, [recursion])
/// Lists the directories in a directory, whose name is one word or quoted: into the stem, written as a symbol, with
/// the directory as it was given in front, and the count as .0. With "r" each is followed by those within it; "nr" is
/// the default. Links aren't followed.
/// Result: number: 0; or string: the directories that can't be read, RC is their count
/// Errors: 40 for a wrong count, a directory that is none, a stem that is no symbol, another recursion
/// Example: call subdirs '/proc/self/task', a; a.0 > 0 -> 1
rx_value bu_subdirs(const rx_expr *list) {
    bu_args args(list, "SUBDIRS", 1u << 1);
    args.require(0, "argument 1 missing.");
    if (args.count() > 3) args.fail(0, "up to 3 arguments allowed.");
    std::string stem = stem_argument(args, 1);
    std::string recursion = rx_lowered(args.text_or(2, "nr"));
    if (recursion != "r" && recursion != "nr") rx_arg_error(list, 2, "The third parameter must be \"r\" or \"nr\".");
    std::vector<std::string> names = rx_split_quoted(args.text(0));
    if (names.size() > 1)
        args.fail(0, "Too many specified directories in '" + std::string(args.text(0)) +
                         "'.\nUse quotes when a directory name contains blanks.");
    std::string directory = names.empty() ? std::string() : bu_solve_name(names[0]);
    if (!rx_is_directory(directory))
        args.fail(0, bu_quoted(names.empty() ? std::string() : names[0]) + " is not a valid directory.");
    std::vector<std::string> found;
    reading_problems problems{"SUBDIRS"};
    list_below(directory, rx_path_to_slashes(names[0]), recursion == "r", found, problems);
    bu_fill_stem(stem, found);
    return problems.result();
}

// ---- MKLISTFILES ----------------------------------------------------------------------------------------------------

namespace {

struct listed_file {
    std::string path;
    int64_t size;
};

struct file_lister {
    bu_args &args;
    wildcard wanted;
    double limit;
    reading_problems &problems;
    std::vector<listed_file> files = {};

    void walk(const std::string &directory) {
        std::vector<rx_directory_entry> entries;
        if (!rx_list_directory(directory, entries)) return problems.add(directory);
        for (const rx_directory_entry &entry : entries) {
            if (is_left_out(entry.name)) continue;
            std::string path = directory == "/" ? "/" + entry.name : directory + "/" + entry.name;
            if (entry.type == rx_file_type::directory)
                walk(path);
            else if (wanted.matches(entry.name))
                add(path);
        }
    }

private:
    /// What other systems keep at the top of a disk.
    static bool is_left_out(std::string_view name) {
        for (std::string_view each : {"system volume information", "recycler", "$recycle.bin"})
            if (rx_equal_nocase(name, each)) return true;
        return false;
    }

    void add(const std::string &path) {
        rx_path_status status;
        if (!rx_get_path_status(path, true, status))
            return rx_write("Warning: Unable to state file " + bu_quoted(path) + ", skipping it.\n\n");
        if (status.type != rx_file_type::file) return;
        if (static_cast<double>(status.size) > limit)
            args.fail(0, "file " + bu_quoted(path) + " is too big (" + std::to_string(status.size) + ")");
        files.push_back({path, status.size});
    }
};

/// One group: the range of its files, and their size.
struct file_group {
    size_t first = 0, count = 0;
    int64_t size = 0;
};

void set_group(const std::string &stem, size_t number, const file_group &group, const std::vector<listed_file> &files,
               size_t parts) {
    std::string name = stem + "." + std::to_string(number);
    rx_set_var(name + ".size", std::to_string(group.size));
    rx_set_var_number(name + ".size_raw", static_cast<double>(group.size));
    rx_set_var_number(name + ".0", static_cast<double>(parts));
    // The files are dealt out in turn.
    for (size_t part = 0; part < parts; part++) {
        std::vector<std::string_view> paths;
        for (size_t i = part; i < group.count; i += parts) paths.push_back(files[group.first + i].path);
        bu_fill_stem(name + "." + std::to_string(part + 1), paths);
    }
}

double size_argument(bu_args &args, size_t i) {
    std::string complaint = "argument " + std::to_string(i + 1) + " must a number > 0.";
    double number = args.number(i, complaint);
    if (!(number > 0)) args.fail(i, complaint);
    return number;
}

} // namespace

/// mklistfiles(directory, limit, stem, [names], [parts])
/// Splits the files of a directory tree into groups for transfer, none larger than the limit in bytes. Only files that
/// match the wild card names are taken, when it is given. The stem, written as a symbol, gets the count of groups as
/// .0, and for group n: stem.n.size and stem.n.size_raw, the bytes in it as text and as number; stem.n.0, the count of
/// lists that its files are dealt out to in turn (parts, 1 by default); and for list k the count of files as
/// stem.n.k.0 and their paths as stem.n.k.1 and up.
/// Result: number: 0; or string: the directories that can't be read, RC is their count
/// Errors: 40 for a wrong count, a directory that is none, numbers that aren't above 0, a stem that is no symbol, a
/// file larger than the limit
/// Example: call mklistfiles '/proc/self/task', 1e6, a, 'comm'; a.0 a.1.0 a.1.size a.1.size_raw -> 1 1 0 0
rx_value bu_mklistfiles(const rx_expr *list) {
    bu_args args(list, "mklistfiles", 1u << 2);
    args.expect(3, 5, 2, "needs 3, 4 or 5 arguments.");
    std::string directory = bu_solve_name(args.text(0));
    if (!rx_is_directory(directory)) args.fail(0, "Invalid directory " + bu_quoted(args.text(0)) + " .");
    double limit = size_argument(args, 1);
    std::string stem = stem_argument(args, 2);
    size_t parts = args.given(4) ? static_cast<size_t>(std::clamp(size_argument(args, 4), 1.0, 1e6)) : 1;
    std::string_view names = args.text(3);

    reading_problems problems{"mklistfiles"};
    file_lister lister{args, wildcard(names.empty() ? "*" : names, false), limit, problems};
    lister.walk(directory);
    std::vector<file_group> groups;
    for (size_t i = 0; i < lister.files.size(); i++) {
        int64_t size = lister.files[i].size;
        if (groups.empty() || static_cast<double>(groups.back().size + size) > limit) groups.push_back({i, 0, 0});
        groups.back().count++;
        groups.back().size += size;
    }
    for (size_t n = 0; n < groups.size(); n++) set_group(stem, n + 1, groups[n], lister.files, parts);
    rx_set_var_number(stem + ".0", static_cast<double>(groups.size()));
    return problems.result();
}
