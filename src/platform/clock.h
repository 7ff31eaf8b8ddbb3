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

/// A clock that only runs forward, in nanoseconds.
uint64_t rx_tick();

/// A local date and time.
struct rx_local_time {
    int second = 0, minute = 0, hour = 0;
    int day = 1, month = 1, year = 1970; ///< all counted as people do
};

/// The local form of a time.
rx_local_time rx_local_time_of(long long seconds);

/// The time of a local date; false when there is no such date or time of day.
bool rx_time_of_local(const rx_local_time &local, long long &seconds);

/// Sets the machine's clock; false when the system refuses.
bool rx_set_machine_time(long long seconds);

enum class rx_file_time_failure { none, open, set };

/// Sets the times of last use and last change of an existing file.
rx_file_time_failure rx_set_file_time(std::string_view path, long long seconds);
