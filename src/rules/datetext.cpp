// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "datetext.h"

#include <QDateTime>
#include <QLocale>
#include <QTimeZone>
#include <algorithm>
#include <cstdint>

namespace
{
qint64 clamped(std::time_t seconds)
{
    return std::clamp<qint64>(seconds, INT32_MIN, INT32_MAX);
}
} // namespace

// Put together here and not by toString(Qt::TextDate): that one speaks the
// system's language in Qt 5 and English in Qt 6, and a list must not change
// its texts with the toolkit that it was built on.
QString dateText(std::time_t seconds)
{
    const QDateTime time = QDateTime::fromSecsSinceEpoch(clamped(seconds));
    const QDate day = time.date();
    const QLocale locale = QLocale::system();
    const QLatin1Char blank(' ');
    return locale.dayName(day.dayOfWeek(), QLocale::ShortFormat) + blank +
           locale.monthName(day.month(), QLocale::ShortFormat) + blank + QString::number(day.day()) + blank +
           time.time().toString(QStringLiteral("HH:mm:ss")) + blank + QString::number(day.year());
}

QByteArray dateTextBasis()
{
    return QTimeZone::systemTimeZoneId() + ' ' + QLocale::system().name().toLatin1();
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
