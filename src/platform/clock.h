// The clocks: the time of day and what calendars make of it.
#pragma once

#include <cstdint>
#include <string_view>

/// A point in time, as the system's clock gives it: seconds since 1970 and microseconds (0 to 999999).
struct rx_instant {
    long long seconds = 0;
    long long microseconds = 0;
};

/// The time now.
rx_instant rx_clock_now();

/// A counter that runs forward and costs next to nothing to read, for telling whether something is very recent.
/// rx_ticks_of_a_moment of its steps are less than a millisecond and more than a twentieth of one.
#ifdef __x86_64__
constexpr uint64_t rx_ticks_of_a_moment = 500'000; // the processor's own counter, which makes 0.8 to 6 billion a second
inline uint64_t rx_tick() {
    return __builtin_ia32_rdtsc();
}
#else
constexpr uint64_t rx_ticks_of_a_moment = 900'000; // nanoseconds
uint64_t rx_tick();
#endif

/// A local date and time.
struct rx_local_time {
    int second = 0, minute = 0, hour = 0;
    int day = 1, month = 1, year = 1970; ///< all counted as people do
};

/// Waits; an interrupt ends the wait early.
void rx_sleep(long long microseconds);

/// The local form of a time.
rx_local_time rx_local_time_of(long long seconds);

/// The time of a local date; false when there is no such date or time of day.
bool rx_time_of_local(const rx_local_time &local, long long &seconds);

/// Sets the machine's clock; false when the system refuses.
bool rx_set_machine_time(long long seconds);

enum class rx_file_time_failure { none, open, set };

/// Sets the times of last use and last change of an existing file.
rx_file_time_failure rx_set_file_time(std::string_view path, long long seconds);
