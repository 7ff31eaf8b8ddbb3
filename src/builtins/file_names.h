// What the functions for files share: names, and the way in which they tell of failures.
//
// A failure doesn't raise an error. RC holds its number, 0 on success, and so does the result of a function whose
// result is a number; one whose result is a text returns the reasons, or the empty text on success.
#pragma once

#include "builtins/arguments.h"

#include <string>
#include <string_view>

/// The full form of a name, without a "/" at its end. Empty for a name that can't be one: an empty one, one that holds
/// a NUL.
std::string bu_solve_name(std::string_view name);

/// The full form of an argument; without one the handler ends with the complaint.
std::string bu_solve_argument(bu_args &args, size_t i, std::string_view complaint);

/// A name in double quotes.
std::string bu_quoted(std::string_view name);

/// "Unable to <what> "name" (reason)." for the system's last error, or that error.
std::string bu_unable(std::string_view what, std::string_view name);
std::string bu_unable(std::string_view what, std::string_view name, int error);

/// Sets RC and returns the number.
rx_value bu_status(int code);

/// Sets RC and returns the text.
rx_value bu_status(int code, std::string_view text);

/// Reads an argument that is ON or OFF, in either case.
bool bu_on_off(bu_args &args, size_t i, bool &on);

/// Whether STATE and LS see through links; DOFOLLOW sets it.
inline rx_run_local<bool> bu_no_follow;
