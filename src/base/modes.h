// The four modes that an OPTION clause sets: how symbols are folded, whether `$` symbols reach the process
// environment, how external scripts run, and whether GLOBALV answers. The scanner sets them, everybody reads them.
#pragma once

#include "base/run_local.h"

#include <string>
#include <string_view>

enum rx_case_mode : unsigned char { RX_MIXED = 0, RX_UPPER = 1, RX_LOWER = 2, RX_CASE_UNSET = 3 };
enum rx_env_mode : unsigned char { RX_SETENV = 0, RX_UNSETENV = 1, RX_ENV_UNSET = 2 };
enum rx_load_mode : unsigned char { RX_LOAD = 0, RX_NOLOAD = 1, RX_LOAD_UNSET = 2 };
enum rx_globalv_mode : unsigned char { RX_GLOBALV = 0, RX_NOGLOBALV = 1, RX_GLOBALV_UNSET = 2 };

struct rx_modes_record {
    rx_case_mode case_mode = RX_CASE_UNSET;
    rx_env_mode env_mode = RX_ENV_UNSET;
    rx_load_mode load_mode = RX_LOAD_UNSET;
    rx_globalv_mode globalv_mode = RX_GLOBALV_UNSET;
};
inline rx_run_local<rx_modes_record> rx_modes;

/// Folds ASCII letters in place by the case mode: unset and UPPER to upper case, LOWER to lower, MIXED not at all.
void rx_fold_case(char *text, size_t length);

/// The folded copy of a name.
std::string rx_folded(std::string_view text);

/// The spelling of a name that the system itself makes (RC, RESULT, SIGL, ...): the first in the modes unset and UPPER,
/// the second in the others.
inline std::string_view rx_system_name(std::string_view upper, std::string_view lower) {
    return rx_modes->case_mode == RX_UPPER || rx_modes->case_mode == RX_CASE_UNSET ? upper : lower;
}
