// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listmodel.h"

#include "rowsort.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <numeric>
#include <utility>

namespace
{

/**
 * Deletes rows about in the order of their addresses: across a hundred
 * megabytes, one after the other is several times as fast as here and there.
 */
void deleteOrdered(const std::vector<QListViewItem *> &rows)
{
    if (rows.empty())
        return;
    const auto address = [](const QListViewItem *row) { return reinterpret_cast<std::uintptr_t>(row); };
    const auto [lowest, highest] = std::minmax_element(
        rows.begin(), rows.end(), [&](const auto *a, const auto *b) { return address(a) < address(b); });
    const std::uintptr_t start = address(*lowest);
    constexpr std::uintptr_t regions = 4096;
    const std::uintptr_t size = (address(*highest) - start) / regions + 1;
    std::vector<std::size_t> ends(regions + 1);
    for (const QListViewItem *row : rows)
        ++ends[(address(row) - start) / size + 1];
    std::partial_sum(ends.begin(), ends.end(), ends.begin());
    std::vector<QListViewItem *> ordered(rows.size());
    for (QListViewItem *row : rows)
        ordered[ends[(address(row) - start) / size]++] = row;
    for (const QListViewItem *row : ordered)
        delete row;
}

/** Deletes all rows, also when there is no memory to put them in order. */
void deleteAll(const std::vector<QListViewItem *> &rows)
{
    try {
        deleteOrdered(rows);
    } catch (const std::bad_alloc &) {
        for (QListViewItem *row : rows)
            delete row;
    }
}

/** Rows on their way into the model: deletes those that did not get there, for want of memory. */
struct Arriving {
    std::vector<QListViewItem *> rows;

    ~Arriving()
    {
        deleteAll(rows);
    }
};

} // namespace

ListModel::ListModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

ListModel::~ListModel()
{
    deleteAll(m_rows);
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

Qt::ItemFlags ListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

bool ListModel::sortsByNumber() const
{
    return m_columns[m_sortColumn].key == SortKey::Number;
}

bool ListModel::less(const QListViewItem *a, const QListViewItem *b) const
{
    int order = 0;
    if (m_sortColumn >= 0 && m_sortColumn < columnCount())
        order = sortsByNumber() ? compareNumbers(*a, *b, m_sortColumn) : compareTexts(*a, *b, m_sortColumn);
    if (order == 0)
        return a->m_arrival < b->m_arrival;
    return (order < 0) == (m_sortOrder == Qt::AscendingOrder);
}

void ListModel::sortRows(std::vector<QListViewItem *> &rows) const
{
    // As the rows of a load mostly do: then there is no need for keys.
    if (std::is_sorted(rows.begin(), rows.end(), [this](const auto *a, const auto *b) { return less(a, b); }))
        return;
    const auto arrival = [](const QListViewItem &row) { return quint64(row.m_arrival); };
    if (m_sortColumn < 0 || m_sortColumn >= columnCount())
        sortByArrival(rows, arrival);
    else if (sortsByNumber())
        sortByNumber(rows, m_sortColumn, m_sortOrder, arrival);
    else
        sortByText(rows, m_sortColumn, m_sortOrder, arrival);
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
    sortRows(m_rows);
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

QString ListModel::label(int column) const
{
    return column >= 0 && column < columnCount() ? m_columns[column].label : QString();
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
    Arriving arriving;
    arriving.rows.reserve(rows.size());
    for (auto &row : rows) {
        row->m_arrival = m_arrivals++;
        arriving.rows.push_back(row.release());
    }
    rows.clear();
    sortRows(arriving.rows);
    m_gapAt = rowCount();
    m_rows.resize(m_rows.size() + arriving.rows.size());
    m_gap = int(arriving.rows.size());
    while (!arriving.rows.empty())
        insertLastRun(arriving.rows);
}

void ListModel::insertLastRun(std::vector<QListViewItem *> &rows)
{
    const int index = insertionIndex(rows.back());
    const QListViewItem *above = item(index - 1);
    const auto from = std::partition_point(rows.begin(), rows.end(),
                                           [&](const QListViewItem *row) { return above && less(row, above); });
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
    deleteAll(removed);
}

QListViewItem *ListModel::item(int row) const
{
    return row >= 0 && row < rowCount() ? m_rows[size_t(row < m_gapAt ? row : row + m_gap)] : nullptr;
}

int ListModel::insertionIndex(const QListViewItem *item) const
{
    int from = 0;
    int to = rowCount();
    while (from < to) {
        const int middle = from + (to - from) / 2;
        if (less(this->item(middle), item))
            from = middle + 1;
        else
            to = middle;
    }
    return from;
}

int ListModel::rowOf(const QListViewItem *item) const
{
    const int row = item ? insertionIndex(item) : -1;
    return this->item(row) == item ? row : -1;
}
