// Functions that tell about files and change nothing: STATE, LSTATE, FOLLOW, READLINK, FILEISLOCKED, and the current
// directory.
#include "builtins/file_names.h"
#include "builtins/handlers.h"
#include "builtins/hooks.h"
#include "engine/engine.h"
#include "platform/clock.h"
#include "platform/directories.h"
#include "platform/file_operations.h"
#include "platform/files.h"
#include "platform/strings.h"

#include <cstdio>

namespace {

constexpr int failed = -1;

// ---- STATE ----------------------------------------------------------------------------------------------------------

struct asked_file {
    const std::string &path;
    bool exists;
    rx_path_status status;
};

std::string stamp(const asked_file &file) {
    rx_local_time time = rx_local_time_of(file.status.changed);
    char text[100];
    std::snprintf(text, sizeof text, "%2.2d/%2.2d/%2.2d %2.2d:%2.2d:%2.2d", time.day, time.month, time.year % 100,
                  time.hour, time.minute, time.second);
    return text;
}

bool has_type(const asked_file &file, rx_file_type type) {
    return file.exists && file.status.type == type;
}

bool is_link(const asked_file &file) {
    rx_path_status status;
    return rx_get_path_status(file.path, false, status) && status.type == rx_file_type::link;
}

/// A question about a file: its letter and word, and the answer.
struct question {
    char letter;
    const char *word;
    rx_value (*answer)(const asked_file &file);
};

template <class Truth> constexpr auto truth_of(Truth) {
    return [](const asked_file &file) { return bu_number(Truth{}(file)); };
}

const question questions[] = {
    {'d', "directory", truth_of([](const asked_file &file) { return has_type(file, rx_file_type::directory); })},
    {'e', "exists", truth_of([](const asked_file &file) { return file.exists; })},
    {'f', "file", truth_of([](const asked_file &file) { return has_type(file, rx_file_type::file); })},
    {'l', "link", truth_of([](const asked_file &file) { return is_link(file); })},
    {'o', "owns", truth_of([](const asked_file &file) { return file.exists; })},
    {'r', "read", truth_of([](const asked_file &file) { return rx_can_read(file.path); })},
    {'w', "write", truth_of([](const asked_file &file) { return rx_can_write(file.path); })},
    {'x', "execute", truth_of([](const asked_file &file) { return file.exists && (file.status.mode & 0111u); })},
    {'z', "zero", truth_of([](const asked_file &file) { return file.exists && file.status.size == 0; })},
    {'s', "size", [](const asked_file &file) { return bu_number(static_cast<double>(file.status.size)); }},
    {'y', "system", truth_of([](const asked_file &) { return false; })},
    {'p', "stamp", [](const asked_file &file) { return rx_string(file.exists ? stamp(file) : ""); }},
    {'n', "owner", [](const asked_file &file) { return rx_string(file.exists ? rx_user_name(file.status.user) : ""); }},
    {'\0', "group",
     [](const asked_file &file) { return rx_string(file.exists ? rx_group_name(file.status.group) : ""); }},
};

const question &find_question(bu_args &args) {
    std::string what = rx_lowered(args.text_or(1, "e"));
    bool letter = what.size() == 1;
    for (const question &each : questions)
        if (letter ? each.letter && each.letter == what[0] : each.word == what) return each;
    args.fail(1, letter ? "argument 2 must be D|E|F|L|O|R|W|X|Z|S|Y|P|N."
                        : "argument 2 must be "
                          "directory|exists|file|link|owns|read|write|execute|zero|size|system|stamp|owner.");
}

rx_value state(const rx_expr *list, bool follow) {
    bu_args args(list, "STATE", 1, 2, "must receive 1 to 2 arguments.");
    std::vector<std::string> names = rx_split_quoted(args.text(0));
    if (names.empty() || names[0].empty()) args.fail(0, "parameter 1 is empty.");
    const question &asked = find_question(args);
    std::string path = bu_solve_name(names[0]);
    asked_file file{path, false, {}};
    file.exists = !path.empty() && rx_get_path_status(path, follow, file.status);
    rx_value answer = asked.answer(file);
    bool well = file.exists || (answer.is_number() && answer.real != 0);
    rx_set_code(RX_RC, well ? 0 : failed);
    return answer;
}

} // namespace

/// state(name, [what])
/// Tells about a file, by a letter or a word, in either case: D directory, E exists (the default), F file, L link,
/// O owns, R read, W write, X execute, Z zero, S size, Y system, P stamp (day, month, year and time of the last
/// change), N owner, and the word group. Links are seen through unless DOFOLLOW is off. Of several words only the
/// first counts; a name with blanks is quoted.
/// Result: number, 1 or 0 or the size; string for stamp, owner and group; RC -1 when the file doesn't exist
/// Errors: 40 for a wrong count, an empty name, another letter or word
/// Example: state('/') state('/', 'd') state('/', 'FILE') state('"/no such file"') -> 1 1 0 0
rx_value bu_state(const rx_expr *list) {
    return state(list, !*bu_no_follow);
}

/// lstate(name, [what])
/// As STATE, about a link itself.
/// Result: number, or string for stamp, owner and group
/// Errors: 40 for a wrong count, an empty name, another letter or word
/// Example: lstate('/proc/self') lstate('/proc/self', 'D') state('/proc/self', 'D') -> 1 0 1
rx_value bu_lstate(const rx_expr *list) {
    return state(list, false);
}

/// fileislocked(file, [flag])
/// 1 when another process, or another stream, has a lock on the file, or when it can't be opened. The flag is for
/// programs that give one; it changes nothing.
/// Result: number; RC -1 when the file doesn't exist
/// Errors: 40 for a wrong count, an empty name
/// Example: fileislocked('/etc/passwd') -> 0
rx_value bu_fileislocked(const rx_expr *list) {
    bu_args args(list, "FILEISLOCKED", 1, 2, "must receive 1 or 2 arguments.");
    std::string path = bu_solve_argument(args, 0, "FILEISLOCKED usage: FILEISLOCKED(file)");
    rx_path_status status;
    rx_set_code(RX_RC, rx_get_path_status(path, true, status) ? 0 : failed);
    return bu_number(rx_is_locked(path));
}

// ---- links ----------------------------------------------------------------------------------------------------------

namespace {

/// What a link has to tell, by one of the platform's functions.
rx_value ask_link(const rx_expr *list, const char *function, const char *complaint,
                  bool (*ask)(const std::string &path, std::string &answer)) {
    bu_args args(list, function, 1, 1, complaint);
    std::string answer;
    bool found = ask(bu_solve_name(args.text(0)), answer);
    return bu_status(found ? 0 : failed, answer);
}

} // namespace

/// follow(name)
/// The path that a name leads to when all links in it are resolved.
/// Result: string, RC 0; empty with RC -1 when there is nothing
/// Errors: 40 for a wrong count
/// Example: follow('/proc/../etc/passwd') -> /etc/passwd
rx_value bu_follow(const rx_expr *list) {
    return ask_link(list, "FOLLOW", "must receive 1 argument.", rx_resolve_path);
}

/// dofollow(ON|OFF)
/// Whether STATE and LS see through links. They do until told otherwise.
/// Result: number: 0
/// Errors: 40 for a wrong count, another word
/// Example: call dofollow 'OFF'; state('/proc/self', 'D') -> 0
rx_value bu_dofollow(const rx_expr *list) {
    bu_args args(list, "DOFOLLOW", 1, 1, "must receive 1 argument.");
    bool on;
    if (!bu_on_off(args, 0, on)) args.fail(0, "must receive ON or OFF.");
    *bu_no_follow = !on;
    return bu_number(0);
}

/// readlink(name)
/// The text of a symbolic link.
/// Result: string, RC 0; empty with RC -1 when the name is no link
/// Errors: 40 for a wrong count
/// Example: readlink('/dev/stdin') rc -> /proc/self/fd/0 0
rx_value bu_readlink(const rx_expr *list) {
    return ask_link(list, "READLINK", "needs 1 argument.", rx_read_link);
}

/// readjunc(ON|OFF)
/// Whether junction points count as links. There are none here, so that it changes nothing.
/// Result: number: 0
/// Errors: 40 for a wrong count, another word
/// Example: readjunc('ON') -> 0
rx_value bu_readjunc(const rx_expr *list) {
    bu_args args(list, "READJUNC");
    bool on;
    if (args.count() != 1 || !bu_on_off(args, 0, on)) rx_arg_error(list, 0, "READJUNC() usage: READJUNC(ON|OFF)");
    return bu_number(0);
}

// ---- the current directory ------------------------------------------------------------------------------------------

/// chdir([directory])
/// Makes a directory the current one; without an argument that of HOME.
/// Result: number: 0, or -1 when that can't be; RC is the same
/// Errors: 40 for a wrong count
/// Example: chdir('/tmp') chdir('/nowhere') cwd() -> 0 -1 /tmp
rx_value bu_chdir(const rx_expr *list) {
    bu_args args(list, "CHDIR");
    args.expect(0, 1, 0, "1 argument allowed.");
    std::string path = args.given(0) ? bu_solve_name(args.text(0)) : rx_home();
    return bu_status(!path.empty() && rx_change_directory(path) ? 0 : failed);
}

/// cwd(), also getcwd, also getwd
/// The current directory.
/// Result: string
/// Errors: 40 for an argument, a current directory that is gone
/// Example: call chdir '/usr'; cwd() -> /usr
rx_value bu_cwd(const rx_expr *list) {
    bu_args args(list, "CWD");
    args.expect_none("must receive 0 argument.");
    std::string path = rx_current_directory();
    if (path.empty() || path[0] != '/') args.fail(0, "unable to read the current directory.");
    return rx_string(path);
}

/// xhome()
/// The directory that the interpreter is installed in, without a "/" at its end.
/// Result: string
/// Errors: 40 for an argument
/// Example: state(xhome(), 'D') -> 1
rx_value bu_xhome(const rx_expr *list) {
    bu_args(list, "XHOME").expect_none("must receive 0 argument.");
    std::string home = bu_home_directory ? bu_home_directory() : std::string();
    while (home.size() > 1 && home.back() == '/') home.pop_back();
    return rx_string(bu_solve_name(home));
}
