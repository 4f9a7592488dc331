// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtGlobal>
#include <qnamespace.h>
#include <vector>

class QListViewItem;

/** Tells when a row arrived: no two rows have the same number. */
using RowArrival = quint64 (*)(const QListViewItem &row);

/** Below, at or above 0 as a column's number of row a is below, at or above that of row b. */
int compareNumbers(const QListViewItem &a, const QListViewItem &b, int column);
/** The same for texts, compared code point by code point. */
int compareTexts(const QListViewItem &a, const QListViewItem &b, int column);

/*
 * Rows of equal keys come out as they arrived, in either order. The keys are
 * taken out of the rows once, so a million rows are looked into only once.
 */
void sortByArrival(std::vector<QListViewItem *> &rows, RowArrival arrival);
void sortByNumber(std::vector<QListViewItem *> &rows, int column, Qt::SortOrder order, RowArrival arrival);
void sortByText(std::vector<QListViewItem *> &rows, int column, Qt::SortOrder order, RowArrival arrival);
