// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "celldelegate.h"

#include "listviewitem.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QWidget>

namespace
{

constexpr int Margin = QListViewItem::TextMargin;

QColor textColour(const QStyleOptionViewItem &option)
{
    QPalette::ColorGroup group = QPalette::Disabled;
    if (option.state & QStyle::State_Enabled)
        group = option.state & QStyle::State_Active ? QPalette::Normal : QPalette::Inactive;
    const bool selected = option.state & QStyle::State_Selected;
    return option.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
}

} // namespace

void CellDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const QStyle *style = option.widget->style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
    const QRect room = option.rect.adjusted(Margin, 0, -Margin, 0);
    QString text = index.data().toString();
    if (QFontMetricsF(option.fontMetrics).horizontalAdvance(text) > room.width())
        text = option.fontMetrics.elidedText(text, Qt::ElideRight, room.width());
    painter->save();
    painter->setClipRect(option.rect);
    painter->setFont(option.font);
    painter->setPen(textColour(option));
    const Qt::Alignment alignment = QStyle::visualAlignment(option.direction, option.displayAlignment);
    painter->drawText(room, int(alignment) | Qt::TextSingleLine | Qt::TextDontClip, text);
    painter->restore();
}

QSize CellDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return {option.fontMetrics.horizontalAdvance(index.data().toString()) + 2 * Margin, option.fontMetrics.height()};
}
