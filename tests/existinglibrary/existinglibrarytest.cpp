// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A library that was built without this project, behind the data access and the windows. Its
// records stand here as numbers: neither the page nor the headers are asked.
#include "DBFunsDebug.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "libraryfixture.h"
#include "windowtestbase.h"

#include <QTemporaryDir>

#include <climits>
#include <cstddef>
#include <cstring>
#include <dlfcn.h>

using namespace LibraryFixture;

namespace
{
QString folder()
{
    return QFile::decodeName(OBRIM_EXISTING_LIBRARY);
}

template <class Function> Function *ofLibrary(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_DEFAULT, name));
}

/** The last call that carried something, word by word. */
QByteArray heard()
{
    return ofLibrary<const char *()>("ExistingLibraryHeard")();
}

int livingRecords()
{
    return ofLibrary<int()>("ExistingLibraryLivingRecords")();
}

QStringList rowsOf(const ListView *list)
{
    QStringList rows;
    for (int row = 0; row < list->childCount(); ++row)
        rows << rowTexts(list, row).mid(1).join('|');
    return rows;
}

const QStringList eventRows = {
    "meter \xc3\xa9|4|latest|Tue Jan 19 03:14:07 2038|",
    "boiler|3|at 0|Thu Jan 1 00:00:00 1970|",
    "valve|2|before 1970|Wed Dec 31 23:59:59 1969|level=-5;ratio=0.5;unit=mV;odd=",
    "boiler|1|oldest|Fri Dec 13 20:45:52 1901|",
};
const QStringList commandRows = {
    "meter \xc3\xa9|14|4|Tue Jan 19 03:14:07 2038|",
    "boiler|13|3|Sun Sep 9 01:46:40 2001|",
    "valve|12|2|Wed Dec 31 23:59:59 1969|level=-5;ratio=0.5;unit=mV;odd=",
    "boiler|11|1|Fri Dec 13 20:45:52 1901|",
};

/** A text that a request owns. */
template <std::size_t size> void setMask(char **text, int *length, const char (&mask)[size])
{
    CopyPtr(text, length, mask, int(size));
}
} // namespace

class ExistingLibraryTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void sizesOfTheRecords();
    void placesOfTheFields();
    void sizeQueries();
    void itLoadsAsACxxLibrary();
    void initialisersGetTheDirectory();
    void recordsAreCopiedFieldByField();
    void requestsArriveFieldByField();
    void recordsArriveFieldByField();
    void eventsAreShown();
    void commandsAreShown();
    void sensorsAreShown();
    void timeFiltersReachBothEnds();
    void rowsGoAndOrdersCome();

private:
    QTemporaryDir m_folder;
    Output m_loading;
    int m_loaded = -1;
};

void ExistingLibraryTest::initTestCase()
{
    QVERIFY2(QFile::exists(folder() + "/DBLib.a"), qPrintable(folder()));
}

void ExistingLibraryTest::init()
{
    WindowTestBase::init();
    forgetLibrary();
    ConfigWD = m_folder.path();
    m_loading = captured([this] { m_loaded = LoadDLL(folder()); });
}

void ExistingLibraryTest::cleanup()
{
    QCOMPARE(livingRecords(), 0);
    WindowTestBase::cleanup();
}

void ExistingLibraryTest::sizesOfTheRecords()
{
    QCOMPARE(int(sizeof(CMessageEventParam)), 20);
    QCOMPARE(int(sizeof(CMessageEvent)), 40);
    QCOMPARE(int(sizeof(CMessageCommand)), 32);
    QCOMPARE(int(sizeof(CSensor)), 32);
    QCOMPARE(int(sizeof(CMessageKeepAlive)), 20);
    QCOMPARE(int(sizeof(CMessageEventRequest)), 80);
    QCOMPARE(int(sizeof(CMessageCommandRequest)), 68);
    QCOMPARE(SensorSize, 32);
    QCOMPARE(EventSizes, 5242920);
    QCOMPARE(CommandSizes, 4456480);
}

#define PLACE(offset, record, field)                                                                                   \
    QCOMPARE(int(offsetof(record, field)), offset);                                                                    \
    QCOMPARE(int(sizeof(record::field)), 4)

void ExistingLibraryTest::placesOfTheFields()
{
    PLACE(0, CMessageEventParam, Type);
    PLACE(4, CMessageEventParam, Name);
    PLACE(8, CMessageEventParam, LName);
    PLACE(12, CMessageEventParam, Val);
    PLACE(16, CMessageEventParam, LVal);

    PLACE(0, CMessageEvent, MessageType);
    PLACE(4, CMessageEvent, SensorID);
    PLACE(8, CMessageEvent, LSensorID);
    PLACE(12, CMessageEvent, MessageID);
    PLACE(16, CMessageEvent, SensorType);
    PLACE(20, CMessageEvent, EventName);
    PLACE(24, CMessageEvent, LEventName);
    PLACE(28, CMessageEvent, EventTime);
    PLACE(32, CMessageEvent, ParNum);
    PLACE(36, CMessageEvent, par);

    PLACE(0, CMessageCommand, MessageType);
    PLACE(4, CMessageCommand, SensorID);
    PLACE(8, CMessageCommand, LSensorID);
    PLACE(12, CMessageCommand, CommandID);
    PLACE(16, CMessageCommand, CommandType);
    PLACE(20, CMessageCommand, CommandTime);
    PLACE(24, CMessageCommand, ParNum);
    PLACE(28, CMessageCommand, par);

    PLACE(0, CSensor, SensorType);
    PLACE(4, CSensor, SensorID);
    PLACE(8, CSensor, LSensorID);
    PLACE(12, CSensor, Description);
    PLACE(16, CSensor, LDescription);
    PLACE(20, CSensor, MessageType);
    PLACE(24, CSensor, EventTime);
    PLACE(28, CSensor, Status);

    PLACE(0, CMessageKeepAlive, MessageType);
    PLACE(4, CMessageKeepAlive, SensorID);
    PLACE(8, CMessageKeepAlive, LSensorID);
    PLACE(12, CMessageKeepAlive, SensorType);
    PLACE(16, CMessageKeepAlive, EventTime);

    PLACE(0, CMessageEventRequest, NMax);
    PLACE(4, CMessageEventRequest, TakeFirst1_Last0);
    PLACE(8, CMessageEventRequest, MessageID0);
    PLACE(12, CMessageEventRequest, MessageID1);
    PLACE(16, CMessageEventRequest, UseMessageID0);
    PLACE(20, CMessageEventRequest, UseMessageID1);
    PLACE(24, CMessageEventRequest, MessageType);
    PLACE(28, CMessageEventRequest, UseMessageType);
    PLACE(32, CMessageEventRequest, SensorID);
    PLACE(36, CMessageEventRequest, LSensorID);
    PLACE(40, CMessageEventRequest, UseSensorID);
    PLACE(44, CMessageEventRequest, SensorType);
    PLACE(48, CMessageEventRequest, UseSensorType);
    PLACE(52, CMessageEventRequest, EventName);
    PLACE(56, CMessageEventRequest, LEventName);
    PLACE(60, CMessageEventRequest, UseEventName);
    PLACE(64, CMessageEventRequest, EventTime0);
    PLACE(68, CMessageEventRequest, UseEventTime0);
    PLACE(72, CMessageEventRequest, EventTime1);
    PLACE(76, CMessageEventRequest, UseEventTime1);

    PLACE(0, CMessageCommandRequest, NMax);
    PLACE(4, CMessageCommandRequest, TakeFirst1_Last0);
    PLACE(8, CMessageCommandRequest, MessageType);
    PLACE(12, CMessageCommandRequest, UseMessageType);
    PLACE(16, CMessageCommandRequest, SensorID);
    PLACE(20, CMessageCommandRequest, LSensorID);
    PLACE(24, CMessageCommandRequest, UseSensorID);
    PLACE(28, CMessageCommandRequest, CommandID0);
    PLACE(32, CMessageCommandRequest, CommandID1);
    PLACE(36, CMessageCommandRequest, UseCommandID0);
    PLACE(40, CMessageCommandRequest, UseCommandID1);
    PLACE(44, CMessageCommandRequest, CommandType);
    PLACE(48, CMessageCommandRequest, UseCommandType);
    PLACE(52, CMessageCommandRequest, CommandTime0);
    PLACE(56, CMessageCommandRequest, UseCommandTime0);
    PLACE(60, CMessageCommandRequest, CommandTime1);
    PLACE(64, CMessageCommandRequest, UseCommandTime1);
}

void ExistingLibraryTest::sizeQueries()
{
    QCOMPARE(FDBGetSensors(nullptr, nullptr), 32);
    QCOMPARE(FDBGetEvents(nullptr, nullptr, nullptr), 5242920);
    QCOMPARE(FDBGetCommands(nullptr, nullptr, nullptr), 4456480);
}

void ExistingLibraryTest::itLoadsAsACxxLibrary()
{
    QCOMPARE(m_loaded, 0);
    QCOMPARE(QString(m_loading.out), QString("C++ modules are loaded\n"));
    QCOMPARE(QString(m_loading.err), QString());
    QCOMPARE(pointersSet(), QByteArray("1111111111"));
}

void ExistingLibraryTest::initialisersGetTheDirectory()
{
    captured([] {
        QCOMPARE(InitDBSensors("/a"), 0);
        QCOMPARE(heard(), QByteArray("sensors in /a"));
        QCOMPARE(InitDBEvents("/b"), 0);
        QCOMPARE(heard(), QByteArray("events in /b"));
        QCOMPARE(InitDBCommands("/c"), 0);
        QCOMPARE(heard(), QByteArray("commands in /c"));
    });
}

void ExistingLibraryTest::recordsAreCopiedFieldByField()
{
    int n = 0;
    CSensor *fetchedSensors = nullptr;
    CMessageEvent *fetchedEvents = nullptr;
    CMessageCommand *fetchedCommands = nullptr;
    CMessageEventRequest eventRequest;
    CMessageCommandRequest commandRequest;
    eventRequest.NMax = commandRequest.NMax = 100;
    captured([&] { QCOMPARE(DBGetSensors(&n, &fetchedSensors, nullptr), 0); });
    const std::unique_ptr<CSensor[]> sensors(fetchedSensors);
    QCOMPARE(n, 3);
    QCOMPARE(sensors[0].SensorType, 1);
    QCOMPARE(sensors[0].SensorID, "boiler");
    QCOMPARE(sensors[0].LSensorID, 7);
    QCOMPARE(sensors[0].Description, "in the hall");
    QCOMPARE(sensors[0].LDescription, 12);
    QCOMPARE(sensors[0].MessageType, 1);
    QCOMPARE(qint64(sensors[0].EventTime), qint64(INT_MIN));
    QCOMPARE(sensors[0].Status, 0);
    QVERIFY(!sensors[1].Description);
    QCOMPARE(qint64(sensors[1].EventTime), qint64(-1));
    QCOMPARE(qint64(sensors[2].EventTime), qint64(INT_MAX));

    captured([&] { QCOMPARE(DBGetEvents(&n, &fetchedEvents, &eventRequest, nullptr), 0); });
    const std::unique_ptr<CMessageEvent[]> events(fetchedEvents);
    QCOMPARE(n, 4);
    QCOMPARE(qint64(events[0].EventTime), qint64(INT_MAX));
    QCOMPARE(qint64(events[3].EventTime), qint64(INT_MIN));
    const CMessageEvent &event = events[2];
    QCOMPARE(event.MessageType, 2);
    QCOMPARE(event.SensorID, "valve");
    QCOMPARE(event.LSensorID, 6);
    QCOMPARE(event.MessageID, 2);
    QCOMPARE(event.SensorType, 2);
    QCOMPARE(event.EventName, "before 1970");
    QCOMPARE(event.LEventName, 12);
    QCOMPARE(qint64(event.EventTime), qint64(-1));
    QCOMPARE(event.ParNum, 4);
    QCOMPARE(event.par[1].Type, 2);
    QCOMPARE(event.par[1].Name, "ratio");
    QCOMPARE(event.par[1].LName, 6);
    double ratio = 0;
    QCOMPARE(event.par[1].LVal, 8);
    std::memcpy(&ratio, event.par[1].Val, 8);
    QCOMPARE(ratio, 0.5);

    captured([&] { QCOMPARE(DBGetCommands(&n, &fetchedCommands, &commandRequest, nullptr), 0); });
    const std::unique_ptr<CMessageCommand[]> commands(fetchedCommands);
    QCOMPARE(n, 4);
    const CMessageCommand &command = commands[2];
    QCOMPARE(command.MessageType, 1);
    QCOMPARE(command.SensorID, "valve");
    QCOMPARE(command.LSensorID, 6);
    QCOMPARE(command.CommandID, 12);
    QCOMPARE(command.CommandType, 2);
    QCOMPARE(qint64(command.CommandTime), qint64(-1));
    QCOMPARE(command.ParNum, 4);
    QCOMPARE(command.par[2].Val, "mV");
}

void ExistingLibraryTest::requestsArriveFieldByField()
{
    int n = 0;
    CMessageEvent *fetchedEvents = nullptr;
    CMessageEventRequest events;
    events.NMax = 1;
    events.TakeFirst1_Last0 = 2;
    events.MessageID0 = 3;
    events.MessageID1 = 4;
    events.UseMessageID0 = 5;
    events.UseMessageID1 = 6;
    events.MessageType = 7;
    events.UseMessageType = 8;
    setMask(&events.SensorID, &events.LSensorID, "boiler");
    events.UseSensorID = 9;
    events.SensorType = 10;
    events.UseSensorType = 11;
    setMask(&events.EventName, &events.LEventName, "at*");
    events.UseEventName = 12;
    events.EventTime0 = INT_MIN;
    events.UseEventTime0 = 13;
    events.EventTime1 = INT_MAX;
    events.UseEventTime1 = 14;
    captured([&] { DBGetEvents(&n, &fetchedEvents, &events, nullptr); });
    delete[] fetchedEvents;
    QCOMPARE(n, 1);
    QCOMPARE(heard(), QByteArray("event request 1 2 3 4 5 6 7 8 boiler 7 9 10 11 at* 4 12 -2147483648 13 "
                                 "2147483647 14"));

    CMessageCommand *fetchedCommands = nullptr;
    CMessageCommandRequest commands;
    commands.NMax = 1;
    commands.TakeFirst1_Last0 = 2;
    commands.MessageType = 3;
    commands.UseMessageType = 4;
    setMask(&commands.SensorID, &commands.LSensorID, "boiler");
    commands.UseSensorID = 5;
    commands.CommandID0 = 6;
    commands.CommandID1 = 13;
    commands.UseCommandID0 = 7;
    commands.UseCommandID1 = 8;
    commands.CommandType = 9;
    commands.UseCommandType = 10;
    commands.CommandTime0 = INT_MIN;
    commands.UseCommandTime0 = 11;
    commands.CommandTime1 = INT_MAX;
    commands.UseCommandTime1 = 12;
    captured([&] { DBGetCommands(&n, &fetchedCommands, &commands, nullptr); });
    delete[] fetchedCommands;
    QCOMPARE(n, 1);
    QCOMPARE(heard(), QByteArray("command request 1 2 3 4 boiler 7 5 6 13 7 8 9 10 -2147483648 11 2147483647 12"));
}

void ExistingLibraryTest::recordsArriveFieldByField()
{
    CMessageCommand command;
    command.Set(1, "boiler", CommandRestart);
    command.CommandTime = INT_MAX;
    command.CommandID = 6;
    CMessageEvent event;
    event.MessageType = 1;
    setMask(&event.SensorID, &event.LSensorID, "valve");
    event.MessageID = 2;
    event.SensorType = 3;
    setMask(&event.EventName, &event.LEventName, "opened");
    event.EventTime = INT_MIN;
    captured([&] {
        QCOMPARE(DBPutCommand(command), 0);
        QCOMPARE(heard(), QByteArray("put command 1 boiler 7 6 3 2147483647 0 0"));
        QCOMPARE(DBPutEvent(event), 0);
        QCOMPARE(heard(), QByteArray("put event 1 valve 6 2 3 opened 7 -2147483648 0 0"));
        QCOMPARE(DBDeleteCommand(INT_MIN), 0);
        QCOMPARE(heard(), QByteArray("delete command -2147483648"));
        QCOMPARE(DBDeleteEvent(INT_MAX), 0);
        QCOMPARE(heard(), QByteArray("delete event 2147483647"));
    });
}

void ExistingLibraryTest::eventsAreShown()
{
    captured([] {
        CWD_EventsList window(nullptr, "Events list", nullptr);
        QVERIFY(showAndWait(&window));
        QCOMPARE(rowsOf(window.listMessages), eventRows);
    });
}

void ExistingLibraryTest::commandsAreShown()
{
    captured([] {
        CWD_CommandsList window(nullptr, "Commands list", nullptr);
        QVERIFY(showAndWait(&window));
        QCOMPARE(rowsOf(window.listCommands), commandRows);
    });
}

void ExistingLibraryTest::sensorsAreShown()
{
    captured([] {
        CWD_SensorsList window(nullptr, "Sensors list");
        QVERIFY(showAndWait(&window));
        QCOMPARE(columnTexts(window.SensorsList, 0), QStringList({"boiler", "meter \xc3\xa9", "valve"}));
        QCOMPARE(columnTexts(window.SensorsList, 1), QStringList({"in the hall", "in the hall", ""}));
        QCOMPARE(columnTexts(window.SensorsList, 2), QStringList({"Is Alive", "", "IsDead"}));
    });
}

void ExistingLibraryTest::timeFiltersReachBothEnds()
{
    captured([] {
        CWD_EventsList window(nullptr, "Events list", nullptr);
        const auto from = [&](qint64 seconds) { window.timeFrom->setDateTime(QDateTime::fromSecsSinceEpoch(seconds)); };
        const auto to = [&](qint64 seconds) { window.timeTo->setDateTime(QDateTime::fromSecsSinceEpoch(seconds)); };
        window.timeFromUsed->setChecked(true);
        window.timeToUsed->setChecked(true);
        from(INT_MAX);
        to(INT_MAX);
        window.onUpdateList();
        QCOMPARE(rowsOf(window.listMessages), eventRows.mid(0, 1));
        from(INT_MIN);
        to(-1);
        window.onUpdateList();
        QCOMPARE(rowsOf(window.listMessages), eventRows.mid(2));
        // What no 32-bit time can say is taken as the nearest one.
        from(qint64(INT_MAX) + 1);
        to(qint64(INT_MAX) * 2);
        window.onUpdateList();
        QCOMPARE(rowsOf(window.listMessages), eventRows.mid(0, 1));
    });
}

void ExistingLibraryTest::rowsGoAndOrdersCome()
{
    captured([] {
        CWD_EventsList events(nullptr, "Events list", nullptr);
        events.itemSelected = events.listMessages->itemAt(1);
        pressInBox("Yes");
        events.onDeleteItem();
        QCOMPARE(heard(), QByteArray("delete event 3"));

        CWD_SensorsList sensors(nullptr, "Sensors list");
        QVERIFY(showAndWait(&sensors));
        chooseFromMenu("Kill");
        rightClick(sensors.SensorsList, 1);
        QCOMPARE(heard(), "put command 1 meter \xe9 8 0 4 " + QByteArray::number(qint64(StartTime)) + " 0 0");
    });
}

QTEST_MAIN(ExistingLibraryTest)
#include "existinglibrarytest.moc"
