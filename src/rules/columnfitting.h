// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <vector>

/** Width in pixels that stands in for a hidden column: a line to see that something is there. */
constexpr int HiddenColumnWidth = 2;

/** One column while a list's width is shared out; widths in pixels. */
struct FittedColumn {
    bool visible = true;
    int textWidth = 0;  ///< room that the widest row text needs
    int width = 0;      ///< result
    bool fixed = false; ///< takes no part in the rest that is left to share
};

/** What the fixed columns take together. */
struct FixedColumns {
    int count = 0;
    long long width = 0;
};

/**
 * One pass: gives every visible column `share` and fixes those whose text
 * needs less at their text's width. A column that is fixed stays fixed, also
 * at a later share that is smaller than its text.
 */
FixedColumns fitPass(std::vector<FittedColumn> &columns, int share);

/**
 * Shares `listWidth` among the columns: those with narrow texts shrink to
 * them, the others divide what is left evenly. Nothing is stretched when
 * everything fits; a list that is narrower than its fixed columns gives the
 * others negative widths, which no list view applies.
 *
 * Returns false, with all widths as they were, when no column is visible.
 */
bool fitColumns(int listWidth, std::vector<FittedColumn> &columns);
