// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "typedsearch.h"

#include <algorithm>

void TypedSearch::type(const QString &keys, bool newWord, int current, int rows)
{
    m_typed = newWord ? keys : m_typed + keys;
    const bool again = m_typed.size() > 1 && m_typed.count(m_typed.back()) == m_typed.size();
    if (m_typed.isEmpty()) {
        stop();
    } else if (isRunning() && !newWord && again) {
        ++m_matches;
    } else if (isRunning() && !newWord && m_matches == 1) {
        // No row so far begins with less than that.
        m_start = m_typed;
    } else {
        m_start = again ? m_typed.left(1) : m_typed;
        m_row = current < 0 ? 0 : current + (newWord || again ? 1 : 0);
        m_left = rows;
        m_matches = 1;
    }
}

int TypedSearch::lookOn(int most, int rows, const StartsWith &startsWith)
{
    // Some may have gone since.
    m_left = std::min(m_left, rows);
    for (int i = 0; i < most && m_left > 0; ++i) {
        const int row = m_row < rows ? m_row : 0;
        m_row = row + 1;
        --m_left;
        if (!startsWith(row, m_start))
            continue;
        if (--m_matches == 0) {
            stop();
            return row;
        }
        m_left = rows;
    }
    return -1;
}

bool TypedSearch::isRunning() const
{
    return m_left > 0;
}

void TypedSearch::stop()
{
    m_left = 0;
}

void TypedSearch::rowsInserted(int first, int count)
{
    if (first < m_row)
        m_row += count;
    if (isRunning())
        m_left += count;
}

void TypedSearch::rowsRemoved(int first, int count)
{
    m_row -= std::clamp(m_row - first, 0, count);
}
