// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "timepresets.h"

#include "clock.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

QDateTime timePreset(int index, const QDateTime &now)
{
    switch (index) {
    case TimeMinuteAgo:
        return now.addSecs(-60);
    case TimeHourAgo:
        return now.addSecs(-3600);
    case TimeDayAgo:
        return now.addDays(-1);
    case TimeWeekAgo:
        return now.addDays(-7);
    case TimeMonthAgo:
        return now.addMonths(-1);
    case TimeYearAgo:
        return now.addYears(-1);
    default:
        return now;
    }
}

QDateTime currentDateTime()
{
    return QDateTime::fromSecsSinceEpoch(currentTime());
}

std::time_t toRecordTime(const QDateTime &time)
{
    return std::time_t(std::clamp<qint64>(time.toSecsSinceEpoch(), INT32_MIN, INT32_MAX));
}

int autoUpdateInterval(int index)
{
    constexpr int intervals[] = {0, 2000, 5000, 60000, 600000};
    if (index >= int(std::size(intervals)))
        return 1000;
    return intervals[std::max(index, 0)];
}
