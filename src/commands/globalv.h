// GLOBALV: named values outside any one program, in groups, with three lifetimes.
#pragma once

#include <string_view>

/// Runs the command; `text` is what follows its name. The return code: 0 done, 1000004 a bad verb or a missing operand,
/// 1000024 no operand at all, or a code of globalv_store.h. Prints no message and raises no condition.
int rx_globalv(std::string_view text);
