// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What sets the widths of the windows' columns, and what must not.
#include "columnfitting.h"
#include "cwd_sensorslist.h"
#include "recordkinds.h"
#include "windowtestbase.h"

#include <QScrollBar>

class ListWidthsTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void hiddenColumnsStayHiddenThroughEveryLoad();
    void loadsSetNothingButColumnZeroTo30();
    void sensorsKeepTheirWidthsThroughUpdateData();
    void commandsAreNotScaledByAScrollBar();
    void fittedWidthsAreTheRulesAtEveryWindowWidth_data();
    void fittedWidthsAreTheRulesAtEveryWindowWidth();
    void fittedWidthsAreTheRulesAfterHidingAndShowing_data();
    void fittedWidthsAreTheRulesAfterHidingAndShowing();
};

namespace
{

constexpr int Columns = 6;
const char *const LongValue = "a value that is much longer than any column of the list is wide, at any usual font size";

template <class Window> QList<int> widthsByTheRule(Window &window, const ListView *list)
{
    std::vector<FittedColumn> columns(Columns);
    for (int c = 0; c < Columns; ++c) {
        columns[std::size_t(c)].visible = window.ColumnsVisibiliy[c] != 0;
        columns[std::size_t(c)].textWidth = window.ColumnTextWidth(c);
    }
    fitColumns(list->width(), columns);
    QList<int> widths;
    for (const FittedColumn &column : columns)
        widths << qMax(2, column.width);
    return widths;
}

template <class Kind> auto longRecords(Kind, int from, int count)
{
    auto records = Kind::records(from, count);
    addParameter(records.front(), "description", LongValue);
    return records;
}

template <class Body> void eachKind(Body body)
{
    body(EventsKind());
    body(CommandsKind());
}

void addKinds()
{
    QTest::addColumn<bool>("ofEvents");
    QTest::addColumn<int>("rows");
    // With and without a scroll bar.
    for (const bool ofEvents : {true, false})
        for (const int rows : {3, 60})
            QTest::addRow("%d %s", rows, ofEvents ? "events" : "commands") << ofEvents << rows;
}

template <class Body> void withKind(Body body)
{
    QFETCH(bool, ofEvents);
    if (ofEvents)
        body(EventsKind());
    else
        body(CommandsKind());
}

void settle()
{
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
}

} // namespace

void ListWidthsTest::hiddenColumnsStayHiddenThroughEveryLoad()
{
    eachKind([](auto kind) {
        kind.source().answer = kind.records(1, 3);
        typename decltype(kind)::Window window(nullptr, "list", nullptr);
        const ListView *list = kind.list(&window);
        QVERIFY(showAndWait(&window));
        for (int column : {1, 4, 5})
            window.SetColumnsVisibiliy(column, 0);
        QList<int> widths = columnWidths(list);
        widths[0] = 30;
        kind.source().answer = longRecords(kind, 4, 50);
        for (int load = 0; load < 3; ++load) {
            if (load == 1)
                window.onUpdateList();
            else
                kind.getNew(&window);
            settle();
            QCOMPARE(columnWidths(list), widths);
        }
        for (int column : {1, 4, 5})
            QVERIFY(!window.Menu1->actions().at(column)->isChecked());
    });
}

void ListWidthsTest::loadsSetNothingButColumnZeroTo30()
{
    eachKind([](auto kind) {
        kind.source().answer = kind.records(1, 3);
        typename decltype(kind)::Window window(nullptr, "list", nullptr);
        ListView *list = kind.list(&window);
        QVERIFY(showAndWait(&window));
        for (int column = 1; column < Columns; ++column) {
            list->setColumnWidthMode(column, ListView::Maximum);
            list->setColumnWidth(column, 20 + column);
        }
        kind.source().answer = longRecords(kind, 4, 100);
        window.onUpdateList();
        settle();
        QCOMPARE(columnWidths(list), QList<int>({30, 21, 22, 23, 24, 25}));
        kind.getNew(&window);
        settle();
        QCOMPARE(columnWidths(list), QList<int>({30, 21, 22, 23, 24, 25}));
    });
}

void ListWidthsTest::sensorsKeepTheirWidthsThroughUpdateData()
{
    m_library->sensors.answer = {sensor("pump", "in the cellar")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    window.SetColumnsVisibiliy(2, 0);
    const QList<int> widths = columnWidths(window.SensorsList);
    QCOMPARE(widths[2], 2);
    m_library->sensors.answer.assign(100, sensor("a pump of another name", LongValue));
    window.FUpdateData();
    settle();
    QCOMPARE(window.SensorsList->childCount(), 100);
    QCOMPARE(columnWidths(window.SensorsList), widths);
}

void ListWidthsTest::commandsAreNotScaledByAScrollBar()
{
    const CommandsKind kind;
    m_library->commands.answer = longRecords(kind, 1, 3);
    CWD_CommandsList window(nullptr, "Commands list", nullptr);
    const ListView *list = window.listCommands;
    QVERIFY(showAndWait(&window));
    QTRY_COMPARE(window.firstPaint, 0);
    QList<int> widths = columnWidths(list);
    widths[0] = 30;
    window.onUpdateList();
    settle();
    QCOMPARE(columnWidths(list), widths);
    m_library->commands.answer = longRecords(kind, 10, 60);
    window.noGetNewCommands();
    QTRY_VERIFY(list->verticalScrollBar()->isVisible());
    QCOMPARE(columnWidths(list), widths);
    QTRY_VERIFY(list->horizontalScrollBar()->isVisible());
}

void ListWidthsTest::fittedWidthsAreTheRulesAtEveryWindowWidth_data()
{
    addKinds();
}

void ListWidthsTest::fittedWidthsAreTheRulesAtEveryWindowWidth()
{
    QFETCH(int, rows);
    withKind([rows](auto kind) {
        kind.source().answer = longRecords(kind, 1, rows);
        typename decltype(kind)::Window window(nullptr, "list", nullptr);
        const ListView *list = kind.list(&window);
        QVERIFY(showAndWait(&window));
        QTRY_COMPARE(window.firstPaint, 0);
        settle();
        QCOMPARE(columnWidths(list), widthsByTheRule(window, list));
        for (int step = 0; step < 60; ++step) {
            const int width = 2000 - 31 * step;
            window.resize(width, step % 2 ? 660 : 900);
            QCOMPARE(columnWidths(list), widthsByTheRule(window, list));
            settle();
            QCOMPARE(columnWidths(list), widthsByTheRule(window, list));
        }
    });
}

void ListWidthsTest::fittedWidthsAreTheRulesAfterHidingAndShowing_data()
{
    addKinds();
}

void ListWidthsTest::fittedWidthsAreTheRulesAfterHidingAndShowing()
{
    QFETCH(int, rows);
    withKind([rows](auto kind) {
        kind.source().answer = longRecords(kind, 1, rows);
        typename decltype(kind)::Window window(nullptr, "list", nullptr);
        const ListView *list = kind.list(&window);
        QVERIFY(showAndWait(&window));
        QTRY_COMPARE(window.firstPaint, 0);
        for (int column : {0, 3, 3, 5, 0, 5}) {
            window.SetColumnsVisibiliy(column, -1);
            settle();
            QCOMPARE(columnWidths(list), widthsByTheRule(window, list));
        }
        // The window itself is hidden, gets another size, and is shown again.
        window.hide();
        window.resize(window.width() + 117, window.height());
        QVERIFY(showAndWait(&window));
        settle();
        QCOMPARE(columnWidths(list), widthsByTheRule(window, list));
    });
}

QTEST_MAIN(ListWidthsTest)
#include "listwidthstest.moc"
