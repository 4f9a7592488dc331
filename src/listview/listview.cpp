// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listview.h"

#include "celldelegate.h"
#include "listaccess.h"

#include "toolkit.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QHelpEvent>
#include <QHoverEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStyle>
#include <QToolTip>
#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
// A hidden column stays this wide, so that its edge can still be pulled out by hand.
constexpr int NarrowestColumn = 2;
// No screen is wider, and what a row costs to paint follows its columns' widths.
constexpr int WidestColumn = 16383;
// Rows looked through at a time for what was typed. The slowest texts take some microseconds each:
// together they take a part of the time between two frames.
constexpr int RowsPerTurn = 500;

/** The font in which a text is as wide as its characters. */
QFont unshaped(QFont font)
{
    font.setStyleStrategy(QFont::StyleStrategy(font.styleStrategy() | QFont::PreferNoShaping));
    return font;
}

/** Tells a screen reader, if there is one, what happened to a row. */
void tell(ListView *list, QAccessible::Event what, const QModelIndex &index)
{
    if (!QAccessible::isActive() || !index.isValid())
        return;
    QAccessibleEvent event(list, what);
    event.setChild(ListAccess::childNumber(list, index.row(), index.column()));
    QAccessible::updateAccessibility(&event);
}
} // namespace

ListView::ListView(QWidget *parent)
    : QTreeView(parent)
    , m_model(new ListModel(this))
    , m_delegate(this)
{
    static const bool accessible = (ListAccess::install(), true);
    Q_UNUSED(accessible)
    setModel(m_model);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setSelectionMode(SingleSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setItemDelegate(&m_delegate);
    // All else of the font stays the desktop's.
    setFont(unshaped(QFont()));
    setHorizontalScrollMode(ScrollPerPixel);
    setIndentation(0);
    header()->setStretchLastSection(false);
    header()->setMinimumSectionSize(NarrowestColumn);
    header()->setMaximumSectionSize(WidestColumn);
    header()->setSortIndicator(0, Qt::AscendingOrder);
    setSortingEnabled(true);
    connect(m_model, &QAbstractItemModel::layoutChanged, this, &ListView::endSearch);
    connect(this, &QAbstractItemView::activated, this, &ListView::endSearch);
}

ListView::~ListView() = default;

int ListView::addColumn(const QString &label, int width)
{
    const int column = m_model->addColumn(label);
    m_widths.reset();
    m_modes.push_back(width < 0 ? Maximum : Manual);
    // The header moves its mark along when the first column comes in below it.
    markSorting();
    setColumnWidth(column, width < 0 ? header()->sectionSizeHint(column) : width);
    return column;
}

void ListView::setColumnText(int column, const QString &label)
{
    m_model->setLabel(column, label);
}

QString ListView::columnText(int column) const
{
    return m_model->label(column);
}

int ListView::columns() const
{
    return m_model->columnCount();
}

void ListView::setColumnWidth(int column, int width)
{
    if (column < 0 || column >= columns())
        return;
    // A hidden list hears of its own resize only when it is shown: what was set after that stands.
    if (m_ownWidth >= 0)
        m_ownWidth = this->width();
    resizeColumn(column, width);
}

void ListView::resizeColumn(int column, int width)
{
    header()->resizeSection(column, qBound(NarrowestColumn, width, WidestColumn));
}

void ListView::setColumnWidthMode(int column, WidthMode mode)
{
    if (column >= 0 && column < columns())
        m_modes[column] = mode;
}

ListView::WidthMode ListView::columnWidthMode(int column) const
{
    return column >= 0 && column < columns() ? m_modes[column] : Manual;
}

void ListView::setResizeMode(ResizeMode mode)
{
    m_resizeMode = mode;
}

ListView::ResizeMode ListView::resizeMode() const
{
    return m_resizeMode;
}

void ListView::setColumnSortKey(int column, SortKey key)
{
    m_model->setSortKey(column, key);
}

void ListView::setSorting(int column, bool ascending)
{
    const Qt::SortOrder order = ascending ? Qt::AscendingOrder : Qt::DescendingOrder;
    if (column == m_model->sortColumn() && order == m_model->sortOrder())
        return;
    m_model->sort(column, order);
    markSorting();
}

void ListView::markSorting()
{
    // Not told: the header's own clicks are what sorts the rows.
    const QSignalBlocker quiet(header());
    header()->setSortIndicator(m_model->sortColumn(), m_model->sortOrder());
}

void ListView::sort()
{
    m_model->sort(m_model->sortColumn(), m_model->sortOrder());
}

void ListView::textsChanged()
{
    m_widths.reset();
    viewport()->update();
}

void ListView::clear()
{
    emit cleared();
    if (m_widths)
        m_widths->clear();
    m_model->clear();
}

QListViewItem *ListView::insertItem(std::unique_ptr<QListViewItem> item)
{
    QListViewItem *row = item.get();
    Rows rows;
    rows.push_back(std::move(item));
    insertItems(std::move(rows));
    return row;
}

void ListView::insertItems(Rows &&items)
{
    items.erase(std::remove(items.begin(), items.end(), nullptr), items.end());
    try {
        ColumnWidths &known = widths();
        for (const auto &item : items)
            known.add(*item);
        m_model->insert(std::move(items));
    } catch (...) {
        // What was counted has not all come in.
        m_widths.reset();
        throw;
    }
}

const TextMeasure &ListView::measure() const
{
    if (!m_measure)
        m_measure.emplace(font(), QFontMetricsF(fontMetrics()));
    return *m_measure;
}

ColumnWidths &ListView::widths() const
{
    if (!m_widths) {
        m_widths.emplace(columns(), measure());
        for (int row = 0; row < childCount(); ++row)
            m_widths->add(*itemAt(row));
    }
    return *m_widths;
}

void ListView::removeItem(QListViewItem *item)
{
    if (m_model->rowOf(item) < 0)
        return;
    emit itemRemoved(item);
    // A clock or a language that changed since can have changed the text.
    if (m_widths && !m_widths->remove(*item))
        m_widths.reset();
    m_model->remove(item);
}

int ListView::childCount() const
{
    return m_model->rowCount();
}

QListViewItem *ListView::itemAt(int row) const
{
    return m_model->item(row);
}

QListViewItem *ListView::firstChild() const
{
    return m_model->item(0);
}

QListViewItem *ListView::currentItem() const
{
    return m_model->item(currentIndex().row());
}

int ListView::maximumTextWidth(int column) const
{
    const bool none = childCount() == 0 || column < 0 || column >= columns();
    return none ? 0 : widths().widest(column) + 2 * QListViewItem::TextMargin;
}

void ListView::mouseReleaseEvent(QMouseEvent *event)
{
    QAbstractItemView::mouseReleaseEvent(event);
    if (event->button() != Qt::RightButton || !viewport()->rect().contains(event->pos()))
        return;
    const QModelIndex index = indexAt(event->pos());
    emit rightButtonClicked(m_model->item(index.row()), viewport()->mapToGlobal(event->pos()), index.column());
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

void ListView::keyPressEvent(QKeyEvent *event)
{
    const bool menuKey =
        event->key() == Qt::Key_Menu || (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier);
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

void ListView::keyReleaseEvent(QKeyEvent *event)
{
    m_menuKeyDown = false;
    QTreeView::keyReleaseEvent(event);
}

void ListView::focusInEvent(QFocusEvent *event)
{
    // A menu that the press opened took the release.
    m_menuKeyDown = false;
    QTreeView::focusInEvent(event);
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

void ListView::resizeEvent(QResizeEvent *event)
{
    QTreeView::resizeEvent(event);
    // Also told when a scroll bar comes or goes.
    if (std::exchange(m_ownWidth, width()) != width() && m_resizeMode == AllColumns)
        scaleColumns();
}

void ListView::scaleColumns()
{
    const int count = columns();
    // Scaling goes on from the unrounded widths as long as nobody else set
    // one, or a slow drag of the window's edge would add up the roundings.
    bool mine = int(m_shares.size()) == count;
    for (int column = 0; mine && column < count; ++column)
        mine = std::abs(m_shares[column] - columnWidth(column)) <= 1;
    if (!mine) {
        m_shares.resize(count);
        for (int column = 0; column < count; ++column)
            m_shares[column] = columnWidth(column);
    }
    double total = 0;
    for (double share : m_shares)
        total += share;
    const int room = viewport()->width();
    if (total <= 0 || room <= 0)
        return;
    double edge = 0;
    int left = 0;
    for (int column = 0; column < count; ++column) {
        m_shares[column] *= room / total;
        edge += m_shares[column];
        const int right = int(std::lround(edge));
        resizeColumn(column, right - left);
        left += columnWidth(column);
    }
}

bool ListView::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip && !toolTip().isEmpty()) {
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), toolTip(), viewport());
        return true;
    }
    if (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverMove)
        m_mouseHeight = Toolkit::placeOf(*static_cast<QHoverEvent *>(event)).y();
    else if (event->type() == QEvent::HoverLeave)
        m_mouseHeight = -1;
    return QTreeView::viewportEvent(event);
}

void ListView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        m_lineHeight = 0;
        m_measure.reset();
        m_widths.reset();
        if (!(font().styleStrategy() & QFont::PreferNoShaping))
            setFont(unshaped(font()));
    }
    QTreeView::changeEvent(event);
}

// A tree view looks for branches to open under the mouse; here are none.

void ListView::mousePressEvent(QMouseEvent *event)
{
    endSearch();
    QAbstractItemView::mousePressEvent(event);
}

void ListView::mouseMoveEvent(QMouseEvent *event)
{
    QAbstractItemView::mouseMoveEvent(event);
}

void ListView::mouseDoubleClickEvent(QMouseEvent *event)
{
    QAbstractItemView::mouseDoubleClickEvent(event);
}

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

int ListView::verticalOffset() const
{
    return verticalScrollBar()->value() * (lineHeight() / stepsPerRow());
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
    if (!index.isValid() || index.model() != m_model || header()->isSectionHidden(index.column()))
        return {};
    settle();
    return {header()->sectionViewportPosition(index.column()), index.row() * lineHeight() - verticalOffset(),
            header()->sectionSize(index.column()), lineHeight()};
}

QModelIndex ListView::indexAt(const QPoint &point) const
{
    settle();
    const int row = rowAtHeight(point.y());
    const int column = header()->logicalIndexAt(point.x());
    // The model answers with no index for what lies outside.
    return m_model->index(row, column);
}

QModelIndex ListView::indexAbove(const QModelIndex &index) const
{
    return index.isValid() ? m_model->index(index.row() - 1, index.column()) : QModelIndex();
}

QModelIndex ListView::indexBelow(const QModelIndex &index) const
{
    return index.isValid() ? m_model->index(index.row() + 1, index.column()) : QModelIndex();
}

void ListView::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    if (!index.isValid() || index.model() != m_model)
        return;
    settle();
    const QRect cell = visualRect(index);
    if (cell.right() < 0 || cell.left() >= viewport()->width())
        horizontalScrollBar()->setValue(header()->sectionPosition(index.column()));

    const int hidden = rowsPerPage() * lineHeight() - lineHeight();
    const bool above = cell.top() < 0;
    const bool below = cell.top() > hidden;
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

void ListView::doItemsLayout()
{
    QAbstractItemView::doItemsLayout();
}

void ListView::reset()
{
    endSearch();
    QTreeView::reset();
    m_shown = false;
    m_moved = 0;
    m_toEnd = false;
    verticalScrollBar()->setValue(0);
}

void ListView::updateGeometries()
{
    if (m_updating)
        return;
    const QScopedValueRollback<bool> updating(m_updating, true);
    int height = 0;
    if (!header()->isHidden())
        height = qBound(header()->minimumHeight(), header()->sizeHint().height(), header()->maximumHeight());
    setViewportMargins(0, height, 0, 0);
    const QRect rows = viewport()->geometry();
    header()->setGeometry(rows.left(), rows.top() - height, rows.width(), height);
    QMetaObject::invokeMethod(header(), "updateGeometries");
    updateScrollBars();
    keepPlace();
    QAbstractItemView::updateGeometries();
}

void ListView::updateScrollBars()
{
    // A bar that shows or goes away changes the room, which can take the other
    // bar along; after three rounds nothing is left to change.
    for (int round = 0; round < 3; ++round) {
        const QSize room = viewport()->size();
        setScrollRanges(room);
        if (viewport()->size() == room)
            break;
    }
}

void ListView::setScrollRanges(const QSize &room)
{
    QScrollBar *across = horizontalScrollBar();
    across->setPageStep(room.width());
    across->setSingleStep(qMax(2, room.width() / (columns() + 1)));
    across->setRange(0, qMax(0, header()->length() - room.width()));

    QScrollBar *down = verticalScrollBar();
    const int steps = stepsPerRow();
    const bool byRow = steps == 1;
    down->setPageStep(byRow ? rowsPerPage() : room.height());
    down->setSingleStep(steps);
    down->setRange(0, qMax(0, childCount() * steps - down->pageStep()));
}

void ListView::keepPlace()
{
    QScrollBar *down = verticalScrollBar();
    if (m_toEnd)
        down->setValue(down->maximum());
    else if (m_moved != 0)
        down->setValue(down->value() + m_moved * stepsPerRow());
    m_moved = 0;
    m_toEnd = false;
}

void ListView::rowsInserted(const QModelIndex &parent, int first, int last)
{
    const int count = last - first + 1;
    if (first < m_search.row)
        m_search.row += count;
    m_search.rows += count;
    const QScrollBar *down = verticalScrollBar();
    const bool atEnd = m_shown && down->value() == down->maximum();
    if (atEnd && last == childCount() - 1)
        m_toEnd = true;
    else if (down->value() > 0 && first <= topRow() + m_moved)
        m_moved += count;
    QAbstractItemView::rowsInserted(parent, first, last);
    scheduleDelayedItemsLayout();
}

void ListView::rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last)
{
    QAbstractItemView::rowsAboutToBeRemoved(parent, first, last);
    if (first < m_search.row)
        m_search.row -= qMin(last + 1, m_search.row) - first;
    const int top = topRow() + m_moved;
    if (first < top)
        m_moved -= qMin(last + 1, top) - first;
}

void ListView::dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight, const QVector<int> &)
{
    settle();
    viewport()->update(rowsRect(topLeft.row(), bottomRight.row()));
}

void ListView::scrollContentsBy(int dx, int dy)
{
    if (dx != 0)
        header()->setOffset(horizontalScrollBar()->value());
    const QPoint way(isRightToLeft() ? -dx : dx, dy * (lineHeight() / stepsPerRow()));
    if (qAbs(way.x()) >= viewport()->width() || qAbs(way.y()) >= viewport()->height()) {
        viewport()->update();
        return;
    }
    scrollDirtyRegion(way.x(), way.y());
    viewport()->scroll(way.x(), way.y());
}

int ListView::sizeHintForColumn(int column) const
{
    return maximumTextWidth(column);
}

// --- Painting

QStyleOptionViewItem ListView::rowOption() const
{
    QStyleOptionViewItem option = Toolkit::ViewOptions::of(*this);
    option.widget = this;
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
    for (int row = first; row <= last; ++row) {
        option.rect = rowsRect(row, row);
        if (event->region().intersects(option.rect))
            drawRow(&painter, option, m_model->index(row, 0));
    }
    m_shown = m_shown || childCount() > 0;
}

void ListView::drawRow(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QStyleOptionViewItem cell = option;
    const bool focused = option.state & QStyle::State_HasFocus && currentIndex().row() == index.row();
    cell.state &= ~QStyle::State_HasFocus;
    cell.state.setFlag(QStyle::State_Selected, selectionModel()->isSelected(index));
    const bool hover = m_mouseHeight >= 0 && rowAtHeight(m_mouseHeight) == index.row();
    cell.state.setFlag(QStyle::State_MouseOver, hover);
    cell.features.setFlag(QStyleOptionViewItem::Alternate, alternatingRowColors() && index.row() % 2);

    const int count = header()->count();
    for (int place = 0; place < count; ++place) {
        const int column = header()->logicalIndex(place);
        const int left = header()->sectionViewportPosition(column);
        const int width = header()->sectionSize(column);
        if (width == 0 || left >= viewport()->width() || left + width <= 0)
            continue;
        cell.rect = QRect(left, option.rect.top(), width, option.rect.height());
        if (count == 1)
            cell.viewItemPosition = QStyleOptionViewItem::OnlyOne;
        else
            cell.viewItemPosition = place == 0           ? QStyleOptionViewItem::Beginning
                                    : place == count - 1 ? QStyleOptionViewItem::End
                                                         : QStyleOptionViewItem::Middle;
        style()->drawPrimitive(QStyle::PE_PanelItemViewRow, &cell, painter, this);
        itemDelegate()->paint(painter, cell, m_model->index(index.row(), column));
    }
    if (focused) {
        cell.rect = QRect(header()->sectionViewportPosition(header()->logicalIndex(isRightToLeft() ? count - 1 : 0)),
                          option.rect.top(), header()->length(), option.rect.height());
        drawFocus(painter, cell);
    }
}

void ListView::drawFocus(QPainter *painter, const QStyleOptionViewItem &option) const
{
    QStyleOptionFocusRect focus;
    focus.QStyleOption::operator=(option);
    focus.state |= QStyle::State_KeyboardFocusChange;
    const bool selected = option.state & QStyle::State_Selected;
    focus.backgroundColor = option.palette.color(selected ? QPalette::Highlight : QPalette::Window);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter);
}

// --- Selection and keys

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

void ListView::updateRow(const QModelIndex &index)
{
    if (index.isValid())
        viewport()->update(rowsRect(index.row(), index.row()));
}

void ListView::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QAbstractItemView::currentChanged(current, previous);
    endSearch();
    // The focus is drawn round the whole row.
    updateRow(previous);
    updateRow(current);
    if (hasFocus())
        tell(this, QAccessible::Focus, current);
}

void ListView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QAbstractItemView::selectionChanged(selected, deselected);
    if (!selected.isEmpty())
        tell(this, QAccessible::Selection, selected.first().topLeft());
    else if (!deselected.isEmpty())
        tell(this, QAccessible::SelectionRemove, deselected.first().topLeft());
}

QModelIndex ListView::moveCursor(CursorAction action, Qt::KeyboardModifiers)
{
    settle();
    const QModelIndex current = currentIndex();
    const int last = childCount() - 1;
    if (!current.isValid())
        return m_model->index(0, header()->logicalIndex(0));
    int row = current.row();
    QScrollBar *across = horizontalScrollBar();
    switch (action) {
    case MoveUp:
    case MovePrevious:
        --row;
        break;
    case MoveDown:
    case MoveNext:
        ++row;
        break;
    case MovePageUp:
        row -= rowsPerPage();
        break;
    case MovePageDown:
        row += rowsPerPage();
        break;
    case MoveHome:
        row = 0;
        break;
    case MoveEnd:
        row = last;
        break;
    case MoveLeft:
        across->setValue(across->value() - across->singleStep());
        break;
    case MoveRight:
        across->setValue(across->value() + across->singleStep());
        break;
    }
    return m_model->index(qBound(0, row, last), current.column());
}

bool ListView::startsWith(int row, int column, const QString &start) const
{
    const QListViewItem *item = m_model->item(row);
    const QLatin1String text = item->latin1(column);
    if (!text.isNull())
        return text.startsWith(start, Qt::CaseInsensitive);
    return item->text(column).startsWith(start, Qt::CaseInsensitive);
}

void ListView::keyboardSearch(const QString &search)
{
    const bool restart =
        search.isEmpty() || !m_typingClock.isValid() || m_typingClock.elapsed() > QApplication::keyboardInputInterval();
    m_typingClock.start();
    m_typed = restart ? search : m_typed + search;
    if (m_typed.isEmpty() || childCount() == 0 || columns() == 0) {
        endSearch();
        return;
    }
    // The same key again and again goes from one row of that letter to the next.
    const bool again = m_typed.size() > 1 && m_typed.count(m_typed.back()) == m_typed.size();
    if (isSearching() && !restart && again) {
        ++m_search.matches;
        return;
    }
    if (isSearching() && !restart && m_search.matches == 1) {
        // No row so far begins with less than that.
        m_search.start = m_typed;
        return;
    }
    const QModelIndex current = currentIndex();
    m_search.start = again ? m_typed.left(1) : m_typed;
    m_search.column = qMax(0, current.column());
    m_search.row = current.isValid() ? current.row() + (restart || again ? 1 : 0) : 0;
    m_search.rows = childCount();
    m_search.matches = 1;
    searchOn();
}

bool ListView::isSearching() const
{
    return m_searchTimer.isActive();
}

void ListView::searchOn()
{
    // Some may have gone since.
    m_search.rows = qMin(m_search.rows, childCount());
    for (int i = 0; i < RowsPerTurn && m_search.rows > 0; ++i) {
        const int row = m_search.row < childCount() ? m_search.row : 0;
        m_search.row = row + 1;
        --m_search.rows;
        if (!startsWith(row, m_search.column, m_search.start))
            continue;
        if (--m_search.matches == 0) {
            endSearch();
            setCurrentIndex(m_model->index(row, m_search.column));
            return;
        }
        m_search.rows = childCount();
    }
    if (m_search.rows == 0)
        endSearch();
    else if (!isSearching())
        m_searchTimer.start(0, this);
}

void ListView::endSearch()
{
    m_searchTimer.stop();
}

void ListView::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_searchTimer.timerId())
        searchOn();
    else
        QTreeView::timerEvent(event);
}
