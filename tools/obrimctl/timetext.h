// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

/** @file Times as a person types them, and as they are written. */

/** Whose hours are meant. */
enum class Clock { Local, Utc };

/**
 * The time that a text stands for, seen from `now`; nothing when it is none,
 * or one that no record can have (before 1901-12-13 or after 2038-01-19).
 *
 *     2026-11-21 20:16    also with T between, seconds, and Z or an offset such as +01:00 behind
 *     2026-11-21          its first moment
 *     20:16               today; also with seconds
 *     now, today, yesterday, tomorrow; the last three also with a time of day behind
 *     -2h, +30m, -1d12h   from now: s, m, h, d (24 hours), w
 *     @1700000000         seconds since 1970-01-01 00:00 UTC
 *
 * Days and hours are of `clock` unless an offset says otherwise.
 */
std::optional<std::time_t> parseTime(std::string_view text, std::time_t now, Clock clock);

/**
 * Times as ISO 8601 with their offset: 2026-11-21T20:16:00+01:00.
 *
 * Made for very many times that lie close together: what is known of an hour
 * is kept until the next one.
 */
class TimeWriter
{
public:
    explicit TimeWriter(Clock clock);

    /** Appends the time, or the nearest one that a record can have. */
    void append(std::string &out, std::time_t time);
    std::string text(std::time_t time);

private:
    void learn(std::int64_t time);
    void learnDay(std::int64_t day);

    Clock m_clock;
    std::int64_t m_from = 0; ///< the offset holds from here ...
    std::int64_t m_to = 0;   ///< ... to here, exclusive
    std::int64_t m_offset = 0;
    std::int64_t m_day = INT64_MIN; ///< local day that m_date is of
    char m_date[11] = {};           ///< "2026-11-21T"
    char m_zone[6] = {};            ///< "+01:00"
};
