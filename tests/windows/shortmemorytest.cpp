// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Lists that run out of memory while records become rows: the first, the
// second, ... allocation after the fetch fails. Later ones are the list's, and
// Qt's, which cannot do without memory. The very first asks whether there is
// memory for so many records at all.
#include "DBFuns.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "failingallocation.h"
#include "informationbox.h"
#include "libraryfixture.h"
#include "recordkinds.h"
#include "windowtestbase.h"

#include <QTemporaryDir>
#include <climits>
#include <string>

namespace
{
/** Each record has a new name, which takes an allocation at least: that many can fail before the list is reached. */
constexpr int RecordCount = 40;

int refuseAfterFetch = -1; ///< number of the allocation to fail, from 0: the one that asks for memory at all

template <class Record> struct Store {
    std::vector<Record> records;
    int sizes = 0;

    int give(int *n, Record **array)
    {
        if (!n && !array)
            return sizes;
        if (!n)
            return 0;
        *n = int(records.size());
        *array = records.data();
        if (refuseAfterFetch >= 0)
            FailingAllocation::refuse(refuseAfterFetch, false);
        return 0;
    }
};

Store<CMessageEvent> eventStore;
Store<CMessageCommand> commandStore;

template <class Kind> auto &store(Kind)
{
    if constexpr (std::is_same_v<Kind, EventsKind>)
        return eventStore;
    else
        return commandStore;
}

/** What is shown of a load that runs out of memory at allocation number n after the fetch. */
template <class Kind> QStringList boxAt(int n, Kind)
{
    if (n > 0)
        return {"Not enough memory for the list"};
    const QString function = std::is_same_v<Kind, EventsKind> ? "DBGetEvents" : "DBGetCommands";
    return {function + ": not enough memory for " + QString::number(RecordCount) + " records"};
}

/** Gives each record a sensor's name that no window has met in an earlier run. */
template <class Record> void renameAll(std::vector<Record> &records, int run)
{
    for (std::size_t i = 0; i < records.size(); ++i) {
        const std::string name = "a name that no small string holds " + std::to_string(run) + '-' + std::to_string(i);
        CopyPtr(&records[i].SensorID, &records[i].LSensorID, name.c_str(), int(name.size()) + 1);
    }
}
} // namespace

class ShortMemoryTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void init();
    void incrementalFetchLosesNothing_data();
    void incrementalFetchLosesNothing();
    void reloadLeavesTheListEmpty_data();
    void reloadLeavesTheListEmpty();
    void aCountBeyondMemoryIsToldAndLeavesTheListEmpty_data();
    void aCountBeyondMemoryIsToldAndLeavesTheListEmpty();
};

void ShortMemoryTest::init()
{
    WindowTestBase::init();
    eventStore.sizes = EventSizes;
    commandStore.sizes = CommandSizes;
    FDBGetEvents = [](int *n, CMessageEvent **records, CMessageEventRequest *) { return eventStore.give(n, records); };
    FDBGetCommands = [](int *n, CMessageCommand **records, CMessageCommandRequest *) {
        return commandStore.give(n, records);
    };
    refuseAfterFetch = -1;
}

static void kinds()
{
    QTest::addColumn<bool>("ofEvents");
    QTest::newRow("events") << true;
    QTest::newRow("commands") << false;
}

/** Runs a load with allocation number n after the fetch failing; false when it did not need so many. */
template <class Load> static bool runShort(int n, QStringList &shown, Load load)
{
    shown.clear();
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &poll, [&shown] {
        if (QMessageBox *box = openBox()) {
            shown << box->text();
            box->accept();
        }
    });
    poll.start(1);
    refuseAfterFetch = n;
    load();
    refuseAfterFetch = -1;
    return FailingAllocation::grant();
}

void ShortMemoryTest::incrementalFetchLosesNothing_data()
{
    kinds();
}

template <class Kind> static void fetchNew(Kind kind)
{
    store(kind).records = Kind::records(1, 3);
    typename Kind::Window window(nullptr, "A list", nullptr);
    ListView *list = Kind::list(&window);
    const int width = window.ColumnTextWidth(5);
    store(kind).records = Kind::records(4, RecordCount);
    for (auto &record : store(kind).records)
        addParameter(record, "unit", "a text that no small string holds");
    QStringList shown;
    for (int n = 0; n < RecordCount; ++n) {
        renameAll(store(kind).records, n);
        QVERIFY(runShort(n, shown, [&] { Kind::getNew(&window); }));
        QCOMPARE(shown, boxAt(n, kind));
        QCOMPARE(columnTexts(list, 2), QStringList({"1", "2", "3"}));
        QCOMPARE(window.IDFirst, 1);
        QCOMPARE(window.IDLast, 3);
        QCOMPARE(window.iLast, 2);
        QCOMPARE(window.ColumnTextWidth(5), width);
    }
    QVERIFY(!runShort(INT_MAX, shown, [&] { Kind::getNew(&window); }));
    QCOMPARE(list->childCount(), 3 + RecordCount);
    QCOMPARE(window.IDLast, 3 + RecordCount);
    QCOMPARE(window.iLast, 2 + RecordCount);
    QVERIFY(shown.isEmpty());
}

void ShortMemoryTest::incrementalFetchLosesNothing()
{
    QFETCH(bool, ofEvents);
    if (ofEvents)
        fetchNew(EventsKind());
    else
        fetchNew(CommandsKind());
}

void ShortMemoryTest::reloadLeavesTheListEmpty_data()
{
    kinds();
}

template <class Kind> static void reload(Kind kind)
{
    store(kind).records = Kind::records(1, RecordCount);
    typename Kind::Window window(nullptr, "A list", nullptr);
    ListView *list = Kind::list(&window);
    QCOMPARE(list->childCount(), RecordCount);
    QStringList shown;
    for (int n = 0; n < RecordCount; ++n) {
        renameAll(store(kind).records, n);
        QVERIFY(runShort(n, shown, [&] { window.onUpdateList(); }));
        QCOMPARE(list->childCount(), 0);
        QCOMPARE(window.iLast, 0);
        QCOMPARE(window.IDLast, RecordCount);
        QCOMPARE(shown, boxAt(n, kind));
    }
    QVERIFY(!runShort(INT_MAX, shown, [&] { window.onUpdateList(); }));
    QCOMPARE(list->childCount(), RecordCount);
    QVERIFY(shown.isEmpty());
}

void ShortMemoryTest::reloadLeavesTheListEmpty()
{
    QFETCH(bool, ofEvents);
    if (ofEvents)
        reload(EventsKind());
    else
        reload(CommandsKind());
}

void ShortMemoryTest::aCountBeyondMemoryIsToldAndLeavesTheListEmpty_data()
{
    QTest::addColumn<int>("loads");
    QTest::newRow("Sensors") << 1;
    QTest::newRow("Events") << 2;
    QTest::newRow("Commands") << 1;
}

/** The texts of column 0 of a window of this kind. */
static QStringList rowsOf(const QString &kind)
{
    if (kind == "Sensors")
        return columnTexts(CWD_SensorsList(nullptr, "A list").SensorsList, 0);
    if (kind == "Events")
        return columnTexts(CWD_EventsList(nullptr, "A list", nullptr).listMessages, 0);
    return columnTexts(CWD_CommandsList(nullptr, "A list", nullptr).listCommands, 0);
}

void ShortMemoryTest::aCountBeyondMemoryIsToldAndLeavesTheListEmpty()
{
    QFETCH(int, loads);
    const QString kind = QTest::currentDataTag();
    const QTemporaryDir folder;
    LibraryFixture::forgetLibrary();
    LibraryFixture::captured([] {
        LoadDLL(LibraryFixture::libraryFolder("huge-count"));
        InitDBSensors(QString());
        InitDBEvents(QString());
        InitDBCommands(QString());
    });
    qputenv(ContractCallLog, QFile::encodeName(folder.filePath("calls")));
    const BoxNotes boxes;
    QCOMPARE(rowsOf(kind), QStringList());
    const QString box = QString("|DBGet%1: not enough memory for %2 records").arg(kind).arg(INT_MAX);
    QCOMPARE(boxes.notes(), loads == 1 ? QStringList(box) : QStringList({box, box}));
    const QByteArray calls = LibraryFixture::read(folder.filePath("calls"));
    QCOMPARE(calls.count(" fetch"), loads);
    QCOMPARE(calls.count(" release"), loads);
    QVERIFY(!calls.contains("release-"));
    qunsetenv(ContractCallLog);
}

QTEST_MAIN(ShortMemoryTest)
#include "shortmemorytest.moc"
