#include "platform/stack.h"

#include "platform/sanitizer.h"

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <ucontext.h>

#ifdef VANDRA_ASAN
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif

#ifdef VANDRA_ASAN
size_t rx_stack_size = size_t{1} << 30; // instrumented frames are several times as large
#else
size_t rx_stack_size = size_t{512} << 20;
#endif

namespace {

/// Kept free for reporting the error and for library calls at the deepest point.
size_t stack_reserve() {
    return rx_stack_size / 64;
}

ucontext_t caller_context;
ucontext_t stack_context;
char *stack_base = nullptr;
bool on_stack = false;
void (*body_now)(void *) = nullptr;
void *argument_now = nullptr;

#ifdef VANDRA_ASAN
const void *caller_bottom = nullptr;
size_t caller_size = 0;
void *caller_fake = nullptr;
void enter_stack() {
    __sanitizer_start_switch_fiber(&caller_fake, stack_base, rx_stack_size);
}
void entered_stack() {
    __sanitizer_finish_switch_fiber(nullptr, &caller_bottom, &caller_size);
}
void leave_stack() {
    __sanitizer_start_switch_fiber(nullptr, caller_bottom, caller_size);
}
void left_stack() {
    __sanitizer_finish_switch_fiber(caller_fake, nullptr, nullptr);
}
#else
void enter_stack() {}
void entered_stack() {}
void leave_stack() {}
void left_stack() {}
#endif

void trampoline() {
    entered_stack();
    body_now(argument_now);
    leave_stack();
}

} // namespace

void rx_before_unwinding() {
#ifdef VANDRA_ASAN
    if (!on_stack) return;
    char *frame = static_cast<char *>(__builtin_frame_address(0));
    ASAN_UNPOISON_MEMORY_REGION(frame, static_cast<size_t>(stack_base + rx_stack_size - frame));
#endif
}

void rx_open_stack_reserve() {
    char *lower = stack_base + (rx_stack_limit - stack_base) / 2;
    if (lower >= stack_base + stack_reserve() / 8) rx_stack_limit = lower;
}

void rx_close_stack_reserve() {
    if (static_cast<char *>(__builtin_frame_address(0)) > stack_base + 2 * stack_reserve())
        rx_stack_limit = stack_base + stack_reserve();
}

void rx_on_interpreter_stack(void (*body)(void *), void *argument) {
    if (on_stack) {
        body(argument);
        return;
    }
    if (!stack_base) {
        void *memory = ::mmap(nullptr, rx_stack_size, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
        if (memory == MAP_FAILED) {
            std::fputs("Vandra: no more memory.\n", stderr);
            std::exit(1);
        }
        stack_base = static_cast<char *>(memory);
    }
    rx_stack_limit = stack_base + stack_reserve();
    ::getcontext(&stack_context);
    stack_context.uc_stack.ss_sp = stack_base;
    stack_context.uc_stack.ss_size = rx_stack_size;
    stack_context.uc_link = &caller_context;
    ::makecontext(&stack_context, trampoline, 0);
    body_now = body;
    argument_now = argument;
    on_stack = true;
    enter_stack();
    // Two steps in place of swapcontext, of which AddressSanitizer complains on the error output of every run. The
    // second return of getcontext is that of `body`.
    volatile bool entered = false;
    ::getcontext(&caller_context);
    if (!entered) {
        entered = true;
        ::setcontext(&stack_context);
    }
    left_stack();
    on_stack = false;
}
