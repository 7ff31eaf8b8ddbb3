#include "platform/startup.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

void rx_mend_inheritance() {
    for (int stream = 0; stream <= 2; stream++) {
        // The lowest free number is taken, which is this one.
        if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF) ::open("/dev/null", stream == 0 ? O_RDONLY : O_WRONLY);
    }
    struct sigaction action = {};
    ::sigaction(SIGCHLD, nullptr, &action);
    if (action.sa_handler == SIG_IGN) ::signal(SIGCHLD, SIG_DFL);
}
