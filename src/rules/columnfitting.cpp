// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "columnfitting.h"

#include <algorithm>

namespace
{
// A column that another one's shrinking lets fit is found one pass later;
// after this many the rest simply shares what is left.
constexpr int MaxPasses = 4;

int shareOf(int listWidth, long long taken, long long sharers)
{
    return int((listWidth - taken) / sharers);
}
} // namespace

FixedColumns fitPass(std::vector<FittedColumn> &columns, int share)
{
    FixedColumns fixed;
    for (FittedColumn &column : columns) {
        if (column.visible) {
            column.width = share;
            if (column.width > column.textWidth) {
                column.width = column.textWidth;
                column.fixed = true;
            }
        }
        if (column.fixed) {
            fixed.width += column.width;
            ++fixed.count;
        }
    }
    return fixed;
}

bool fitColumns(int listWidth, std::vector<FittedColumn> &columns)
{
    const int n = int(columns.size());
    const int visible = int(std::count_if(columns.begin(), columns.end(), [](const auto &c) { return c.visible; }));
    if (visible == 0)
        return false;

    for (FittedColumn &column : columns) {
        column.fixed = !column.visible;
        if (!column.visible)
            column.width = HiddenColumnWidth;
    }

    FixedColumns fixed{n - visible, (long long)HiddenColumnWidth * (n - visible)};
    for (int pass = 0; pass < MaxPasses && fixed.count < n; ++pass)
        fixed = fitPass(columns, shareOf(listWidth, fixed.width, n - fixed.count));

    const int share = shareOf(listWidth, fixed.width, std::max(1, n - fixed.count));
    for (FittedColumn &column : columns)
        if (!column.fixed)
            column.width = share;
    return true;
}
