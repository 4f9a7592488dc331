// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "DBFunsDebug.h"

#include "Config.h"
#include "configvalue.h"
#include "recordmaking.h"
#include "recordtext.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <climits>
#include <memory>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

Q_DECLARE_METATYPE(QByteArray)

class TestDBFunsDebug : public QObject
{
    Q_OBJECT
private slots:
    void eventsFetchedBeforeTheirInitialiserAreReadFromTheRoot();
    void init();
    void configValueIsLatin1();

    void sensorBlockFillsItsRecord();
    void sensorIsAlive_data();
    void sensorIsAlive();
    void sensorsMissingFieldsStayAsTheyWereInThatSlot();
    void eventBlockFillsItsRecord();
    void eventWithoutANameHasAnEmptyText();
    void commandBlockFillsItsRecord();
    void fieldsWithoutAKeyKeepTheirZeros();
    void reusedSlotTakesTheNewTexts();
    void numberIsReadAsAWhole_data();
    void numberIsReadAsAWhole();
    void textsKeepTheirBytes();

    void blockWithoutANameIsSkippedAndTakesNoSlot_data();
    void blockWithoutANameIsSkippedAndTakesNoSlot();
    void finalBlockWithoutItsClosingBraceIsIgnored();
    void keysMatchInAnyLetterCase();
    void twentyFirstLineOfABlockIsNotSeen();

    void nullCountGivesMinusOne();
    void nullArrayGetsTheCountOnly();
    void arrayBehindTheCountIsLeftAlone();
    void recordsAreDeepCopies();
    void addedCommandAppearsAtTheNextFetchAndAddedSensorDoesNot();
    void addedEventAppearsAtTheNextFetch();
    void bothAreFetchedFromTheDirectoryGivenLast();
    void requestThatExcludesEveryRecordStillGetsAll();

    void badFile_data();
    void badFile();
    void linesOfTenThousandBytesAreReadInPieces();
    void blockThatIsNeverClosedEndsTheFile();
    void tableStopsAtItsCapacity_data();
    void tableStopsAtItsCapacity();
    void fileIsNotReadOnWhenTheTableIsFull();
    void aFileIsReadToItsLimit();
    void aFileBeyondTheLimitIsNotReadOn();
    void configVanishesBetweenFetches();

private:
    void write(const char *name, const QByteArray &content);
    QString path(const char *name) const;

    std::unique_ptr<QTemporaryDir> m_dir;
};

namespace
{
constexpr const char *SensorFile = "DebugInitSensor.txt";
constexpr const char *EventFile = "DebugInitEvents.txt";
constexpr const char *CommandFile = "DebugInitCommands.txt";

/** One of the three kinds of records, so that a test can say once what holds for all. */
struct Kind {
    const char *file;
    const char *nameKey;
    int capacity;
    int (*init)(QString dir);
    /** Fetches into an array of exactly the capacity; gives the names. */
    QStringList (*names)();
};

QStringList sensorNames()
{
    const auto records = std::make_unique<CSensor[]>(DebugSensorCapacity);
    int n = -1;
    if (DBGetSensorsDebug(&n, records.get()) != 0)
        return {"failed"};
    QStringList names;
    for (int i = 0; i < n; ++i)
        names << recordText(records[i].SensorID, records[i].LSensorID);
    return names;
}

QStringList eventNames()
{
    const auto records = std::make_unique<CMessageEvent[]>(DebugEventCapacity);
    int n = -1;
    if (DBGetEventsDebug(&n, records.get(), nullptr) != 0)
        return {"failed"};
    QStringList names;
    for (int i = 0; i < n; ++i)
        names << recordText(records[i].SensorID, records[i].LSensorID);
    return names;
}

QStringList commandNames()
{
    const auto records = std::make_unique<CMessageCommand[]>(DebugCommandCapacity);
    int n = -1;
    if (DBGetCommandsDebug(&n, records.get(), nullptr) != 0)
        return {"failed"};
    QStringList names;
    for (int i = 0; i < n; ++i)
        names << recordText(records[i].SensorID, records[i].LSensorID);
    return names;
}

const Kind Kinds[] = {
    {SensorFile, "ID", DebugSensorCapacity, InitDBSensorsDebug, sensorNames},
    {EventFile, "SENSOR_ID", DebugEventCapacity, InitDBEventsDebug, eventNames},
    {CommandFile, "SENSOR_ID", DebugCommandCapacity, InitDBCommandsDebug, commandNames},
};

QByteArray block(const Kind &kind, const QByteArray &name)
{
    return QByteArray("{\n") + kind.nameKey + '=' + name + "\n}\n";
}

/** Bytes that this process has read so far, from files and everything else; -1 when unknown. */
qint64 bytesRead()
{
    QFile io("/proc/self/io");
    if (!io.open(QIODevice::ReadOnly))
        return -1;
    return io.readLine().mid(int(strlen("rchar: "))).trimmed().toLongLong();
}

/** In a process of its own: makes `dir` the root and fetches events without an initialiser. */
int fetchWithRoot(const QByteArray &dir)
{
    const pid_t child = fork();
    if (child == 0) {
        // Without root's rights a user namespace gives them.
        if (chroot(dir.constData()) != 0 && (unshare(CLONE_NEWUSER) != 0 || chroot(dir.constData()) != 0))
            _exit(77);
        int n = -1;
        _exit(DBGetEventsDebug(&n, nullptr, nullptr) == 0 ? n : 99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
} // namespace

void TestDBFunsDebug::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

QString TestDBFunsDebug::path(const char *name) const
{
    return m_dir->filePath(QString::fromLatin1(name));
}

void TestDBFunsDebug::write(const char *name, const QByteArray &content)
{
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

// The first test: from the first initialiser on a directory is remembered.
void TestDBFunsDebug::eventsFetchedBeforeTheirInitialiserAreReadFromTheRoot()
{
    m_dir = std::make_unique<QTemporaryDir>();
    write(EventFile, "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
    const int result = fetchWithRoot(QFile::encodeName(m_dir->path()));
    if (result == 77)
        QSKIP("neither root nor user namespaces: the root directory cannot be replaced");
    QCOMPARE(result, 2);
}

void TestDBFunsDebug::configValueIsLatin1()
{
    char lines[2][ConfigLineSize] = {"a=1", "b=\"\xE4\""};
    int n = 2;
    QCOMPARE(GetConfigValue(lines, n, "B"), QString(QChar(0xE4)));
    QCOMPARE(GetConfigValue(lines, n, "c"), QString());
}

void TestDBFunsDebug::sensorBlockFillsItsRecord()
{
    write(SensorFile, "% sensors\n{\nID=sensor12\nType=2\nDescription=\"in the cellar\"\nIsAlive=yes\n}\n");
    QCOMPARE(InitDBSensorsDebug(m_dir->path()), 0);
    CSensor sensor;
    int n = -1;
    QCOMPARE(DBGetSensorsDebug(&n, &sensor), 0);
    QCOMPARE(n, 1);
    QCOMPARE(held(sensor.SensorID, sensor.LSensorID), terminated("sensor12"));
    QCOMPARE(sensor.SensorType, 2);
    QCOMPARE(held(sensor.Description, sensor.LDescription), terminated("in the cellar"));
    QCOMPARE(sensor.MessageType, int(SensorAlive));
    QCOMPARE(sensor.EventTime, std::time_t(0));
}

void TestDBFunsDebug::sensorIsAlive_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("liveness");
    // Slot 99 is used by no test before, so that what it was is "unknown".
    QTest::newRow("no line leaves it unknown") << QByteArray() << 0;
    QTest::newRow("empty leaves it unknown") << QByteArray("IsAlive=\n") << 0;
    QTest::newRow("yes") << QByteArray("IsAlive=yes\n") << int(SensorAlive);
    QTest::newRow("Yes") << QByteArray("IsAlive=Yes\n") << int(SensorAlive);
    QTest::newRow("YES") << QByteArray("IsAlive=YES\n") << int(SensorAlive);
    QTest::newRow("yES") << QByteArray("IsAlive=yES\n") << int(SensorDead);
    QTest::newRow("no") << QByteArray("IsAlive=no\n") << int(SensorDead);
    QTest::newRow("true") << QByteArray("IsAlive=true\n") << int(SensorDead);
    QTest::newRow("quoted yes") << QByteArray("IsAlive=\"yes\"\n") << int(SensorAlive);
}

void TestDBFunsDebug::sensorIsAlive()
{
    QFETCH(QByteArray, line);
    QFETCH(int, liveness);
    QByteArray content;
    for (int i = 0; i < 99; ++i)
        content += "{\nID=x\n}\n";
    write(SensorFile, content + "{\nID=sensor12\n" + line + "}\n");
    InitDBSensorsDebug(m_dir->path());
    CSensor sensors[100];
    int n = -1;
    QCOMPARE(DBGetSensorsDebug(&n, sensors), 0);
    QCOMPARE(n, 100);
    QCOMPARE(sensors[99].MessageType, liveness);
}

void TestDBFunsDebug::sensorsMissingFieldsStayAsTheyWereInThatSlot()
{
    write(SensorFile, "{\nID=old\nType=5\nDescription=old one\nIsAlive=yes\n}\n");
    InitDBSensorsDebug(m_dir->path());
    write(SensorFile, "{\nID=new\nDescription=\nIsAlive=\n}\n");
    InitDBSensorsDebug(m_dir->path());
    CSensor sensor;
    int n = -1;
    QCOMPARE(DBGetSensorsDebug(&n, &sensor), 0);
    QCOMPARE(held(sensor.SensorID, sensor.LSensorID), terminated("new"));
    QCOMPARE(sensor.SensorType, 0);
    QCOMPARE(held(sensor.Description, sensor.LDescription), terminated("old one"));
    QCOMPARE(sensor.MessageType, int(SensorAlive));
}

void TestDBFunsDebug::eventBlockFillsItsRecord()
{
    write(EventFile, "{\nSENSOR_ID=sensor12\nSENSOR_TYPE=3\nEVENT_NAME=overheat\nEVENT_TIME=1000\n}\n");
    QCOMPARE(InitDBEventsDebug(m_dir->path()), 0);
    CMessageEvent event;
    int n = -1;
    QCOMPARE(DBGetEventsDebug(&n, &event, nullptr), 0);
    QCOMPARE(n, 1);
    QCOMPARE(held(event.SensorID, event.LSensorID), terminated("sensor12"));
    QCOMPARE(event.SensorType, 3);
    QCOMPARE(held(event.EventName, event.LEventName), terminated("overheat"));
    QCOMPARE(event.EventTime, std::time_t(1000));
}

void TestDBFunsDebug::eventWithoutANameHasAnEmptyText()
{
    write(EventFile, "{\nSENSOR_ID=sensor12\n}\n{\nSENSOR_ID=sensor12\nEVENT_NAME=\n}\n");
    InitDBEventsDebug(m_dir->path());
    CMessageEvent events[2];
    int n = -1;
    QCOMPARE(DBGetEventsDebug(&n, events, nullptr), 0);
    QCOMPARE(n, 2);
    for (const CMessageEvent &event : events) {
        QCOMPARE(held(event.EventName, event.LEventName), terminated(""));
        QCOMPARE(event.LEventName, 1);
        QCOMPARE(event.SensorType, 0);
        QCOMPARE(event.EventTime, std::time_t(0));
    }
}

void TestDBFunsDebug::commandBlockFillsItsRecord()
{
    write(CommandFile, "{\nSENSOR_ID=sensor12\nCOMMAND_TYPE=4\nCOMMAND_ID=17\nCOMMAND_TIME=-5\n}\n");
    QCOMPARE(InitDBCommandsDebug(m_dir->path()), 0);
    CMessageCommand command;
    int n = -1;
    QCOMPARE(DBGetCommandsDebug(&n, &command, nullptr), 0);
    QCOMPARE(n, 1);
    QCOMPARE(held(command.SensorID, command.LSensorID), terminated("sensor12"));
    QCOMPARE(command.CommandType, int(CommandKill));
    QCOMPARE(command.CommandID, 17);
    QCOMPARE(command.CommandTime, std::time_t(-5));
}

void TestDBFunsDebug::fieldsWithoutAKeyKeepTheirZeros()
{
    write(EventFile, "{\nSENSOR_ID=a\nMESSAGE_ID=7\nMessageID=7\n}\n");
    write(CommandFile, "{\nSENSOR_ID=a\nMessageType=7\n}\n");
    InitDBEventsDebug(m_dir->path());
    InitDBCommandsDebug(m_dir->path());
    CMessageEvent event = makeEvent();
    CMessageCommand command = makeCommand();
    int n = -1;
    QCOMPARE(DBGetEventsDebug(&n, &event, nullptr), 0);
    QCOMPARE(DBGetCommandsDebug(&n, &command, nullptr), 0);
    QCOMPARE(event.MessageID, 0);
    QCOMPARE(event.MessageType, 0);
    QCOMPARE(event.ParNum, 0);
    QVERIFY(!event.par);
    QCOMPARE(command.MessageType, 0);
    QCOMPARE(command.ParNum, 0);
    QVERIFY(!command.par);
}

void TestDBFunsDebug::reusedSlotTakesTheNewTexts()
{
    for (const char *name : {"first", "second, longer", "3"}) {
        write(EventFile, QByteArray("{\nSENSOR_ID=") + name + "\nEVENT_NAME=" + name + "\n}\n");
        InitDBEventsDebug(m_dir->path());
        CMessageEvent event;
        int n = -1;
        QCOMPARE(DBGetEventsDebug(&n, &event, nullptr), 0);
        QCOMPARE(held(event.SensorID, event.LSensorID), terminated(name));
        QCOMPARE(held(event.EventName, event.LEventName), terminated(name));
    }
}

void TestDBFunsDebug::numberIsReadAsAWhole_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("number");
    QTest::newRow("integer") << QByteArray("12") << 12;
    QTest::newRow("negative") << QByteArray("-12") << -12;
    QTest::newRow("quoted") << QByteArray("\"12\"") << 12;
    QTest::newRow("12abc") << QByteArray("12abc") << 0;
    QTest::newRow("abc") << QByteArray("abc") << 0;
    QTest::newRow("fraction") << QByteArray("1.5") << 0;
    QTest::newRow("hexadecimal") << QByteArray("0x10") << 0;
    QTest::newRow("largest") << QByteArray("2147483647") << INT_MAX;
    QTest::newRow("too large") << QByteArray("2147483648") << 0;
    QTest::newRow("smallest") << QByteArray("-2147483648") << INT_MIN;
    QTest::newRow("too small") << QByteArray("-2147483649") << 0;
    QTest::newRow("far too large") << QByteArray("99999999999999999999999") << 0;
    QTest::newRow("carriage return") << QByteArray("12\r") << 12;
    QTest::newRow("empty") << QByteArray("") << 0;
}

void TestDBFunsDebug::numberIsReadAsAWhole()
{
    QFETCH(QByteArray, text);
    QFETCH(int, number);
    write(CommandFile,
          "{\nSENSOR_ID=a\nCOMMAND_TYPE=" + text + "\nCOMMAND_ID=" + text + "\nCOMMAND_TIME=" + text + "\n}\n");
    InitDBCommandsDebug(m_dir->path());
    CMessageCommand command;
    int n = -1;
    QCOMPARE(DBGetCommandsDebug(&n, &command, nullptr), 0);
    QCOMPARE(n, 1);
    QCOMPARE(command.CommandType, number);
    QCOMPARE(command.CommandID, number);
    QCOMPARE(command.CommandTime, std::time_t(number));
}

void TestDBFunsDebug::textsKeepTheirBytes()
{
    QByteArray bytes;
    for (int c = 1; c < 256; ++c)
        if (c != '\n')
            bytes += char(c);
    write(EventFile, "{\nSENSOR_ID=" + bytes + "\n}\n");
    InitDBEventsDebug(m_dir->path());
    CMessageEvent event;
    int n = -1;
    QCOMPARE(DBGetEventsDebug(&n, &event, nullptr), 0);
    QCOMPARE(QByteArray(event.SensorID), bytes);
}

void TestDBFunsDebug::blockWithoutANameIsSkippedAndTakesNoSlot_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("sensors") << 0;
    QTest::newRow("events") << 1;
    QTest::newRow("commands") << 2;
}

void TestDBFunsDebug::blockWithoutANameIsSkippedAndTakesNoSlot()
{
    QFETCH(int, kind);
    const Kind &k = Kinds[kind];
    write(k.file, block(k, "a") + "{\nType=1\nSENSOR_TYPE=1\n}\n" + block(k, "") + block(k, "\"\"") + block(k, "b"));
    QCOMPARE(k.init(m_dir->path()), 0);
    QCOMPARE(k.names(), QStringList({"a", "b"}));
}

void TestDBFunsDebug::finalBlockWithoutItsClosingBraceIsIgnored()
{
    for (const Kind &kind : Kinds) {
        write(kind.file, block(kind, "a") + "{\n" + kind.nameKey + "=b\n");
        QCOMPARE(kind.init(m_dir->path()), 0);
        QCOMPARE(kind.names(), QStringList({"a"}));
    }
}

void TestDBFunsDebug::keysMatchInAnyLetterCase()
{
    write(EventFile, "{\nsensor_id=a\nSensor_Type=4\n}\n");
    InitDBEventsDebug(m_dir->path());
    CMessageEvent event;
    int n = -1;
    QCOMPARE(DBGetEventsDebug(&n, &event, nullptr), 0);
    QCOMPARE(n, 1);
    QCOMPARE(event.SensorType, 4);
}

void TestDBFunsDebug::twentyFirstLineOfABlockIsNotSeen()
{
    QByteArray filler;
    for (int i = 0; i < 19; ++i)
        filler += "x=1\n";
    write(EventFile, "{\n" + filler + "SENSOR_ID=a\n}\n{\n" + filler + "x=1\nSENSOR_ID=b\n}\n{\nSENSOR_ID=c\n}\n");
    InitDBEventsDebug(m_dir->path());
    QCOMPARE(eventNames(), QStringList({"a", "c"}));
}

void TestDBFunsDebug::nullCountGivesMinusOne()
{
    CSensor sensor;
    CMessageEvent event;
    CMessageCommand command;
    QCOMPARE(DBGetSensorsDebug(nullptr, &sensor), -1);
    QCOMPARE(DBGetEventsDebug(nullptr, &event, nullptr), -1);
    QCOMPARE(DBGetCommandsDebug(nullptr, &command, nullptr), -1);
}

void TestDBFunsDebug::nullArrayGetsTheCountOnly()
{
    for (const Kind &kind : Kinds) {
        write(kind.file, block(kind, "a") + block(kind, "b"));
        kind.init(m_dir->path());
    }
    int n = -1;
    QCOMPARE(DBGetSensorsDebug(&n, nullptr), 0);
    QCOMPARE(n, 2);
    n = -1;
    QCOMPARE(DBGetEventsDebug(&n, nullptr, nullptr), 0);
    QCOMPARE(n, 2);
    n = -1;
    QCOMPARE(DBGetCommandsDebug(&n, nullptr, nullptr), 0);
    QCOMPARE(n, 2);
}

void TestDBFunsDebug::arrayBehindTheCountIsLeftAlone()
{
    write(EventFile, "{\nSENSOR_ID=a\n}\n");
    InitDBEventsDebug(m_dir->path());
    CMessageEvent events[2];
    events[1] = makeEvent();
    int n = -1;
    QCOMPARE(DBGetEventsDebug(&n, events, nullptr), 0);
    QCOMPARE(n, 1);
    QCOMPARE(held(events[1].SensorID, events[1].LSensorID), terminated("sensor12"));
    QCOMPARE(events[1].ParNum, 2);
}

void TestDBFunsDebug::recordsAreDeepCopies()
{
    write(SensorFile, "{\nID=a\n}\n");
    InitDBSensorsDebug(m_dir->path());
    CSensor first;
    int n = -1;
    DBGetSensorsDebug(&n, &first);
    first.SensorID[0] = 'z';
    QCOMPARE(sensorNames(), QStringList({"a"}));
}

void TestDBFunsDebug::addedCommandAppearsAtTheNextFetchAndAddedSensorDoesNot()
{
    write(CommandFile, "{\nSENSOR_ID=a\n}\n");
    write(SensorFile, "{\nID=a\n}\n");
    InitDBCommandsDebug(m_dir->path());
    InitDBSensorsDebug(m_dir->path());
    QCOMPARE(commandNames(), QStringList({"a"}));
    write(CommandFile, "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
    write(SensorFile, "{\nID=a\n}\n{\nID=b\n}\n");
    QCOMPARE(commandNames(), QStringList({"a", "b"}));
    QCOMPARE(sensorNames(), QStringList({"a"}));
}

void TestDBFunsDebug::addedEventAppearsAtTheNextFetch()
{
    write(EventFile, "{\nSENSOR_ID=a\n}\n");
    InitDBEventsDebug(m_dir->path());
    write(EventFile, "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
    QCOMPARE(eventNames(), QStringList({"a", "b"}));
}

void TestDBFunsDebug::bothAreFetchedFromTheDirectoryGivenLast()
{
    write(EventFile, "{\nSENSOR_ID=event here\n}\n");
    write(CommandFile, "{\nSENSOR_ID=command here\n}\n");
    InitDBEventsDebug("/nonexistent");
    InitDBCommandsDebug(m_dir->path());
    QCOMPARE(eventNames(), QStringList("event here"));
    InitDBCommandsDebug("/nonexistent");
    InitDBEventsDebug(m_dir->path());
    QCOMPARE(commandNames(), QStringList("command here"));
}

void TestDBFunsDebug::requestThatExcludesEveryRecordStillGetsAll()
{
    write(EventFile, "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
    write(CommandFile, "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
    InitDBEventsDebug(m_dir->path());
    InitDBCommandsDebug(m_dir->path());
    CMessageEventRequest events;
    events.MessageID0 = INT_MAX;
    events.UseMessageID0 = 1;
    int n = -1;
    QCOMPARE(DBGetEventsDebug(&n, nullptr, &events), 0);
    QCOMPARE(n, 2);
    QCOMPARE(events.MessageID0, INT_MAX);
    CMessageCommandRequest commands;
    commands.CommandID0 = INT_MAX;
    commands.UseCommandID0 = 1;
    n = -1;
    QCOMPARE(DBGetCommandsDebug(&n, nullptr, &commands), 0);
    QCOMPARE(n, 2);
}

void TestDBFunsDebug::badFile_data()
{
    QTest::addColumn<QString>("fault");
    for (const char *fault : {"missing", "unreadable", "empty", "binary", "directory", "pipe", "no directory"})
        QTest::newRow(fault) << fault;
}

void TestDBFunsDebug::badFile()
{
    QFETCH(QString, fault);
    for (const Kind &kind : Kinds) {
        write(kind.file, block(kind, "before"));
        QCOMPARE(kind.init(m_dir->path()), 0);
        QCOMPARE(kind.names(), QStringList({"before"}));

        const QString file = path(kind.file);
        QVERIFY(QFile::remove(file));
        QString dir = m_dir->path();
        if (fault == "unreadable") {
            QVERIFY(QFile::link(file, file)); // a loop of links stops root, too
        } else if (fault == "empty") {
            write(kind.file, "");
        } else if (fault == "binary") {
            QByteArray bytes;
            for (int i = 0; i < 100000; ++i)
                bytes += char(i * 7 + i / 256);
            write(kind.file, bytes.replace('}', ' '));
        } else if (fault == "directory") {
            QVERIFY(QDir().mkdir(file));
        } else if (fault == "pipe") {
            QCOMPARE(mkfifo(QFile::encodeName(file).constData(), 0600), 0);
        } else if (fault == "no directory") {
            dir += "/missing";
        }
        QCOMPARE(kind.init(dir), 0);
        QCOMPARE(kind.names(), QStringList());
    }
}

void TestDBFunsDebug::linesOfTenThousandBytesAreReadInPieces()
{
    for (const Kind &kind : Kinds) {
        const int room = 511 - int(strlen(kind.nameKey)) - 1;
        write(kind.file, block(kind, QByteArray(10000, 'x')) + block(kind, "b"));
        QCOMPARE(kind.init(m_dir->path()), 0);
        QCOMPARE(kind.names(), QStringList({QString(room, 'x'), "b"}));
    }
}

void TestDBFunsDebug::blockThatIsNeverClosedEndsTheFile()
{
    for (const Kind &kind : Kinds) {
        QByteArray open = "{\n";
        for (int i = 0; i < 10000; ++i)
            open += "key=value\n";
        write(kind.file, block(kind, "a") + open);
        QCOMPARE(kind.init(m_dir->path()), 0);
        QCOMPARE(kind.names(), QStringList({"a"}));
    }
}

void TestDBFunsDebug::tableStopsAtItsCapacity_data()
{
    blockWithoutANameIsSkippedAndTakesNoSlot_data();
}

void TestDBFunsDebug::tableStopsAtItsCapacity()
{
    QFETCH(int, kind);
    const Kind &k = Kinds[kind];
    QByteArray content;
    for (int i = 0; i < 5000; ++i)
        content += block(k, QByteArray::number(i));
    write(k.file, content);
    QCOMPARE(k.init(m_dir->path()), 0);
    const QStringList names = k.names();
    QCOMPARE(names.size(), k.capacity);
    QCOMPARE(names.last(), QString::number(k.capacity - 1));
}

void TestDBFunsDebug::fileIsNotReadOnWhenTheTableIsFull()
{
    QByteArray content;
    for (int i = 0; i < DebugEventCapacity; ++i)
        content += "{\nSENSOR_ID=a\n}\n";
    write(EventFile, content);
    QVERIFY(QFile::resize(path(EventFile), 100 * 1024 * 1024));
    const qint64 before = bytesRead();
    if (before < 0)
        QSKIP("/proc/self/io is missing");
    QCOMPARE(InitDBEventsDebug(m_dir->path()), 0);
    QVERIFY(bytesRead() - before < 1024 * 1024);
}

void TestDBFunsDebug::aFileIsReadToItsLimit()
{
    const QByteArray last = "}\n{\nSENSOR_ID=b\n}\n";
    QByteArray content = "{\nSENSOR_ID=a\n}\n";
    content += QByteArray(32 * 1024 * 1024, 'x'); // one line
    content += '\n' + QByteArray("x\n").repeated(16 * 1024 * 1024);
    content.truncate(MaxConfigFileSize - last.size() - 1);
    write(EventFile, content + '\n' + last);
    QCOMPARE(InitDBEventsDebug(m_dir->path()), 0);
    QCOMPARE(eventNames(), QStringList({"a", "b"}));
    QCOMPARE(testFileCutShort(), QString());
    write(EventFile, content + "\n\n" + last);
    QCOMPARE(eventNames(), QStringList({"a", "b"}));
    QCOMPARE(testFileCutShort(), path(EventFile));
}

void TestDBFunsDebug::aFileBeyondTheLimitIsNotReadOn()
{
    write(EventFile, "{\nSENSOR_ID=a\n}\n");
    QVERIFY(QFile::resize(path(EventFile), Q_INT64_C(16) << 30)); // a hole: it takes no room
    const qint64 before = bytesRead();
    QCOMPARE(InitDBEventsDebug(m_dir->path()), 0);
    QVERIFY(before < 0 || bytesRead() - before < 65 * 1024 * 1024);
    QCOMPARE(testFileCutShort(), path(EventFile));
    write(EventFile, "{\nSENSOR_ID=a\n}\n");
    QCOMPARE(eventNames(), QStringList("a"));
    QCOMPARE(testFileCutShort(), QString());
}

void TestDBFunsDebug::configVanishesBetweenFetches()
{
    for (const Kind &kind : Kinds) {
        write(kind.file, block(kind, "a"));
        QCOMPARE(kind.init(m_dir->path()), 0);
    }
    QVERIFY(m_dir->remove());
    QCOMPARE(sensorNames(), QStringList({"a"}));
    QCOMPARE(eventNames(), QStringList());
    QCOMPARE(commandNames(), QStringList());
}

QTEST_GUILESS_MAIN(TestDBFunsDebug)
#include "dbfunsdebugtest.moc"
