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

ColumnWidths::ColumnWidths(int columns, const TextMeasure &measure)
    : m_measure(measure)
    , m_columns(size_t(columns))
{
}

void ColumnWidths::add(const QListViewItem &row)
{
    for (size_t i = 0; i < m_columns.size(); ++i)
        add(m_columns[i], int(i), row);
}

void ColumnWidths::add(Column &column, int number, const QListViewItem &row)
{
    const int width = widthOf(column, number, row);
    if (width >= UsualWidths) {
        column.wide[&row] = width;
        return;
    }
    if (size_t(width) >= column.counts.size())
        column.counts.resize(size_t(width) + 1);
    ++column.counts[size_t(width)];
    column.widest = std::max(column.widest, width);
}

bool ColumnWidths::remove(const QListViewItem &row)
{
    bool known = true;
    for (size_t i = 0; i < m_columns.size(); ++i)
        known = remove(m_columns[i], int(i), row) && known;
    return known;
}

bool ColumnWidths::remove(Column &column, int number, const QListViewItem &row)
{
    if (!column.wide.empty() && column.wide.erase(&row) > 0)
        return true;
    const auto width = size_t(widthOf(column, number, row));
    if (width >= column.counts.size() || column.counts[width] == 0)
        return false;
    --column.counts[width];
    while (column.widest > 0 && column.counts[size_t(column.widest)] == 0)
        --column.widest;
    return true;
}

int ColumnWidths::widest(int column) const
{
    const Column &c = m_columns[size_t(column)];
    int widest = c.widest;
    for (const auto &[row, width] : c.wide)
        widest = std::max(widest, width);
    return widest;
}

int ColumnWidths::widthOf(Column &column, int number, const QListViewItem &row)
{
    const QListViewItem::TextClass textClass = row.textClass(number);
    if (textClass.id == 0 || textClass.id >= SmallIds)
        return measure(row, number);
    if (textClass.id >= column.byClass.size())
        column.byClass.resize(size_t(textClass.id) + 1, Unknown);
    int &width = column.byClass[size_t(textClass.id)];
    if (width == Unknown)
        width = textClass.digitsVary && !m_measure.digitsAlike() ? Differing : measure(row, number);
    return width != Differing ? width : measure(row, number);
}

int ColumnWidths::measure(const QListViewItem &row, int number) const
{
    const QLatin1String text = row.latin1(number);
    return text.isNull() ? m_measure.width(row.text(number)) : m_measure.width(text);
}
