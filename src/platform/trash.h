// The trash of the desktop, as freedesktop.org lays it out (Trash 1.0): what lies there can be looked at and restored
// with any file manager.
#pragma once

#include <string>

/// Puts a file or directory, given by its absolute path, in the trash: that of the user when it lies on the same file
/// system, else the one at the top of its own; in the user's own by copying when there can be none. False with the
/// system's error set.
bool rx_move_to_trash(const std::string &path);
