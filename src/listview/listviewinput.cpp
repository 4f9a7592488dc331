// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A ListView under the user's hands: mouse, keys, selection, the search for what is typed.
#include "celltext.h"
#include "listaccess.h"
#include "listview.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QStyleOptionHeader>
#include <QToolTip>
#include <utility>

// --- Mouse

void ListView::mousePressEvent(QMouseEvent *event)
{
    endSearch();
    QAbstractItemView::mousePressEvent(event);
}

void ListView::mouseReleaseEvent(QMouseEvent *event)
{
    QAbstractItemView::mouseReleaseEvent(event);
    if (event->button() != Qt::RightButton || !viewport()->rect().contains(event->pos()))
        return;
    const QModelIndex index = indexAt(event->pos());
    emit rightButtonClicked(m_model->item(index.row()), viewport()->mapToGlobal(event->pos()), index.column());
}

bool ListView::eventFilter(QObject *object, QEvent *event)
{
    if (event->type() == QEvent::ToolTip && object == m_header->viewport() &&
        showHeadingTip(*static_cast<QHelpEvent *>(event)))
        return true;
    return QAbstractItemView::eventFilter(object, event);
}

bool ListView::showHeadingTip(const QHelpEvent &event)
{
    const int column = m_header->logicalIndexAt(event.pos());
    if (column < 0)
        return false;
    const QRect section(m_header->sectionViewportPosition(column), 0, columnWidth(column), m_header->height());
    QStyleOptionHeader option;
    option.initFrom(m_header);
    option.state |= QStyle::State_Horizontal;
    option.rect = section;
    int end = section.right() + 1;
    if (column == m_header->sortIndicatorSection()) {
        option.sortIndicator = QStyleOptionHeader::SortDown;
        end = style()->subElementRect(QStyle::SE_HeaderArrow, &option, m_header).left();
    }
    const QString text = columnText(column);
    const int start = style()->subElementRect(QStyle::SE_HeaderLabel, &option, m_header).left();
    if (start + m_header->fontMetrics().horizontalAdvance(text) <= end)
        return false;
    QToolTip::showText(event.globalPos(), toolTipText(text), m_header->viewport(), section);
    return true;
}

void ListView::contextMenuEvent(QContextMenuEvent *event)
{
    // The mouse's own request comes with the press or the release, as the
    // desktop has it: the release is answered instead.
    const bool answered = std::exchange(m_menuKeyDown, false);
    event->accept();
    // Last, as the list may be gone after it: who hears of it opens a menu.
    if (event->reason() == QContextMenuEvent::Keyboard && !answered)
        emitForCurrentRow();
}

void ListView::emitForCurrentRow()
{
    endSearch();
    const QModelIndex index = currentIndex();
    if (!index.isValid()) {
        emit rightButtonClicked(nullptr, viewport()->mapToGlobal(viewport()->rect().center()), -1);
        return;
    }
    scrollTo(index);
    const QRect cell = visualRect(index).intersected(viewport()->rect());
    emit rightButtonClicked(m_model->item(index.row()), viewport()->mapToGlobal(cell.center()), index.column());
}

// --- Keys

void ListView::keyPressEvent(QKeyEvent *event)
{
    const bool menuKey =
        event->key() == Qt::Key_Menu || (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier);
    if (event->matches(QKeySequence::Copy)) {
        copyCurrentRow();
        event->accept();
        return;
    }
    if (!menuKey) {
        QAbstractItemView::keyPressEvent(event);
        return;
    }
    event->accept();
    if (event->isAutoRepeat())
        return;
    // Some desktops send a request for a context menu after this press, some do not.
    m_menuKeyDown = true;
    emitForCurrentRow();
}

bool ListView::event(QEvent *event)
{
    // A menu that the press opened takes the release, and gives the focus back.
    if (event->type() == QEvent::KeyRelease || event->type() == QEvent::FocusIn)
        m_menuKeyDown = false;
    return QAbstractItemView::event(event);
}

void ListView::copyCurrentRow() const
{
    const QListViewItem *row = currentItem();
    QStringList cells;
    for (int place = 0; row && place < columns(); ++place) {
        const int column = m_header->logicalIndex(place);
        if (columnWidth(column) > NarrowestColumn)
            cells << row->text(column);
    }
    if (!cells.isEmpty())
        QApplication::clipboard()->setText(tableLine(cells));
}

QModelIndex ListView::moveCursor(CursorAction action, Qt::KeyboardModifiers)
{
    settle();
    const QModelIndex current = currentIndex();
    if (!current.isValid())
        return m_model->index(0, 0);
    const auto at = [&](int row) { return m_model->index(qBound(0, row, childCount() - 1), current.column()); };
    switch (action) {
    case MoveUp:
    case MovePrevious:
        return at(current.row() - 1);
    case MoveDown:
    case MoveNext:
        return at(current.row() + 1);
    case MovePageUp:
        return at(current.row() - rowsPerPage());
    case MovePageDown:
        return at(current.row() + rowsPerPage());
    case MoveHome:
        return at(0);
    case MoveEnd:
        return at(childCount() - 1);
    case MoveLeft:
        horizontalScrollBar()->triggerAction(QScrollBar::SliderSingleStepSub);
        break;
    case MoveRight:
        horizontalScrollBar()->triggerAction(QScrollBar::SliderSingleStepAdd);
        break;
    }
    return current;
}

// --- Selection

void ListView::setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command)
{
    const QRect area = rect.normalized();
    const int first = qMax(0, rowAtHeight(area.top()));
    const int last = qMin(rowAtHeight(area.bottom()), childCount() - 1);
    QItemSelection rows;
    if (first <= last && columns() > 0)
        rows.select(m_model->index(first, 0), m_model->index(last, columns() - 1));
    selectionModel()->select(rows, command);
}

QRegion ListView::visualRegionForSelection(const QItemSelection &selection) const
{
    QRegion region;
    for (const QItemSelectionRange &range : selection)
        region += rowsRect(range.top(), range.bottom());
    return region;
}

void ListView::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QAbstractItemView::currentChanged(current, previous);
    endSearch();
    if (hasFocus())
        ListAccess::tell(this, QAccessible::Focus, current);
}

void ListView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QAbstractItemView::selectionChanged(selected, deselected);
    if (!selected.isEmpty())
        ListAccess::tell(this, QAccessible::Selection, selected.first().topLeft());
    else if (!deselected.isEmpty())
        ListAccess::tell(this, QAccessible::SelectionRemove, deselected.first().topLeft());
}

// --- The search for what is typed

void ListView::keyboardSearch(const QString &search)
{
    const bool newWord =
        search.isEmpty() || !m_typingClock.isValid() || m_typingClock.elapsed() > QApplication::keyboardInputInterval();
    m_typingClock.start();
    m_search.type(search, newWord, currentIndex().row(), columns() > 0 ? childCount() : 0);
    searchOn();
}

bool ListView::isSearching() const
{
    return m_search.isRunning();
}

bool ListView::startsWith(int row, int column, const QString &start) const
{
    const QListViewItem *item = m_model->item(row);
    const QLatin1String text = item->latin1(column, int(start.size()));
    if (!text.isNull())
        return text.startsWith(start, Qt::CaseInsensitive);
    return item->text(column).startsWith(start, Qt::CaseInsensitive);
}

void ListView::searchOn()
{
    // Making a text takes a microsecond at most: together they take a part of the time between two frames.
    constexpr int rowsPerTurn = 500;
    const int column = qMax(0, currentIndex().column());
    const int row = m_search.lookOn(rowsPerTurn, childCount(), [this, column](int at, const QString &start) {
        return startsWith(at, column, start);
    });
    if (row >= 0)
        setCurrentIndex(m_model->index(row, column));
    if (!isSearching())
        m_searchTimer.stop();
    else if (!m_searchTimer.isActive())
        m_searchTimer.start();
}

void ListView::endSearch()
{
    m_search.stop();
    m_searchTimer.stop();
}
