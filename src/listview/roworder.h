// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <qnamespace.h>
#include <vector>

class QListViewItem;

/** The order of a list's rows: by a column, and rows of equal keys as they arrived. */
struct RowOrder {
    /** By text(), code point by code point; by number(); or by nothing but their arrival. */
    enum class Key { Text, Number, Arrival };

    int column;
    Key key;
    Qt::SortOrder direction;

    /** Whether row a stands before row b. */
    bool operator()(const QListViewItem *a, const QListViewItem *b) const;

    /**
     * Puts rows in order. The keys are taken out of the rows once, so a
     * million rows are looked into only once. Throws std::bad_alloc, the rows
     * standing as before.
     */
    void sort(std::vector<QListViewItem *> &rows) const;
};
