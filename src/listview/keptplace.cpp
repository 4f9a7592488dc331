// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "keptplace.h"

#include <algorithm>

void KeptPlace::insert(const Sight &sight, int first, int count, int rows)
{
    if (sight.end && first + count == rows)
        m_toEnd = true;
    else if (!sight.start && first <= sight.top + m_moved)
        m_moved += count;
}

void KeptPlace::remove(const Sight &sight, int first, int count)
{
    const int above = sight.top + m_moved - first;
    m_moved -= std::clamp(above, 0, count);
}

void KeptPlace::clear()
{
    *this = KeptPlace();
}

int KeptPlace::moved() const
{
    return m_moved;
}

bool KeptPlace::toEnd() const
{
    return m_toEnd;
}
