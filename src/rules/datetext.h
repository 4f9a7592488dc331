// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <ctime>

/**
 * A record's time as the lists show it: local time in the toolkit's text date
 * format with the short names of the system's locale, as in
 * "Tue Nov 21 00:31:00 2026". A time outside signed 32 bits shows as the
 * nearest bound.
 */
QString dateText(std::time_t seconds);

/**
 * What the texts of dates depend on beside the times: the system's time zone
 * and locale. Other bytes, other texts. Texts follow a change from this call on
 * at the latest.
 */
QByteArray dateTextBasis();

/**
 * Tells which date texts differ in nothing but digits: those of the same day
 * of the week and month, with as many digits in the day.
 *
 * Made for the dates of one load, which mostly lie close together: what is
 * known of a day is kept until the next one. A switch of the time zone shows
 * in the next object.
 */
class DateClasses
{
public:
    /** A number from 1 to 255; equal numbers, equal texts but for digits. */
    int of(std::time_t seconds);

private:
    qint64 m_from = 0; ///< times from here on ...
    qint64 m_to = 0;   ///< ... up to here, exclusive, are of class m_class
    int m_class = 0;
};
