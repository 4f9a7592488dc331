// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listmodel.h"

#include <QScopeGuard>
#include <algorithm>
#include <memory>
#include <utility>

ListModel::ListModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

ListModel::~ListModel()
{
    qDeleteAll(m_rows);
}

int ListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size()) - m_gap;
}

int ListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_columns.size());
}

QVariant ListModel::data(const QModelIndex &index, int role) const
{
    const QListViewItem *row = index.isValid() && role == Qt::DisplayRole ? item(index.row()) : nullptr;
    return row ? row->text(index.column()) : QVariant();
}

QVariant ListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= columnCount())
        return {};
    return m_columns[section].label;
}

RowOrder ListModel::rowOrder() const
{
    const bool known = m_sortColumn >= 0 && m_sortColumn < columnCount();
    return {m_sortColumn, known ? m_columns[m_sortColumn].key : SortKey::Arrival, m_sortOrder};
}

void ListModel::sort(int column, Qt::SortOrder order)
{
    emit layoutAboutToBeChanged({}, VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    std::vector<QListViewItem *> kept;
    for (const QModelIndex &index : before)
        kept.push_back(item(index.row()));
    m_sortColumn = column;
    m_sortOrder = order;
    rowOrder().sort(m_rows);
    QModelIndexList after;
    for (int i = 0; i < int(kept.size()); ++i)
        after << index(rowOf(kept[i]), before[i].column());
    changePersistentIndexList(before, after);
    emit layoutChanged({}, VerticalSortHint);
}

int ListModel::addColumn(const QString &label)
{
    const int column = columnCount();
    beginInsertColumns({}, column, column);
    m_columns.push_back({label, SortKey::Text});
    endInsertColumns();
    return column;
}

void ListModel::setLabel(int column, const QString &label)
{
    if (column < 0 || column >= columnCount() || m_columns[column].label == label)
        return;
    m_columns[column].label = label;
    emit headerDataChanged(Qt::Horizontal, column, column);
}

void ListModel::setSortKey(int column, SortKey key)
{
    if (column < 0 || column >= columnCount() || m_columns[column].key == key)
        return;
    m_columns[column].key = key;
    if (column == m_sortColumn)
        sort(m_sortColumn, m_sortOrder);
}

int ListModel::sortColumn() const
{
    return m_sortColumn;
}

Qt::SortOrder ListModel::sortOrder() const
{
    return m_sortOrder;
}

void ListModel::insert(Rows &&rows)
{
    std::vector<QListViewItem *> arriving;
    // Those that do not get into the model, for want of memory.
    const auto discarding = qScopeGuard([&arriving] { qDeleteAll(arriving); });
    arriving.reserve(rows.size());
    for (auto &row : rows) {
        row->m_arrival = m_arrivals++;
        arriving.push_back(row.release());
    }
    rows.clear();
    rowOrder().sort(arriving);
    m_gapAt = rowCount();
    m_rows.resize(m_rows.size() + arriving.size());
    m_gap = int(arriving.size());
    while (!arriving.empty())
        insertLastRun(arriving);
    m_gapAt = 0;
}

void ListModel::insertLastRun(std::vector<QListViewItem *> &rows)
{
    const int index = insertionIndex(rows.back());
    const QListViewItem *above = item(index - 1);
    const auto from = above ? std::lower_bound(rows.begin(), rows.end(), above, rowOrder()) : rows.begin();
    const int count = int(rows.end() - from);
    beginInsertRows({}, index, index + count - 1);
    const auto gap = m_rows.begin() + m_gapAt;
    std::move_backward(m_rows.begin() + index, gap, gap + m_gap);
    m_gapAt = index;
    m_gap -= count;
    std::copy(from, rows.end(), m_rows.begin() + m_gapAt + m_gap);
    rows.erase(from, rows.end());
    endInsertRows();
}

void ListModel::remove(QListViewItem *item)
{
    const int row = rowOf(item);
    if (row < 0)
        return;
    const std::unique_ptr<QListViewItem> removed(item);
    beginRemoveRows({}, row, row);
    m_rows.erase(m_rows.begin() + row);
    endRemoveRows();
}

void ListModel::clear()
{
    std::vector<QListViewItem *> removed;
    beginResetModel();
    m_rows.swap(removed);
    m_arrivals = 0;
    endResetModel();
    qDeleteAll(removed);
}

QListViewItem *ListModel::item(int row) const
{
    return row >= 0 && row < rowCount() ? m_rows[size_t(row < m_gapAt ? row : row + m_gap)] : nullptr;
}

int ListModel::insertionIndex(const QListViewItem *item) const
{
    const auto gap = m_rows.begin() + m_gapAt;
    const auto before = std::lower_bound(m_rows.begin(), gap, item, rowOrder());
    const auto place = before != gap ? before : std::lower_bound(gap + m_gap, m_rows.end(), item, rowOrder()) - m_gap;
    return int(place - m_rows.begin());
}

int ListModel::rowOf(const QListViewItem *item) const
{
    const int row = item ? insertionIndex(item) : -1;
    return this->item(row) == item ? row : -1;
}
