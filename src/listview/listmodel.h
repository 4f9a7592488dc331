// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "listviewitem.h"
#include "roworder.h"

#include <QAbstractTableModel>
#include <memory>
#include <vector>

/** The rows of a ListView in their order, which they keep as they come and go. Owns the rows. */
class ListModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    using SortKey = RowOrder::Key;
    using Rows = std::vector<std::unique_ptr<QListViewItem>>;

    explicit ListModel(QObject *parent = nullptr);
    ~ListModel() override;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    /** Sorts by a column and keeps rows that come later in that order. Rows of equal keys stand as they arrived. */
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    /** Adds a column at the right and returns its number. */
    int addColumn(const QString &label);
    void setLabel(int column, const QString &label);
    void setSortKey(int column, SortKey key);
    int sortColumn() const;
    Qt::SortOrder sortOrder() const;

    /** Takes over rows (none of them null), each put at its index in the order. */
    void insert(Rows &&rows);
    /** Deletes a row of this model. */
    void remove(QListViewItem *item);
    /** Deletes all rows. */
    void clear();

    /** The row at an index; null outside. */
    QListViewItem *item(int row) const;
    /** The index of a living row; -1 when it is null or not in this model. */
    int rowOf(const QListViewItem *item) const;

private:
    struct Column {
        QString label;
        SortKey key = SortKey::Text;
    };

    RowOrder rowOrder() const;
    /** The index of the first row that does not stand before this one. */
    int insertionIndex(const QListViewItem *item) const;
    /** Puts the last rows of some that are in order in where they belong together. */
    void insertLastRun(std::vector<QListViewItem *> &rows);

    std::vector<Column> m_columns;
    /**
     * In order, but for a gap that is there while rows come in: it goes from
     * the end to the start, so that however many places they go to, a row
     * that is there already is moved once.
     */
    std::vector<QListViewItem *> m_rows;
    int m_gap = 0;   ///< places in it
    int m_gapAt = 0; ///< rows before it
    int m_sortColumn = 0;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
    quint32 m_arrivals = 0; ///< rows that came since the last clear()
};
