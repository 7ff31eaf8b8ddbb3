// The calendar and clock functions.
//
// DATE and TIME read the clock once per clause, so that all calls of a clause see one instant. Days are counted by a
// formula of two constants without a correction for centuries: 1900 and 2100 are leap years to it, and its day numbers
// are its own.
#include "builtins/clock.h"

#include "builtins/arguments.h"
#include "engine/engine.h"
#include "platform/clock.h"
#include "platform/paths.h"
#include "platform/strings.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr const char *months[] = {"January", "February", "March",     "April",   "May",      "June",
                                  "July",    "August",   "September", "October", "November", "December"};
constexpr const char *weekdays[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

__attribute__((format(printf, 1, 2))) rx_value formatted(const char *format, ...) {
    char text[96];
    va_list values;
    va_start(values, format);
    int length = std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return rx_string(std::string_view(text, static_cast<size_t>(length)));
}

// ---- the clause clock -----------------------------------------------------------------------------------------------

/// The time of the clause in hand; process-wide, like the count of clauses.
struct clause_clock {
    uint64_t clause = 0;
    rx_instant instant;
    rx_local_time local;
};

const clause_clock &clause_time() {
    static clause_clock clock;
    if (clock.clause != rx_clause_count || rx_clause_count == 0) {
        clock.clause = rx_clause_count;
        clock.instant = rx_clock_now();
        clock.local = rx_local_time_of(clock.instant.seconds);
    }
    return clock;
}

// ---- days -----------------------------------------------------------------------------------------------------------

constexpr double days_per_month = 30.6001;
constexpr double days_per_year = 365.25;

struct calendar_date {
    int day, month, year;
    bool operator==(const calendar_date &) const = default;
};

/// The date as the formula counts: a year begins in March, so that the leap day is its last one.
struct shifted_date {
    double month, year;
    explicit shifted_date(const calendar_date &date)
        : month(date.month <= 2 ? date.month + 13 : date.month + 1),
          year(date.month <= 2 ? date.year - 1.0 : date.year) {}
};

double rx_day_number(const calendar_date &date) {
    shifted_date shifted(date);
    return std::trunc(days_per_month * shifted.month) + std::trunc(days_per_year * shifted.year) + date.day;
}

calendar_date rx_from_day_number(double number) {
    double year = std::floor((number - 122.1) / days_per_year);
    double month = std::floor((number - std::floor(days_per_year * year)) / days_per_month);
    calendar_date date;
    date.day = rx_to_int(number - std::trunc(days_per_year * year) - std::trunc(days_per_month * month));
    date.month = rx_to_int(month < 14 ? month - 1 : month - 13);
    date.year = rx_to_int(date.month < 3 ? year + 1 : year);
    return date;
}

int rx_weekday(const calendar_date &date) {
    double weeks = (rx_day_number(date) + 5) / 7;
    return static_cast<int>(0.001 + 7 * (weeks - std::trunc(weeks)));
}

/// The day that day counts start from.
double first_day() {
    return rx_day_number({1, 1, 1}) + 1;
}

int day_of_year(const calendar_date &date) {
    return static_cast<int>(rx_day_number(date) + 1 - rx_day_number({1, 1, date.year}));
}

// ---- numbers in texts -----------------------------------------------------------------------------------------------

bool read_mark(std::string_view &text, char mark) {
    if (!text.starts_with(mark)) return false;
    text.remove_prefix(1);
    return true;
}

/// Reads day/month/year; false for what isn't a date of the calendar that the formula has.
bool read_date(std::string_view text, calendar_date &date) {
    if (!rx_scan_integer(text, date.day) || !read_mark(text, '/') || !rx_scan_integer(text, date.month) ||
        !read_mark(text, '/') || !rx_scan_integer(text, date.year))
        return false;
    return date.day >= 1 && date.day <= 31 && date.month >= 1 && date.month <= 12 && date.year >= 1 &&
           rx_from_day_number(rx_day_number(date)) == date;
}

/// The pieces of a text between separators, without empty ones.
std::vector<std::string_view> pieces_of(std::string_view text, char separator) {
    std::vector<std::string_view> pieces = rx_split_at(text, separator);
    std::erase_if(pieces, [](std::string_view piece) { return piece.empty(); });
    return pieces;
}

/// Reads "dd/mm/yyyy hh:mm:ss".
bool read_date_and_time(std::string_view text, rx_local_time &time) {
    std::vector<std::string_view> date = pieces_of(text, '/');
    if (date.size() != 3) return false;
    std::vector<std::string_view> year_and_clock = pieces_of(date[2], ' ');
    if (year_and_clock.size() != 2) return false;
    std::vector<std::string_view> clock = pieces_of(year_and_clock[1], ':');
    if (clock.size() != 3) return false;
    return rx_scan_integer(date[0], time.day) && rx_scan_integer(date[1], time.month) &&
           rx_scan_integer(year_and_clock[0], time.year) && rx_scan_integer(clock[0], time.hour) &&
           rx_scan_integer(clock[1], time.minute) && rx_scan_integer(clock[2], time.second);
}

} // namespace

// ---- DATE -----------------------------------------------------------------------------------------------------------

/// date([option], [date])
/// The date of the clause, or a date given as day/month/year, in one of these forms: B days since the beginning of the
/// calendar, C days in the century, D day of the year, E day/month/year (E4 with the full year), J year and day of the
/// year, N or L as in "7 Mar 2026" (the default), M name of the month, O year/month/day, S as in 20260307, U
/// month/day/year, W weekday. A whole number instead of an option is a number of days as B gives it, and comes back as
/// year/month/day.
/// Result: number for B, C and D; string otherwise
/// Errors: 40 for a wrong count, an unknown option or an invalid date
/// Example: date('s', '29/02/2024') -> 20240229
rx_value bu_date(const rx_expr *list) {
    bu_args args(list, "DATE", 0, 2, "must receive 1 or 2 arguments.");
    const rx_local_time &now = clause_time().local;
    calendar_date date{now.day, now.month, now.year};
    if (args.given(1)) {
        std::string_view text = args.text(1);
        if (!read_date(text, date)) args.fail(1, "Invalid \"" + std::string(text) + "\" date.");
    }
    rx_value number;
    if (args.given(0) && rx_number_of(args.values[0], number) && rx_is_whole(number.real)) {
        date = rx_from_day_number(number.real + first_day());
        return formatted("%d/%.2d/%.2d", date.year, date.month, date.day);
    }
    const auto &[day, month, year] = date;
    int short_year = year % 100;
    switch (args.option(0, 'n')) {
    case 'b': return bu_number(rx_day_number(date) - first_day());
    case 'c': return bu_number(rx_day_number(date) - rx_day_number({1, 1, year / 100 * 100}));
    case 'd': return bu_number(day_of_year(date));
    case 'e':
        if (args.given(0) && args.text(0).size() > 1 && args.text(0)[1] == '4')
            return formatted("%.2d/%.2d/%d", day, month, year);
        return formatted("%.2d/%.2d/%.2d", day, month, short_year);
    case 'j': return formatted("%.2d%.3d", short_year, day_of_year(date));
    case 'l':
    case 'n': return formatted("%d %.3s %d", day, months[month - 1], year);
    case 'm': return rx_string(months[month - 1]);
    case 'o': return formatted("%.2d/%.2d/%.2d", short_year, month, day);
    case 's': return formatted("%.2d%.2d%.2d", year, month, day);
    case 'u': return formatted("%.2d/%.2d/%.2d", month, day, short_year);
    case 'w': return rx_string(weekdays[rx_weekday(date)]);
    }
    args.fail(0, "argument 1 must start with B|C|D|E|J|L|M|O|S|U|W.");
}

// ---- TIME -----------------------------------------------------------------------------------------------------------

namespace {

/// Seconds since the elapsed clock of the routine was started; the first call starts it.
double elapsed() {
    rx_settings_record &settings = rx_change_settings();
    const rx_instant &now = clause_time().instant;
    if (settings.elapsed_seconds == 0 && settings.elapsed_microseconds == 0) {
        settings.elapsed_seconds = now.seconds;
        settings.elapsed_microseconds = now.microseconds;
        return 0;
    }
    return static_cast<double>(now.seconds - settings.elapsed_seconds) +
           static_cast<double>(now.microseconds - settings.elapsed_microseconds) / 1000000;
}

/// The restart reads the real clock: what a long clause has taken so far belongs to the time before.
double elapsed_and_restart() {
    double result = elapsed();
    rx_instant now = rx_clock_now();
    rx_change_settings().elapsed_seconds = now.seconds;
    rx_change_settings().elapsed_microseconds = now.microseconds;
    return result;
}

rx_value normal_time(const rx_local_time &time) {
    return formatted("%2.2d:%2.2d:%2.2d", time.hour, time.minute, time.second);
}

rx_value long_time(const clause_clock &clock) {
    rx_value text = normal_time(clock.local);
    if (clock.instant.microseconds == 0) return text;
    char digits[16];
    int length = std::snprintf(digits, sizeof digits, ".%6.6d", static_cast<int>(clock.instant.microseconds));
    while (digits[length - 1] == '0') length--;
    rx_append(text, std::string_view(digits, static_cast<size_t>(length)));
    return text;
}

rx_value civil_time(const rx_local_time &time) {
    if (time.hour <= 12) return formatted("%d:%2.2dam", time.hour, time.minute);
    return formatted("%d:%2.2dpm", time.hour - 12, time.minute);
}

} // namespace

/// time([option])
/// The time of the clause: C as in "1:05pm", H the hour, L with microseconds, M minutes since midnight, N as in
/// 13:05:09 (the default), S seconds since midnight; or seconds of the routine's elapsed clock, which the first call
/// starts: E, and R, which starts it anew.
/// Result: number for E, H, M, R and S; string otherwise
/// Errors: 40 for a wrong count or an unknown option
/// Example: time('e') -> 0
rx_value bu_time(const rx_expr *list) {
    bu_args args(list, "TIME", 0, 1, "must receive 1 argument.");
    const clause_clock &clock = clause_time();
    const rx_local_time &now = clock.local;
    switch (args.option(0, 'n')) {
    case 'c': return civil_time(now);
    case 'e': return bu_number(elapsed());
    case 'h': return bu_number(now.hour);
    case 'l': return long_time(clock);
    case 'm': return bu_number(now.hour * 60 + now.minute);
    case 'n': return normal_time(now);
    case 'r': return bu_number(elapsed_and_restart());
    case 's': return bu_number(now.hour * 3600 + now.minute * 60 + now.second);
    }
    args.fail(0, "argument 1 must start with C|E|H|L|M|N|R|S, or be a whole number.");
}

// ---- STIME and UTIME ------------------------------------------------------------------------------------------------

/// stime(text)
/// Sets the machine's local time, given as "dd/mm/yyyy hh:mm:ss". -1 when the system refuses.
/// Result: number
/// Errors: 40 for a wrong count or a text of another form
/// Example: stime('31/02/2024 12:00:00') -> -1
rx_value bu_stime(const rx_expr *list) {
    bu_args args(list, "STIME", 1, 1, "must receive 1 argument.");
    rx_local_time time;
    if (!read_date_and_time(args.text(0), time)) args.fail(0, "argument 1 must be in \"dd/mm/yyyy  hh:mm:ss\" format.");
    long long seconds;
    bool valid = time.year >= 1601 && time.year <= 30827 && rx_time_of_local(time, seconds);
    return bu_number(valid && rx_set_machine_time(seconds) ? 0 : -1);
}

namespace {

// The years that a file time in the packed form of old file systems can hold; its seconds count in twos.
constexpr int first_packed_year = 1980, last_packed_year = 2107;

int number_argument(bu_args &args, size_t i) {
    return rx_to_int(args.number(i, "argument " + std::to_string(i + 1) + " must be a number.", 41));
}

} // namespace

/// utime(file, day, month, year, hour, minute, second)
/// Sets a file's times of last change and last use to a local time; seconds are rounded down to even ones, years go
/// from 1980 to 2107.
/// Result: number
/// Errors: 40 for a wrong count, a file that can't be opened or an invalid time; 41 for what is no number
/// Example: f = `'mktemp'`; r = utime(f, 1, 1, 2024, 12, 0, 0); 'rm' f; r -> 0
rx_value bu_utime(const rx_expr *list) {
    bu_args args(list, "UTIME", 7, 7, "must receive 7 arguments.");
    std::string path = rx_expand_name(args.text(0));
    if (path.empty()) rx_arg_error(list, 0, "Unable to solve file \"" + std::string(args.text(0)) + "\"");
    rx_local_time time;
    time.day = number_argument(args, 1);
    time.month = number_argument(args, 2);
    time.year = number_argument(args, 3);
    time.hour = number_argument(args, 4);
    time.minute = number_argument(args, 5);
    time.second = number_argument(args, 6) / 2 * 2;
    long long seconds;
    bool valid = time.year >= first_packed_year && time.year <= last_packed_year && rx_time_of_local(time, seconds);
    if (!valid) rx_arg_error(list, 0, "Unable to process time value");
    rx_file_time_failure failure = rx_set_file_time(path, seconds);
    if (failure == rx_file_time_failure::open) rx_arg_error(list, 0, "Unable to open file");
    if (failure == rx_file_time_failure::set) rx_arg_error(list, 0, "Unable to set time value");
    return bu_number(0);
}
