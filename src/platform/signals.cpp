#include "platform/signals.h"

#include <signal.h>

volatile std::sig_atomic_t rx_halt_pending = 0;

void rx_catch_interrupt() {
    struct sigaction action = {};
    action.sa_handler = [](int) { rx_halt_pending = 1; };
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
}
