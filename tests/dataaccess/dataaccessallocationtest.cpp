// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Runs loader and data access with the first, the second, ... allocation
// failing: once, and from then on. The DB library is the test itself, which
// allocates nothing while it is called.
#include "DBFuns.h"
#include "LoadDLL.h"
#include "capturedoutput.h"
#include "contractlibraries.h"
#include "failingallocation.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace
{
constexpr int Count = 3;

int fetches = 0;
int releases = 0;
int givenCount = Count;
std::vector<std::string> boxes;

void recordBox(QDialog *, const QString &, const QString &text)
{
    FailingAllocation::grant(); // the box is the operator's: what it costs is not counted here
    boxes.push_back(text.toStdString());
}

/** Leaves no block behind that a count of live blocks would see. */
void forgetBoxes()
{
    boxes.clear();
    boxes.shrink_to_fit();
}

/** Three records that own texts, made before memory fails. */
template <class Record> Record *store()
{
    static const std::unique_ptr<Record[]> records = [] {
        std::unique_ptr<Record[]> made(new Record[Count]);
        for (int i = 0; i < Count; ++i)
            CopyPtr(&made[i].SensorID, &made[i].LSensorID, "a sensor", 9);
        return made;
    }();
    return records.get();
}

template <class Record> int give(int *n, Record **array, int sizes)
{
    if (!array)
        return sizes;
    if (!n) {
        ++releases;
        EXPECT_EQ(*array, store<Record>());
        return 0;
    }
    ++fetches;
    *n = givenCount;
    *array = store<Record>();
    return 0;
}

int getSensors(int *n, CSensor **array)
{
    return give(n, array, SensorSize);
}

int getEvents(int *n, CMessageEvent **array, CMessageEventRequest *)
{
    return give(n, array, EventSizes);
}

int getCommands(int *n, CMessageCommand **array, CMessageCommandRequest *)
{
    return give(n, array, CommandSizes);
}

class DataAccess : public ::testing::Test
{
protected:
    void SetUp() override
    {
        FDBGetSensors = getSensors;
        FDBGetEvents = getEvents;
        FDBGetCommands = getCommands;
        store<CSensor>();
        store<CMessageEvent>();
        store<CMessageCommand>();
        setInformationBox(recordBox);
        fetches = releases = 0;
        givenCount = Count;
        forgetBoxes();
    }

    void TearDown() override
    {
        FDBGetSensors = nullptr;
        FDBGetEvents = nullptr;
        FDBGetCommands = nullptr;
        setInformationBox(nullptr);
    }
};

/** Calls `fetch` with its allocation number `i` failing; false when it did not need so many. */
template <class Record, class Fetch> bool failOne(int i, bool onwards, const std::string &function, Fetch fetch)
{
    Record *array = new Record[1];
    Record *const old = array;
    int n = 42;
    int result = 99;
    fetches = releases = 0;
    const bool failed = FailingAllocation::runFailing(i, onwards, [&] { result = fetch(&n, &array); });
    EXPECT_EQ(fetches, 1);
    EXPECT_EQ(releases, 1);
    if (failed) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(n, 42);
        EXPECT_EQ(array, old);
        EXPECT_EQ(boxes, std::vector<std::string>{function + ": not enough memory for 3 records"});
    } else {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(n, Count);
        EXPECT_STREQ(array[Count - 1].SensorID, "a sensor");
        EXPECT_TRUE(boxes.empty());
    }
    delete[] array;
    return failed;
}

/** The same with each allocation in turn, until one call gets all that it asks for. */
template <class Record, class Fetch> void failEach(const std::string &function, Fetch fetch)
{
    int failures = 0;
    for (const bool onwards : {false, true}) {
        int i = 0;
        for (bool failed = true; failed && i < 100; ++i) {
            const long before = FailingAllocation::live();
            failed = failOne<Record>(i, onwards, function, fetch);
            failures += failed ? 1 : 0;
            forgetBoxes();
            EXPECT_EQ(FailingAllocation::live(), before);
        }
    }
    EXPECT_EQ(failures, 2 * (1 + Count)); // the array, and a text of each record
}
} // namespace

TEST_F(DataAccess, FetchingSensorsReleasesOnceAndKeepsWhatTheCallerHad)
{
    failEach<CSensor>("DBGetSensors", [](int *n, CSensor **array) { return DBGetSensors(n, array, nullptr); });
}

TEST_F(DataAccess, FetchingEventsReleasesOnceAndKeepsWhatTheCallerHad)
{
    CMessageEventRequest request;
    failEach<CMessageEvent>("DBGetEvents",
                            [&](int *n, CMessageEvent **array) { return DBGetEvents(n, array, &request, nullptr); });
}

TEST_F(DataAccess, FetchingCommandsReleasesOnceAndKeepsWhatTheCallerHad)
{
    CMessageCommandRequest request;
    failEach<CMessageCommand>(
        "DBGetCommands", [&](int *n, CMessageCommand **array) { return DBGetCommands(n, array, &request, nullptr); });
}

TEST_F(DataAccess, ReadingAsksForNoMemoryButOnceWhetherThereIsAny)
{
    CMessageEventRequest request;
    int read = 0;
    const RecordReader<CMessageEvent> reader = [&](const CMessageEvent *, int count) { read += count; };
    for (const bool isShort : {true, false}) {
        const long before = FailingAllocation::live();
        fetches = releases = read = 0;
        int result = 99;
        const bool failed = FailingAllocation::runFailing(isShort ? 0 : 1, true,
                                                          [&] { result = readEvents(reader, &request, nullptr); });
        EXPECT_EQ(failed, isShort);
        EXPECT_EQ(result, isShort ? -1 : 0);
        EXPECT_EQ(read, isShort ? 0 : Count);
        EXPECT_EQ(fetches, 1);
        EXPECT_EQ(releases, 1);
        EXPECT_EQ(boxes.size(), isShort ? 1U : 0U);
        forgetBoxes();
        EXPECT_EQ(FailingAllocation::live(), before);
    }
}

TEST_F(DataAccess, AReaderThatRunsOutOfMemoryIsHeardAfterTheRelease)
{
    CMessageCommandRequest request;
    const RecordReader<CMessageCommand> reader = [](const CMessageCommand *, int) {
        EXPECT_EQ(releases, 0);
        throw std::bad_alloc();
    };
    EXPECT_THROW(readCommands(reader, &request, nullptr), std::bad_alloc);
    EXPECT_EQ(releases, 1);
    EXPECT_TRUE(boxes.empty());
}

TEST_F(DataAccess, AnAbsurdCountIsTooMuchMemory)
{
    givenCount = INT_MAX;
    const long before = FailingAllocation::live();
    CMessageEventRequest request;
    CMessageEvent *array = nullptr;
    int n = 42;
    EXPECT_EQ(DBGetEvents(&n, &array, &request, nullptr), -1);
    EXPECT_EQ(n, 42);
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(releases, 1);
    EXPECT_EQ(boxes, std::vector<std::string>{"DBGetEvents: not enough memory for 2147483647 records"});
    forgetBoxes();
    EXPECT_EQ(FailingAllocation::live(), before);
}

TEST_F(DataAccess, TheClosingTraceLineShowsTheCountThatIsKept)
{
    givenCount = INT_MAX;
    CSensor *array = nullptr;
    int n = 42;
    const CapturedOutput out(stdout);
    DBGetSensors(&n, &array, nullptr);
    EXPECT_EQ(out.text(), "DBGetSensors<\nDBGetSensors> (rtn=-1; N=42)\n");
}

TEST_F(DataAccess, LoadingTheLibrarySaysThatMemoryIsShort)
{
    const QString folder = QString::fromLatin1(ContractLibraries) + QLatin1String("/cxx");
    LoadDLL(folder); // what the toolkit keeps from its first use on is not counted
    int failures = 0;
    for (bool failed = true; failed && failures < 100;) {
        int result = 99;
        long kept = -1;
        std::string told;
        {
            const CapturedOutput out(stdout);
            const CapturedOutput err(stderr);
            failed = FailingAllocation::runFailing(failures, false, [&] {
                const long before = FailingAllocation::live();
                result = LoadDLL(folder);
                kept = FailingAllocation::live() - before;
            });
            told = err.text();
        }
        EXPECT_EQ(kept, 0);
        EXPECT_EQ(result, failed ? -1 : 0);
        EXPECT_EQ(told, failed ? "LoadDLL threw an exception: std::bad_alloc\n" : "");
        failures += failed ? 1 : 0;
    }
    EXPECT_GE(failures, 10); // the symbols, at least, do not fit a small string
}
