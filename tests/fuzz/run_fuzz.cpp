// Whole runs of any bytes as a script: whatever it says, a run ends in an exit code, and the next one finds a clean
// slate.
//
// A script could do harm, so nothing of it gets out: commands are swallowed, and no process can be started. Its time is
// limited by the interrupt flag, which is looked at between clauses; texts that could trap that are passed over.

#include "driver/install.h"
#include "driver/run.h"
#include "engine/host.h"
#include "platform/signals.h"
#include "platform/stack.h"
#include "platform/strings.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <spawn.h>
#include <string>
#include <thread>

// These take the place of the C library's own.
extern "C" int posix_spawn(pid_t *, const char *, const posix_spawn_file_actions_t *, const posix_spawnattr_t *,
                           char *const[], char *const[]) {
    return ENOENT;
}
extern "C" int posix_spawnp(pid_t *, const char *, const posix_spawn_file_actions_t *, const posix_spawnattr_t *,
                            char *const[], char *const[]) {
    return ENOENT;
}

namespace {

constexpr auto time_limit = std::chrono::milliseconds(50);
using steady = std::chrono::steady_clock;

std::atomic<steady::rep> started; // of the run in force, or 0
std::string folder;

void watch() {
    for (;;) {
        std::this_thread::sleep_for(time_limit / 2);
        steady::rep since = started;
        if (since && steady::now().time_since_epoch().count() - since > steady::duration(time_limit).count())
            rx_halt_pending = 1;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    char name[] = "/tmp/vandra-fuzz-XXXXXX";
    const char *made = mkdtemp(name);
    if (!made) std::abort();
    folder = made;
    setenv("HOME", made, 1);
    setenv("PATH", made, 1);          // external routines are looked for here
    rx_stack_size = size_t{64} << 20; // runaway recursion ends sooner
    rx_install();
    rx_builtin_command = [](std::string_view, int &rc) {
        rc = 0;
        return true;
    };
    std::thread(watch).detach();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string text(reinterpret_cast<const char *>(data), size);
    std::string upper = text;
    rx_upper(upper.data(), upper.size());
    if (upper.find("HALT") != std::string::npos || upper.find("TRACE") != std::string::npos) return -1;

    std::string script = folder + "/script.vnd";
    std::ofstream(script, std::ios::binary) << text;
    started = steady::now().time_since_epoch().count();
    run_rx(script, folder.c_str());
    started = 0;
    rx_halt_pending = 0;

    // What one run has left behind, another doesn't see.
    std::ofstream(script, std::ios::binary) << "exit x || symbol('x') || digits() || condition('C')";
    std::optional<std::string> result;
    run_rx(script, folder.c_str(), nullptr, &result);
    if (result != "XLIT9") std::abort();
    return 0;
}
