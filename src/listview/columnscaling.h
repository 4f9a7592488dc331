// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <vector>

/** Columns are never narrower: their edge can still be pulled out by hand. In pixels. */
constexpr int NarrowestColumn = 2;

/** Scales the columns of a list in proportion, so that together they fill it. */
class ColumnScaling
{
public:
    /**
     * The widths that fill `room` pixels. Scaling goes on from the unrounded
     * widths of the last one as long as nobody else set a width, or a slow
     * drag of the window's edge would add up the roundings.
     */
    std::vector<int> scaled(const std::vector<int> &widths, int room);

private:
    std::vector<double> m_shares; ///< unrounded widths of the last scaling
};
