// Where GLOBALV keeps its values: a tree of plain files that all processes share.
//
// Under the base directory ("vandra.globalv" in the directory of GLOBALVHOME, else in the home directory) lie four
// trees. `initial` holds values prepared by hand, `session` and `lasting` those that outlive a process; the working
// storage, "storage." and the number of the process that made it, is what the verbs read. In each of them a group is a
// directory and a variable a file whose bytes are the value. Both bear the hexadecimal form of their names, so that a
// name can hold anything. A process without a storage gets one of its own, which its children find through the environment
// and share; its end removes it. What a killed process leaves behind is removed by the next one that starts.
//
// The directory of the storage is made when the first command needs it, by the owner or by a child: a script that never
// says GLOBALV doesn't pay for it, and on some file systems it would pay more than for all the rest of its start.
//
// All this is process-wide: nested runs share the store.
#pragma once

#include "platform/locked_file.h"

#include <string>
#include <string_view>
#include <vector>

/// How long a value stays. The numbers are the return codes of a failure there.
enum class rx_lifetime : int { storage = 1504000, session = 1503000, lasting = 1502000 };

constexpr int rx_globalv_initial_failed = 1501000;
constexpr int rx_globalv_stayed_locked = 1505000;

/// Sets up the trees and the working storage. Without a usable base there is no storage.
void rx_globalv_start();

/// Removes the working storage if this process made it.
void rx_globalv_stop();

/// For each command: starts again when the base is no longer the one of the last start, makes the directory of the
/// storage. True when there is a working storage.
bool rx_globalv_storage();

/// Copies the values that outlive processes into the working storage, or does so only if that wasn't done yet. 0, or
/// the code of the tree that failed.
int rx_globalv_initialise();
int rx_globalv_initialise_once();

/// Makes the directory of a group. False when that can't be.
bool rx_globalv_make_group(rx_lifetime lifetime, std::string_view group);

/// Writes a variable of a group that has its directory. 0, or a code.
int rx_globalv_write(rx_lifetime lifetime, std::string_view group, std::string_view name, std::string_view value);

/// Reads a variable from the working storage; one that isn't there is empty. `found` may be null. 0, or a code.
int rx_globalv_read(std::string_view group, std::string_view name, std::string &value, bool *found = nullptr);

/// Empties a group of the working storage. 0, or a code.
int rx_globalv_purge(std::string_view group);

/// The names of the groups in the working storage, and of the variables in one of them.
std::vector<std::string> rx_globalv_groups();
std::vector<std::string> rx_globalv_names(std::string_view group);
