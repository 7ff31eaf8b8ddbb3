#include "platform/clock.h"

#include "platform/signals.h"
#include "platform/world.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

rx_instant rx_clock_now() {
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return {now.tv_sec, now.tv_nsec / 1000};
}

#ifndef __x86_64__
uint64_t rx_tick() {
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}
#endif

rx_local_time rx_local_time_of(long long seconds) {
    // A script may have changed the time zone in the environment.
    ::tzset();
    std::time_t time = seconds;
    std::tm parts = {};
    ::localtime_r(&time, &parts);
    return {parts.tm_sec, parts.tm_min, parts.tm_hour, parts.tm_mday, parts.tm_mon + 1, parts.tm_year + 1900};
}

bool rx_time_of_local(const rx_local_time &local, long long &seconds) {
    if (local.month < 1 || local.month > 12 || local.hour < 0 || local.hour > 23) return false;
    std::tm parts = {};
    parts.tm_sec = local.second;
    parts.tm_min = local.minute;
    parts.tm_hour = local.hour;
    parts.tm_mday = local.day;
    parts.tm_mon = local.month - 1;
    parts.tm_year = local.year - 1900;
    parts.tm_isdst = -1;
    std::tm wanted = parts;
    seconds = std::mktime(&parts);
    // An hour that the change to summer time leaves out is moved, and stands; any other change means no such date.
    return parts.tm_sec == wanted.tm_sec && parts.tm_min == wanted.tm_min && parts.tm_mday == wanted.tm_mday &&
           parts.tm_mon == wanted.tm_mon && parts.tm_year == wanted.tm_year;
}

bool rx_set_machine_time(long long seconds) {
    timespec time = {};
    time.tv_sec = seconds;
    return ::clock_settime(CLOCK_REALTIME, &time) == 0;
}

rx_file_time_failure rx_set_file_time(std::string_view path, long long seconds) {
    int file = ::open(std::string(path).c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0) return rx_file_time_failure::open;
    timespec times[2] = {};
    times[0].tv_sec = times[1].tv_sec = seconds;
    bool set = ::futimens(file, times) == 0;
    ::close(file);
    return set ? rx_file_time_failure::none : rx_file_time_failure::set;
}

void rx_sleep(long long microseconds) {
    rx_world_changes++;
    struct timespec time = {static_cast<time_t>(microseconds / 1000000), (microseconds % 1000000) * 1000};
    while (::nanosleep(&time, &time) != 0 && errno == EINTR && !rx_halt_pending) {
    }
}
