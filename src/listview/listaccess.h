// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QAccessibleWidget>
#include <QCache>
#include <QObject>

class ListView;

/**
 * A ListView as a screen reader sees it: a table with a row of headings.
 *
 * Its children are the cells, row by row, after the headings. A cell is made
 * when it is asked for and forgotten once the rows change, so that no answer
 * takes longer for a million rows.
 */
class ListAccess : public QAccessibleWidget, public QAccessibleTableInterface
{
public:
    explicit ListAccess(ListView *view);

    /** Has every ListView seen so. */
    static void install();
    /** The number of a cell among the children; that of a heading for row -1. */
    static int childNumber(const ListView *view, int row, int column);
    /** Tells a screen reader, if there is one, what happened to a row. */
    static void tell(ListView *view, QAccessible::Event what, const QModelIndex &index);

    void *interface_cast(QAccessible::InterfaceType type) override;
    int childCount() const override;
    QAccessibleInterface *child(int number) const override;
    int indexOfChild(const QAccessibleInterface *child) const override;
    QAccessibleInterface *childAt(int x, int y) const override;
    QAccessibleInterface *focusChild() const override;

    QAccessibleInterface *caption() const override;
    QAccessibleInterface *summary() const override;
    QAccessibleInterface *cellAt(int row, int column) const override;
    int selectedCellCount() const override;
    QList<QAccessibleInterface *> selectedCells() const override;
    QString columnDescription(int column) const override;
    QString rowDescription(int row) const override;
    int selectedColumnCount() const override;
    int selectedRowCount() const override;
    int columnCount() const override;
    int rowCount() const override;
    QList<int> selectedColumns() const override;
    QList<int> selectedRows() const override;
    bool isColumnSelected(int column) const override;
    bool isRowSelected(int row) const override;
    bool selectRow(int row) override;
    bool selectColumn(int column) override;
    bool unselectRow(int row) override;
    bool unselectColumn(int column) override;
    void modelChange(QAccessibleTableModelChangeEvent *event) override;

    ListView *view() const;

private:
    /** What the toolkit knows a cell by; it deletes the cell with it. */
    struct Registration {
        QAccessible::Id id;

        ~Registration()
        {
            QAccessible::deleteAccessibleInterface(id);
        }
    };

    // Whoever walks over all cells must not pile up millions of them; and whoever
    // holds some must find them valid for a good while.
    static constexpr int MostCells = 8192;

    mutable QCache<int, Registration> m_cells{MostCells}; ///< by their number among the children
    QObject m_context;                                    ///< ends the connections to the rows
};
