// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Reading a library's records where they lie beside copying them: which calls the library gets, what is shown and
// traced, what comes back, with every library of the tests and with memory that runs out.
#include "DBFuns.h"
#include "failingallocation.h"
#include "libraryfixture.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <QVector>

#include <climits>
#include <memory>
#include <new>
#include <stdexcept>

using namespace LibraryFixture;

namespace
{
QStringList boxes;

void recordBox(QDialog *parent, const QString &caption, const QString &text)
{
    FailingAllocation::grant(); // the box is the operator's: what it costs is not counted here
    boxes << QString::number(quintptr(parent)) + '|' + caption + '|' + text;
}

/** Stands for a window: it is only ever passed on. */
QDialog *const Window = reinterpret_cast<QDialog *>(&boxes);

struct EventsKind {
    using Record = CMessageEvent;
    using Request = CMessageEventRequest;
    static constexpr auto Read = readEvents;
    static constexpr auto Get = DBGetEvents;
    static constexpr auto Identifier = &CMessageEvent::MessageID;
    static constexpr const char *Function = "FDBGetEvents";
    static constexpr int Count = ContractEvents;
};

struct CommandsKind {
    using Record = CMessageCommand;
    using Request = CMessageCommandRequest;
    static constexpr auto Read = readCommands;
    static constexpr auto Get = DBGetCommands;
    static constexpr auto Identifier = &CMessageCommand::CommandID;
    static constexpr const char *Function = "FDBGetCommands";
    static constexpr int Count = ContractCommands;
};

template <class Body> void eachKind(Body body)
{
    body(EventsKind());
    body(CommandsKind());
}

/** What came of a fetch, however the records were taken over. */
struct Outcome {
    int result = 99;
    QVector<int> identifiers;
    Output output;
    QStringList shown;
    QByteArray calls;
};
} // namespace

class ReadingTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theRecordsAreReadBetweenTheFetchAndTheRelease();
    void everyLibraryIsReadAsItIsCopiedFrom_data();
    void everyLibraryIsReadAsItIsCopiedFrom();
    void aFetchThatFailsIsNotReadAndReleased();
    void aCountBeyondMemoryIsToldAndNothingIsRead();
    void whatTheReaderThrowsComesAfterTheReleaseAndTheTrace();
    void withoutALibraryTheTestDataIsRead();
    void shortMemoryForTestDataLeavesNoTrace();

private:
    void use(const QString &library);
    QByteArray takeLog();
    template <class Kind, class Fetch> Outcome outcomeOf(Kind, Fetch fetch);
    template <class Kind> Outcome read(Kind kind);
    template <class Kind> Outcome copy(Kind kind);

    QTemporaryDir m_folder;
};

void ReadingTest::init()
{
    forgetLibrary();
    boxes.clear();
    setInformationBox(recordBox);
    ConfigWD = m_folder.path();
    qputenv(ContractCallLog, QFile::encodeName(m_folder.filePath("calls")));
}

void ReadingTest::cleanup()
{
    setInformationBox(nullptr);
    qunsetenv(ContractCallLog);
}

/** Loads a library, or another time the same, with its stores as they are at first. */
void ReadingTest::use(const QString &library)
{
    captured([&] {
        LoadDLL(libraryFolder(library));
        InitDBSensors("/config");
        InitDBEvents("/config");
        InitDBCommands("/config");
    });
    takeLog();
}

QByteArray ReadingTest::takeLog()
{
    const QByteArray calls = LibraryFixture::read(m_folder.filePath("calls"));
    QFile::remove(m_folder.filePath("calls"));
    return calls;
}

/** What comes of `fetch`, which gets a request for a hundred records and where to put their identifiers. */
template <class Kind, class Fetch> Outcome ReadingTest::outcomeOf(Kind, Fetch fetch)
{
    Outcome outcome;
    typename Kind::Request request;
    request.NMax = 100;
    boxes.clear();
    outcome.output = captured([&] { outcome.result = fetch(request, outcome.identifiers); });
    outcome.shown = boxes;
    outcome.calls = takeLog();
    return outcome;
}

template <class Kind> Outcome ReadingTest::read(Kind kind)
{
    return outcomeOf(kind, [](auto &request, QVector<int> &identifiers) {
        const auto reader = [&identifiers](const typename Kind::Record *records, int count) {
            for (int i = 0; i < count; ++i)
                identifiers << records[i].*Kind::Identifier;
        };
        return Kind::Read(reader, &request, Window);
    });
}

template <class Kind> Outcome ReadingTest::copy(Kind kind)
{
    return outcomeOf(kind, [](auto &request, QVector<int> &identifiers) {
        int n = 0;
        typename Kind::Record *array = nullptr;
        const int result = Kind::Get(&n, &array, &request, Window);
        const std::unique_ptr<typename Kind::Record[]> records(array);
        for (int i = 0; records && result == 0 && i < n; ++i)
            identifiers << records[std::size_t(i)].*Kind::Identifier;
        return result;
    });
}

void ReadingTest::theRecordsAreReadBetweenTheFetchAndTheRelease()
{
    use("cxx");
    eachKind([&](auto kind) {
        using Record = typename decltype(kind)::Record;
        typename decltype(kind)::Request request;
        request.NMax = 100;
        int read = 0;
        QByteArray before;
        captured([&] {
            decltype(kind)::Read(
                [&](const Record *, int count) {
                    read += count;
                    before = takeLog();
                },
                &request, Window);
        });
        QCOMPARE(read, int(kind.Count));
        const QByteArray function = kind.Function;
        QCOMPARE(before, function + " query\n" + function + " fetch last 100\n");
        QCOMPARE(takeLog(), function + " release last 100\n");
    });
}

void ReadingTest::everyLibraryIsReadAsItIsCopiedFrom_data()
{
    QTest::addColumn<QString>("library");
    const QDir libraries(QFile::decodeName(ContractLibraries));
    for (const QString &name : libraries.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if (name != "unresolved-lazy") // which ends the program when it is called
            QTest::newRow(qPrintable(name)) << name;
}

void ReadingTest::everyLibraryIsReadAsItIsCopiedFrom()
{
    QFETCH(QString, library);
    eachKind([&](auto kind) {
        use(library);
        const Outcome copied = copy(kind);
        use(library);
        const Outcome seen = read(kind);
        QCOMPARE(seen.result, copied.result);
        if (seen.result == 0)
            QCOMPARE(seen.identifiers, copied.identifiers);
        QCOMPARE(seen.output.out, copied.output.out);
        QCOMPARE(seen.output.err, copied.output.err);
        QCOMPARE(seen.shown, copied.shown);
        QCOMPARE(seen.calls, copied.calls);
        QCOMPARE(seen.calls.count(" release"), seen.calls.count(" fetch"));
    });
}

void ReadingTest::aFetchThatFailsIsNotReadAndReleased()
{
    use("codes");
    eachKind([&](auto kind) {
        const Outcome seen = read(kind);
        QCOMPARE(seen.result, 7);
        QVERIFY(seen.identifiers.isEmpty());
        QCOMPARE(seen.calls.count(" release"), 1);
    });
}

void ReadingTest::aCountBeyondMemoryIsToldAndNothingIsRead()
{
    use("huge-count");
    eachKind([&](auto kind) {
        const Outcome seen = read(kind);
        QCOMPARE(seen.result, -1);
        QVERIFY(seen.identifiers.isEmpty());
        QCOMPARE(seen.shown.size(), 1);
        QVERIFY(seen.shown[0].endsWith(": not enough memory for " + QString::number(INT_MAX) + " records"));
        QCOMPARE(seen.calls.count(" release"), 1);
    });
}

void ReadingTest::whatTheReaderThrowsComesAfterTheReleaseAndTheTrace()
{
    use("cxx");
    eachKind([&](auto kind) {
        using Record = typename decltype(kind)::Record;
        typename decltype(kind)::Request request;
        request.NMax = 100;
        QByteArray caught;
        const Output output = captured([&] {
            try {
                decltype(kind)::Read([](const Record *, int) { throw std::runtime_error("no row"); }, &request, Window);
            } catch (const std::runtime_error &error) {
                caught = error.what();
            }
        });
        QCOMPARE(caught, QByteArray("no row"));
        const QByteArray function = QByteArray(kind.Function).mid(1);
        QCOMPARE(output.out, function + "<\n" + function + "> \n");
        QCOMPARE(output.err, QByteArray());
        QCOMPARE(takeLog().count(" release"), 1);
        QVERIFY(boxes.isEmpty());
        // The function works, whoever failed.
        QCOMPARE(read(kind).result, 0);
    });
}

void ReadingTest::withoutALibraryTheTestDataIsRead()
{
    eachKind([&](auto kind) {
        write(m_folder.filePath("DebugInitEvents.txt"), "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
        write(m_folder.filePath("DebugInitCommands.txt"), "{\nSENSOR_ID=a\n}\n{\nSENSOR_ID=b\n}\n");
        captured([&] {
            InitDBEvents(m_folder.path());
            InitDBCommands(m_folder.path());
        });
        const Outcome seen = read(kind);
        QCOMPARE(seen.result, 0);
        QCOMPARE(seen.identifiers.size(), 2);
        const QByteArray function = QByteArray(kind.Function).mid(1);
        QCOMPARE(seen.output.out, function + "<\n" + function + "> \n");
        write(m_folder.filePath("DebugInitEvents.txt"), "");
        write(m_folder.filePath("DebugInitCommands.txt"), "");
        QVERIFY(read(kind).identifiers.isEmpty());
    });
}

void ReadingTest::shortMemoryForTestDataLeavesNoTrace()
{
    eachKind([&](auto kind) {
        using Record = typename decltype(kind)::Record;
        typename decltype(kind)::Request request;
        const RecordReader<Record> reader = [](const Record *, int) {};
        bool threw = false;
        const Output output = captured([&] {
            FailingAllocation::refuse(0, false);
            try {
                decltype(kind)::Read(reader, &request, Window);
            } catch (const std::bad_alloc &) {
                threw = true;
            }
            FailingAllocation::grant();
        });
        QVERIFY(threw);
        QCOMPARE(output.out, QByteArray());
    });
}

QTEST_GUILESS_MAIN(ReadingTest)
#include "readingtest.moc"
