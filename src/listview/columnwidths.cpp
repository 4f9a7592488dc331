// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "columnwidths.h"

#include "listviewitem.h"

#include <algorithm>

namespace
{

// Instead of a class's width.
constexpr int Unknown = -1;
constexpr int Differing = -2; ///< its texts are not all of one width

// What is counted in tables; a text of megabytes must not make one of its width.
constexpr quint64 SmallIds = 1 << 16;
constexpr int UsualWidths = 1 << 16;

} // namespace

ColumnWidths::ColumnWidths(int columns, const QFont &font, const QFontMetricsF &metrics)
    : m_measure(font, metrics)
    , m_columns(size_t(columns))
{
}

int ColumnWidths::add(int column, const QListViewItem &row)
{
    Column &c = m_columns[size_t(column)];
    const int width = widthOf(c, column, row);
    if (width >= UsualWidths) {
        ++c.unusualCounts[width];
        return width;
    }
    if (size_t(width) >= c.counts.size())
        c.counts.resize(size_t(width) + 1);
    ++c.counts[size_t(width)];
    c.widest = std::max(c.widest, width);
    return width;
}

bool ColumnWidths::remove(int column, const QListViewItem &row)
{
    Column &c = m_columns[size_t(column)];
    const int width = widthOf(c, column, row);
    if (width >= UsualWidths) {
        const auto found = c.unusualCounts.find(width);
        if (found == c.unusualCounts.end())
            return false;
        if (--found->second == 0)
            c.unusualCounts.erase(found);
        return true;
    }
    if (size_t(width) >= c.counts.size() || c.counts[size_t(width)] == 0)
        return false;
    --c.counts[size_t(width)];
    while (c.widest > 0 && c.counts[size_t(c.widest)] == 0)
        --c.widest;
    return true;
}

void ColumnWidths::clear()
{
    m_columns = std::vector<Column>(m_columns.size());
}

int ColumnWidths::widest(int column) const
{
    const Column &c = m_columns[size_t(column)];
    return c.unusualCounts.empty() ? c.widest : c.unusualCounts.rbegin()->first;
}

int ColumnWidths::widthOf(Column &column, int number, const QListViewItem &row)
{
    const QListViewItem::TextClass textClass = row.textClass(number);
    if (textClass.id == 0)
        return measure(row, number);
    int &width = widthOfClass(column, textClass.id);
    if (width == Unknown) {
        const QString text = row.text(number);
        const bool one = !textClass.digitsVary || m_measure.digitsAlike(text);
        width = one ? std::max(0, m_measure.width(text)) : Differing;
    }
    return width != Differing ? width : measure(row, number);
}

int &ColumnWidths::widthOfClass(Column &column, quint64 id)
{
    if (id >= SmallIds)
        return column.byUnusualClass.emplace(id, Unknown).first->second;
    if (id >= column.byClass.size())
        column.byClass.resize(size_t(id) + 1, Unknown);
    return column.byClass[size_t(id)];
}

int ColumnWidths::measure(const QListViewItem &row, int number)
{
    const QLatin1String text = row.latin1(number);
    const int width = text.isNull() ? m_measure.width(row.text(number)) : m_measure.width(text);
    return std::max(0, width); // fonts with a negative letter spacing can go below
}
