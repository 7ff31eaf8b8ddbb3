// A native stack of the interpreter's own. A call of a routine is a native recursion, so the interpreter runs on a
// stack that is large enough for deep scripts (reserved, not committed), and raises an error before it is used up.
#pragma once

#include <cstddef>

/// Bytes of that stack. A program may ask for less before its first run.
extern size_t rx_stack_size;

/// Calls `body(argument)` on the interpreter's stack; directly when it runs there already. Exceptions may not leave
/// `body`.
void rx_on_interpreter_stack(void (*body)(void *), void *argument);

/// The address below which the stack in force counts as used up.
inline constinit char *rx_stack_limit = nullptr;

/// Gives the handler of a used-up stack half of what was kept free, as long as enough is left.
void rx_open_stack_reserve();

/// Takes that back once the stack isn't deep any more; called where a signal is taken up.
void rx_close_stack_reserve();

/// To be called before an exception is thrown. Under AddressSanitizer it makes the frames that will be left usable
/// again, which the sanitizer does by itself on small stacks only; otherwise it does nothing.
void rx_before_unwinding();

inline bool rx_stack_used_up() {
    return static_cast<char *>(__builtin_frame_address(0)) < rx_stack_limit;
}
