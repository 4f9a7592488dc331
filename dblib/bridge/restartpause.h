// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>

/** How long a host that ended is not started again: longer each time, until one has worked. */
class RestartPause
{
public:
    using Clock = std::chrono::steady_clock;
    using Duration = std::chrono::milliseconds;

    static constexpr Duration Shortest = Duration(100);
    static constexpr Duration Longest = Duration(5000);

    /** A host ended, or could not be started. */
    void begin(Clock::time_point now);
    /** A host did what it was asked for. */
    void forget();
    /** How long is still to be waited; 0 when a host may be started. */
    Duration left(Clock::time_point now) const;

private:
    Duration m_length = Duration(0);
    Clock::time_point m_end;
};
