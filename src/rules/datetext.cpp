// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "datetext.h"

#include <QDateTime>
#include <QLocale>
#include <QStringBuilder>
#include <QTimeZone>
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace
{

qint64 clamped(std::time_t seconds)
{
    return std::clamp<qint64>(seconds, INT32_MIN, INT32_MAX);
}

/** A time as the clock on the wall shows it. */
std::tm localTime(qint64 seconds)
{
    std::tm local{};
    const auto time = std::time_t(seconds);
    // What the toolkit does, too, but in microseconds. Before 1970 it has rules of its own.
    if (seconds >= 0 && ::localtime_r(&time, &local))
        return local;
    const QDateTime slowly = QDateTime::fromSecsSinceEpoch(seconds);
    local.tm_year = slowly.date().year() - 1900;
    local.tm_mon = slowly.date().month() - 1;
    local.tm_mday = slowly.date().day();
    local.tm_wday = slowly.date().dayOfWeek() % 7;
    local.tm_hour = slowly.time().hour();
    local.tm_min = slowly.time().minute();
    local.tm_sec = slowly.time().second();
    return local;
}

QByteArray localeName()
{
    return QLocale::system().name().toLatin1();
}

/** Short names in the system's language, which take microseconds to be asked for. */
struct Names {
    QByteArray locale = localeName();
    std::array<QString, 7> days; ///< from Sunday on
    std::array<QString, 12> months;

    Names()
    {
        for (int day = 0; day < 7; ++day)
            days[day] = QLocale::system().dayName(day == 0 ? 7 : day, QLocale::ShortFormat);
        for (int month = 0; month < 12; ++month)
            months[month] = QLocale::system().monthName(month + 1, QLocale::ShortFormat);
    }
};

Names &names()
{
    static Names names;
    return names;
}

} // namespace

// Put together here and not by toString(Qt::TextDate): that one speaks the
// system's language in Qt 5 and English in Qt 6, and a list must not change
// its texts with the toolkit that it was built on.
QString dateText(std::time_t seconds)
{
    const std::tm time = localTime(clamped(seconds));
    char rest[80];
    std::snprintf(rest, sizeof(rest), " %d %02d:%02d:%02d %d", time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec,
                  time.tm_year + 1900);
    return names().days[time.tm_wday] % QLatin1Char(' ') % names().months[time.tm_mon] % QLatin1String(rest);
}

QByteArray dateTextBasis()
{
    ::tzset();
    if (names().locale != localeName())
        names() = Names();
    return QTimeZone::systemTimeZoneId() + ' ' + names().locale;
}

int DateClasses::of(std::time_t seconds)
{
    const qint64 time = clamped(seconds);
    if (time >= m_from && time < m_to)
        return m_class;
    const QDateTime local = QDateTime::fromSecsSinceEpoch(time);
    const QDate day = local.date();
    m_class = (day.dayOfWeek() * 13 + day.month()) * 2 + (day.day() > 9 ? 1 : 0);
    const QDateTime start = day.startOfDay();
    const QDateTime end = day.addDays(1).startOfDay();
    // On a day on which the clock is changed the date can come back once it
    // has passed: only this very second is known then.
    const bool plain = start.offsetFromUtc() == end.offsetFromUtc();
    m_from = plain ? start.toSecsSinceEpoch() : time;
    m_to = plain ? end.toSecsSinceEpoch() : time + 1;
    return m_class;
}
