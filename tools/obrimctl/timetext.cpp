// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "timetext.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace
{
constexpr std::int64_t LeastTime = INT32_MIN;
constexpr std::int64_t MostTime = INT32_MAX;
constexpr std::int64_t Day = 86400;
constexpr std::int64_t Hour = 3600;

std::optional<std::time_t> inRange(std::int64_t time)
{
    if (time < LeastTime || time > MostTime)
        return std::nullopt;
    return std::time_t(time);
}

void putDigits(char *to, int count, std::int64_t number)
{
    for (int i = count - 1; i >= 0; --i, number /= 10)
        to[i] = char('0' + number % 10);
}

std::int64_t floorDivide(std::int64_t number, std::int64_t by)
{
    return (number >= 0 ? number : number - by + 1) / by;
}
/** Takes a text apart from its beginning. */
class Scanner
{
public:
    explicit Scanner(std::string_view text)
        : m_rest(text)
    {
    }
    bool atEnd() const
    {
        return m_rest.empty();
    }
    bool take(char c)
    {
        if (m_rest.empty() || m_rest.front() != c)
            return false;
        m_rest.remove_prefix(1);
        return true;
    }
    bool take(std::string_view word)
    {
        if (m_rest.substr(0, word.size()) != word)
            return false;
        m_rest.remove_prefix(word.size());
        return true;
    }
    /** A number of exactly so many digits. */
    std::optional<int> digits(std::size_t count)
    {
        const std::size_t found = std::min(m_rest.find_first_not_of("0123456789"), m_rest.size());
        if (found < count)
            return std::nullopt;
        const auto number = this->number(count);
        return number ? std::optional(int(*number)) : std::nullopt;
    }
    /** A number without a sign, as long as it goes. */
    std::optional<std::int64_t> number()
    {
        return number(std::min(m_rest.find_first_not_of("0123456789"), m_rest.size()));
    }
    char next()
    {
        const char c = m_rest.empty() ? '\0' : m_rest.front();
        m_rest.remove_prefix(m_rest.empty() ? 0 : 1);
        return c;
    }

private:
    std::optional<std::int64_t> number(std::size_t length)
    {
        std::int64_t value = 0;
        const auto result = std::from_chars(m_rest.data(), m_rest.data() + length, value);
        if (length == 0 || result.ec != std::errc() || result.ptr != m_rest.data() + length)
            return std::nullopt;
        m_rest.remove_prefix(length);
        return value;
    }

    std::string_view m_rest;
};

/** A date and a time of day as written. */
struct Moment {
    int year = 1970;
    int month = 1;
    int day = 1;
    int second = 0; ///< of the day
    std::optional<std::int64_t> offset;
};

bool isLeap(int year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysIn(int year, int month)
{
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeap(year) ? 29 : days[month - 1];
}

/** Days since 1970-01-01 of the Gregorian calendar. */
std::int64_t dayNumber(int year, int month, int day)
{
    // Counted from a March, so that a leap day is the last of its year.
    const std::int64_t y = month > 2 ? year : year - 1;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

bool takeDate(Scanner &scanner, Moment &moment)
{
    const auto year = scanner.digits(4);
    if (!year || !scanner.take('-'))
        return false;
    const auto month = scanner.digits(2);
    if (!month || *month < 1 || *month > 12 || !scanner.take('-'))
        return false;
    const auto day = scanner.digits(2);
    if (!day || *day < 1 || *day > daysIn(*year, *month))
        return false;
    moment.year = *year;
    moment.month = *month;
    moment.day = *day;
    return true;
}

/** HH:MM or HH:MM:SS. */
bool takeTimeOfDay(Scanner &scanner, Moment &moment)
{
    const auto hour = scanner.digits(2);
    if (!hour || *hour > 23 || !scanner.take(':'))
        return false;
    const auto minute = scanner.digits(2);
    if (!minute || *minute > 59)
        return false;
    std::optional<int> second = 0;
    if (scanner.take(':'))
        second = scanner.digits(2);
    if (!second || *second > 59)
        return false;
    moment.second = (*hour * 60 + *minute) * 60 + *second;
    return true;
}

/** Z, +01:00 or +0100; nothing is fine too. */
bool takeOffset(Scanner &scanner, Moment &moment)
{
    if (scanner.take('Z')) {
        moment.offset = 0;
        return true;
    }
    const bool east = scanner.take('+');
    if (!east && !scanner.take('-'))
        return true;
    const auto hours = scanner.digits(2);
    scanner.take(':');
    const auto minutes = scanner.digits(2);
    if (!hours || !minutes || *hours > 23 || *minutes > 59)
        return false;
    moment.offset = (east ? 1 : -1) * (*hours * Hour + *minutes * 60L);
    return true;
}

std::tm brokenDown(std::time_t time, Clock clock)
{
    std::tm fields = {};
    clock == Clock::Utc ? gmtime_r(&time, &fields) : localtime_r(&time, &fields);
    return fields;
}

std::optional<std::time_t> toTime(const Moment &moment, Clock clock)
{
    const std::int64_t utc = dayNumber(moment.year, moment.month, moment.day) * Day + moment.second;
    if (moment.offset || clock == Clock::Utc)
        return inRange(utc - moment.offset.value_or(0));
    std::tm fields = {};
    fields.tm_year = moment.year - 1900;
    fields.tm_mon = moment.month - 1;
    fields.tm_mday = moment.day;
    fields.tm_hour = moment.second / 3600;
    fields.tm_min = moment.second / 60 % 60;
    fields.tm_sec = moment.second % 60;
    fields.tm_isdst = -1;
    fields.tm_wday = -1; // stays so when the C library has no such time, whose result is also that of a valid one
    const std::time_t time = std::mktime(&fields);
    return fields.tm_wday < 0 ? std::nullopt : inRange(time);
}

/** The day that is `days` from the day of `now`. */
Moment dayFrom(std::time_t now, int days, Clock clock)
{
    const std::tm fields = brokenDown(now, clock);
    const std::int64_t number = dayNumber(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday) + days;
    const std::time_t noon = std::time_t(number * Day + Day / 2);
    const std::tm day = brokenDown(noon, Clock::Utc);
    return {day.tm_year + 1900, day.tm_mon + 1, day.tm_mday, 0, std::nullopt};
}

std::optional<std::time_t> parseEpoch(Scanner scanner)
{
    const bool negative = scanner.take('-');
    const auto seconds = scanner.number();
    if (!seconds || !scanner.atEnd())
        return std::nullopt;
    return inRange(negative ? -*seconds : *seconds);
}

std::int64_t secondsOf(char unit)
{
    switch (unit) {
    case 's':
        return 1;
    case 'm':
        return 60;
    case 'h':
        return Hour;
    case 'd':
        return Day;
    case 'w':
        return 7 * Day;
    default:
        return 0;
    }
}

/** -1d12h, behind its sign. */
std::optional<std::time_t> parseRelative(Scanner scanner, std::time_t now, int sign)
{
    std::int64_t sum = 0;
    do {
        const auto count = scanner.number();
        const std::int64_t unit = secondsOf(scanner.next());
        if (!count || unit == 0 || *count > (MostTime - LeastTime) / unit)
            return std::nullopt;
        sum += *count * unit;
    } while (!scanner.atEnd());
    return inRange(now + sign * sum);
}

std::optional<std::time_t> parseDated(Scanner scanner, Clock clock)
{
    Moment moment;
    if (!takeDate(scanner, moment))
        return std::nullopt;
    const bool hasTime = scanner.take('T') || scanner.take(' ');
    if (hasTime && (!takeTimeOfDay(scanner, moment) || !takeOffset(scanner, moment)))
        return std::nullopt;
    return scanner.atEnd() ? toTime(moment, clock) : std::nullopt;
}

std::optional<std::time_t> parseDay(Scanner scanner, std::time_t now, Clock clock)
{
    const int days = scanner.take("yesterday") ? -1 : scanner.take("tomorrow") ? 1 : 0;
    const bool named = days != 0 || scanner.take("today");
    Moment moment = dayFrom(now, days, clock);
    // A time of day alone is today's.
    if ((!named || scanner.take(' ')) && !takeTimeOfDay(scanner, moment))
        return std::nullopt;
    return scanner.atEnd() ? toTime(moment, clock) : std::nullopt;
}
} // namespace

std::optional<std::time_t> parseTime(std::string_view text, std::time_t now, Clock clock)
{
    if (text == "now")
        return inRange(now);
    Scanner scanner(text);
    if (scanner.take('@'))
        return parseEpoch(scanner);
    if (scanner.take('-'))
        return parseRelative(scanner, now, -1);
    if (scanner.take('+'))
        return parseRelative(scanner, now, 1);
    if (text.size() >= 10 && text[4] == '-')
        return parseDated(scanner, clock);
    return parseDay(scanner, now, clock);
}

TimeWriter::TimeWriter(Clock clock)
    : m_clock(clock)
{
    tzset();
}

/** Finds the offset of this time, and of the whole hour around it unless it changes within. */
void TimeWriter::learn(std::int64_t time)
{
    const auto offsetAt = [&](std::int64_t at) {
        return m_clock == Clock::Utc ? 0 : std::int64_t(brokenDown(std::time_t(at), m_clock).tm_gmtoff);
    };
    m_from = std::max(floorDivide(time, Hour) * Hour, LeastTime);
    m_to = std::min(m_from + Hour, MostTime + 1);
    m_offset = offsetAt(time);
    if (offsetAt(m_from) != m_offset || offsetAt(m_to - 1) != m_offset) {
        m_from = time;
        m_to = time + 1;
    }
    const std::int64_t minutes = std::abs(m_offset) / 60;
    m_zone[0] = m_offset < 0 ? '-' : '+';
    putDigits(m_zone + 1, 2, minutes / 60);
    m_zone[3] = ':';
    putDigits(m_zone + 4, 2, minutes % 60);
}

void TimeWriter::learnDay(std::int64_t day)
{
    const std::tm date = brokenDown(std::time_t(std::clamp(day * Day, LeastTime, MostTime)), Clock::Utc);
    putDigits(m_date, 4, date.tm_year + 1900);
    m_date[4] = '-';
    putDigits(m_date + 5, 2, date.tm_mon + 1);
    m_date[7] = '-';
    putDigits(m_date + 8, 2, date.tm_mday);
    m_date[10] = 'T';
    m_day = day;
}

void TimeWriter::append(std::string &out, std::time_t time)
{
    const std::int64_t shown = std::clamp<std::int64_t>(time, LeastTime, MostTime);
    if (shown < m_from || shown >= m_to)
        learn(shown);
    const std::int64_t local = shown + m_offset;
    const std::int64_t day = floorDivide(local, Day);
    if (day != m_day)
        learnDay(day);
    const std::int64_t second = local - day * Day;
    char text[25];
    std::copy_n(m_date, 11, text);
    putDigits(text + 11, 2, second / 3600);
    text[13] = ':';
    putDigits(text + 14, 2, second / 60 % 60);
    text[16] = ':';
    putDigits(text + 17, 2, second % 60);
    std::copy_n(m_zone, 6, text + 19);
    out.append(text, sizeof(text));
}

std::string TimeWriter::text(std::time_t time)
{
    std::string out;
    append(out, time);
    return out;
}
