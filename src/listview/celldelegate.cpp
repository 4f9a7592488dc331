// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "celldelegate.h"

#include "celltext.h"
#include "listview.h"

#include <QPainter>

namespace
{

QColor textColour(const QStyleOptionViewItem &option)
{
    QPalette::ColorGroup group = QPalette::Disabled;
    if (option.state & QStyle::State_Enabled)
        group = option.state & QStyle::State_Active ? QPalette::Normal : QPalette::Inactive;
    const bool selected = option.state & QStyle::State_Selected;
    return option.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
}

void drawText(QPainter *painter, const QStyleOptionViewItem &option, const QString &text, int width)
{
    const QRect &cell = option.rect;
    const bool right = option.direction == Qt::RightToLeft;
    const int left =
        right ? cell.x() + cell.width() - QListViewItem::TextMargin - width : cell.x() + QListViewItem::TextMargin;
    const int above = (cell.height() - option.fontMetrics.height()) / 2;
    painter->save();
    // Letters may reach over the edge.
    painter->setClipRect(cell);
    painter->setFont(option.font);
    painter->setPen(textColour(option));
    painter->drawText(QPoint(left, cell.y() + above + option.fontMetrics.ascent()), text);
    painter->restore();
}

} // namespace

void CellDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const auto *list = qobject_cast<const ListView *>(option.widget);
    list->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, list);
    const QString text =
        cellText(*list->itemAt(index.row()), index.column(), list->measure(), option.rect.width()).text;
    if (!text.isEmpty())
        drawText(painter, option, text, list->measure().width(text));
}

QSize CellDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const
{
    // The list goes by its rows' own widths and by one height for all.
    return {};
}
