// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A ListView on the screen: where its rows are, its scroll bars, its painting.
#include "celltext.h"
#include "listview.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QStyle>
#include <QToolTip>

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

// --- Places

int ListView::lineHeight() const
{
    if (m_lineHeight == 0) {
        QStyleOptionViewItem option = rowOption();
        option.features |= QStyleOptionViewItem::HasDisplay;
        option.text = QStringLiteral("X");
        m_lineHeight = qMax(1, style()->sizeFromContents(QStyle::CT_ItemViewItem, &option, QSize(), this).height());
    }
    return m_lineHeight;
}

int ListView::rowsPerPage() const
{
    return qMax(1, viewport()->height() / lineHeight());
}

int ListView::stepsPerRow() const
{
    return verticalScrollMode() == ScrollPerItem ? 1 : lineHeight();
}

int ListView::topRow() const
{
    return verticalScrollBar()->value() / stepsPerRow();
}

int ListView::horizontalOffset() const
{
    return m_header->offset();
}

int ListView::verticalOffset() const
{
    return verticalScrollBar()->value() * (lineHeight() / stepsPerRow());
}

bool ListView::isIndexHidden(const QModelIndex &) const
{
    return false;
}

int ListView::rowAtHeight(int y) const
{
    const int height = y + verticalOffset();
    return height < 0 ? -1 : height / lineHeight();
}

QRect ListView::rowsRect(int first, int last) const
{
    // Only what can be seen: a million rows are higher than a widget can be.
    const int from = qMax(first, topRow() - 1);
    const int to = qMin(last, topRow() + rowsPerPage() + 2);
    if (from > to)
        return {};
    const int height = lineHeight();
    return {0, from * height - verticalOffset(), viewport()->width(), (to - from + 1) * height};
}

QRect ListView::visualRect(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != m_model)
        return {};
    settle();
    return {m_header->sectionViewportPosition(index.column()), index.row() * lineHeight() - verticalOffset(),
            columnWidth(index.column()), lineHeight()};
}

QModelIndex ListView::indexAt(const QPoint &point) const
{
    settle();
    // The model answers with no index for what lies outside.
    return m_model->index(rowAtHeight(point.y()), m_header->logicalIndexAt(point.x()));
}

void ListView::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    if (!index.isValid() || index.model() != m_model)
        return;
    settle();
    const QRect cell = visualRect(index);
    if (cell.right() < 0 || cell.left() >= viewport()->width())
        horizontalScrollBar()->setValue(m_header->sectionPosition(index.column()));

    const bool above = cell.top() < 0;
    const bool below = cell.top() > (rowsPerPage() - 1) * lineHeight();
    if (hint == EnsureVisible && !above && !below)
        return;
    int rise = 0; // from the row at the upper edge to this one
    if (hint == PositionAtCenter)
        rise = rowsPerPage() / 2;
    else if (hint == PositionAtBottom || (hint == EnsureVisible && below))
        rise = rowsPerPage() - 1;
    verticalScrollBar()->setValue((index.row() - rise) * stepsPerRow());
}

// --- Layout

void ListView::settle() const
{
    const_cast<ListView *>(this)->executeDelayedItemsLayout();
}

void ListView::reset()
{
    endSearch();
    QAbstractItemView::reset();
    m_shown = false;
    m_place.clear();
    verticalScrollBar()->setValue(0);
}

void ListView::updateGeometries()
{
    if (m_updating)
        return;
    const QScopedValueRollback<bool> updating(m_updating, true);
    const int height = m_header->sizeHint().height();
    setViewportMargins(0, height, 0, 0);
    const QRect rows = viewport()->geometry();
    m_header->setGeometry(rows.left(), rows.top() - height, rows.width(), height);
    QMetaObject::invokeMethod(m_header, "updateGeometries");
    // A bar that shows or goes away changes the room, which can take the other
    // bar along; after three rounds nothing is left to change.
    QSize room;
    for (int round = 0; round < 3 && room != viewport()->size(); ++round) {
        room = viewport()->size();
        setScrollRanges(room);
    }
    takePlace();
    QAbstractItemView::updateGeometries();
}

void ListView::setScrollRanges(const QSize &room)
{
    QScrollBar *across = horizontalScrollBar();
    across->setPageStep(room.width());
    across->setSingleStep(qMax(2, room.width() / (columns() + 1)));
    across->setRange(0, qMax(0, m_header->length() - room.width()));

    QScrollBar *down = verticalScrollBar();
    const int steps = stepsPerRow();
    down->setPageStep(steps == 1 ? rowsPerPage() : room.height());
    down->setSingleStep(steps);
    down->setRange(0, qMax(0, childCount() * steps - down->pageStep()));
}

void ListView::takePlace()
{
    QScrollBar *down = verticalScrollBar();
    if (m_place.toEnd())
        down->setValue(down->maximum());
    else if (m_place.moved() != 0)
        down->setValue(down->value() + m_place.moved() * stepsPerRow());
    m_place.clear();
}

KeptPlace::Sight ListView::sight() const
{
    const QScrollBar *down = verticalScrollBar();
    return {topRow(), down->value() == 0, m_shown && down->value() == down->maximum()};
}

void ListView::rowsInserted(const QModelIndex &parent, int first, int last)
{
    const int count = last - first + 1;
    m_search.rowsInserted(first, count);
    m_place.insert(sight(), first, count, childCount());
    QAbstractItemView::rowsInserted(parent, first, last);
    scheduleDelayedItemsLayout();
}

void ListView::rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last)
{
    QAbstractItemView::rowsAboutToBeRemoved(parent, first, last);
    const int count = last - first + 1;
    m_search.rowsRemoved(first, count);
    m_place.remove(sight(), first, count);
    scheduleDelayedItemsLayout();
}

void ListView::scrollContentsBy(int, int)
{
    m_header->setOffset(horizontalScrollBar()->value());
    viewport()->update();
}

// --- Painting

QStyleOptionViewItem ListView::rowOption() const
{
    QStyleOptionViewItem option;
    option.initFrom(this);
    option.widget = this;
    option.font = font();
    // The selection shows where the focus is; without it, it is paler.
    option.state &= ~QStyle::State_HasFocus;
    if (!hasFocus())
        option.state &= ~QStyle::State_Active;
    option.showDecorationSelected = true;
    return option;
}

void ListView::paintEvent(QPaintEvent *event)
{
    settle();
    QPainter painter(viewport());
    QStyleOptionViewItem option = rowOption();
    const QRect dirty = event->rect();
    const int first = qMax(0, rowAtHeight(dirty.top()));
    const int last = qMin(rowAtHeight(dirty.bottom()), childCount() - 1);
    // Once for all rows: to ask for the pointer is a question to the display.
    const int hovered = viewport()->underMouse() ? rowAtHeight(viewport()->mapFromGlobal(QCursor::pos()).y()) : -1;
    for (int row = first; row <= last; ++row) {
        option.rect = rowsRect(row, row);
        option.state.setFlag(QStyle::State_MouseOver, row == hovered);
        if (event->region().intersects(option.rect))
            drawRow(&painter, option, row);
    }
    if (!m_notice.isEmpty())
        drawNotice(&painter);
    m_shown = m_shown || childCount() > 0;
}

void ListView::drawRow(QPainter *painter, QStyleOptionViewItem option, int row) const
{
    option.state.setFlag(QStyle::State_Selected, selectionModel()->isSelected(m_model->index(row, 0)));

    const int count = m_header->count();
    for (int place = 0; place < count; ++place) {
        const int column = m_header->logicalIndex(place);
        option.rect.setLeft(m_header->sectionViewportPosition(column));
        option.rect.setWidth(columnWidth(column));
        if (!option.rect.intersects(viewport()->rect()))
            continue;
        if (count == 1)
            option.viewItemPosition = QStyleOptionViewItem::OnlyOne;
        else
            option.viewItemPosition = place == 0           ? QStyleOptionViewItem::Beginning
                                      : place == count - 1 ? QStyleOptionViewItem::End
                                                           : QStyleOptionViewItem::Middle;
        style()->drawPrimitive(QStyle::PE_PanelItemViewRow, &option, painter, this);
        itemDelegate()->paint(painter, option, m_model->index(row, column));
    }
}

void ListView::setNotice(const QString &text)
{
    if (text == m_notice)
        return;
    m_notice = text;
    viewport()->update();
}

QString ListView::notice() const
{
    return m_notice;
}

void ListView::drawNotice(QPainter *painter) const
{
    const int margin = fontMetrics().height();
    QRect box = fontMetrics().boundingRect(m_notice).marginsAdded({margin, margin, margin, margin});
    box.moveCenter(viewport()->rect().center());
    painter->fillRect(box, palette().color(QPalette::ToolTipBase));
    painter->setPen(palette().color(QPalette::ToolTipText));
    painter->drawRect(box);
    painter->drawText(box, Qt::AlignCenter, m_notice);
}

// --- Cells

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

bool CellDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                             const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip)
        return QAbstractItemDelegate::helpEvent(event, view, option, index);
    const auto *list = qobject_cast<const ListView *>(view);
    const QListViewItem *row = list->itemAt(index.row());
    const bool cut = row && cellText(*row, index.column(), list->measure(), option.rect.width()).cut;
    QToolTip::showText(event->globalPos(), cut ? toolTipText(*row, index.column()) : list->toolTip(), list->viewport(),
                       cut ? option.rect : QRect());
    return true;
}
