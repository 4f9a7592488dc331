// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The menu of columns, their widths, and how rows sort. Every test runs for the windows of events and of commands.
#include "columnfitting.h"
#include "recordwindowtesting.h"
#include "timezone.h"

#include <QComboBox>
#include <QHeaderView>
#include <QMenuBar>
#include <climits>

class RecordWindowColumnsTest : public RecordWindowTestBase
{
    Q_OBJECT

private slots:
    void columnEntriesAreMarkedAndNamed();
    void clickOnAColumnEntryTogglesTheColumnOnce();
    void slotTogglesTheColumnOnce();
    void keyboardTogglesAColumn();
    void setColumnsVisibilityToAValue();
    void columnIsToggledFromWhatItsEntryShows();
    void columnsThatAreNoneAreIgnored();
    void hidingAllColumnsLeavesTheWidths();
    void widthModeOfEveryColumnFollowsColumnZero();
    void columnTextWidthIsTheWidestTextAndThree();
    void widthsFollowTheTimeZone();
    void columnsAreFittedWhenTheWindowIsBuilt();
    void columnsAreFittedByTheRule();
    void firstPaintFitsTheColumns();
    void loadsDoNotFitTheColumns();
    void menuBarLiesAboveTheListAndTakesNoRoom();
    void identifiersSortAsNumbersAndDatesAsTimes();
    void languageSwitchKeepsTheCaptionAndDoublesNothing();
};

void RecordWindowColumnsTest::columnEntriesAreMarkedAndNamed()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        const bool ofEvents = std::is_same_v<decltype(kind), EventsKind>;
        QCOMPARE(entryTexts(window->Menu1),
                 QStringList({"Number", "Sensor", "ID", ofEvents ? "Name" : "Type", "Date", "Params"}));
        for (const QAction *entry : window->Menu1->actions()) {
            QVERIFY(entry->isCheckable());
            QVERIFY(entry->isChecked());
            QVERIFY(entry->shortcut().isEmpty());
        }
        const auto bars = window->template findChildren<QMenuBar *>();
        QCOMPARE(bars.size(), 1);
        QCOMPARE(bars.first()->actions().size(), 1);
        QCOMPARE(bars.first()->actions().first()->text(), QStringLiteral("&Columns"));
        QCOMPARE(bars.first()->actions().first()->menu(), window->Menu1);
        QCOMPARE(window->Menu1->parent(), window.get());
    });
}

void RecordWindowColumnsTest::clickOnAColumnEntryTogglesTheColumnOnce()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        auto *bar = window->template findChild<QMenuBar *>();
        for (int column = 0; column < 6; ++column) {
            for (int expected : {0, 1}) {
                QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(bar->actions().first()).center());
                QTRY_VERIFY(window->Menu1->isVisible());
                clickEntry(window->Menu1, window->Menu1->actions().at(column)->text());
                QVERIFY(!window->Menu1->isVisible());
                QCOMPARE(window->ColumnsVisibiliy[column], expected);
                QCOMPARE(window->Menu1->actions().at(column)->isChecked(), expected == 1);
                QCOMPARE(kind.list(window.get())->columnWidth(column) == 2, expected == 0);
            }
        }
    });
}

void RecordWindowColumnsTest::slotTogglesTheColumnOnce()
{
    eachKind([](auto kind) {
        using Window = typename decltype(kind)::Window;
        const auto window = open(kind);
        void (Window::*const turn[])() = {&Window::FSetVisibilityC0, &Window::FSetVisibilityC1,
                                          &Window::FSetVisibilityC2, &Window::FSetVisibilityC3,
                                          &Window::FSetVisibilityC4, &Window::FSetVisibilityC5};
        for (int column = 0; column < 6; ++column) {
            for (int expected : {0, 1}) {
                (window.get()->*turn[column])();
                QCOMPARE(window->ColumnsVisibiliy[column], expected);
                QCOMPARE(window->Menu1->actions().at(column)->isChecked(), expected == 1);
            }
        }
    });
}

void RecordWindowColumnsTest::keyboardTogglesAColumn()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        window->activateWindow();
        QVERIFY(waitForActive(window.get()));
        QTest::keyClick(window.get(), Qt::Key_C, Qt::AltModifier);
        QTRY_VERIFY(window->Menu1->isVisible());
        if (!window->Menu1->activeAction())
            QTest::keyClick(window->Menu1, Qt::Key_Down);
        QTest::keyClick(window->Menu1, Qt::Key_Down);
        QTest::keyClick(window->Menu1, Qt::Key_Return);
        QCOMPARE(window->ColumnsVisibiliy[0], 1);
        QCOMPARE(window->ColumnsVisibiliy[1], 0);
        QVERIFY(!window->Menu1->actions().at(1)->isChecked());
    });
}

void RecordWindowColumnsTest::setColumnsVisibilityToAValue()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        for (int set : {0, 0, 1, 1, 0, 1}) {
            window->SetColumnsVisibiliy(4, set);
            QCOMPARE(window->ColumnsVisibiliy[4], set);
            QCOMPARE(window->Menu1->actions().at(4)->isChecked(), set == 1);
        }
        window->SetColumnsVisibiliy(4, 7);
        QCOMPARE(window->ColumnsVisibiliy[4], 7);
        QVERIFY(window->Menu1->actions().at(4)->isChecked());
        window->SetColumnsVisibiliy(4, -1);
        QCOMPARE(window->ColumnsVisibiliy[4], 0);
    });
}

void RecordWindowColumnsTest::columnIsToggledFromWhatItsEntryShows()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QAction *entry = window->Menu1->actions().at(2);
        entry->setChecked(false);
        window->SetColumnsVisibiliy(2, -1);
        QCOMPARE(window->ColumnsVisibiliy[2], 1);
        QVERIFY(entry->isChecked());
    });
}

void RecordWindowColumnsTest::columnsThatAreNoneAreIgnored()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        for (int column : {-1, 6, 9, INT_MAX, INT_MIN})
            window->SetColumnsVisibiliy(column, -1);
        for (int flag : window->ColumnsVisibiliy)
            QCOMPARE(flag, 1);
    });
}

void RecordWindowColumnsTest::hidingAllColumnsLeavesTheWidths()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        ListView *list = kind.list(window.get());
        for (int column = 0; column < 5; ++column)
            window->SetColumnsVisibiliy(column, 0);
        QList<int> widths = columnWidths(list);
        list->setColumnWidth(1, 55);
        widths[1] = 55;
        window->SetColumnsVisibiliy(5, 0);
        widths[5] = 2;
        QCOMPARE(columnWidths(list), widths);
    });
}

void RecordWindowColumnsTest::widthModeOfEveryColumnFollowsColumnZero()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        ListView *list = kind.list(window.get());
        window->SetColumnsVisibiliy(1, 0);
        QCOMPARE(list->columnWidthMode(1), ListView::Maximum);
        window->SetColumnsVisibiliy(0, 0);
        QCOMPARE(list->columnWidthMode(0), ListView::Manual);
        window->SetColumnsVisibiliy(1, 1);
        QCOMPARE(list->columnWidthMode(1), ListView::Manual);
        window->SetColumnsVisibiliy(2, 0);
        QCOMPARE(list->columnWidthMode(2), ListView::Manual);
        window->SetColumnsVisibiliy(0, 1);
        QCOMPARE(list->columnWidthMode(0), ListView::Maximum);
        window->SetColumnsVisibiliy(2, 1);
        QCOMPARE(list->columnWidthMode(2), ListView::Maximum);
    });
}

template <class Window> static void compareWidths(Window *window, const ListView *list)
{
    for (int column = 0; column < 6; ++column) {
        int widest = 0;
        for (int row = 0; row < list->childCount(); ++row)
            widest = qMax(widest, list->itemAt(row)->width(list->fontMetrics(), list, column));
        QVERIFY(widest > 0);
        QCOMPARE(window->ColumnTextWidth(column), widest + 3);
    }
}

void RecordWindowColumnsTest::columnTextWidthIsTheWidestTextAndThree()
{
    eachKind([](auto kind) {
        auto wide = kind.record(1);
        addParameter(wide, "description", "a parameter that needs its room");
        kind.source().answer = {kind.record(7), wide, kind.record(123456)};
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        compareWidths(window.get(), list);
        list->clear();
        QCOMPARE(window->ColumnTextWidth(0), 3);
    });
}

void RecordWindowColumnsTest::widthsFollowTheTimeZone()
{
    eachKind([](auto kind) {
        const TimeZone before("UTC");
        // In the evening of Friday, 1 May 2026; it is Saturday already in the east.
        constexpr std::time_t evening = 1777674600;
        for (int i = 0; i < 3; ++i)
            kind.source().answer.push_back(kind.recordAt(i, evening + i));
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QVERIFY(list->itemAt(0)->text(DateColumn).startsWith(QStringLiteral("Fri May 1 ")));
        compareWidths(window.get(), list);
        const int width = window->ColumnTextWidth(DateColumn);

        const TimeZone after("Asia/Tokyo");
        QVERIFY(list->itemAt(0)->text(DateColumn).startsWith(QStringLiteral("Sat May 2 ")));
        compareWidths(window.get(), list);
        QVERIFY(window->ColumnTextWidth(DateColumn) != width);
        // Rows of both kinds of days, and rows that go.
        kind.source().answer = {kind.recordAt(10, evening - 86400), kind.recordAt(11, evening + 10 * 86400)};
        kind.getNew(window.get());
        QCOMPARE(list->childCount(), 5);
        compareWidths(window.get(), list);
        while (list->childCount() > 1) {
            list->removeItem(list->itemAt(list->childCount() / 2));
            compareWidths(window.get(), list);
        }

        const TimeZone west("America/Los_Angeles");
        window->resize(window->width() + 50, window->height());
        compareWidths(window.get(), list);
    });
}

template <class Window> static QList<int> fittedWidths(Window *window, const ListView *list)
{
    std::vector<FittedColumn> columns(6);
    for (int c = 0; c < 6; ++c) {
        columns[std::size_t(c)].visible = window->ColumnsVisibiliy[c] != 0;
        columns[std::size_t(c)].textWidth = window->ColumnTextWidth(c);
    }
    fitColumns(list->width(), columns);
    QList<int> widths;
    for (const FittedColumn &column : columns)
        widths << qMax(2, column.width);
    return widths;
}

void RecordWindowColumnsTest::columnsAreFittedWhenTheWindowIsBuilt()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 30);
        const ListView *list = kind.list(window.get());
        QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
    });
}

void RecordWindowColumnsTest::columnsAreFittedByTheRule()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 30);
        ListView *list = kind.list(window.get());
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        for (int width : {700, 1200, 2400, 600}) {
            window->resize(width, 700);
            QTRY_COMPARE(window->width(), width);
            QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
        }
        window->SetColumnsVisibiliy(3, 0);
        QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
        QCOMPARE(list->columnWidth(3), 2);
        window->SetColumnsVisibiliy(3, 1);
        QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
    });
}

void RecordWindowColumnsTest::firstPaintFitsTheColumns()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 30);
        ListView *list = kind.list(window.get());
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
        list->setColumnWidth(1, 99);
        window->repaint();
        QCOMPARE(list->columnWidth(1), 99);
    });
}

void RecordWindowColumnsTest::loadsDoNotFitTheColumns()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 30);
        ListView *list = kind.list(window.get());
        for (int column = 0; column < 6; ++column) {
            list->setColumnWidthMode(column, ListView::Manual);
            list->setColumnWidth(column, 300 + column);
        }
        window->onUpdateList();
        QCOMPARE(columnWidths(list), QList<int>({30, 301, 302, 303, 304, 305}));
    });
}

void RecordWindowColumnsTest::menuBarLiesAboveTheListAndTakesNoRoom()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QVERIFY(showAndWait(window.get()));
        auto *bar = window->template findChild<QMenuBar *>();
        const int top = list->y();
        for (int width : {window->width(), 900, 650}) {
            window->resize(width, 720);
            QTRY_COMPARE(window->width(), width);
            QCOMPARE(bar->geometry(), QRect(0, 0, width, bar->sizeHint().height()));
            QVERIFY(bar->geometry().bottom() < list->geometry().top());
            QCOMPARE(list->y(), top);
        }
        QVERIFY(bar->isVisible());
        QVERIFY(!window->layout()->menuBar());
    });
}

void RecordWindowColumnsTest::identifiersSortAsNumbersAndDatesAsTimes()
{
    eachKind([](auto kind) {
        auto old = kind.record(9);
        auto recent = kind.record(100);
        if constexpr (std::is_same_v<decltype(kind), EventsKind>) {
            old.EventTime = 86400 * 3;     // a Sunday
            recent.EventTime = 86400 * 40; // a Tuesday
        } else {
            old.CommandTime = 86400 * 3;
            recent.CommandTime = 86400 * 40;
            old.CommandType = 9;
            recent.CommandType = 10;
        }
        kind.source().answer = {recent, old};
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QVERIFY(showAndWait(window.get()));
        for (int column : {2, 4}) {
            list->setSorting(0);
            list->scrollTo(list->model()->index(0, column));
            const int left = list->header()->sectionViewportPosition(column);
            QTest::mouseClick(list->header()->viewport(), Qt::LeftButton, {},
                              QPoint(left + list->columnWidth(column) / 2, 5));
            QCOMPARE(columnTexts(list, 2), QStringList({"9", "100"}));
        }
        if constexpr (std::is_same_v<decltype(kind), CommandsKind>) {
            list->setSorting(3);
            QCOMPARE(columnTexts(list, 3), QStringList({"9", "10"}));
        }
    });
}

void RecordWindowColumnsTest::languageSwitchKeepsTheCaptionAndDoublesNothing()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        window->AutoUpdate->setCurrentIndex(2);
        const QStringList entries = entryTexts(window->Menu1);
        QEvent change(QEvent::LanguageChange);
        QApplication::sendEvent(window.get(), &change);
        QCOMPARE(window->windowTitle(), QStringLiteral("A list"));
        QCOMPARE(entryTexts(window->Menu1), entries);
        QCOMPARE(window->AutoUpdate->count(), 5);
        QCOMPARE(window->AutoUpdate->currentIndex(), 2);
        QCOMPARE(window->comboFrom_TimeAgo->count(), 7);
    });
}

QTEST_MAIN(RecordWindowColumnsTest)
#include "recordwindowcolumnstest.moc"
