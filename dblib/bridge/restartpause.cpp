// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "restartpause.h"

#include <algorithm>

void RestartPause::begin(Clock::time_point now)
{
    m_length = std::clamp(m_length * 2, Shortest, Longest);
    m_end = now + m_length;
}

void RestartPause::forget()
{
    m_length = Duration(0);
}

RestartPause::Duration RestartPause::left(Clock::time_point now) const
{
    if (m_length == Duration(0))
        return m_length;
    return std::max(std::chrono::ceil<Duration>(m_end - now), Duration(0));
}
