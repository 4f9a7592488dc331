// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QtGlobal>
#include <ctime>

/** Puts the process into a time zone until the end of the scope. */
class TimeZone
{
public:
    explicit TimeZone(const char *name)
        : m_before(qgetenv("TZ"))
    {
        set(name);
    }
    ~TimeZone()
    {
        set(m_before);
    }
    TimeZone(const TimeZone &) = delete;
    TimeZone &operator=(const TimeZone &) = delete;

private:
    static void set(const QByteArray &name)
    {
        qputenv("TZ", name);
        tzset();
    }

    QByteArray m_before;
};
