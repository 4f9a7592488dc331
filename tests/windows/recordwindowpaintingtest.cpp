// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What is painted when, and which rows are in sight. Every test runs for the windows of events and of commands.
#include "recordwindowtesting.h"

#include <QScrollBar>

class RecordWindowPaintingTest : public RecordWindowTestBase
{
    Q_OBJECT

private slots:
    void nothingIsPaintedWhenNothingIsNew();
    void newRowsLeavePlaceAndSelection();
    void newRowsAreFollowedWhereTheyLand();
};

/** The first row that is wholly in sight. */
static const QListViewItem *topRow(const ListView *list)
{
    return list->itemAt(list->indexAt(QPoint(5, 5)).row());
}

void RecordWindowPaintingTest::nothingIsPaintedWhenNothingIsNew()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 200);
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        ListView *list = kind.list(window.get());
        list->setCurrentIndex(list->model()->index(20, 0));
        kind.source().answer.clear();
        {
            PaintCounter anywhere(qApp);
            // What showing the window has still to paint comes first.
            QVERIFY(waitForActive(window.get()));
            do {
                anywhere.paints = 0;
                QCoreApplication::processEvents();
            } while (anywhere.paints > 0);
            for (int i = 0; i < 5; ++i) {
                kind.getNew(window.get());
                QCoreApplication::processEvents();
            }
            QCOMPARE(anywhere.paints, 0);
        }
        PaintCounter rows(list->viewport());
        kind.source().answer = kind.records(201, 1);
        kind.getNew(window.get());
        QTRY_VERIFY(rows.paints > 0);
    });
}

void RecordWindowPaintingTest::newRowsLeavePlaceAndSelection()
{
    eachKind([](auto kind) {
        for (const bool first : {false, true}) {
            const auto window = openWith(kind, 1, 500);
            ListView *list = kind.list(window.get());
            if (first)
                chooseFirst(window.get());
            window->onUpdateList();
            QVERIFY(showAndWait(window.get()));
            QTRY_COMPARE(window->firstPaint, 0);
            list->setCurrentIndex(list->model()->index(120, 2));
            list->verticalScrollBar()->setValue(200);
            const QListViewItem *const top = topRow(list);
            const QListViewItem *const current = list->currentItem();
            kind.source().answer = kind.records(501, 40);
            kind.getNew(window.get());
            QCoreApplication::processEvents();
            QCOMPARE(list->childCount(), 540);
            QCOMPARE(topRow(list), top);
            QCOMPARE(list->currentItem(), static_cast<const QListViewItem *>(current));
            const QModelIndexList selected = list->selectionModel()->selectedRows();
            QCOMPARE(selected.size(), 1);
            QCOMPARE(static_cast<const QListViewItem *>(list->itemAt(selected.first().row())), current);
        }
    });
}

void RecordWindowPaintingTest::newRowsAreFollowedWhereTheyLand()
{
    eachKind([](auto kind) {
        for (const bool first : {false, true}) {
            const auto window = openWith(kind, 1, 500);
            ListView *list = kind.list(window.get());
            if (first)
                chooseFirst(window.get());
            window->onUpdateList();
            QVERIFY(showAndWait(window.get()));
            QTRY_COMPARE(window->firstPaint, 0);
            QScrollBar *const bar = list->verticalScrollBar();
            bar->setValue(first ? bar->maximum() : 0);
            for (int fetch = 0; fetch < 3; ++fetch) {
                kind.source().answer = kind.records(501 + 40 * fetch, 40);
                kind.getNew(window.get());
                QCoreApplication::processEvents();
                QCOMPARE(list->childCount(), 540 + 40 * fetch);
                QCOMPARE(bar->value(), first ? bar->maximum() : 0);
            }
        }
    });
}

QTEST_MAIN(RecordWindowPaintingTest)
#include "recordwindowpaintingtest.moc"
