// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Every DB library of the tests, good or faulty, loaded by the loader and
// driven through the windows: which calls it gets, which boxes show, which
// rows come, what stands in the trace.
#include "DBFunsDebug.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "libraryfixture.h"
#include "windowtestbase.h"

#include <QTemporaryDir>

using namespace LibraryFixture;

namespace
{
enum Kind { Sensors, Events, Commands };
const char *const KindNames[] = {"Sensors", "Events", "Commands"};

/** One of the three windows. */
class AnyWindow
{
public:
    explicit AnyWindow(Kind kind)
        : m_kind(kind)
    {
        switch (kind) {
        case Sensors:
            m_dialog.reset(m_sensors = new CWD_SensorsList(nullptr, "Sensors list"));
            break;
        case Events:
            m_dialog.reset(m_events = new CWD_EventsList(nullptr, "Events list", nullptr));
            break;
        case Commands:
            m_dialog.reset(m_commands = new CWD_CommandsList(nullptr, "Commands list", nullptr));
            break;
        }
    }

    QStringList rows() const
    {
        const int column = m_kind == Sensors ? 0 : 2;
        return columnTexts(list(), column);
    }
    ListView *list() const
    {
        return m_kind == Sensors  ? m_sensors->SensorsList
               : m_kind == Events ? m_events->listMessages
                                  : m_commands->listCommands;
    }
    void getNew()
    {
        if (m_kind == Events)
            m_events->onGetNewEvents();
        else if (m_kind == Commands)
            m_commands->noGetNewCommands();
    }
    void removeFirstRow()
    {
        if (m_kind == Events) {
            m_events->itemSelected = list()->firstChild();
            m_events->onDeleteItem();
        } else if (m_kind == Commands) {
            m_commands->itemSelected = list()->firstChild();
            m_commands->onDeleteItem();
        }
    }
    CWD_SensorsList *sensors()
    {
        return m_sensors;
    }

private:
    Kind m_kind;
    std::unique_ptr<QDialog> m_dialog;
    CWD_SensorsList *m_sensors = nullptr;
    CWD_EventsList *m_events = nullptr;
    CWD_CommandsList *m_commands = nullptr;
};

/** Whether the library's C functions are used: they have a store of their own and write down less. */
bool isInC(const QString &library)
{
    return library == "c" || library == "both" || library == "null-symbol" || library.startsWith("missing-c-");
}

/** What the window shows of a library that gives all it has. */
QStringList allRows(Kind kind, bool inC = false)
{
    if (inC)
        return kind == Sensors  ? QStringList("c-sensor")
               : kind == Events ? QStringList({"5", "4", "3", "2", "1"})
                                : QStringList({"4", "3", "2", "1"});
    switch (kind) {
    case Sensors:
        return {"sensor1", "sensor2", "sensor3"};
    case Events:
        return {"5", "4", "3", "2", "1"};
    default:
        return {"14", "13", "12", "11"};
    }
}

/** Requests of the loads while a window is built, as the library writes them down. */
QStringList loads(Kind kind)
{
    switch (kind) {
    case Sensors:
        return {""};
    case Events:
        return {" first 100", " last 100"}; // before a button is checked, and after
    default:
        return {" last 100"};
    }
}

/** The library's calls while a window is built; `refused`: only the size queries. */
QStringList callsOf(Kind kind, bool refused, const QString &release = "release")
{
    const QString function = QString("FDBGet") + KindNames[kind];
    QStringList calls;
    for (const QString &request : loads(kind)) {
        calls << function + " query";
        if (!refused)
            calls << function + " fetch" + request << function + ' ' + release + request;
    }
    return calls;
}

/** The trace of one load that came through. */
QString traceOf(Kind kind, int result, int count, const QString &printed = {})
{
    if (kind == Sensors)
        return QString("DBGetSensors<\n%1DBGetSensors> (rtn=%2; N=%3)\n").arg(printed).arg(result).arg(count);
    return QString("DBGet%1<\n%2DBGet%1> \n").arg(KindNames[kind], printed);
}
} // namespace

Q_DECLARE_METATYPE(Kind)

class ContractWindowsTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void init();

    void librariesThatKeepTheContract_data();
    void librariesThatKeepTheContract();
    void wrongSizesAreShownAndNothingIsFetched_data();
    void wrongSizesAreShownAndNothingIsFetched();
    void oddArraysAndCounts_data();
    void oddArraysAndCounts();
    void oddRecordsAreShownAsFarAsTheyGo();
    void codesOtherThanZeroMeanNoRows();
    void textsOfTheLibraryStandInTheTrace();
    void exceptionsLeaveNoRows_data();
    void exceptionsLeaveNoRows();
    void exceptionOfTheSizeQueryIsAWrongAnswer();
    void exceptionOfAnOrderIsToldAndNoMore();
    void exceptionOfADeletionIsToldAndTheRowGoes_data();
    void exceptionOfADeletionIsToldAndTheRowGoes();
    void exceptionOfAnInitialiserLeavesTheListAsTheSourceIs();
    void missingSymbols_data();
    void missingSymbols();

private:
    /** Loads the library and initialises its stores, as the start of the program does. */
    void use(const QString &name);
    QStringList log() const;

    QTemporaryDir m_folder;
};

void ContractWindowsTest::init()
{
    WindowTestBase::init();
    forgetLibrary();
    ConfigWD = m_folder.path();
    // The test data source keeps what it read and where.
    InitDBSensorsDebug("/nonexistent");
    InitDBEventsDebug("/nonexistent");
    InitDBCommandsDebug("/nonexistent");
    qputenv(ContractCallLog, QFile::encodeName(m_folder.filePath("calls")));
}

void ContractWindowsTest::use(const QString &name)
{
    QFile::remove(m_folder.filePath("Funs.def"));
    QFile::copy(libraryFolder(name) + "/Funs.def", m_folder.filePath("Funs.def"));
    captured([&] {
        LoadDLL(libraryFolder(name));
        InitDBSensors(ConfigWD);
        InitDBEvents(ConfigWD);
        InitDBCommands(ConfigWD);
    });
    QFile::remove(m_folder.filePath("calls"));
}

QStringList ContractWindowsTest::log() const
{
    return QString::fromLatin1(read(m_folder.filePath("calls"))).split('\n', Qt::SkipEmptyParts);
}

static void kindRows(const QStringList &libraries)
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<Kind>("kind");
    for (const QString &library : libraries)
        for (Kind kind : {Sensors, Events, Commands})
            QTest::addRow("%s %s", qPrintable(library), KindNames[kind]) << library << kind;
}

void ContractWindowsTest::librariesThatKeepTheContract_data()
{
    kindRows({"cxx", "c", "renamed", "both", "no-release"});
}

void ContractWindowsTest::librariesThatKeepTheContract()
{
    QFETCH(QString, name);
    QFETCH(Kind, kind);
    use(name);
    const BoxNotes boxes;
    QStringList rows;
    QStringList calls;
    const Output output = captured([&] {
        AnyWindow window(kind);
        rows = window.rows();
        calls = log();
        window.getNew();
    });
    const bool inC = isInC(name);
    QCOMPARE(rows, allRows(kind, inC));
    QStringList expected = callsOf(kind, false);
    if (inC)
        for (QString &call : expected)
            call = call.section(' ', 0, 1);
    QCOMPARE(calls, expected);
    QString trace;
    for (int i = 0; i < loads(kind).size() + (kind == Sensors ? 0 : 1); ++i)
        trace += traceOf(kind, 0, int(rows.size()));
    QCOMPARE(QString(output.out), trace);
    if (kind != Sensors) {
        QCOMPARE(log().size(), calls.size() + 3);
        const QString above = kind == Events ? "id>=6" : "id>=15";
        QCOMPARE(log().last(), inC ? QString("FDBGet%1 release").arg(KindNames[kind])
                                   : QString("FDBGet%1 release-null last 100 %2").arg(KindNames[kind], above));
    }
    QCOMPARE(QString(output.err), QString());
    QCOMPARE(boxes.notes(), QStringList());
}

void ContractWindowsTest::wrongSizesAreShownAndNothingIsFetched_data()
{
    const int s = int(sizeof(CSensor));
    const int e = int(sizeof(CMessageEvent));
    const int er = int(sizeof(CMessageEventRequest));
    const int c = int(sizeof(CMessageCommand));
    const int cr = int(sizeof(CMessageCommandRequest));
    const QString event = "FDBGetEvents return incorrect struct size:sizeof(CMessageEvent)=%1,return=%2; "
                          "size(CCMessageEventRequest)=%3,return=%4";
    const QString command = "FDBGetCommands return incorrect struct size:sizeof(CMessageCommand)=%1,return=%2; "
                            "size(CMessageCommandRequest)=%3,return=%4";
    const QString sensor = "FDBGetSensors return incorrect struct size:sizeof(CSensor)=%1,return=%2";
    const QString noEvent = "FDBGetEvents(NULL,NULL,NULL) return incorrect value (should return "
                            "sizeof(CMessageEvent)|(sizeof(CMessageEventRequest)<<16))";
    const QString noCommand = "FDBGetCommands(NULL,NULL,NULL) return incorrect value (should return "
                              "sizeof(CMessageCommand)|(sizeof(CMessageCommandRequest)<<16))";
    const QString noSensor = "DBGetSensors(NULL,NULL) return incorrect value (should return sizeof(CSensor))";

    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("text");
    QTest::newRow("sensor-size") << Sensors << sensor.arg(s).arg(s + 8);
    QTest::newRow("sensor-high-half") << Sensors << sensor.arg(s).arg(s | (104 << 16));
    QTest::newRow("sensor-zero") << Sensors << noSensor;
    QTest::newRow("event-size") << Events << event.arg(e).arg(e + 8).arg(er).arg(er);
    QTest::newRow("event-request-size") << Events << event.arg(e).arg(e).arg(er).arg(er + 8);
    QTest::newRow("event-no-high-half") << Events << noEvent;
    QTest::newRow("event-no-low-half") << Events << noEvent;
    QTest::newRow("event-negative") << Events << noEvent;
    QTest::newRow("command-size") << Commands << command.arg(c).arg(c - 8).arg(cr).arg(cr);
    QTest::newRow("command-request-size") << Commands << command.arg(c).arg(c).arg(cr).arg(cr - 8);
    QTest::newRow("command-no-high-half") << Commands << noCommand;
}

void ContractWindowsTest::wrongSizesAreShownAndNothingIsFetched()
{
    QFETCH(Kind, kind);
    QFETCH(QString, text);
    use(QTest::currentDataTag());
    for (Kind each : {Sensors, Events, Commands}) {
        QFile::remove(m_folder.filePath("calls"));
        const BoxNotes boxes;
        QStringList rows;
        const Output output = captured([&] { rows = AnyWindow(each).rows(); });
        QStringList expected;
        QString trace;
        for (int i = 0; i < loads(each).size(); ++i) {
            if (each == kind)
                expected << '|' + text;
            trace +=
                each == kind ? QString("DBGet%1<\n").arg(KindNames[each]) : traceOf(each, 0, int(allRows(each).size()));
        }
        QCOMPARE(boxes.notes(), expected);
        QCOMPARE(rows, each == kind ? QStringList() : allRows(each));
        QCOMPARE(log(), callsOf(each, each == kind));
        QCOMPARE(QString(output.out), trace);
        QCOMPARE(QString(output.err), QString());
    }
}

void ContractWindowsTest::oddArraysAndCounts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<int>("shown");
    QTest::addColumn<int>("count");
    for (Kind kind : {Sensors, Events, Commands}) {
        const int all = int(allRows(kind).size());
        QTest::addRow("null-array %s", KindNames[kind]) << "null-array" << kind << 0 << all;
        QTest::addRow("zero-count %s", KindNames[kind]) << "zero-count" << kind << 0 << 0;
        QTest::addRow("negative-count %s", KindNames[kind]) << "negative-count" << kind << 0 << -1;
        QTest::addRow("low-count %s", KindNames[kind]) << "low-count" << kind << 1 << 1;
        QTest::addRow("no-records %s", KindNames[kind]) << "no-records" << kind << 0 << 0;
    }
}

void ContractWindowsTest::oddArraysAndCounts()
{
    QFETCH(QString, name);
    QFETCH(Kind, kind);
    QFETCH(int, shown);
    QFETCH(int, count);
    use(name);
    const BoxNotes boxes;
    QStringList rows;
    const Output output = captured([&] { rows = AnyWindow(kind).rows(); });
    QCOMPARE(rows, allRows(kind).mid(0, shown));
    const bool noArray = name == "null-array" || name == "no-records";
    QCOMPARE(log(), callsOf(kind, false, noArray ? "release-null" : "release"));
    QString trace;
    for (int i = 0; i < loads(kind).size(); ++i)
        trace += traceOf(kind, 0, count);
    QCOMPARE(QString(output.out), trace);
    QCOMPARE(QString(output.err), QString());
    QCOMPARE(boxes.notes(), QStringList());
}

void ContractWindowsTest::oddRecordsAreShownAsFarAsTheyGo()
{
    use("odd-records");
    const BoxNotes boxes;
    const Output output = captured([&] {
        const AnyWindow sensors(Sensors);
        QCOMPARE(columnTexts(sensors.list(), 0), QStringList({"sensor", "sensor", "sensor"}));
        QCOMPARE(columnTexts(sensors.list(), 1), QStringList({"", "", ""}));
        const AnyWindow events(Events);
        QCOMPARE(columnTexts(events.list(), 1), QStringList({"", "", "", "", ""}));
        QCOMPARE(columnTexts(events.list(), 3), QStringList({"", "", "", "", ""}));
        QCOMPARE(columnTexts(events.list(), 5), QStringList({"", "", "", "", ""}));
        const AnyWindow commands(Commands);
        QCOMPARE(columnTexts(commands.list(), 1), QStringList({"", "", "", ""}));
        QCOMPARE(columnTexts(commands.list(), 5), QStringList({"", "", "", ""}));
    });
    QCOMPARE(QString(output.err), QString());
    QCOMPARE(boxes.notes(), QStringList());
}

void ContractWindowsTest::codesOtherThanZeroMeanNoRows()
{
    use("codes");
    const BoxNotes boxes;
    const Output output = captured([&] {
        QCOMPARE(AnyWindow(Events).rows(), QStringList());
        QCOMPARE(AnyWindow(Commands).rows(), QStringList());
        // The window of sensors goes by the count alone.
        AnyWindow sensors(Sensors);
        QCOMPARE(sensors.rows(), allRows(Sensors));
        sensors.sensors()->itemSelected = sensors.list()->firstChild();
        QVERIFY(QMetaObject::invokeMethod(sensors.sensors(), "FKill"));
    });
    QCOMPARE(log(), callsOf(Events, false) + callsOf(Commands, false) + callsOf(Sensors, false) +
                        QStringList({"FDBPutCommand type=1 sensor=sensor1 command=4"}));
    QVERIFY(output.out.contains("DBGetSensors> (rtn=7; N=3)\n"));
    QCOMPARE(boxes.notes(), QStringList());
}

void ContractWindowsTest::textsOfTheLibraryStandInTheTrace()
{
    use("prints");
    const BoxNotes boxes;
    for (Kind kind : {Sensors, Events, Commands}) {
        QStringList rows;
        const Output output = captured([&] { rows = AnyWindow(kind).rows(); });
        QCOMPARE(rows, allRows(kind));
        QString trace;
        for (int i = 0; i < loads(kind).size(); ++i)
            trace += traceOf(kind, 0, int(rows.size()), QString("text of the library\n").repeated(3));
        QCOMPARE(QString(output.out), trace);
    }
    QCOMPARE(boxes.notes(), QStringList());
}

void ContractWindowsTest::exceptionsLeaveNoRows_data()
{
    kindRows({"throws-fetch", "throws-release", "throws-number"});
}

void ContractWindowsTest::exceptionsLeaveNoRows()
{
    QFETCH(QString, name);
    QFETCH(Kind, kind);
    use(name);
    const BoxNotes boxes;
    QStringList rows;
    const Output output = captured([&] { rows = AnyWindow(kind).rows(); });
    QCOMPARE(rows, QStringList());
    QCOMPARE(log(), callsOf(kind, false));
    const QString told = QString("FDBGet%1 threw an exception%2\n")
                             .arg(KindNames[kind], name == "throws-number" ? "" : ": the store is gone");
    QCOMPARE(QString(output.err), told.repeated(int(loads(kind).size())));
    QCOMPARE(boxes.notes(), QStringList());
}

void ContractWindowsTest::exceptionOfTheSizeQueryIsAWrongAnswer()
{
    use("throws-query");
    const BoxNotes boxes;
    captured([&] {
        for (Kind kind : {Sensors, Events, Commands})
            QCOMPARE(AnyWindow(kind).rows(), QStringList());
    });
    QCOMPARE(boxes.notes().size(), 4);
    for (const QString &note : boxes.notes())
        QVERIFY2(note.contains("return incorrect value"), qPrintable(note));
}

void ContractWindowsTest::exceptionOfAnOrderIsToldAndNoMore()
{
    use("throws-put");
    const BoxNotes boxes;
    const Output output = captured([&] {
        AnyWindow window(Sensors);
        window.sensors()->itemSelected = window.list()->firstChild();
        QVERIFY(QMetaObject::invokeMethod(window.sensors(), "FStop"));
        QCOMPARE(window.rows(), allRows(Sensors));
    });
    QCOMPARE(log().last(), QString("FDBPutCommand type=1 sensor=sensor1 command=2"));
    QCOMPARE(QString(output.err), QString("FDBPutCommand threw an exception: the store is gone\n"));
    QVERIFY(output.out.endsWith("DBPutCommand<\nDBPutCommand<\n"));
    QCOMPARE(boxes.notes(), QStringList());
}

void ContractWindowsTest::exceptionOfADeletionIsToldAndTheRowGoes_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::newRow("Events") << Events;
    QTest::newRow("Commands") << Commands;
}

void ContractWindowsTest::exceptionOfADeletionIsToldAndTheRowGoes()
{
    QFETCH(Kind, kind);
    use("throws-delete");
    const BoxNotes boxes;
    const QString function = kind == Events ? "DBDeleteEvent" : "DBDeleteCommand";
    const QStringList rows = allRows(kind);
    const Output output = captured([&] {
        AnyWindow window(kind);
        window.removeFirstRow();
        QCOMPARE(window.rows(), QStringList(rows.mid(1)));
    });
    QCOMPARE(log().last(), QString("F%1 %2").arg(function, rows.first()));
    QCOMPARE(QString(output.err), QString("F%1 threw an exception: the store is gone\n").arg(function));
    QVERIFY(QString(output.out).endsWith(QString("%1<\n%1> \n").arg(function)));
    QCOMPARE(boxes.notes().size(), 1); // the question
}

void ContractWindowsTest::exceptionOfAnInitialiserLeavesTheListAsTheSourceIs()
{
    use("throws-init");
    const BoxNotes boxes;
    const Output output = captured([&] {
        AnyWindow window(Sensors);
        QCOMPARE(window.rows(), QStringList());
        window.sensors()->FUpdateData();
        QCOMPARE(window.rows(), QStringList());
    });
    const QString load = traceOf(Sensors, 0, 0);
    QCOMPARE(QString(output.out), load + "InitDBSensors<\nInitDBSensors> \n" + load);
    QCOMPARE(QString(output.err), QString("FInitDBSensors threw an exception: the store is gone\n"));
    QCOMPARE(boxes.notes(), QStringList());
}

void ContractWindowsTest::missingSymbols_data()
{
    QTest::addColumn<QString>("name");
    for (int place = 0; place < 10; ++place)
        QTest::addRow("C++ %d", place) << QString("missing-cxx-%1").arg(place);
    for (int place = 0; place < 7; ++place)
        QTest::addRow("C %d", place) << QString("missing-c-%1").arg(place);
    QTest::newRow("C++ symbol without an address") << "null-symbol";
    QTest::newRow("nothing, as it cannot be loaded") << "unresolved";
}

/** Where the rows of a list come from, by the functions that were found. */
static QStringList expectedRows(Kind kind, bool inC)
{
    const bool hasGet = pointersSet().at(2 * kind) == '1';
    const bool hasInit = pointersSet().at(2 * kind + 1) == '1';
    // The C library needs no initialiser; otherwise only its own one fills a source.
    if (hasGet)
        return inC || hasInit ? allRows(kind, inC) : QStringList();
    if (hasInit)
        return {};
    return kind == Sensors ? QStringList("test") : QStringList("0");
}

void ContractWindowsTest::missingSymbols()
{
    QFETCH(QString, name);
    write(m_folder.filePath("DebugInitSensor.txt"), "{\nID=test\n}\n");
    write(m_folder.filePath("DebugInitEvents.txt"), "{\nSENSOR_ID=test\n}\n");
    write(m_folder.filePath("DebugInitCommands.txt"), "{\nSENSOR_ID=test\n}\n");
    use(name);
    QVERIFY(pointersSet().contains('0'));
    for (Kind kind : {Sensors, Events, Commands}) {
        const BoxNotes boxes;
        const QStringList rows = expectedRows(kind, isInC(name));
        QStringList shown;
        QStringList left;
        captured([&] {
            AnyWindow window(kind);
            shown = window.rows();
            if (window.list()->childCount() > 0)
                window.removeFirstRow();
            left = window.rows();
        });
        QCOMPARE(shown, rows);
        // With or without a function for it, a confirmed row goes.
        const bool asked = kind != Sensors && !rows.isEmpty();
        QCOMPARE(left, asked ? QStringList(rows.mid(1)) : rows);
        QCOMPARE(boxes.notes().size(), asked ? 1 : 0);
    }
    for (const char *file : {"DebugInitSensor.txt", "DebugInitEvents.txt", "DebugInitCommands.txt"})
        QVERIFY(QFile::remove(m_folder.filePath(file)));
}

QTEST_MAIN(ContractWindowsTest)
#include "contractwindowstest.moc"
