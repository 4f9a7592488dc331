// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "columnscaling.h"

#include <algorithm>
#include <cmath>
#include <numeric>

std::vector<int> ColumnScaling::scaled(const std::vector<int> &widths, int room)
{
    const auto isMine = [](double share, int width) { return std::abs(share - width) <= 1; };
    if (!std::equal(m_shares.begin(), m_shares.end(), widths.begin(), widths.end(), isMine))
        m_shares.assign(widths.begin(), widths.end());
    const double total = std::accumulate(m_shares.begin(), m_shares.end(), 0.0);
    if (total <= 0 || room <= 0)
        return widths;
    std::vector<int> scaled;
    double edge = 0;
    int left = 0;
    for (double &share : m_shares) {
        share *= room / total;
        edge += share;
        scaled.push_back(std::max(NarrowestColumn, int(std::lround(edge)) - left));
        left += scaled.back();
    }
    return scaled;
}
