// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What a screen reader is told of a list.
#include "listview.h"
#include "patience.h"
#include "textitem.h"

#include <QAccessible>
#include <QHeaderView>

namespace
{

/** Rows of a number and a word. */
struct SpokenList : ListView {
    explicit SpokenList(int count)
    {
        addColumn("Number", 80);
        addColumn("Word", 60);
        setColumnSortKey(0, SortKey::Number);
        resize(300, 200);
        insertItems(rows(0, count));
    }

    static Rows rows(int from, int count)
    {
        Rows all;
        for (int i = from; i < from + count; ++i)
            all.push_back(std::make_unique<TextItem>(QStringList{QString::number(i), QString("word %1").arg(i)}));
        return all;
    }

    QAccessibleInterface *access()
    {
        return QAccessible::queryAccessibleInterface(this);
    }
    QAccessibleTableInterface *table()
    {
        return access()->tableInterface();
    }
    QString name(int row, int column)
    {
        return table()->cellAt(row, column)->text(QAccessible::Name);
    }
};

} // namespace

class ListAccessTest : public QObject
{
    Q_OBJECT
private slots:
    void isATableOfAllItsRows();
    void childrenAreTheHeadingsAndTheCells();
    void cellsKnowTheirPlace();
    void cellsLieWhereTheyArePainted();
    void whatIsOutsideIsNoCell();
    void selectionIsTheListsOwn();
    void focusIsTheCurrentCell();
    void rowsThatComeAndGoAreFollowed();
    void everyCellCanBeVisited();
    void listWithoutRowsOrColumns();
};

void ListAccessTest::isATableOfAllItsRows()
{
    SpokenList list(100000);
    QVERIFY(list.table());
    QCOMPARE(list.access()->role(), QAccessible::Table);
    QCOMPARE(list.access()->object(), &list);
    QCOMPARE(list.table()->rowCount(), 100000);
    QCOMPARE(list.table()->columnCount(), 2);
    QCOMPARE(list.table()->columnDescription(1), QString("Word"));
    QCOMPARE(list.name(0, 0), QString("0"));
    QCOMPARE(list.name(77777, 1), QString("word 77777"));
    list.setSorting(0, false);
    QCOMPARE(list.name(0, 1), QString("word 99999"));
}

void ListAccessTest::childrenAreTheHeadingsAndTheCells()
{
    SpokenList list(3);
    const QStringList expected = {"Number", "Word", "0", "word 0", "1", "word 1", "2", "word 2"};
    QCOMPARE(list.access()->childCount(), int(expected.size()));
    for (int i = 0; i < expected.size(); ++i) {
        const QAccessibleInterface *child = list.access()->child(i);
        QVERIFY(child && child->isValid());
        QCOMPARE(child->text(QAccessible::Name), expected[i]);
        QCOMPARE(child->role(), i < 2 ? QAccessible::ColumnHeader : QAccessible::Cell);
        QCOMPARE(child->parent(), list.access());
        QCOMPARE(list.access()->indexOfChild(child), i);
        QCOMPARE(list.access()->child(i), const_cast<QAccessibleInterface *>(child));
        QCOMPARE(child->childCount(), 0);
    }
    QVERIFY(!list.access()->child(-1));
    QVERIFY(!list.access()->child(int(expected.size())));
}

void ListAccessTest::cellsKnowTheirPlace()
{
    SpokenList list(5);
    QAccessibleTableCellInterface *cell = list.table()->cellAt(3, 1)->tableCellInterface();
    QVERIFY(cell);
    QCOMPARE(cell->rowIndex(), 3);
    QCOMPARE(cell->columnIndex(), 1);
    QCOMPARE(cell->rowExtent(), 1);
    QCOMPARE(cell->columnExtent(), 1);
    QCOMPARE(cell->table(), list.access());
    QCOMPARE(cell->columnHeaderCells().size(), 1);
    QCOMPARE(cell->columnHeaderCells().first()->text(QAccessible::Name), QString("Word"));
    QVERIFY(!list.access()->child(0)->tableCellInterface());
}

void ListAccessTest::cellsLieWhereTheyArePainted()
{
    SpokenList list(1000);
    list.show();
    QVERIFY(waitForExposed(&list));
    list.scrollTo(list.model()->index(500, 0), QAbstractItemView::PositionAtTop);
    QAccessibleInterface *cell = list.table()->cellAt(502, 1);
    const QRect area = list.visualRect(list.model()->index(502, 1));
    QCOMPARE(cell->rect(), area.translated(list.viewport()->mapToGlobal(QPoint())));
    const QPoint middle = cell->rect().center();
    QCOMPARE(list.access()->childAt(middle.x(), middle.y()), cell);
    QVERIFY(!cell->state().offscreen);
    QVERIFY(list.table()->cellAt(0, 1)->state().offscreen);

    QAccessibleInterface *heading = list.access()->child(1);
    const QPoint above = heading->rect().center();
    QCOMPARE(list.access()->childAt(above.x(), above.y()), heading);
    QCOMPARE(list.header()->logicalIndexAt(list.header()->viewport()->mapFromGlobal(above)), 1);
    QVERIFY(!list.access()->childAt(-5000, -5000));
}

void ListAccessTest::whatIsOutsideIsNoCell()
{
    SpokenList list(5);
    for (const QPoint &place : {QPoint(5, 0), QPoint(-1, 0), QPoint(0, 2), QPoint(0, -1)})
        QVERIFY(!list.table()->cellAt(place.x(), place.y()));
    QCOMPARE(list.access()->indexOfChild(nullptr), -1);
    QVERIFY(!list.table()->selectRow(5));
    QVERIFY(!list.table()->selectRow(-1));
}

void ListAccessTest::selectionIsTheListsOwn()
{
    SpokenList list(1000);
    QCOMPARE(list.table()->selectedRowCount(), 0);
    QVERIFY(list.table()->selectRow(700));
    QCOMPARE(list.currentItem(), list.itemAt(700));
    QCOMPARE(list.table()->selectedRows(), QList<int>{700});
    QCOMPARE(list.table()->selectedCellCount(), 2);
    QCOMPARE(list.table()->selectedCells().value(1), list.table()->cellAt(700, 1));
    QVERIFY(list.table()->isRowSelected(700));
    QVERIFY(!list.table()->isRowSelected(701));
    QVERIFY(list.table()->cellAt(700, 0)->state().selected);
    QVERIFY(!list.table()->cellAt(0, 0)->state().selected);
    QVERIFY(!list.table()->unselectRow(701));
    QVERIFY(list.table()->unselectRow(700));
    QCOMPARE(list.table()->selectedRowCount(), 0);
    QVERIFY(list.selectionModel()->selectedRows().isEmpty());
    QVERIFY(!list.table()->selectColumn(0) && !list.table()->unselectColumn(0) && !list.table()->isColumnSelected(0));
}

void ListAccessTest::focusIsTheCurrentCell()
{
    SpokenList list(10);
    QVERIFY(!list.access()->focusChild());
    list.show();
    list.activateWindow();
    list.setFocus();
    QTRY_VERIFY(list.hasFocus());
    list.setCurrentIndex(list.model()->index(4, 1));
    QCOMPARE(list.access()->focusChild(), list.table()->cellAt(4, 1));
    QVERIFY(list.table()->cellAt(4, 1)->state().focused);
    QVERIFY(!list.table()->cellAt(4, 0)->state().focused);
}

void ListAccessTest::rowsThatComeAndGoAreFollowed()
{
    SpokenList list(10);
    QCOMPARE(list.name(5, 0), QString("5"));
    list.insertItems(SpokenList::rows(-3, 3));
    QCOMPARE(list.table()->rowCount(), 13);
    QCOMPARE(list.name(5, 0), QString("2"));
    list.removeItem(list.itemAt(0));
    QCOMPARE(list.name(5, 0), QString("3"));
    list.setSorting(0, false);
    QCOMPARE(list.name(5, 0), QString("4"));
    list.clear();
    QCOMPARE(list.table()->rowCount(), 0);
    QVERIFY(!list.table()->cellAt(5, 0));
}

void ListAccessTest::everyCellCanBeVisited()
{
    SpokenList list(10000);
    for (int round = 0; round < 2; ++round)
        for (int row = 0; row < 10000; ++row)
            QCOMPARE(list.name(row, 1), "word " + QString::number(row));
}

void ListAccessTest::listWithoutRowsOrColumns()
{
    ListView list;
    QAccessibleInterface *access = QAccessible::queryAccessibleInterface(&list);
    QCOMPARE(access->childCount(), 0);
    QVERIFY(!access->child(0));
    QVERIFY(!access->tableInterface()->cellAt(0, 0));
    QVERIFY(!access->focusChild());
    list.addColumn("A");
    QCOMPARE(access->childCount(), 1);
    QCOMPARE(access->child(0)->text(QAccessible::Name), QString("A"));
}

QTEST_MAIN(ListAccessTest)
#include "listaccesstest.moc"
