// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "capturedoutput.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "data.h"
#include "windowtestbase.h"

#include <QFile>
#include <QMenuBar>
#include <QTemporaryDir>

class SensorsWindowTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void cleanup();

    void slotsStandInTheirOrder();
    void opensWithItsDefaults();
    void sensorOfAnotherLivenessShowsAnEmptyThirdColumn();
    void recordsWithoutTextsShowEmptyOnes();
    void failedFetchShowsWhateverItsCountSays();
    void failedHandshakeShowsABoxAndNoRows();
    void nullArrayWithACountGivesNoRowsAndNoSecondFetch();
    void testDataShowsItsRows();
    void testDataIsFetchedOnceALoad();
    void testDataStopsAtItsCapacity();

    void updateDataReadsTheSourceAnewAndKeepsTheWidths();
    void menuBarHasTwoMenus();
    void clickOnAColumnEntryTurnsTheColumnOverOnce();
    void allColumnsHiddenLeavesTheWidths();
    void widthModeFollowsColumnZero();
    void windowWiderThanAllContentStretchesNothing();
    void oneVeryLongDescriptionTakesAllTheRest();
    void wideningTheWindowFitsTheColumns();
    void columnTextWidthOfAnEmptyListIsThree();
    void programmaticResizeHasNoEffect();
    void emptySlotsDoNothing();

    void contextMenuEntries();
    void ordersAreWritten_data();
    void ordersAreWritten();
    void killOnEmptySpaceWritesNothing();
    void slotsWithoutASelectedRowDoNothing();
    void orderWithoutALibraryDoesNothing();
    void eventsListOfASensor();
    void commandsListOfASensor();
    void listsOfOneSensorGoWithTheWindow();
    void sensorWithoutANameGivesAListWithoutAFilter();
    void updateUnderAnOpenMenuTakesTheSelectedRow();
    void rowThatGoesAwayTakesItemSelectedWithIt();
    void languageSwitchDoublesNothing();
};

void SensorsWindowTest::cleanup()
{
    ConfigWD.clear();
    WindowTestBase::cleanup();
}

void SensorsWindowTest::slotsStandInTheirOrder()
{
    QCOMPARE(ownSlots(CWD_SensorsList::staticMetaObject),
             QStringList({"onClose()", "FUpdateData()", "onRBList(QListViewItem*,QPoint,int)", "resize(int,int)",
                          "CallEventsDialog()", "CallCommandsDialog()", "FStart()", "FStop()", "FKill()", "FRestart()",
                          "FSetVisibilityC0()", "FSetVisibilityC1()", "FSetVisibilityC2()"}));
    const QMetaObject &meta = CWD_SensorsList::staticMetaObject;
    for (int i = 0; i < 13; ++i)
        QCOMPARE(meta.method(meta.methodOffset() + i).access(), i < 4 ? QMetaMethod::Public : QMetaMethod::Protected);
}

void SensorsWindowTest::opensWithItsDefaults()
{
    m_library->sensors.answer = {sensor("pump", "in the cellar"), sensor("fan", "on the roof", SensorDead)};
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(window.objectName(), QStringLiteral("Sensors list"));
    QVERIFY(!window.isModal());
    QCOMPARE(m_library->sensors.fetches(), 1);
    QCOMPARE(m_library->sensors.releases, 1);
    QVERIFY(m_library->initialised.empty());
    QCOMPARE(window.NSensors, 2);
    QCOMPARE(window.Sensor[1].SensorID, "fan");
    QCOMPARE(window.NColumns, 3);
    QVERIFY(!window.itemSelected);
    for (int flag : window.ColumnsVisibiliy)
        QCOMPARE(flag, 1);
    // The list's own order: by the first column.
    QCOMPARE(rowTexts(window.SensorsList, 0), QStringList({"fan", "on the roof", "IsDead"}));
    QCOMPARE(rowTexts(window.SensorsList, 1), QStringList({"pump", "in the cellar", "Is Alive"}));
    QVERIFY(showAndWait(&window));
    for (int column = 0; column < 3; ++column)
        QCOMPARE(window.SensorsList->columnWidth(column), window.ColumnTextWidth(column));
}

void SensorsWindowTest::sensorOfAnotherLivenessShowsAnEmptyThirdColumn()
{
    CSensor status = sensor("d", "", 0);
    status.Status = 1;
    m_library->sensors.answer = {sensor("a", "", 0), sensor("b", "", 3), sensor("c", "", -1), status};
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(columnTexts(window.SensorsList, 2), QStringList({"", "", "", ""}));
}

void SensorsWindowTest::recordsWithoutTextsShowEmptyOnes()
{
    m_library->sensors.answer = {CSensor(), sensor("b", "x", 1)};
    m_library->sensors.answer[1].LDescription = -5;
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(columnTexts(window.SensorsList, 0), QStringList({"", "b"}));
    QCOMPARE(columnTexts(window.SensorsList, 1), QStringList({"", ""}));
}

void SensorsWindowTest::failedFetchShowsWhateverItsCountSays()
{
    m_library->sensors.answer = {sensor("pump")};
    m_library->sensors.result = 5;
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(columnTexts(window.SensorsList, 0), QStringList({"pump"}));
}

void SensorsWindowTest::failedHandshakeShowsABoxAndNoRows()
{
    m_library->sensors.answer = {sensor("pump")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(window.NSensors, 1);
    m_library->sensors.sizes = 33;
    QString text;
    answerBox(QMessageBox::Ok, &text);
    window.ResetData();
    QCOMPARE(
        text,
        QStringLiteral("FDBGetSensors return incorrect struct size:sizeof(CSensor)=%1,return=33").arg(sizeof(CSensor)));
    QCOMPARE(window.NSensors, 0);
    QVERIFY(!window.Sensor);
    QCOMPARE(window.SensorsList->childCount(), 0);
}

void SensorsWindowTest::nullArrayWithACountGivesNoRowsAndNoSecondFetch()
{
    m_library->sensors.nullArray = true;
    m_library->sensors.claimed = 7;
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(m_library->sensors.fetches(), 1);
    QCOMPARE(window.SensorsList->childCount(), 0);
    QCOMPARE(window.NSensors, 0);
}

static void writeSensors(const QTemporaryDir &directory, int count)
{
    QFile file(directory.filePath("DebugInitSensor.txt"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    for (int i = 0; i < count; ++i)
        file.write(QStringLiteral("{\nID=s%1\nDescription=sensor %1\nIsAlive=yes\n}\n").arg(i, 4).toLatin1());
}

void SensorsWindowTest::testDataShowsItsRows()
{
    unsetLibrary();
    const QTemporaryDir directory;
    ConfigWD = directory.path();
    writeSensors(directory, 3);
    InitDBSensors(ConfigWD);
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(window.NSensors, 3);
    QCOMPARE(rowTexts(window.SensorsList, 2), QStringList({"s   2", "sensor    2", "Is Alive"}));
    writeSensors(directory, 5);
    window.ResetData();
    QCOMPARE(window.SensorsList->childCount(), 3);
    window.FUpdateData();
    QCOMPARE(window.SensorsList->childCount(), 5);
}

void SensorsWindowTest::testDataIsFetchedOnceALoad()
{
    unsetLibrary();
    const QTemporaryDir directory;
    ConfigWD = directory.path();
    writeSensors(directory, 3);
    InitDBSensors(ConfigWD);
    const std::string load = "DBGetSensors<\nDBGetSensors> (rtn=0; N=3)\n";
    const CapturedOutput output(stdout);
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(output.text(), load);
    window.ResetData();
    QCOMPARE(output.text(), load + load);
}

void SensorsWindowTest::testDataStopsAtItsCapacity()
{
    unsetLibrary();
    const QTemporaryDir directory;
    ConfigWD = directory.path();
    writeSensors(directory, 300);
    InitDBSensors(ConfigWD);
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(window.SensorsList->childCount(), 100);
}

static void clickMenuBar(QWidget *window, int entry)
{
    auto *bar = window->findChild<QMenuBar *>();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(bar->actions().at(entry)).center());
    QTRY_VERIFY(bar->actions().at(entry)->menu()->isVisible());
}

void SensorsWindowTest::updateDataReadsTheSourceAnewAndKeepsTheWidths()
{
    m_library->sensors.answer = {sensor("pump", "in the cellar")};
    ConfigWD = "/some/where";
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    for (int column = 0; column < 3; ++column)
        window.SensorsList->setColumnWidthMode(column, ListView::Manual);
    const QList<int> widths = columnWidths(window.SensorsList);
    m_library->sensors.answer = {sensor("pump", "in the cellar of the house on the other side"), sensor("fan")};
    clickMenuBar(&window, 0);
    clickEntry(window.Menu0, "Update data");
    QTRY_COMPARE(window.SensorsList->childCount(), 2);
    QCOMPARE(m_library->initialised, std::vector<std::string>{"/some/where"});
    QCOMPARE(columnWidths(window.SensorsList), widths);
    QCOMPARE(window.NSensors, 2);
}

void SensorsWindowTest::menuBarHasTwoMenus()
{
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    auto *bar = window.findChild<QMenuBar *>();
    QCOMPARE(bar->actions().size(), 2);
    QCOMPARE(bar->actions().at(0)->text(), QStringLiteral("&Menu"));
    QCOMPARE(bar->actions().at(0)->menu(), window.Menu0);
    QCOMPARE(bar->actions().at(1)->text(), QStringLiteral("&Columns"));
    QCOMPARE(bar->actions().at(1)->menu(), window.Menu1);
    QCOMPARE(entryTexts(window.Menu0), QStringList({"Update data"}));
    QCOMPARE(entryTexts(window.Menu1), QStringList({"Number", "Description", "Is alive"}));
    for (const QAction *entry : window.Menu1->actions()) {
        QVERIFY(entry->isChecked());
        QVERIFY(entry->shortcut().isEmpty());
    }
    QCOMPARE(bar->geometry(), QRect(0, 0, window.width(), bar->sizeHint().height()));
    QVERIFY(bar->geometry().bottom() < window.SensorsList->geometry().top());
}

void SensorsWindowTest::clickOnAColumnEntryTurnsTheColumnOverOnce()
{
    m_library->sensors.answer = {sensor("pump", "in the cellar")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    for (int column = 0; column < 3; ++column) {
        for (int expected : {0, 1}) {
            clickMenuBar(&window, 1);
            clickEntry(window.Menu1, window.Menu1->actions().at(column)->text());
            QCOMPARE(window.ColumnsVisibiliy[column], expected);
            QCOMPARE(window.Menu1->actions().at(column)->isChecked(), expected == 1);
            QCOMPARE(window.SensorsList->columnWidth(column) == 2, expected == 0);
        }
        for (int expected : {0, 1}) {
            window.SetColumnsVisibiliy(column, -1);
            QCOMPARE(window.ColumnsVisibiliy[column], expected);
            QCOMPARE(window.Menu1->actions().at(column)->isChecked(), expected == 1);
        }
    }
}

void SensorsWindowTest::allColumnsHiddenLeavesTheWidths()
{
    m_library->sensors.answer = {sensor("pump", "in the cellar")};
    CWD_SensorsList window(nullptr, "Sensors list");
    window.SetColumnsVisibiliy(0, 0);
    window.SetColumnsVisibiliy(1, 0);
    window.SensorsList->setColumnWidth(0, 44);
    window.SensorsList->setColumnWidth(1, 55);
    window.SetColumnsVisibiliy(2, 0);
    QCOMPARE(columnWidths(window.SensorsList), QList<int>({44, 55, 2}));
}

void SensorsWindowTest::widthModeFollowsColumnZero()
{
    CWD_SensorsList window(nullptr, "Sensors list");
    window.SetColumnsVisibiliy(1, 0);
    QCOMPARE(window.SensorsList->columnWidthMode(1), ListView::Maximum);
    window.SetColumnsVisibiliy(0, 0);
    QCOMPARE(window.SensorsList->columnWidthMode(0), ListView::Manual);
    window.SetColumnsVisibiliy(1, 1);
    window.SetColumnsVisibiliy(2, 0);
    QCOMPARE(window.SensorsList->columnWidthMode(1), ListView::Manual);
    QCOMPARE(window.SensorsList->columnWidthMode(2), ListView::Manual);
    window.SetColumnsVisibiliy(0, 1);
    window.SetColumnsVisibiliy(1, 1);
    QCOMPARE(window.SensorsList->columnWidthMode(0), ListView::Maximum);
    QCOMPARE(window.SensorsList->columnWidthMode(1), ListView::Maximum);
}

void SensorsWindowTest::windowWiderThanAllContentStretchesNothing()
{
    m_library->sensors.answer = {sensor("pump", "in the cellar")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    window.QWidget::resize(1500, 500);
    QTRY_COMPARE(window.width(), 1500);
    const ListView *list = window.SensorsList;
    for (int column = 0; column < 3; ++column)
        QCOMPARE(list->columnWidth(column), list->firstChild()->width(list->fontMetrics(), list, column) + 3);
}

void SensorsWindowTest::oneVeryLongDescriptionTakesAllTheRest()
{
    const std::string description(300, 'm');
    m_library->sensors.answer = {sensor("pump", description.c_str())};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    const ListView *list = window.SensorsList;
    QCOMPARE(list->columnWidth(0), window.ColumnTextWidth(0));
    QCOMPARE(list->columnWidth(2), window.ColumnTextWidth(2));
    QCOMPARE(list->columnWidth(1), list->width() - list->columnWidth(0) - list->columnWidth(2));
}

void SensorsWindowTest::wideningTheWindowFitsTheColumns()
{
    const std::string description(300, 'm');
    m_library->sensors.answer = {sensor("pump", description.c_str())};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    for (int width : {900, 450, 1300}) {
        window.QWidget::resize(width, 500);
        QTRY_COMPARE(window.width(), width);
        const QList<int> widths = columnWidths(window.SensorsList);
        QCOMPARE(widths[0] + widths[1] + widths[2], window.SensorsList->width());
    }
}

void SensorsWindowTest::columnTextWidthOfAnEmptyListIsThree()
{
    CWD_SensorsList window(nullptr, "Sensors list");
    QCOMPARE(window.ColumnTextWidth(0), 3);
    QCOMPARE(columnWidths(window.SensorsList), QList<int>({3, 3, 3}));
}

void SensorsWindowTest::programmaticResizeHasNoEffect()
{
    CWD_SensorsList window(nullptr, "Sensors list");
    const QSize size = window.size();
    window.resize(900, 900);
    QCOMPARE(window.size(), size);
}

void SensorsWindowTest::emptySlotsDoNothing()
{
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    window.onClose();
    window.Form1_destroyed(&window);
    QVERIFY(window.isVisible());
}

void SensorsWindowTest::contextMenuEntries()
{
    m_library->sensors.answer = {sensor("pump")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    for (int row : {0, -1}) {
        QStringList entries;
        onMenu([&entries](QMenu *menu) {
            entries = entryTexts(menu);
            menu->close();
        });
        rightClick(window.SensorsList, row);
        QCOMPARE(entries,
                 QStringList({"Events List Dialog", "Commands List Dialog", "-", "Start", "Stop", "Restart", "Kill"}));
        QCOMPARE(window.itemSelected, row < 0 ? nullptr : window.SensorsList->itemAt(0));
    }
}

void SensorsWindowTest::ordersAreWritten_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<int>("type");
    QTest::newRow("Start") << "Start" << 1;
    QTest::newRow("Stop") << "Stop" << 2;
    QTest::newRow("Restart") << "Restart" << 3;
    QTest::newRow("Kill") << "Kill" << 4;
}

void SensorsWindowTest::ordersAreWritten()
{
    QFETCH(QString, entry);
    QFETCH(int, type);
    m_library->sensors.answer = {sensor("p\xFCmp"), sensor("fan")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    chooseFromMenu(entry);
    rightClick(window.SensorsList, 1);
    QCOMPARE(m_library->commands.put.size(), std::size_t(1));
    const CMessageCommand &command = m_library->commands.put[0];
    QCOMPARE(command.MessageType, 1);
    QCOMPARE(command.SensorID, "p\xFCmp");
    QCOMPARE(command.LSensorID, 5);
    QCOMPARE(command.CommandType, type);
    QCOMPARE(command.CommandTime, StartTime);
    QCOMPARE(command.CommandID, 0);
    QCOMPARE(command.ParNum, 0);
    QVERIFY(!command.par);
    QVERIFY(!openBox());
}

void SensorsWindowTest::killOnEmptySpaceWritesNothing()
{
    m_library->sensors.answer = {sensor("pump")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    chooseFromMenu("Kill");
    rightClick(window.SensorsList, -1);
    QVERIFY(m_library->commands.put.empty());
}

void SensorsWindowTest::slotsWithoutASelectedRowDoNothing()
{
    m_library->sensors.answer = {sensor("pump")};
    CWD_SensorsList window(nullptr, "Sensors list");
    for (const char *slot : {"CallEventsDialog", "CallCommandsDialog", "FStart", "FStop", "FKill", "FRestart"})
        QVERIFY(QMetaObject::invokeMethod(&window, slot));
    QVERIFY(m_library->commands.put.empty());
    QVERIFY(window.findChildren<QDialog *>().isEmpty());
}

void SensorsWindowTest::orderWithoutALibraryDoesNothing()
{
    m_library->sensors.answer = {sensor("pump")};
    CWD_SensorsList window(nullptr, "Sensors list");
    FDBPutCommand = nullptr;
    window.itemSelected = window.SensorsList->itemAt(0);
    QVERIFY(QMetaObject::invokeMethod(&window, "FStart"));
    QVERIFY(!openBox());
}

void SensorsWindowTest::eventsListOfASensor()
{
    m_library->sensors.answer = {sensor("p*\xFCmp 1")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    chooseFromMenu("Events List Dialog");
    rightClick(window.SensorsList, 0);
    auto *list = window.findChild<CWD_EventsList *>();
    QVERIFY(list);
    QCOMPARE(list->parentWidget(), &window);
    QVERIFY(list->isVisible());
    QVERIFY(list->isWindow());
    QCOMPARE(list->windowTitle(), QString::fromLatin1("Events list for p*\xFCmp 1"));
    QCOMPARE(list->objectName(), QString::fromLatin1("Events list for p*\xFCmp 1"));
    QCOMPARE(m_library->events.fetches(), 2);
    QCOMPARE(m_library->events.requests[1].SensorID, "p*\xFCmp 1");
    QCOMPARE(m_library->events.requests[1].LSensorID, 8);
}

void SensorsWindowTest::commandsListOfASensor()
{
    m_library->sensors.answer = {sensor("pump")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    chooseFromMenu("Commands List Dialog");
    rightClick(window.SensorsList, 0);
    auto *list = window.findChild<CWD_CommandsList *>();
    QVERIFY(list);
    QVERIFY(list->isVisible());
    QCOMPARE(list->windowTitle(), QStringLiteral("Commands list for pump"));
    QCOMPARE(m_library->commands.fetches(), 1);
    QCOMPARE(m_library->commands.requests[0].SensorID, "pump");
}

void SensorsWindowTest::listsOfOneSensorGoWithTheWindow()
{
    m_library->sensors.answer = {sensor("pump")};
    auto *window = new CWD_SensorsList(nullptr, "Sensors list");
    window->itemSelected = window->SensorsList->itemAt(0);
    QVERIFY(QMetaObject::invokeMethod(window, "CallEventsDialog"));
    QVERIFY(QMetaObject::invokeMethod(window, "CallCommandsDialog"));
    const QPointer<QWidget> events = window->findChild<CWD_EventsList *>();
    const QPointer<QWidget> commands = window->findChild<CWD_CommandsList *>();
    QVERIFY(events && commands);
    window->show();
    QVERIFY(closeAndWait(window));
    QVERIFY(!events);
    QVERIFY(!commands);
}

void SensorsWindowTest::sensorWithoutANameGivesAListWithoutAFilter()
{
    m_library->sensors.answer = {CSensor()};
    CWD_SensorsList window(nullptr, "Sensors list");
    window.itemSelected = window.SensorsList->itemAt(0);
    QVERIFY(QMetaObject::invokeMethod(&window, "CallCommandsDialog"));
    QCOMPARE(window.findChild<CWD_CommandsList *>()->windowTitle(), QStringLiteral("Commands list for "));
    QCOMPARE(m_library->commands.requests[0].UseSensorID, 0);
}

void SensorsWindowTest::updateUnderAnOpenMenuTakesTheSelectedRow()
{
    m_library->sensors.answer = {sensor("pump")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QVERIFY(showAndWait(&window));
    onMenu([&window](QMenu *menu) {
        window.FUpdateData();
        clickEntry(menu, "Kill");
    });
    rightClick(window.SensorsList, 0);
    QVERIFY(!window.itemSelected);
    QVERIFY(m_library->commands.put.empty());
}

void SensorsWindowTest::rowThatGoesAwayTakesItemSelectedWithIt()
{
    m_library->sensors.answer = {sensor("fan"), sensor("pump")};
    CWD_SensorsList window(nullptr, "Sensors list");
    window.itemSelected = window.SensorsList->itemAt(0);
    window.SensorsList->removeItem(window.SensorsList->itemAt(1));
    QCOMPARE(window.itemSelected, window.SensorsList->itemAt(0));
    window.SensorsList->removeItem(window.SensorsList->itemAt(0));
    QVERIFY(!window.itemSelected);
}

void SensorsWindowTest::languageSwitchDoublesNothing()
{
    m_library->sensors.answer = {sensor("pump")};
    CWD_SensorsList window(nullptr, "Sensors list");
    QEvent change(QEvent::LanguageChange);
    QApplication::sendEvent(&window, &change);
    QCOMPARE(entryTexts(window.Menu0), QStringList({"Update data"}));
    QCOMPARE(entryTexts(window.Menu1), QStringList({"Number", "Description", "Is alive"}));
    QCOMPARE(window.SensorsList->columns(), 3);
    QCOMPARE(columnTexts(window.SensorsList, 2), QStringList({"Is Alive"}));
}

QTEST_MAIN(SensorsWindowTest)
#include "sensorswindowtest.moc"
