// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <algorithm>
#include <chrono>

/** Until when a call must be back. */
class Deadline
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(std::chrono::milliseconds limit)
        : m_limit(limit)
        , m_end(Clock::now() + limit)
    {
    }

    std::chrono::milliseconds limit() const
    {
        return m_limit;
    }
    /** 0 once it is over; rounded up, so that whoever waits for it does not come too early. */
    std::chrono::milliseconds left() const
    {
        return std::max(std::chrono::ceil<std::chrono::milliseconds>(m_end - Clock::now()),
                        std::chrono::milliseconds(0));
    }

private:
    std::chrono::milliseconds m_limit;
    Clock::time_point m_end;
};
