// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QDateTime>
#include <ctime>

/** What the entries of the time-ago boxes stand for, by their position. */
enum TimePreset {
    TimeNow,
    TimeMinuteAgo,
    TimeHourAgo,
    TimeDayAgo,
    TimeWeekAgo,
    TimeMonthAgo,
    TimeYearAgo,
};

/**
 * The time that the entry at `index` stands for, seen from `now`. Days,
 * months and years are steps of the calendar with the same time of day, the
 * day of the month clamped to the month's length. Any other index: `now`.
 */
QDateTime timePreset(int index, const QDateTime &now);

/** The current time of the one clock, as local date and time. */
QDateTime currentDateTime();

/** Seconds since the epoch; a time outside signed 32 bits becomes the nearest bound. */
std::time_t toRecordTime(const QDateTime &time);

/** Interval in milliseconds that the auto-update entry at `index` stands for; 0: no auto-update. */
int autoUpdateInterval(int index);
