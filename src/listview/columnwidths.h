// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "textmeasure.h"

#include <QtGlobal>
#include <map>
#include <unordered_map>
#include <vector>

class QListViewItem;

/**
 * The widths of all texts of a list's columns, counted, so that the widest of
 * a column is known whatever rows come and go. Widths are in pixels, without
 * the margins beside a text.
 */
class ColumnWidths
{
public:
    /** Starts with no rows. */
    ColumnWidths(int columns, const QFont &font, const QFontMetricsF &metrics);

    /** Counts a row in a column and returns its text's width. */
    int add(int column, const QListViewItem &row);
    /**
     * Takes a row that was counted out of a column's count. False when its
     * text cannot be the one that was counted; then all must be counted anew.
     */
    bool remove(int column, const QListViewItem &row);
    /** Forgets all rows and what was known of their texts' classes. */
    void clear();

    /** The widest text of a column, 0 without rows. */
    int widest(int column) const;

private:
    struct Column {
        std::vector<int> byClass;                        ///< width by a class's id, for small ids
        std::unordered_map<quint64, int> byUnusualClass; ///< the same for all others
        std::vector<quint32> counts;                     ///< rows by their text's width, for usual widths
        std::map<int, quint32> unusualCounts;            ///< the same for all others
        int widest = 0;                                  ///< of counts
    };

    int widthOf(Column &column, int number, const QListViewItem &row);
    int &widthOfClass(Column &column, quint64 id);
    int measure(const QListViewItem &row, int number);

    TextMeasure m_measure;
    std::vector<Column> m_columns;
};
