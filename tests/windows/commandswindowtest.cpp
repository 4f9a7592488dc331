// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What only the window of commands does.
#include "cwd_commandslist.h"
#include "windowtestbase.h"

class CommandsWindowTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void slotsStandInTheirOrder();
    void opensWithOneLoadWhichIsFilteredByTheMask();
    void timePresetsAreNotTraced();
    void reloadWithoutCommandsKeepsTheDigits();
    void withoutACheckedTypeCommandsOfTypeMinusOneAreAskedFor();
    void typeGoesIntoTheCommandType();
    void sizingTheColumnsDoesNotPaintTheWindow();
    void resizingFitsTheColumnsByTheWindowsRule();
};

void CommandsWindowTest::slotsStandInTheirOrder()
{
    QCOMPARE(ownSlots(CWD_CommandsList::staticMetaObject),
             QStringList({"onUpdateList()", "noGetNewCommands()", "onSetTimeFrom(int)", "onSetTimeTo(int)",
                          "setAutoUpdate(int)", "onRBList(QListViewItem*,QPoint,int)", "onDeleteItem()",
                          "FSetVisibilityC0()", "FSetVisibilityC1()", "FSetVisibilityC2()", "FSetVisibilityC3()",
                          "FSetVisibilityC4()", "FSetVisibilityC5()"}));
}

void CommandsWindowTest::opensWithOneLoadWhichIsFilteredByTheMask()
{
    CWD_CommandsList window(nullptr, "Commands list for pump", "pump");
    QCOMPARE(m_library->commands.fetches(), 1);
    const CMessageCommandRequest &request = m_library->commands.requests[0];
    QCOMPARE(request.SensorID, "pump");
    QCOMPARE(request.UseSensorID, 1);
    QCOMPARE(request.NMax, 100);
    QCOMPARE(request.TakeFirst1_Last0, 0);
    QCOMPARE(request.CommandType, 0);
    QCOMPARE(request.UseCommandType, 0);
    QCOMPARE(request.CommandTime0, StartTime - 3600);
    QCOMPARE(request.UseCommandTime0, 0);
    QCOMPARE(request.CommandTime1, StartTime);
    QCOMPARE(request.UseCommandTime1, 0);
    QCOMPARE(request.UseMessageType, 0);
}

void CommandsWindowTest::timePresetsAreNotTraced()
{
    CWD_CommandsList window(nullptr, "Commands list", nullptr);
    window.onSetTimeFrom(1);
    window.onSetTimeTo(1);
    QCOMPARE(MessageWatch::traces(), QStringList());
}

void CommandsWindowTest::reloadWithoutCommandsKeepsTheDigits()
{
    m_library->commands.answer = commands(1, 2000);
    CWD_CommandsList window(nullptr, "Commands list", nullptr);
    QCOMPARE(columnTexts(window.listCommands, 0).first(), QStringLiteral("1999"));
    m_library->commands.answer.clear();
    window.onUpdateList();
    QCOMPARE(window.listCommands->childCount(), 0);
    QCOMPARE(window.AccSensorID, 4);
    QCOMPARE(window.iLast, 0);
    m_library->commands.answer = commands(2001, 2);
    window.noGetNewCommands();
    QCOMPARE(columnTexts(window.listCommands, 0), QStringList({"0002", "0001"}));
}

void CommandsWindowTest::withoutACheckedTypeCommandsOfTypeMinusOneAreAskedFor()
{
    CWD_CommandsList window(nullptr, "Commands list", nullptr);
    window.BG_Type->setButton(-1);
    window.onUpdateList();
    QCOMPARE(m_library->commands.requests.back().CommandType, -1);
    QCOMPARE(m_library->commands.requests.back().UseCommandType, 1);
}

void CommandsWindowTest::typeGoesIntoTheCommandType()
{
    CWD_CommandsList window(nullptr, "Commands list", nullptr);
    QTest::mouseClick(window.rbType_Receivers, Qt::LeftButton);
    window.onUpdateList();
    QCOMPARE(m_library->commands.requests.back().CommandType, 3);
    QCOMPARE(m_library->commands.requests.back().UseCommandType, 1);
    QCOMPARE(m_library->commands.requests.back().MessageType, 0);
    QCOMPARE(m_library->commands.requests.back().UseMessageType, 0);
}

void CommandsWindowTest::sizingTheColumnsDoesNotPaintTheWindow()
{
    m_library->commands.answer = commands(1, 3);
    CWD_CommandsList window(nullptr, "Commands list", nullptr);
    QVERIFY(showAndWait(&window));
    QTRY_COMPARE(window.firstPaint, 0);
    PaintCounter counter(&window);
    window.SetColumnsVisibiliy(1, -1);
    QCOMPARE(counter.paints, 0);
}

void CommandsWindowTest::resizingFitsTheColumnsByTheWindowsRule()
{
    // The list scales its columns to its width; the window's own rule comes after it.
    m_library->commands.answer = commands(1, 3);
    CWD_CommandsList window(nullptr, "Commands list", nullptr);
    QVERIFY(showAndWait(&window));
    QCOMPARE(window.listCommands->resizeMode(), ListView::AllColumns);
    window.QWidget::resize(3000, 700);
    QTRY_COMPARE(window.width(), 3000);
    for (int column = 0; column < 6; ++column)
        QCOMPARE(window.listCommands->columnWidth(column), window.ColumnTextWidth(column));
}

QTEST_MAIN(CommandsWindowTest)
#include "commandswindowtest.moc"
