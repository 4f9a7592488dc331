// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "textmeasure.h"

#include <QtGlobal>
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
    ColumnWidths(int columns, const TextMeasure &measure);

    /** Counts a row in all columns. */
    void add(const QListViewItem &row);
    /**
     * Takes a row that was added out of the counts. False when one of its texts
     * cannot be the one that was counted; then all must be counted anew.
     */
    bool remove(const QListViewItem &row);

    /** The widest text of a column, 0 without rows. */
    int widest(int column) const;

private:
    struct Column {
        std::vector<int> byClass;    ///< width by a class's id, for small ids
        std::vector<quint32> counts; ///< rows by their text's width
        int widest = 0;              ///< of counts
        /** Texts that are too wide for counts: few, but long, so they are measured only once. */
        std::unordered_map<const QListViewItem *, int> wide;
    };

    void add(Column &column, int number, const QListViewItem &row);
    bool remove(Column &column, int number, const QListViewItem &row);
    int widthOf(Column &column, int number, const QListViewItem &row);
    int measure(const QListViewItem &row, int number) const;

    TextMeasure m_measure;
    std::vector<Column> m_columns;
};
