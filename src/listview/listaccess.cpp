// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listaccess.h"

#include "listview.h"

#include <QHeaderView>
#include <QItemSelectionModel>

namespace
{

/** A cell, or a heading: then its row is -1. */
class CellAccess : public QAccessibleInterface, public QAccessibleTableCellInterface
{
public:
    CellAccess(const ListAccess *list, int row, int column)
        : m_list(list)
        , m_row(row)
        , m_column(column)
    {
    }

    bool isHeading() const
    {
        return m_row < 0;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        const bool cell = type == QAccessible::TableCellInterface && !isHeading();
        return cell ? static_cast<QAccessibleTableCellInterface *>(this) : nullptr;
    }
    bool isValid() const override
    {
        return m_list->view() && m_row < m_list->rowCount() && m_column < m_list->columnCount();
    }
    QObject *object() const override
    {
        return nullptr;
    }
    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_list->view());
    }
    int childCount() const override
    {
        return 0;
    }
    QAccessibleInterface *child(int) const override
    {
        return nullptr;
    }
    QAccessibleInterface *childAt(int, int) const override
    {
        return nullptr;
    }
    int indexOfChild(const QAccessibleInterface *) const override
    {
        return -1;
    }
    QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Name || !isValid())
            return {};
        return isHeading() ? m_list->columnDescription(m_column) : m_list->view()->itemAt(m_row)->text(m_column);
    }
    void setText(QAccessible::Text, const QString &) override {}

    QRect rect() const override
    {
        if (!isValid())
            return {};
        const ListView *view = m_list->view();
        const QHeaderView *header = view->header();
        const QWidget *within = isHeading() ? header->viewport() : view->viewport();
        const QRect area = isHeading() ? QRect(header->sectionViewportPosition(m_column), 0,
                                               header->sectionSize(m_column), header->height())
                                       : view->visualRect(view->model()->index(m_row, m_column));
        return area.translated(within->mapToGlobal(QPoint()));
    }
    QAccessible::Role role() const override
    {
        return isHeading() ? QAccessible::ColumnHeader : QAccessible::Cell;
    }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        const ListView *view = m_list->view();
        state.invisible = !view->isVisible();
        if (isHeading())
            return state;
        state.readOnly = true;
        state.selectable = true;
        state.focusable = true;
        state.selected = isSelected();
        state.focused = view->hasFocus() && view->currentIndex() == view->model()->index(m_row, m_column);
        state.offscreen = !view->viewport()->rect().intersects(view->visualRect(view->model()->index(m_row, m_column)));
        return state;
    }

    bool isSelected() const override
    {
        return m_list->isRowSelected(m_row);
    }
    QList<QAccessibleInterface *> columnHeaderCells() const override
    {
        return {m_list->child(m_column)};
    }
    QList<QAccessibleInterface *> rowHeaderCells() const override
    {
        return {};
    }
    int columnIndex() const override
    {
        return m_column;
    }
    int rowIndex() const override
    {
        return m_row;
    }
    int columnExtent() const override
    {
        return 1;
    }
    int rowExtent() const override
    {
        return 1;
    }
    QAccessibleInterface *table() const override
    {
        return parent();
    }

private:
    const ListAccess *m_list;
    int m_row;
    int m_column;
};

QAccessibleInterface *accessOf(const QString &className, QObject *object)
{
    auto *view = className == QLatin1String("ListView") ? qobject_cast<ListView *>(object) : nullptr;
    return view ? new ListAccess(view) : nullptr;
}

} // namespace

void ListAccess::install()
{
    QAccessible::installFactory(accessOf);
}

int ListAccess::childNumber(const ListView *view, int row, int column)
{
    return (row + 1) * view->columns() + column;
}

void ListAccess::tell(ListView *view, QAccessible::Event what, const QModelIndex &index)
{
    if (!QAccessible::isActive() || !index.isValid())
        return;
    QAccessibleEvent event(view, what);
    event.setChild(childNumber(view, index.row(), index.column()));
    QAccessible::updateAccessibility(&event);
}

ListAccess::ListAccess(ListView *view)
    : QAccessibleWidget(view, QAccessible::Table)
{
    const QAbstractItemModel *rows = view->model();
    const auto forget = [this] { m_cells.clear(); };
    QObject::connect(rows, &QAbstractItemModel::rowsInserted, &m_context, forget);
    QObject::connect(rows, &QAbstractItemModel::rowsRemoved, &m_context, forget);
    QObject::connect(rows, &QAbstractItemModel::columnsInserted, &m_context, forget);
    QObject::connect(rows, &QAbstractItemModel::layoutChanged, &m_context, forget);
    QObject::connect(rows, &QAbstractItemModel::modelReset, &m_context, forget);
}

ListView *ListAccess::view() const
{
    return static_cast<ListView *>(widget());
}

void *ListAccess::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TableInterface)
        return static_cast<QAccessibleTableInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

int ListAccess::childCount() const
{
    return (rowCount() + 1) * columnCount();
}

QAccessibleInterface *ListAccess::child(int number) const
{
    if (number < 0 || number >= childCount())
        return nullptr;
    if (const Registration *known = m_cells.object(number))
        return QAccessible::accessibleInterface(known->id);
    auto *cell = new CellAccess(this, number / columnCount() - 1, number % columnCount());
    m_cells.insert(number, new Registration{QAccessible::registerAccessibleInterface(cell)});
    return cell;
}

int ListAccess::indexOfChild(const QAccessibleInterface *child) const
{
    const auto *cell = dynamic_cast<const CellAccess *>(child);
    return cell && cell->isValid() ? childNumber(view(), cell->rowIndex(), cell->columnIndex()) : -1;
}

QAccessibleInterface *ListAccess::childAt(int x, int y) const
{
    const QPoint place(x, y);
    const QHeaderView *header = view()->header();
    const QPoint inHeader = header->viewport()->mapFromGlobal(place);
    if (header->isVisible() && header->viewport()->rect().contains(inHeader)) {
        const int column = header->logicalIndexAt(inHeader.x());
        return column >= 0 ? child(column) : nullptr;
    }
    const QPoint inRows = view()->viewport()->mapFromGlobal(place);
    if (!view()->viewport()->rect().contains(inRows))
        return nullptr;
    const QModelIndex index = view()->indexAt(inRows);
    return cellAt(index.row(), index.column());
}

QAccessibleInterface *ListAccess::focusChild() const
{
    const QModelIndex current = view()->currentIndex();
    return view()->hasFocus() ? cellAt(current.row(), current.column()) : nullptr;
}

QAccessibleInterface *ListAccess::caption() const
{
    return nullptr;
}

QAccessibleInterface *ListAccess::summary() const
{
    return nullptr;
}

QAccessibleInterface *ListAccess::cellAt(int row, int column) const
{
    const bool inside = row >= 0 && row < rowCount() && column >= 0 && column < columnCount();
    return inside ? child(childNumber(view(), row, column)) : nullptr;
}

int ListAccess::selectedCellCount() const
{
    return selectedRowCount() * columnCount();
}

QList<QAccessibleInterface *> ListAccess::selectedCells() const
{
    QList<QAccessibleInterface *> cells;
    for (const int row : selectedRows())
        for (int column = 0; column < columnCount(); ++column)
            cells << cellAt(row, column);
    return cells;
}

QString ListAccess::columnDescription(int column) const
{
    return view()->columnText(column);
}

QString ListAccess::rowDescription(int) const
{
    return {};
}

int ListAccess::selectedColumnCount() const
{
    return 0;
}

int ListAccess::selectedRowCount() const
{
    return int(selectedRows().size());
}

int ListAccess::columnCount() const
{
    return view()->columns();
}

int ListAccess::rowCount() const
{
    return view()->childCount();
}

QList<int> ListAccess::selectedColumns() const
{
    return {};
}

QList<int> ListAccess::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &row : view()->selectionModel()->selectedRows())
        rows << row.row();
    return rows;
}

bool ListAccess::isColumnSelected(int) const
{
    return false;
}

bool ListAccess::isRowSelected(int row) const
{
    return selectedRows().contains(row);
}

bool ListAccess::selectRow(int row)
{
    if (row < 0 || row >= rowCount())
        return false;
    view()->setCurrentIndex(view()->model()->index(row, qMax(0, view()->currentIndex().column())));
    return isRowSelected(row);
}

bool ListAccess::selectColumn(int)
{
    return false;
}

bool ListAccess::unselectRow(int row)
{
    if (!isRowSelected(row))
        return false;
    view()->clearSelection();
    return true;
}

bool ListAccess::unselectColumn(int)
{
    return false;
}

// The rows themselves tell when they change, also while nobody listens to events.
void ListAccess::modelChange(QAccessibleTableModelChangeEvent *) {}
