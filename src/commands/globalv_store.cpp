#include "commands/globalv_store.h"

#include "platform/directories.h"
#include "platform/environment.h"
#include "platform/file_operations.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/strings.h"

#include <charconv>
#include <cstdlib>

namespace {

constexpr unsigned directory_mode = 0740;
constexpr unsigned file_mode = 0640;
constexpr const char *storage_variable = "vandra_STORAGE_GL";
constexpr const char *done_variable = "vandra_GL_INI_IS_DONE";
constexpr const char *debugged_variable = "DEBUG_FROM_VANDRA_PROC_is_running";
constexpr std::string_view storage_prefix = "storage.";

struct store_state {
    std::string base; ///< with a "/" at its end; empty without GLOBALV's directory
    std::string session, lasting;
    std::string storage; ///< empty: there is none
    long owner = 0;      ///< the process that made it; 0 when it wasn't this one
    bool made = false;   ///< its directory is there
    std::string draft;   ///< where this process puts together what it writes
};
store_state state;

// ---- names ---------------------------------------------------------------------------------------------------------

/// The name behind a file name; false for one that isn't hexadecimal.
bool decode(std::string_view text, std::string &name) {
    name.clear();
    if (text.empty() || text.size() % 2) return false;
    for (size_t i = 0; i < text.size(); i += 2) {
        unsigned char byte = 0;
        auto read = std::from_chars(text.data() + i, text.data() + i + 2, byte, 16);
        if (read.ec != std::errc() || read.ptr != text.data() + i + 2) return false;
        name += static_cast<char>(byte);
    }
    return true;
}

const std::string &tree_of(rx_lifetime lifetime) {
    switch (lifetime) {
    case rx_lifetime::session: return state.session;
    case rx_lifetime::lasting: return state.lasting;
    case rx_lifetime::storage: break;
    }
    return state.storage;
}

std::string group_path(rx_lifetime lifetime, std::string_view group) {
    return tree_of(lifetime) + "/" + rx_hexadecimal(group);
}

/// What lies in a directory; nothing for one that can't be read.
std::vector<rx_directory_entry> entries_of(const std::string &path) {
    std::vector<rx_directory_entry> entries;
    rx_list_directory(path, entries);
    return entries;
}

/// The names in a directory that stand for something of this kind.
std::vector<std::string> decoded_names(const std::string &path, rx_file_type kind) {
    std::vector<std::string> names;
    std::string name;
    for (const rx_directory_entry &entry : entries_of(path)) {
        if (entry.type == kind && decode(entry.name, name)) names.push_back(name);
    }
    return names;
}

int code_of(rx_file_result result, int failure) {
    if (result == rx_file_result::busy) return rx_globalv_stayed_locked;
    return result == rx_file_result::failed ? failure : 0;
}

// ---- start and stop -------------------------------------------------------------------------------------------------

/// The base that the environment asks for; empty for none.
std::string wanted_base() {
    std::optional<std::string> home = rx_getenv("GLOBALVHOME");
    if (!home) home = rx_getenv("HOME");
    std::string base = rx_path_to_slashes(home.value_or("/"));
    if (base.empty()) return base;
    if (base.back() != '/') base += '/';
    return base + "vandra.globalv/";
}

/// The number of the process that made a storage directory; false when the entry is none.
bool owner_of(const std::string &name, long &number) {
    std::string_view digits = name;
    if (!digits.starts_with(storage_prefix)) return false;
    digits.remove_prefix(storage_prefix.size());
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) return false;
    // A number that is too large for any process is as good as that of a dead one.
    if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec != std::errc()) number = 0;
    return true;
}

void remove_dead_storages() {
    for (const rx_directory_entry &entry : entries_of(state.base)) {
        long owner;
        if (entry.type == rx_file_type::directory && owner_of(entry.name, owner) && !rx_process_exists(owner))
            rx_remove_tree(state.base + entry.name);
    }
}

void claim_storage() {
    remove_dead_storages();
    state.owner = rx_process_number();
    state.storage = state.base + std::string(storage_prefix) + std::to_string(state.owner);
    // One of that name is of a process that had the same number.
    rx_remove_tree(state.storage);
    rx_setenv(storage_variable, state.storage);
    static bool at_exit = false;
    if (!at_exit) std::atexit(rx_globalv_stop);
    at_exit = true;
}

/// Makes the directory of the storage while its owner lives; that of a dead one would stay behind.
void make_storage() {
    long owner;
    std::string name = state.storage.substr(state.storage.rfind('/') + 1);
    bool living = owner_of(name, owner) && rx_process_exists(owner);
    state.made = living ? rx_make_directory(state.storage, directory_mode) : rx_is_directory(state.storage);
}

// ---- copying --------------------------------------------------------------------------------------------------------

bool copy_tree(const std::string &from, const std::string &to) {
    std::vector<rx_directory_entry> entries;
    if (!rx_list_directory(from, entries)) return false;
    for (const rx_directory_entry &entry : entries) {
        std::string source = from + "/" + entry.name, target = to + "/" + entry.name;
        if (entry.type == rx_file_type::directory) {
            if (!rx_make_directory(target, directory_mode) || !copy_tree(source, target)) return false;
        } else if (entry.type == rx_file_type::file) {
            std::string value;
            rx_file_result result = rx_read_locked(source, value);
            if (result == rx_file_result::absent) continue;
            if (result == rx_file_result::done) result = rx_write_locked(target, state.draft, value, file_mode);
            if (result != rx_file_result::done) return false;
        }
    }
    return true;
}

} // namespace

void rx_globalv_start() {
    state = store_state{};
    std::string base = wanted_base();
    if (base.empty() || !rx_make_directory(base, directory_mode)) return;
    state.base = base;
    state.session = base + "session";
    state.lasting = base + "lasting";
    if (!rx_make_directory(state.session, directory_mode) || !rx_make_directory(state.lasting, directory_mode)) return;
    std::optional<std::string> inherited = rx_getenv(storage_variable);
    if (inherited && !inherited->empty() && !rx_getenv(debugged_variable))
        state.storage = *inherited;
    else
        claim_storage();
    state.draft = state.storage + "/.draft" + std::to_string(rx_process_number());
}

void rx_globalv_stop() {
    if (state.owner != 0 && state.owner == rx_process_number()) rx_remove_tree(state.storage);
    state.owner = 0;
    state.storage.clear();
}

bool rx_globalv_storage() {
    if (state.owner != 0 && wanted_base() != state.base) {
        rx_globalv_stop();
        rx_unsetenv(storage_variable);
        rx_unsetenv(done_variable);
        rx_globalv_start();
    }
    if (!state.storage.empty() && !state.made) make_storage();
    // The owner's storage has to be there; one that was inherited is taken as it is.
    return state.made || (!state.storage.empty() && state.owner == 0);
}

int rx_globalv_initialise() {
    std::string initial = state.base + "initial";
    if (rx_is_directory(initial) && !copy_tree(initial, state.storage)) return rx_globalv_initial_failed;
    for (rx_lifetime lifetime : {rx_lifetime::lasting, rx_lifetime::session}) {
        if (!copy_tree(tree_of(lifetime), state.storage)) return static_cast<int>(lifetime);
    }
    rx_setenv(done_variable, "1");
    return 0;
}

int rx_globalv_initialise_once() {
    return rx_getenv(done_variable) ? 0 : rx_globalv_initialise();
}

// ---- values ---------------------------------------------------------------------------------------------------------

bool rx_globalv_make_group(rx_lifetime lifetime, std::string_view group) {
    return rx_make_directory(group_path(lifetime, group), directory_mode);
}

int rx_globalv_write(rx_lifetime lifetime, std::string_view group, std::string_view name, std::string_view value) {
    std::string path = group_path(lifetime, group) + "/" + rx_hexadecimal(name);
    return code_of(rx_write_locked(path, state.draft, value, file_mode), static_cast<int>(lifetime));
}

int rx_globalv_read(std::string_view group, std::string_view name, std::string &value, bool *found) {
    rx_file_result result = rx_read_locked(group_path(rx_lifetime::storage, group) + "/" + rx_hexadecimal(name), value);
    if (found) *found = result != rx_file_result::absent;
    return code_of(result, static_cast<int>(rx_lifetime::storage));
}

int rx_globalv_purge(std::string_view group) {
    std::string path = group_path(rx_lifetime::storage, group);
    for (const rx_directory_entry &entry : entries_of(path)) {
        if (entry.type != rx_file_type::file) continue;
        int code = code_of(rx_remove_locked(path + "/" + entry.name), static_cast<int>(rx_lifetime::storage));
        if (code) return code;
    }
    return 0;
}

std::vector<std::string> rx_globalv_groups() {
    return decoded_names(state.storage, rx_file_type::directory);
}

std::vector<std::string> rx_globalv_names(std::string_view group) {
    return decoded_names(group_path(rx_lifetime::storage, group), rx_file_type::file);
}
