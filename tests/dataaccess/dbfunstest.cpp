// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "DBFuns.h"
#include "DBFunsDebug.h"
#include "libraryfixture.h"

#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>
#include <QVector>

#include <cstring>
#include <new>

using namespace LibraryFixture;

namespace
{
struct Box {
    QDialog *parent;
    QString caption;
    QString text;
};

QVector<Box> boxes;

void recordBox(QDialog *parent, const QString &caption, const QString &text)
{
    boxes.append({parent, caption, text});
}

void failingBox(QDialog *, const QString &, const QString &)
{
    throw std::bad_alloc();
}

/** Stands for a window: it is only ever passed on. */
QDialog *const Window = reinterpret_cast<QDialog *>(&boxes);

/** One of the three fetch functions with a caller's count and array, whatever its record. */
struct Fetch {
    explicit Fetch(const QString &kind)
        : m_kind(kind)
    {
        eventRequest.NMax = 100;
        commandRequest.NMax = 100;
    }

    ~Fetch()
    {
        delete[] sensors;
        delete[] events;
        delete[] commands;
    }

    Fetch(const Fetch &) = delete;
    Fetch &operator=(const Fetch &) = delete;

    void call()
    {
        output = captured([&] {
            result = m_kind == "Sensors" ? DBGetSensors(count, withArray ? &sensors : nullptr, Window)
                     : m_kind == "Events"
                         ? DBGetEvents(count, withArray ? &events : nullptr, &eventRequest, Window)
                         : DBGetCommands(count, withArray ? &commands : nullptr, &commandRequest, Window);
        });
    }

    /** Gives the caller an array of one record and a count that a fetch would change. */
    void fillBefore()
    {
        n = 42;
        m_kind == "Sensors"  ? void(sensors = new CSensor[1])
        : m_kind == "Events" ? void(events = new CMessageEvent[1])
                             : void(commands = new CMessageCommand[1]);
        before = array();
    }

    const void *array() const
    {
        return m_kind == "Sensors"  ? static_cast<const void *>(sensors)
               : m_kind == "Events" ? static_cast<const void *>(events)
                                    : static_cast<const void *>(commands);
    }

    /** What stands between entry and exit of a trace. */
    QByteArray trace(const QByteArray &between = QByteArray()) const
    {
        const QByteArray function = "DBGet" + m_kind.toLatin1();
        const QByteArray shown = count ? QByteArray::number(n) : QByteArray("-1");
        return function + "<\n" + between + function +
               (m_kind == "Sensors" ? "> (rtn=" + QByteArray::number(result) + "; N=" + shown + ")\n" : "> \n");
    }

    QString m_kind;
    int n = -7;
    int *count = &n;
    bool withArray = true;
    CSensor *sensors = nullptr;
    CMessageEvent *events = nullptr;
    CMessageCommand *commands = nullptr;
    CMessageEventRequest eventRequest;
    CMessageCommandRequest commandRequest;
    const void *before = nullptr;
    int result = 99;
    Output output;
};

int records(const QString &kind)
{
    return kind == "Sensors" ? ContractSensors : kind == "Events" ? ContractEvents : ContractCommands;
}

/** The requests of Fetch as the libraries write them down. */
QByteArray request(const QString &kind)
{
    return kind == "Sensors" ? "" : " last 100";
}

QByteArray calls(const QString &kind, const QByteArray &release = "release")
{
    const QByteArray function = "FDBGet" + kind.toLatin1();
    return function + " query\n" + function + " fetch" + request(kind) + "\n" + function + ' ' + release +
           request(kind) + "\n";
}

void kinds()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"Sensors", "Events", "Commands"})
        QTest::newRow(kind) << kind;
}

void addTexts(const QString &file, const QByteArray &text)
{
    write(ConfigWD + file, text);
}
} // namespace

class TestDBFuns : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aFetchQueriesFetchesCopiesAndReleases_data()
    {
        kinds();
    }
    void aFetchQueriesFetchesCopiesAndReleases();
    void fetchedRecordsAreDeepCopies();
    void theRequestReachesTheLibrary();
    void aCLibraryIsFetchedFromTheSameWay_data()
    {
        kinds();
    }
    void aCLibraryIsFetchedFromTheSameWay();
    void theCallersOldArrayIsReplaced_data()
    {
        kinds();
    }
    void theCallersOldArrayIsReplaced();
    void noRecordsLeaveTheArrayAndSetTheCount_data()
    {
        kinds();
    }
    void noRecordsLeaveTheArrayAndSetTheCount();
    void aWrongAnswerToTheSizeQueryIsShownAndNothingFetched_data();
    void aWrongAnswerToTheSizeQueryIsShownAndNothingFetched();
    void eachHalfOfTheAnswerHas16Bits_data();
    void eachHalfOfTheAnswerHas16Bits();
    void aMissingArrayAddressIsShown_data();
    void aMissingArrayAddressIsShown();
    void aMessageIsLookedUpBeforeItIsFilledIn_data();
    void aMessageIsLookedUpBeforeItIsFilledIn();
    void aMissingArrayAddressIsShownBeforeAWrongSize();
    void aWrongAnswerIsShownBeforeAMissingArrayAddress();
    void aMissingCountFetchesNothing_data()
    {
        kinds();
    }
    void aMissingCountFetchesNothing();
    void aNullArrayIsReleasedAndNotCopied_data()
    {
        kinds();
    }
    void aNullArrayIsReleasedAndNotCopied();
    void anArrayWithoutAPositiveCountIsReleasedAndNotCopied_data();
    void anArrayWithoutAPositiveCountIsReleasedAndNotCopied();
    void aCountBelowTheArraysIsBelieved_data()
    {
        kinds();
    }
    void aCountBelowTheArraysIsBelieved();
    void aLibraryThatKeepsItsArrayIsAskedForReleaseAllTheSame_data()
    {
        kinds();
    }
    void aLibraryThatKeepsItsArrayIsAskedForReleaseAllTheSame();
    void theLibrarysCodeIsPassedBackUnchanged_data()
    {
        kinds();
    }
    void theLibrarysCodeIsPassedBackUnchanged();
    void everyFailureIsTold();
    void theOperatorIsToldOnceThatAFunctionFailsAndOnceThatItWorks();
    void anExceptionIsAFailureLikeAResult();
    void theTestDataSourceIsNoFunctionThatFails();
    void aTestDataFileThatIsCutIsTold();
    void whatTheLibraryPrintsStandsInTheTrace();
    void oddRecordsAreCopiedAsFarAsTheyGo();
    void anExceptionEndsAtTheBoundary_data();
    void anExceptionEndsAtTheBoundary();
    void anExceptionOfTheSizeQueryIsAWrongAnswer_data()
    {
        kinds();
    }
    void anExceptionOfTheSizeQueryIsAWrongAnswer();
    void noFunctionEndsTheThreadThatCallsIt();

    void withoutALibraryOnlyTheCountComesIntoANullArray_data()
    {
        kinds();
    }
    void withoutALibraryOnlyTheCountComesIntoANullArray();
    void withoutALibraryTheCallersArrayIsFilled();
    void withoutALibraryNeitherCountNorArrayAddressIsNeeded_data()
    {
        kinds();
    }
    void withoutALibraryNeitherCountNorArrayAddressIsNeeded();
    void theTestDataSourceIsChosenFunctionByFunction();

    void initialisersCallTheLibraryWithTheDirectory();
    void initialisersPassTheDirectoryAsAFileName();
    void initialisersPassTheResultBack();
    void initialisersFallBackToTheTestDataSource();
    void anExceptionOfAnInitialiserEndsAtTheBoundary();

    void putHandsTheRecordOverBetweenTwoEqualTraceLines();
    void putPassesTheResultBack();
    void putWithoutALibraryFailsWithoutATrace();
    void anExceptionOfPutEndsAtTheBoundary();
    void deleteCallsTheLibraryAndReturnsZero();
    void deleteWithoutALibraryOnlyTraces();
    void anExceptionOfDeleteEndsAtTheBoundary();

    void withoutABoxAMessageGoesToStandardError();
    void aBoxThatCannotBeShownGoesToStandardError();

private:
    void use(const QString &library);
    QByteArray log() const
    {
        return read(m_folder.filePath("calls"));
    }

    QTemporaryDir m_folder;
};

/** Loads a library, fills its stores and forgets the calls that this took. */
void TestDBFuns::use(const QString &library)
{
    captured([&] {
        LoadDLL(libraryFolder(library));
        InitDBSensors("/config");
        InitDBEvents("/config");
        InitDBCommands("/config");
    });
    QFile::remove(m_folder.filePath("calls"));
}

void TestDBFuns::init()
{
    forgetLibrary();
    boxes.clear();
    setInformationBox(recordBox);
    qputenv(ContractCallLog, QFile::encodeName(m_folder.filePath("calls")));
    QFile::remove(m_folder.filePath("calls"));
    ConfigWD = m_folder.path();
}

void TestDBFuns::cleanup()
{
    setInformationBox(nullptr);
    setTextLookUp(nullptr);
}

void TestDBFuns::aFetchQueriesFetchesCopiesAndReleases()
{
    QFETCH(QString, kind);
    use("cxx");
    Fetch fetch(kind);
    fetch.call();
    QCOMPARE(fetch.result, 0);
    QCOMPARE(fetch.n, records(kind));
    QVERIFY(fetch.array());
    QCOMPARE(log(), calls(kind));
    QCOMPARE(fetch.output.out, fetch.trace());
    QCOMPARE(fetch.output.err, QByteArray());
    QVERIFY(boxes.isEmpty());
}

void TestDBFuns::fetchedRecordsAreDeepCopies()
{
    use("cxx");
    Fetch sensors("Sensors");
    sensors.call();
    QCOMPARE(sensors.sensors[0].SensorID, "sensor1");
    QCOMPARE(sensors.sensors[0].LSensorID, 8);
    QCOMPARE(sensors.sensors[1].MessageType, int(SensorDead));
    QVERIFY(!sensors.sensors[2].Description);
    Fetch events("Events");
    events.call();
    QCOMPARE(events.events[0].MessageID, 5); // newest first
    QCOMPARE(events.events[0].EventTime, std::time_t(1000000300));
    QCOMPARE(events.events[4].ParNum, 2);
    QCOMPARE(events.events[4].par[0].Name, "count");
    int value = 0;
    std::memcpy(&value, events.events[4].par[0].Val, sizeof(value));
    QCOMPARE(value, 1);
    Fetch commands("Commands");
    commands.call();
    QCOMPARE(commands.commands[0].CommandID, 14);
    QCOMPARE(commands.commands[0].SensorID, "sensor2");
}

void TestDBFuns::theRequestReachesTheLibrary()
{
    use("cxx");
    Fetch events("Events");
    events.eventRequest.NMax = 2;
    events.eventRequest.TakeFirst1_Last0 = 1;
    events.eventRequest.MessageID0 = 2;
    events.eventRequest.UseMessageID0 = 1;
    events.call();
    QCOMPARE(events.n, 2);
    QCOMPARE(events.events[0].MessageID, 2);
    QCOMPARE(events.events[1].MessageID, 3);
    Fetch commands("Commands");
    commands.commandRequest.CommandType = 3;
    commands.commandRequest.UseCommandType = 1;
    commands.call();
    QCOMPARE(commands.n, 1);
    QCOMPARE(commands.commands[0].CommandID, 13);
    QVERIFY(log().contains("FDBGetEvents release first 2 id>=2\n"));
    QVERIFY(log().contains("FDBGetCommands release last 100 command=3\n"));
}

void TestDBFuns::aCLibraryIsFetchedFromTheSameWay()
{
    QFETCH(QString, kind);
    use("c");
    Fetch fetch(kind);
    fetch.call();
    QCOMPARE(fetch.result, 0);
    QCOMPARE(fetch.n, kind == "Sensors" ? 1 : records(kind));
    const QByteArray function = "FDBGet" + kind.toLatin1();
    QCOMPARE(log(), function + " query\n" + function + " fetch\n" + function + " release\n");
    QVERIFY(boxes.isEmpty());
}

void TestDBFuns::theCallersOldArrayIsReplaced()
{
    QFETCH(QString, kind);
    use("cxx");
    Fetch fetch(kind);
    fetch.fillBefore();
    fetch.call(); // the old array is released: a leak or a second release is the sanitizer's to find
    QCOMPARE(fetch.n, records(kind));
    fetch.call();
    QCOMPARE(fetch.n, records(kind));
    QCOMPARE(log(), calls(kind) + calls(kind));
}

void TestDBFuns::noRecordsLeaveTheArrayAndSetTheCount()
{
    QFETCH(QString, kind);
    use("no-records");
    Fetch fetch(kind);
    fetch.fillBefore();
    fetch.call();
    QCOMPARE(fetch.result, 0);
    QCOMPARE(fetch.n, 0);
    QVERIFY(fetch.array() == fetch.before);
    QCOMPARE(log(), calls(kind, "release-null"));
    QCOMPARE(fetch.output.out, fetch.trace());
}

void TestDBFuns::aWrongAnswerToTheSizeQueryIsShownAndNothingFetched_data()
{
    const QString sensorBad = "DBGetSensors(NULL,NULL) return incorrect value (should return sizeof(CSensor))";
    const QString eventBad = "FDBGetEvents(NULL,NULL,NULL) return incorrect value (should return "
                             "sizeof(CMessageEvent)|(sizeof(CMessageEventRequest)<<16))";
    const QString commandBad = "FDBGetCommands(NULL,NULL,NULL) return incorrect value (should return "
                               "sizeof(CMessageCommand)|(sizeof(CMessageCommandRequest)<<16))";
    const int s = int(sizeof(CSensor));
    const int e = int(sizeof(CMessageEvent));
    const int er = int(sizeof(CMessageEventRequest));
    const int c = int(sizeof(CMessageCommand));
    const int cr = int(sizeof(CMessageCommandRequest));
    const auto sensorSizes = [&](int answer) {
        return QString::asprintf("FDBGetSensors return incorrect struct size:sizeof(CSensor)=%d,return=%d", s, answer);
    };
    const auto eventSizes = [&](int record, int size) {
        return QString::asprintf("FDBGetEvents return incorrect struct size:sizeof(CMessageEvent)=%d,return=%d; "
                                 "size(CCMessageEventRequest)=%d,return=%d",
                                 e, record, er, size);
    };
    const auto commandSizes = [&](int record, int size) {
        return QString::asprintf("FDBGetCommands return incorrect struct size:sizeof(CMessageCommand)=%d,return=%d; "
                                 "size(CMessageCommandRequest)=%d,return=%d",
                                 c, record, cr, size);
    };
    QTest::addColumn<QString>("library");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");
    QTest::newRow("sensor-size") << "sensor-size"
                                 << "Sensors" << sensorSizes(s + 8);
    QTest::newRow("sensor-high-half") << "sensor-high-half"
                                      << "Sensors" << sensorSizes(s | 104 << 16);
    QTest::newRow("sensor-zero") << "sensor-zero"
                                 << "Sensors" << sensorBad;
    QTest::newRow("event-size") << "event-size"
                                << "Events" << eventSizes(e + 8, er);
    QTest::newRow("event-request-size") << "event-request-size"
                                        << "Events" << eventSizes(e, er + 8);
    QTest::newRow("event-no-high-half") << "event-no-high-half"
                                        << "Events" << eventBad;
    QTest::newRow("event-no-low-half") << "event-no-low-half"
                                       << "Events" << eventBad;
    QTest::newRow("event-negative") << "event-negative"
                                    << "Events" << eventBad;
    QTest::newRow("command-size") << "command-size"
                                  << "Commands" << commandSizes(c - 8, cr);
    QTest::newRow("command-request-size") << "command-request-size"
                                          << "Commands" << commandSizes(c, cr - 8);
    QTest::newRow("command-no-high-half") << "command-no-high-half"
                                          << "Commands" << commandBad;
}

void TestDBFuns::aWrongAnswerToTheSizeQueryIsShownAndNothingFetched()
{
    QFETCH(QString, library);
    QFETCH(QString, kind);
    QFETCH(QString, text);
    use(library);
    Fetch fetch(kind);
    fetch.fillBefore();
    fetch.call();
    QCOMPARE(fetch.result, -1);
    QCOMPARE(fetch.n, 42);
    QVERIFY(fetch.array() == fetch.before);
    QCOMPARE(boxes.size(), 1);
    QCOMPARE(boxes[0].text, text);
    QCOMPARE(boxes[0].caption, QString(""));
    QVERIFY(boxes[0].parent == Window);
    QCOMPARE(log(), "FDBGet" + kind.toLatin1() + " query\n");
    QCOMPARE(fetch.output.out, "DBGet" + kind.toLatin1() + "<\n"); // no closing line on this road
}

void TestDBFuns::eachHalfOfTheAnswerHas16Bits_data()
{
    QTest::addColumn<int>("record");
    QTest::addColumn<int>("request");
    const int record = int(sizeof(CMessageEvent));
    const int request = int(sizeof(CMessageEventRequest));
    for (int bit = 0; bit < 16; ++bit)
        QTest::addRow("record %d", bit) << (record ^ 1 << bit) << request;
    for (int bit = 0; bit < 15; ++bit) // the one above makes the answer negative
        QTest::addRow("request %d", bit) << record << (request ^ 1 << bit);
}

void TestDBFuns::eachHalfOfTheAnswerHas16Bits()
{
    QFETCH(int, record);
    QFETCH(int, request);
    static int answer;
    answer = record | request << 16;
    FDBGetEvents = [](int *, CMessageEvent **, CMessageEventRequest *) { return answer; };
    Fetch fetch("Events");
    fetch.call();
    QCOMPARE(fetch.result, -1);
    QCOMPARE(boxes.size(), 1);
    const QString sizes = QString("sizeof(CMessageEvent)=%1,return=%2; size(CCMessageEventRequest)=%3,return=%4")
                              .arg(sizeof(CMessageEvent))
                              .arg(record)
                              .arg(sizeof(CMessageEventRequest))
                              .arg(request);
    QVERIFY2(boxes[0].text.endsWith(sizes), qPrintable(boxes[0].text));
}

void TestDBFuns::aMissingArrayAddressIsShown_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");
    QTest::newRow("Sensors") << "Sensors"
                             << "FDBGetSensors: s==NULL";
    QTest::newRow("Events") << "Events"
                            << "FDBGetEvents:event==NULL";
    QTest::newRow("Commands") << "Commands"
                              << "FDBGetCommands:command==NULL";
}

void TestDBFuns::aMissingArrayAddressIsShown()
{
    QFETCH(QString, kind);
    QFETCH(QString, text);
    use("cxx");
    Fetch fetch(kind);
    fetch.withArray = false;
    fetch.call();
    QCOMPARE(fetch.result, -1);
    QCOMPARE(fetch.n, -7);
    QCOMPARE(boxes.size(), 1);
    QCOMPARE(boxes[0].text, text);
    QCOMPARE(log(), "FDBGet" + kind.toLatin1() + " query\n");
    QCOMPARE(fetch.output.out, "DBGet" + kind.toLatin1() + "<\n");
}

static const char *catalogueText = nullptr;

void TestDBFuns::aMessageIsLookedUpBeforeItIsFilledIn_data()
{
    QTest::addColumn<QByteArray>("translated");
    QTest::addColumn<QString>("shown");
    const int ours = sizeof(CSensor);
    QTest::newRow("both numbers") << QByteArray("Taille %d, %d")
                                  << QStringLiteral("Taille %1, %2").arg(ours).arg(ours + 8);
    QTest::newRow("a placeholder is lost") << QByteArray("Taille %d") << QStringLiteral("Taille %1").arg(ours);
    QTest::newRow("a placeholder of another kind") << QByteArray("%s%n %d") << QStringLiteral("%s%n %1").arg(ours);
    QTest::newRow("no placeholder") << QByteArray("Taille") << QStringLiteral("Taille");
}

void TestDBFuns::aMessageIsLookedUpBeforeItIsFilledIn()
{
    QFETCH(QByteArray, translated);
    QFETCH(QString, shown);
    catalogueText = translated.constData();
    setTextLookUp([](const char *text) { return QString::fromLatin1(*text ? catalogueText : ""); });
    use("sensor-size");
    Fetch fetch("Sensors");
    fetch.call();
    QCOMPARE(boxes.size(), 1);
    QCOMPARE(boxes[0].text, shown);
}

void TestDBFuns::aMissingArrayAddressIsShownBeforeAWrongSize()
{
    use("event-size");
    Fetch fetch("Events");
    fetch.withArray = false;
    fetch.call();
    QCOMPARE(boxes.size(), 1);
    QCOMPARE(boxes[0].text, QString("FDBGetEvents:event==NULL"));
}

void TestDBFuns::aWrongAnswerIsShownBeforeAMissingArrayAddress()
{
    use("event-negative");
    Fetch fetch("Events");
    fetch.withArray = false;
    fetch.call();
    QCOMPARE(boxes.size(), 1);
    QVERIFY(boxes[0].text.contains("incorrect value"));
}

void TestDBFuns::aMissingCountFetchesNothing()
{
    QFETCH(QString, kind);
    use("cxx");
    Fetch fetch(kind);
    fetch.count = nullptr;
    fetch.call();
    QCOMPARE(fetch.result, -1);
    QCOMPARE(log(), "FDBGet" + kind.toLatin1() + " query\n");
    QCOMPARE(fetch.output.out, fetch.trace());
}

void TestDBFuns::aNullArrayIsReleasedAndNotCopied()
{
    QFETCH(QString, kind);
    use("null-array");
    Fetch fetch(kind);
    fetch.fillBefore();
    fetch.call();
    QCOMPARE(fetch.result, 0);
    QCOMPARE(fetch.n, records(kind));
    QVERIFY(fetch.array() == fetch.before);
    QCOMPARE(log(), calls(kind, "release-null"));
    QCOMPARE(fetch.output.out, fetch.trace());
}

void TestDBFuns::anArrayWithoutAPositiveCountIsReleasedAndNotCopied_data()
{
    QTest::addColumn<QString>("library");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("count");
    for (const char *kind : {"Sensors", "Events", "Commands"}) {
        QTest::addRow("zero %s", kind) << "zero-count" << kind << 0;
        QTest::addRow("negative %s", kind) << "negative-count" << kind << -1;
    }
}

void TestDBFuns::anArrayWithoutAPositiveCountIsReleasedAndNotCopied()
{
    QFETCH(QString, library);
    QFETCH(QString, kind);
    QFETCH(int, count);
    use(library);
    Fetch fetch(kind);
    fetch.fillBefore();
    fetch.call();
    QCOMPARE(fetch.result, 0);
    QCOMPARE(fetch.n, count);
    QVERIFY(fetch.array() == fetch.before);
    QCOMPARE(log(), calls(kind));
    QVERIFY(boxes.isEmpty());
}

void TestDBFuns::aCountBelowTheArraysIsBelieved()
{
    QFETCH(QString, kind);
    use("low-count");
    Fetch fetch(kind);
    fetch.call();
    QCOMPARE(fetch.result, 0);
    QCOMPARE(fetch.n, 1);
    QVERIFY(fetch.array());
    QCOMPARE(log(), calls(kind));
}

void TestDBFuns::aLibraryThatKeepsItsArrayIsAskedForReleaseAllTheSame()
{
    QFETCH(QString, kind);
    use("no-release");
    Fetch fetch(kind);
    fetch.call();
    fetch.call();
    QCOMPARE(fetch.n, records(kind));
    QCOMPARE(log(), calls(kind) + calls(kind));
}

void TestDBFuns::theLibrarysCodeIsPassedBackUnchanged()
{
    QFETCH(QString, kind);
    use("codes");
    Fetch fetch(kind);
    fetch.call();
    QCOMPARE(fetch.result, 7);
    QCOMPARE(fetch.n, records(kind)); // a code stops neither the copy nor the release
    QVERIFY(fetch.array());
    QCOMPARE(log(), calls(kind));
    QCOMPARE(fetch.output.out, fetch.trace());
    QVERIFY(boxes.isEmpty());
}

/** Calls each of the ten functions once. */
static void callAll()
{
    InitDBSensors("/");
    InitDBEvents("/");
    InitDBCommands("/");
    for (const char *kind : {"Sensors", "Events", "Commands"}) {
        Fetch fetch(kind);
        fetch.call();
        std::fputs(fetch.output.err.constData(), stderr);
    }
    CMessageCommand command;
    DBPutCommand(command);
    CMessageEvent event;
    DBPutEvent(event);
    DBDeleteCommand(1);
    DBDeleteEvent(1);
}

void TestDBFuns::everyFailureIsTold()
{
    use("codes");
    QByteArray expected;
    for (const char *function :
         {"FInitDBSensors", "FInitDBEvents", "FInitDBCommands", "FDBGetSensors", "FDBGetEvents", "FDBGetCommands",
          "FDBPutCommand", "FDBPutEvent", "FDBDeleteCommand", "FDBDeleteEvent"})
        expected += function + QByteArray(" returned 7\n");
    QCOMPARE(captured(callAll).err, expected);
    QCOMPARE(captured(callAll).err, expected);
    QVERIFY(boxes.isEmpty());
}

static QStringList notices;

/** Leaves no function behind that failed when it was called last. */
static void letAllWork()
{
    captured([] {
        LoadDLL(libraryFolder("cxx"));
        callAll();
    });
    notices.clear();
}

void TestDBFuns::theOperatorIsToldOnceThatAFunctionFailsAndOnceThatItWorks()
{
    letAllWork();
    use("falters");
    QTemporaryFile reason;
    QVERIFY(reason.open());
    qputenv("OBRIM_FAILS_WHILE", reason.fileName().toLocal8Bit());
    setFailureNotice([](const char *function, std::optional<int> result) {
        notices << function + QString(" %1").arg(result ? *result : -99);
    });
    captured([] {
        for (int i = 0; i < 3; ++i)
            Fetch("Events").call();
        DBDeleteEvent(1);
    });
    QCOMPARE(notices, QStringList({"FDBGetEvents 7", "FDBDeleteEvent 7"}));
    notices.clear();
    reason.remove();
    const Output output = captured([] {
        for (int i = 0; i < 3; ++i)
            Fetch("Events").call();
        Fetch("Sensors").call();
    });
    QCOMPARE(notices, QStringList({"FDBGetEvents 0"}));
    QCOMPARE(output.err, QByteArray());
    // A notice that itself fails takes nothing with it.
    setFailureNotice([](const char *, std::optional<int>) { throw std::bad_alloc(); });
    captured([] { DBDeleteEvent(1); });
    setFailureNotice(nullptr);
    qunsetenv("OBRIM_FAILS_WHILE");
}

void TestDBFuns::anExceptionIsAFailureLikeAResult()
{
    letAllWork();
    use("throws-delete");
    setFailureNotice([](const char *function, std::optional<int> result) {
        notices << function + QString(result ? " returned" : " threw");
    });
    captured([] {
        DBDeleteEvent(1);
        DBDeleteEvent(1);
    });
    QCOMPARE(notices, QStringList({"FDBDeleteEvent threw"}));
    captured([] { LoadDLL(libraryFolder("cxx")); });
    captured([] { DBDeleteEvent(1); });
    QCOMPARE(notices, QStringList({"FDBDeleteEvent threw", "FDBDeleteEvent returned"}));
    notices.clear();
    use("throws-query");
    captured([] { Fetch("Events").call(); });
    setFailureNotice(nullptr);
    QCOMPARE(notices, QStringList({"FDBGetEvents threw"}));
}

void TestDBFuns::theTestDataSourceIsNoFunctionThatFails()
{
    notices.clear();
    setFailureNotice([](const char *function, std::optional<int>) { notices << function; });
    QCOMPARE(captured([] {
                 DBGetSensors(nullptr, nullptr, nullptr);
                 CMessageCommand command;
                 DBPutCommand(command);
             }).err,
             QByteArray());
    setFailureNotice(nullptr);
    QVERIFY(notices.isEmpty());
}

void TestDBFuns::aTestDataFileThatIsCutIsTold()
{
    const QString config = m_folder.filePath("config");
    QVERIFY(QDir().mkpath(config));
    const QString file = config + "/DebugInitEvents.txt";
    write(file, "");
    QVERIFY(QFile::resize(file, 65 * 1024 * 1024));
    const QByteArray told = QFile::encodeName(file) + " is longer than 64 MB: the rest is not read\n";
    QCOMPARE(captured([&] { InitDBEvents(config); }).err, told);
    int count = -1;
    CMessageEventRequest request;
    QCOMPARE(captured([&] { DBGetEvents(&count, nullptr, &request, nullptr); }).err, told);
    QCOMPARE(captured([&] { InitDBEvents("/nowhere"); }).err, QByteArray());
}

void TestDBFuns::whatTheLibraryPrintsStandsInTheTrace()
{
    use("prints");
    Fetch fetch("Events");
    fetch.call();
    const QByteArray line = "text of the library\n";
    QCOMPARE(fetch.output.out, fetch.trace(line + line + line));
}

void TestDBFuns::oddRecordsAreCopiedAsFarAsTheyGo()
{
    use("odd-records");
    Fetch sensors("Sensors");
    sensors.call();
    QCOMPARE(sensors.n, ContractSensors);
    QVERIFY(!sensors.sensors[0].Description); // a length without a text
    QCOMPARE(sensors.sensors[0].LDescription, 0);
    QCOMPARE(sensors.sensors[0].LSensorID, 6); // a length below the text's
    QCOMPARE(QByteArray(sensors.sensors[0].SensorID, 6), QByteArray("sensor"));
    Fetch events("Events");
    events.call();
    QCOMPARE(events.n, ContractEvents);
    QVERIFY(!events.events[0].SensorID); // a negative length
    QCOMPARE(events.events[0].LSensorID, 0);
    QVERIFY(!events.events[0].EventName); // a text with length 0
    QVERIFY(!events.events[0].par);       // a number of parameters without an array
    QCOMPARE(events.events[0].ParNum, 2);
    Fetch commands("Commands");
    commands.call();
    QCOMPARE(commands.n, ContractCommands);
    QVERIFY(!commands.commands[0].SensorID);
    QVERIFY(!commands.commands[0].par); // an array with a negative number of parameters
    QCOMPARE(commands.commands[0].ParNum, -1);
}

void TestDBFuns::anExceptionEndsAtTheBoundary_data()
{
    QTest::addColumn<QString>("library");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("told");
    for (const char *kind : {"Sensors", "Events", "Commands"}) {
        const QByteArray function = QByteArray("FDBGet") + kind;
        QTest::addRow("fetch %s", kind) << "throws-fetch" << kind
                                        << function + " threw an exception: the store is gone\n";
        QTest::addRow("release %s", kind)
            << "throws-release" << kind << function + " threw an exception: the store is gone\n";
        QTest::addRow("number %s", kind) << "throws-number" << kind << function + " threw an exception\n";
        QTest::addRow("what a terminal obeys %s", kind)
            << "throws-escapes" << kind << function + " threw an exception: \\x1b[2Jgone\\x0aDBGet \\xe4\n";
        QTest::addRow("thread ended by fetch %s", kind)
            << "ends-thread-fetch" << kind << function + " called pthread_exit\n";
        QTest::addRow("thread ended by release %s", kind)
            << "ends-thread-release" << kind << function + " called pthread_exit\n";
    }
}

void TestDBFuns::anExceptionEndsAtTheBoundary()
{
    QFETCH(QString, library);
    QFETCH(QString, kind);
    QFETCH(QByteArray, told);
    use(library);
    Fetch fetch(kind);
    fetch.fillBefore();
    fetch.call();
    QCOMPARE(fetch.result, -1);
    QCOMPARE(fetch.n, 42);
    QVERIFY(fetch.array() == fetch.before);
    QCOMPARE(log(), calls(kind));
    QCOMPARE(fetch.output.out, fetch.trace());
    QCOMPARE(fetch.output.err, told);
    QVERIFY(boxes.isEmpty());
}

void TestDBFuns::anExceptionOfTheSizeQueryIsAWrongAnswer()
{
    QFETCH(QString, kind);
    use("throws-query");
    Fetch fetch(kind);
    fetch.call();
    QCOMPARE(fetch.result, -1);
    QCOMPARE(fetch.n, -7);
    QCOMPARE(boxes.size(), 1);
    QVERIFY(boxes[0].text.contains("return incorrect value"));
    QCOMPARE(fetch.output.err, "FDBGet" + kind.toLatin1() + " threw an exception: the store is gone\n");
    QCOMPARE(log(), "FDBGet" + kind.toLatin1() + " query\n");
}

void TestDBFuns::noFunctionEndsTheThreadThatCallsIt()
{
    use("ends-thread-query");
    Fetch fetch("Events");
    fetch.call();
    QCOMPARE(fetch.result, -1);
    QCOMPARE(fetch.output.err, QByteArray("FDBGetEvents called pthread_exit\n"));
    captured([] { LoadDLL(libraryFolder("ends-thread-init")); });
    QCOMPARE(captured([] { InitDBSensors("/"); }).err, QByteArray("FInitDBSensors called pthread_exit\n"));
    use("ends-thread-put");
    CMessageCommand command;
    QCOMPARE(captured([&] { DBPutCommand(command); }).err, QByteArray("FDBPutCommand called pthread_exit\n"));
    use("ends-thread-delete");
    QCOMPARE(captured([] { DBDeleteEvent(1); }).err, QByteArray("FDBDeleteEvent called pthread_exit\n"));
    use("c-ends-thread");
    Fetch fromC("Events");
    fromC.call();
    QCOMPARE(fromC.result, -1);
    QCOMPARE(fromC.output.err, QByteArray("FDBGetEvents called pthread_exit\n"));
}

void TestDBFuns::withoutALibraryOnlyTheCountComesIntoANullArray()
{
    QFETCH(QString, kind);
    addTexts("/DebugInitSensor.txt", "{\nID=a\n}\n{\nID=b\n}\n");
    addTexts("/DebugInitEvents.txt", "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
    addTexts("/DebugInitCommands.txt", "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
    captured([] {
        InitDBSensors(ConfigWD);
        InitDBEvents(ConfigWD);
        InitDBCommands(ConfigWD);
    });
    Fetch fetch(kind);
    fetch.call();
    QCOMPARE(fetch.result, 0);
    QCOMPARE(fetch.n, 2);
    QVERIFY(!fetch.array());
    QCOMPARE(fetch.output.out, fetch.trace());
}

void TestDBFuns::withoutALibraryTheCallersArrayIsFilled()
{
    addTexts("/DebugInitEvents.txt", "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
    captured([] { InitDBEvents(ConfigWD); });
    Fetch fetch("Events");
    fetch.eventRequest.NMax = 0; // no request narrows the test data
    fetch.events = new CMessageEvent[DebugEventCapacity];
    const void *before = fetch.array();
    fetch.call();
    QCOMPARE(fetch.n, 2);
    QVERIFY(fetch.array() == before);
    QCOMPARE(fetch.events[1].SensorID, "b");
}

void TestDBFuns::withoutALibraryNeitherCountNorArrayAddressIsNeeded()
{
    QFETCH(QString, kind);
    captured([] { InitDBSensors("/nowhere"); });
    Fetch fetch(kind);
    fetch.withArray = false;
    fetch.call();
    QCOMPARE(fetch.result, 0);
    fetch.count = nullptr;
    fetch.call();
    QCOMPARE(fetch.result, -1);
    QCOMPARE(fetch.output.out, fetch.trace());
}

void TestDBFuns::theTestDataSourceIsChosenFunctionByFunction()
{
    captured([] { LoadDLL(libraryFolder("missing-c-4")); }); // all but the commands' fetch and what follows it
    addTexts("/DebugInitCommands.txt", "{\nSENSOR_ID=a\n}\n");
    captured([] {
        InitDBSensors(ConfigWD);
        InitDBEvents(ConfigWD);
        InitDBCommands(ConfigWD);
    });
    Fetch events("Events");
    events.call();
    QCOMPARE(events.n, ContractEvents);
    QVERIFY(events.array());
    Fetch commands("Commands");
    commands.call();
    QCOMPARE(commands.n, 1);
    QVERIFY(!commands.array());
}

void TestDBFuns::initialisersCallTheLibraryWithTheDirectory()
{
    captured([] { LoadDLL(libraryFolder("cxx")); });
    int results = 0;
    const Output output = captured([&] {
        results =
            InitDBSensors("/base/../Config") + InitDBEvents("/base/../Config") + InitDBCommands("/base/../Config");
    });
    QCOMPARE(results, 0);
    QCOMPARE(log(), QByteArray("FInitDBSensors /base/../Config\nFInitDBEvents /base/../Config\n"
                               "FInitDBCommands /base/../Config\n"));
    QCOMPARE(output.out, QByteArray("InitDBSensors<\nInitDBSensors> \nInitDBEvents<\nInitDBEventss> \n"
                                    "InitDBCommands<\nInitDBCommands> \n"));
}

void TestDBFuns::initialisersPassTheDirectoryAsAFileName()
{
    captured([] { LoadDLL(libraryFolder("cxx")); });
    const QByteArray name = "/sensors of caf\xc3\xa9";
    captured([&] { InitDBEvents(QFile::decodeName(name)); });
    QCOMPARE(log(), "FInitDBEvents " + name + "\n");
}

void TestDBFuns::initialisersPassTheResultBack()
{
    captured([] { LoadDLL(libraryFolder("codes")); });
    captured([] {
        QCOMPARE(InitDBSensors("/"), 7);
        QCOMPARE(InitDBEvents("/"), 7);
        QCOMPARE(InitDBCommands("/"), 7);
    });
}

void TestDBFuns::initialisersFallBackToTheTestDataSource()
{
    int results = 99;
    const Output output =
        captured([&] { results = InitDBSensors(ConfigWD) + InitDBEvents(ConfigWD) + InitDBCommands(ConfigWD); });
    QCOMPARE(results, 0);
    QCOMPARE(output.out, QByteArray("InitDBSensors<\nInitDBSensors> \nInitDBEvents<\nInitDBEventss> \n"
                                    "InitDBCommands<\nInitDBCommands> \n"));
}

void TestDBFuns::anExceptionOfAnInitialiserEndsAtTheBoundary()
{
    captured([] { LoadDLL(libraryFolder("throws-init")); });
    int results = 0;
    const Output output = captured([&] { results = InitDBSensors("/") + InitDBEvents("/") + InitDBCommands("/"); });
    QCOMPARE(results, -3);
    QCOMPARE(output.err, QByteArray("FInitDBSensors threw an exception: the store is gone\n"
                                    "FInitDBEvents threw an exception: the store is gone\n"
                                    "FInitDBCommands threw an exception: the store is gone\n"));
    QVERIFY(output.out.endsWith("InitDBCommands> \n"));
}

void TestDBFuns::putHandsTheRecordOverBetweenTwoEqualTraceLines()
{
    use("cxx");
    CMessageCommand command;
    command.Set(1, "sensor3", CommandKill);
    CMessageEvent event;
    CopyPtr(&event.SensorID, &event.LSensorID, "sensor2", 8);
    CopyPtr(&event.EventName, &event.LEventName, "noted", 6);
    int results = 99;
    const Output output = captured([&] { results = DBPutCommand(command) + DBPutEvent(event); });
    QCOMPARE(results, 0);
    QCOMPARE(log(), QByteArray("FDBPutCommand type=1 sensor=sensor3 command=4\n"
                               "FDBPutEvent sensor=sensor2 name=noted\n"));
    QCOMPARE(output.out, QByteArray("DBPutCommand<\nDBPutCommand<\nDBPutEvent<\nDBPutEvent<\n"));
    Fetch commands("Commands");
    commands.call();
    QCOMPARE(commands.n, ContractCommands + 1);
    QCOMPARE(commands.commands[0].SensorID, "sensor3");
}

void TestDBFuns::putPassesTheResultBack()
{
    use("codes");
    CMessageCommand command;
    CMessageEvent event;
    captured([&] {
        QCOMPARE(DBPutCommand(command), 7);
        QCOMPARE(DBPutEvent(event), 7);
    });
}

void TestDBFuns::putWithoutALibraryFailsWithoutATrace()
{
    CMessageCommand command;
    CMessageEvent event;
    int results = 0;
    const Output output = captured([&] { results = DBPutCommand(command) + DBPutEvent(event); });
    QCOMPARE(results, -2);
    QCOMPARE(output.out, QByteArray());
    QCOMPARE(output.err, QByteArray());
}

void TestDBFuns::anExceptionOfPutEndsAtTheBoundary()
{
    use("throws-put");
    CMessageCommand command;
    CMessageEvent event;
    int results = 0;
    const Output output = captured([&] { results = DBPutCommand(command) + DBPutEvent(event); });
    QCOMPARE(results, -2);
    QCOMPARE(output.out, QByteArray("DBPutCommand<\nDBPutCommand<\nDBPutEvent<\nDBPutEvent<\n"));
    QCOMPARE(output.err, QByteArray("FDBPutCommand threw an exception: the store is gone\n"
                                    "FDBPutEvent threw an exception: the store is gone\n"));
}

void TestDBFuns::deleteCallsTheLibraryAndReturnsZero()
{
    use("codes");
    int results = 99;
    const Output output = captured([&] { results = DBDeleteCommand(12) + DBDeleteEvent(-3); });
    QCOMPARE(results, 0);
    QCOMPARE(log(), QByteArray("FDBDeleteCommand 12\nFDBDeleteEvent -3\n"));
    QCOMPARE(output.out, QByteArray("DBDeleteCommand<\nDBDeleteCommand> \nDBDeleteEvent<\nDBDeleteEvent> \n"));
    Fetch commands("Commands");
    commands.call();
    QCOMPARE(commands.n, ContractCommands - 1);
}

void TestDBFuns::deleteWithoutALibraryOnlyTraces()
{
    int results = 99;
    const Output output = captured([&] { results = DBDeleteCommand(1) + DBDeleteEvent(2); });
    QCOMPARE(results, 0);
    QCOMPARE(output.out, QByteArray("DBDeleteCommand<\nDBDeleteCommand> \nDBDeleteEvent<\nDBDeleteEvent> \n"));
}

void TestDBFuns::anExceptionOfDeleteEndsAtTheBoundary()
{
    use("throws-delete");
    int results = 99;
    const Output output = captured([&] { results = DBDeleteCommand(1) + DBDeleteEvent(2); });
    QCOMPARE(results, 0);
    QCOMPARE(output.out, QByteArray("DBDeleteCommand<\nDBDeleteCommand> \nDBDeleteEvent<\nDBDeleteEvent> \n"));
    QCOMPARE(output.err, QByteArray("FDBDeleteCommand threw an exception: the store is gone\n"
                                    "FDBDeleteEvent threw an exception: the store is gone\n"));
}

void TestDBFuns::withoutABoxAMessageGoesToStandardError()
{
    use("sensor-zero");
    setInformationBox(nullptr);
    Fetch fetch("Sensors");
    fetch.call();
    QCOMPARE(fetch.output.err,
             QByteArray("DBGetSensors(NULL,NULL) return incorrect value (should return sizeof(CSensor))\n"));
}

void TestDBFuns::aBoxThatCannotBeShownGoesToStandardError()
{
    use("sensor-zero");
    setInformationBox(failingBox);
    Fetch fetch("Sensors");
    fetch.call();
    QCOMPARE(fetch.result, -1);
    QCOMPARE(fetch.output.err,
             QByteArray("DBGetSensors(NULL,NULL) return incorrect value (should return sizeof(CSensor))\n"));
}

QTEST_GUILESS_MAIN(TestDBFuns)
#include "dbfunstest.moc"
