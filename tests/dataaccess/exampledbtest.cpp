// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "DBFuns.h"
#include "libraryfixture.h"
#include "patience.h"

#include <QFileInfo>
#include <QProcess>

#include <cstring>

using namespace LibraryFixture;

namespace
{
QString folder()
{
    return QFile::decodeName(qgetenv("EXAMPLE_FOLDER"));
}

struct Records {
    int sensorCount = 0;
    CSensor *sensors = nullptr;
    int eventCount = 0;
    CMessageEvent *events = nullptr;
    int commandCount = 0;
    CMessageCommand *commands = nullptr;
    CMessageEventRequest eventRequest;
    CMessageCommandRequest commandRequest;

    Records()
    {
        eventRequest.NMax = 100;
        commandRequest.NMax = 100;
    }

    ~Records()
    {
        delete[] sensors;
        delete[] events;
        delete[] commands;
    }

    Records(const Records &) = delete;
    Records &operator=(const Records &) = delete;

    void fetch()
    {
        QCOMPARE(DBGetSensors(&sensorCount, &sensors, nullptr), 0);
        QCOMPARE(DBGetEvents(&eventCount, &events, &eventRequest, nullptr), 0);
        QCOMPARE(DBGetCommands(&commandCount, &commands, &commandRequest, nullptr), 0);
    }
};

void initialise()
{
    QCOMPARE(InitDBSensors("/"), 0);
    QCOMPARE(InitDBEvents("/"), 0);
    QCOMPARE(InitDBCommands("/"), 0);
}

void put(const char *sensor, int order)
{
    CMessageCommand command;
    command.Set(1, sensor, order);
    QCOMPARE(DBPutCommand(command), 0);
}
} // namespace

/** The example of the authors' page, built in the tree or from the installed kit, behind the console's data access. */
class TestExampleDB : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void itExportsTheTenFunctionsAndNeedsNoToolkit();
    void itStartsWithTwoSensorsAndOneEvent();
    void aCommandIsStoredAndReportedAsAnEvent();
    void initialisedAgainItKeepsWhatItHas();
    void lastComesNewestFirstAndFirstOldestFirst();
    void whatIsNewSinceAnIdentifierComesAscending();
    void noRecordsAreGivenForNMaxZero();
    void aDeletedRecordIsGoneAndItsIdentifierIsNotUsedAgain();
};

void TestExampleDB::initTestCase()
{
    QVERIFY2(QFileInfo(folder() + "/DBLib.a").isFile(), qPrintable(folder()));
    setInformationBox([](QDialog *, const QString &, const QString &text) { QFAIL(qPrintable(text)); });
    forgetLibrary();
    QCOMPARE(LoadDLL(folder()), 0);
    QCOMPARE(pointersSet(), QByteArray("1111111111"));
    initialise();
}

void TestExampleDB::itExportsTheTenFunctionsAndNeedsNoToolkit()
{
    QProcess tool;
    tool.start("nm", {"-D", "--defined-only", folder() + "/DBLib.a"});
    QVERIFY(tool.waitForFinished(Patience));
    const QByteArray symbols = tool.readAllStandardOutput();
    for (const DBSymbol &symbol : DBSymbols)
        QVERIFY2(symbols.contains(QByteArray(" T ") + symbol.cxx + '\n'), symbol.cxx);
    // The counters of a coverage build bring a function of their own.
    QCOMPARE(symbols.count(" T ") - symbols.count(" T mangle_path\n"), int(DBFunctionCount));
    tool.start("readelf", {"-d", folder() + "/DBLib.a"});
    QVERIFY(tool.waitForFinished(Patience));
    const QByteArray needed = tool.readAllStandardOutput();
    QVERIFY(needed.contains("NEEDED"));
    QVERIFY2(!needed.contains("libQt") && !needed.contains("libKF"), needed);
}

void TestExampleDB::itStartsWithTwoSensorsAndOneEvent()
{
    Records records;
    records.fetch();
    QCOMPARE(records.sensorCount, 2);
    QCOMPARE(records.sensors[0].SensorID, "analyser");
    QCOMPARE(records.sensors[1].MessageType, int(SensorAlive));
    QCOMPARE(records.eventCount, 1);
    QCOMPARE(records.events[0].EventName, "started");
    QCOMPARE(records.events[0].SensorID, "analyser");
    QCOMPARE(records.events[0].MessageID, 1);
    QCOMPARE(records.commandCount, 0);
}

void TestExampleDB::aCommandIsStoredAndReportedAsAnEvent()
{
    put("receiver", CommandKill);
    Records records;
    records.fetch();
    QCOMPARE(records.commandCount, 1);
    QCOMPARE(records.commands[0].SensorID, "receiver");
    QCOMPARE(records.commands[0].CommandID, 1);
    QCOMPARE(records.eventCount, 2);
    QCOMPARE(records.events[0].EventName, "command");
    QCOMPARE(records.events[0].MessageType, records.sensors[1].SensorType);
    QCOMPARE(records.events[0].par[0].Name, "order");
    int order = 0;
    std::memcpy(&order, records.events[0].par[0].Val, sizeof(order));
    QCOMPARE(order, int(CommandKill));
    QCOMPARE(records.sensors[1].MessageType, int(SensorDead));
}

void TestExampleDB::initialisedAgainItKeepsWhatItHas()
{
    initialise();
    Records records;
    records.fetch();
    QCOMPARE(records.sensorCount, 2);
    QCOMPARE(records.sensors[1].MessageType, int(SensorDead));
    QCOMPARE(records.eventCount, 2);
    QCOMPARE(records.commandCount, 1);
}

void TestExampleDB::lastComesNewestFirstAndFirstOldestFirst()
{
    put("analyser", CommandStart);
    put("analyser", CommandStop);
    Records records;
    records.commandRequest.NMax = 2;
    records.fetch();
    QCOMPARE(records.commandCount, 2);
    QCOMPARE(records.commands[0].CommandID, 3);
    QCOMPARE(records.commands[1].CommandID, 2);
    records.commandRequest.TakeFirst1_Last0 = 1;
    records.fetch();
    QCOMPARE(records.commands[0].CommandID, 1);
    QCOMPARE(records.commands[1].CommandID, 2);
}

void TestExampleDB::whatIsNewSinceAnIdentifierComesAscending()
{
    Records records;
    records.eventRequest.MessageID0 = 2;
    records.eventRequest.UseMessageID0 = 1;
    records.fetch();
    QCOMPARE(records.eventCount, 3);
    QCOMPARE(records.events[0].MessageID, 2);
    QCOMPARE(records.events[2].MessageID, 4);
}

void TestExampleDB::noRecordsAreGivenForNMaxZero()
{
    Records records;
    records.eventRequest.NMax = 0;
    records.fetch();
    QCOMPARE(records.eventCount, 0);
    QVERIFY(!records.events);
}

void TestExampleDB::aDeletedRecordIsGoneAndItsIdentifierIsNotUsedAgain()
{
    DBDeleteCommand(3);
    DBDeleteEvent(3);
    CMessageEvent event;
    CopyPtr(&event.SensorID, &event.LSensorID, "analyser", 9);
    QCOMPARE(DBPutEvent(event), 0);
    put("nobody", CommandStart);
    Records records;
    records.fetch();
    QCOMPARE(records.commandCount, 3);
    QCOMPARE(records.commands[0].CommandID, 4);
    QCOMPARE(records.commands[1].CommandID, 2);
    QCOMPARE(records.eventCount, 4);
    QCOMPARE(records.events[0].MessageID, 5);
    QVERIFY(!records.events[0].EventName);
}

QTEST_GUILESS_MAIN(TestExampleDB)
#include "exampledbtest.moc"
