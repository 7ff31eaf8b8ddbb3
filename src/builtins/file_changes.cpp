// Functions that change the file system: CP, MV, RM, WIPE, RECYCLE, MKDIR, RMDIR, LN, CONCAT.
#include "builtins/file_names.h"
#include "builtins/handlers.h"
#include "platform/copy.h"
#include "platform/directories.h"
#include "platform/file_operations.h"
#include "platform/files.h"
#include "platform/strings.h"
#include "platform/trash.h"

#include <algorithm>
#include <climits>

namespace {

constexpr int failed = -1;

std::string base_name(std::string_view path) {
    return std::string(path.substr(path.rfind('/') + 1));
}

void add_line(std::string &text, std::string_view line) {
    if (!text.empty()) text += '\n';
    text += line;
}

// ---- CP -------------------------------------------------------------------------------------------------------------

struct copy_source {
    std::string path;
    bool directory;
};

/// What stands in the way of copying the sources to the target, or into it; empty when nothing does.
std::string check_copy(const std::vector<copy_source> &sources, const std::string &target, bool into, bool update) {
    if (sources.size() > 1 && !into) {
        for (const copy_source &each : sources)
            if (each.directory) return "CP(): too many directory names.";
        return "CP(): too many filenames.";
    }
    for (const copy_source &each : sources) {
        std::string place = into ? target + "/" + base_name(each.path) : target;
        if (each.directory && !update && rx_is_directory(place))
            return "CP(): directory " + bu_quoted(place) + " exists.";
    }
    return {};
}

} // namespace

/// copy(names, [age]), also cp
/// Copies files. The last of the names, which are words or quoted words, is the target: a file, or a directory that
/// the copies go into. A directory is copied with all that is in it. With an age in seconds only what is newer than its
/// copy by more than that is copied.
/// Result: string: the count of files copied, in words, RC 0; else what went wrong, RC the count of failures
/// Errors: 40 for a wrong count, less than two names, an age that isn't whole and above 0
/// Example: call cp '/etc/hostname /nowhere/to/be/found'; rc -> 1
rx_value bu_cp(const rx_expr *list) {
    bu_args args(list, "CP", 1, 2, "must receive 1 or 2 arguments.");
    rx_copying copying;
    if (args.given(1)) {
        const char *complaint = "CP()(): argument 2 must be a whole number.";
        bool number = rx_is_number(args.values[1]);
        if (!number || !(args.values[1].real > 0) || !rx_is_whole(args.values[1].real))
            rx_arg_error(list, 1, complaint);
        copying.update = true;
        copying.age = static_cast<int64_t>(std::min(args.values[1].real, 1e15));
    }
    std::vector<std::string> names = rx_split_quoted(args.text(0));
    if (names.size() < 2) args.fail(0, "the argument must contain at least 2 filenames.");

    std::string target = bu_solve_name(names.back());
    if (target.empty()) return bu_status(1, "Invalid " + bu_quoted(names.back()) + " file name.");
    names.pop_back();
    std::vector<copy_source> sources;
    for (const std::string &name : names) {
        std::string path = bu_solve_name(name);
        if (path.empty()) return bu_status(1, "Invalid " + bu_quoted(name) + " file name.");
        bool directory = rx_is_directory(path);
        sources.push_back({std::move(path), directory});
    }
    bool into = rx_is_directory(target);
    std::string problem = check_copy(sources, target, into, copying.update);
    if (!problem.empty()) return bu_status(1, problem);

    for (const copy_source &each : sources)
        rx_copy(each.path, into ? target + "/" + base_name(each.path) : target, copying);
    if (copying.failures.empty())
        return bu_status(0, copying.files == 1 ? "1 file copied" : std::to_string(copying.files) + " files copied");
    for (const rx_copying::failure &each : copying.failures)
        add_line(problem, "CP(): " + bu_unable("copy", each.path, each.error));
    return bu_status(static_cast<int>(std::min<size_t>(copying.failures.size(), INT_MAX)), problem);
}

/// mv(old, new), also rename
/// Gives a file or directory another name, also on another file system.
/// Result: string: empty, RC 0; else what went wrong, RC -1
/// Errors: 40 for a wrong count
/// Example: mv('/nowhere', '/tmp/x') '/' rc -> RENAME() error: File /nowhere does not exists. / -1
rx_value bu_mv(const rx_expr *list) {
    bu_args args(list, "RENAME", 2, 2, "must receive 2 arguments.");
    std::string paths[2];
    for (size_t i : {0, 1}) {
        paths[i] = bu_solve_name(args.text(i));
        if (paths[i].empty())
            return bu_status(failed, "RENAME() error: Unable to generate a name for " + bu_quoted(args.text(i)) + ".");
    }
    rx_path_status status;
    if (!rx_get_path_status(paths[0], false, status))
        return bu_status(failed, "RENAME() error: File " + std::string(args.text(0)) + " does not exists.");
    if (!rx_move(paths[0], paths[1])) return bu_status(failed, "RENAME() error: " + bu_unable("rename", args.text(0)));
    return bu_status(0, "");
}

// ---- RM and its kin -------------------------------------------------------------------------------------------------

namespace {

enum class removal { plain, wiped, recycled };

/// Removes one name; the reason when that can't be.
std::string remove(const std::string &name, removal how) {
    std::string path = bu_solve_name(name);
    if (path.empty()) return "Invalid " + bu_quoted(name) + " file name.";
    rx_path_status status;
    bool link = rx_get_path_status(path, false, status) && status.type == rx_file_type::link;
    if (!link && how == removal::recycled) return rx_move_to_trash(path) ? std::string() : bu_unable("remove", name);
    if (!link && how == removal::wiped && !rx_wipe_file(path)) return bu_unable("wipe", name);
    return rx_remove_file(path) ? std::string() : bu_unable("remove", name);
}

rx_value remove_all(const rx_expr *list, const char *function, removal how) {
    bu_args args(list, function, 1, 1, "must receive 1 argument.");
    std::string problems;
    int failures = 0;
    for (const std::string &name : rx_split_quoted(args.text(0))) {
        std::string problem = remove(name, how);
        if (problem.empty()) continue;
        failures++;
        add_line(problems, problem);
    }
    return bu_status(failures, problems);
}

} // namespace

/// del(names), also rm
/// Removes files and links, named by words or quoted words. Directories stay.
/// Result: string: empty, or a line for each name that stays; RC is their count
/// Errors: 40 for a wrong count
/// Example: rm('"/no/such file"') rc -> Unable to remove "/no/such file" (No such file or directory). 1
rx_value bu_rm(const rx_expr *list) {
    return remove_all(list, "RM", removal::plain);
}

/// wipe(names)
/// Removes files as RM does, after their contents have been overwritten three times.
/// Result: string: empty, or a line for each name that stays; RC is their count
/// Errors: 40 for a wrong count
/// Example: wipe('/no/file') -> Unable to wipe "/no/file" (No such file or directory).
rx_value bu_wipe(const rx_expr *list) {
    return remove_all(list, "WIPE", removal::wiped);
}

/// recycle(names)
/// Puts files and directories in the trash of the desktop, from where its file manager restores them. Links are
/// removed.
/// Result: string: empty, or a line for each name that stays; RC is their count
/// Errors: 40 for a wrong count
/// Example: recycle('/no/file') -> Unable to remove "/no/file" (No such file or directory).
rx_value bu_recycle(const rx_expr *list) {
    return remove_all(list, "RECYCLE", removal::recycled);
}

// ---- directories and links ------------------------------------------------------------------------------------------

/// mkdir(name)
/// Makes a directory and all that are missing above it.
/// Result: number: 0, or -1 when that can't be; RC is the same
/// Errors: 40 for a wrong count, an empty name
/// Example: mkdir('/dev/null/x') rc -> -1 -1
rx_value bu_mkdir(const rx_expr *list) {
    bu_args args(list, "MKDIR", 1, 1, "must receive 1 argument.");
    std::string path = bu_solve_argument(args, 0, "MKDIR() error: Unable to generate directory name");
    return bu_status(rx_make_directories(path) ? 0 : failed);
}

/// rmdir(name, [flag])
/// Removes an empty directory; with R as the flag also one that isn't empty, with all that is in it.
/// Result: number: 0, or -1 when that can't be; RC is the same
/// Errors: 40 for a wrong count, an empty name
/// Example: rmdir('/nowhere') rc -> -1 -1
rx_value bu_rmdir(const rx_expr *list) {
    bu_args args(list, "RMDIR", 1, 2, "must receive 1 or 2 arguments.");
    std::string complaint = "RMDIR() error: " + bu_quoted(args.text(0)) + " is not a valid directory name.";
    std::string path = bu_solve_argument(args, 0, complaint);
    rx_path_status status;
    bool whole = rx_equal_nocase(args.text(1), "R") && rx_get_path_status(path, false, status) &&
                 status.type == rx_file_type::directory;
    return bu_status((whole ? rx_remove_tree(path) : rx_remove_directory(path)) ? 0 : failed);
}

/// ln(old, new, [kind])
/// Makes a link named new to old: a symbolic one (s, the default) or another name of the same file (h).
/// Result: number: 0, or -1 when that can't be; RC is the same
/// Errors: 40 for a wrong count, an empty name, another kind
/// Example: ln('/etc/passwd', '/nowhere/x') -> -1
rx_value bu_ln(const rx_expr *list) {
    bu_args args(list, "LN", 2, 3, "must receive 2 or 3 arguments.");
    std::string_view kind = args.text_or(2, "s");
    bool hard = rx_equal_nocase(kind, "h");
    if (!hard && !rx_equal_nocase(kind, "s")) args.fail(2, "argument 3 must be \"s\" or \"h\".");
    std::string paths[2];
    for (size_t i : {0, 1})
        paths[i] = bu_solve_argument(args, i, "LN(): the filename " + bu_quoted(args.text(i)) + " is invalid.");
    bool made = hard ? rx_make_hard_link(paths[0], paths[1]) : rx_make_symbolic_link(paths[0], paths[1]);
    return bu_status(made ? 0 : failed);
}

/// concat(target, source)
/// Appends the contents of a file to another, which is made when it is missing.
/// Result: string: empty, RC 0; else what went wrong, RC -1
/// Errors: 40 for a wrong count
/// Example: concat('/tmp/x', '/nowhere') -> CONCAT(): Unable to open "/nowhere" (No such file or directory).
rx_value bu_concat(const rx_expr *list) {
    bu_args args(list, "CONCAT", 2, 2, "must receive 2 arguments.");
    const std::string text = "CONCAT(): ";
    switch (rx_append_file(bu_solve_name(args.text(0)), bu_solve_name(args.text(1)))) {
    case rx_transfer_failure::none: return bu_status(0, "");
    case rx_transfer_failure::open_source: return bu_status(failed, text + bu_unable("open", args.text(1)));
    case rx_transfer_failure::open_target: return bu_status(failed, text + bu_unable("open", args.text(0)));
    case rx_transfer_failure::read: return bu_status(failed, text + bu_unable("read", args.text(1)));
    default: return bu_status(failed, text + bu_unable("write in", args.text(0)));
    }
}
