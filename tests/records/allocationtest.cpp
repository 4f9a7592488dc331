// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Runs the records and the test data source with the first, the second, ...
// allocation failing: once, and from then on.
#include "DBFunsDebug.h"
#include "failingallocation.h"
#include "recordmaking.h"

#include "Config.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <unistd.h>

using FailingAllocation::live;
using FailingAllocation::runFailing;

namespace
{
/**
 * Runs `action` with each of its allocations failing in turn, until one run
 * needs no more than are granted. `action` says whether it succeeded.
 */
template <typename Action> int failEachAllocation(Action action)
{
    int failures = 0;
    for (const bool onwards : {false, true}) {
        for (int n = 0;; ++n) {
            const long before = live();
            bool succeeded = false;
            runFailing(n, onwards, [&] { succeeded = action(); });
            EXPECT_EQ(live(), before) << "allocation " << n;
            if (succeeded)
                break;
            ++failures;
            if (n > 100000) {
                ADD_FAILURE() << "never succeeds";
                break;
            }
        }
    }
    return failures;
}

/** Whether `action` got all the memory it asked for. */
template <typename Action> bool completes(Action action)
{
    try {
        action();
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

/** Copies `source` over `old` with each allocation failing, then again without a failure. */
template <typename Record> int failEachAllocationOfCopying(const Record &source, const Record &old)
{
    return failEachAllocation([&] {
        const bool constructed = completes([&] { const Record copy(source); });
        Record target;
        const bool prepared = completes([&] { target = old; });
        const bool assigned = completes([&] { target = source; });
        FailingAllocation::grant();
        target = source; // a record whose copy failed can be used again
        return constructed && prepared && assigned;
    });
}

int openDescriptors()
{
    int count = 0;
    for (int i = 0; i < 256; ++i) {
        const int copy = dup(i);
        if (copy >= 0) {
            close(copy);
            ++count;
        }
    }
    return count;
}

/** Where every array is given back the block of the one before, the address does not tell whether it was kept. */
template <typename Record> void expectKeptParameters()
{
    Record source;
    setParameters(source, 2);
    source.par[1].Type = ParameterText;
    Record target;
    setParameters(target, 2);
    EXPECT_FALSE(runFailing(0, true, [&] { completes([&] { target = source; }); })) << "a new array was asked for";
    ASSERT_EQ(target.ParNum, 2);
    EXPECT_EQ(target.par[1].Type, ParameterText);
}

class TestFiles : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char name[] = "/tmp/obrim-allocation-XXXXXX";
        m_path = mkdtemp(name);
        write("DebugInitSensor.txt",
              "{\nID=a name that is too long for a small string\nDescription=d\nIsAlive=no\n}\n");
        write("DebugInitEvents.txt", "{\nSENSOR_ID=a\nEVENT_NAME=e\n}\n");
        write("DebugInitCommands.txt", "{\nSENSOR_ID=a\nCOMMAND_TYPE=1\n}\n");
    }
    void TearDown() override
    {
        std::filesystem::remove_all(m_path);
    }
    void write(const char *name, const char *block)
    {
        std::ofstream file(m_path + '/' + name);
        for (int i = 0; i < 3; ++i)
            file << block;
    }
    QString dir() const
    {
        return QString::fromStdString(m_path);
    }

    std::string m_path;
};
} // namespace

TEST(FailingAllocation, CopyingOntoAsManyParametersKeepsTheirArray)
{
    expectKeptParameters<CMessageEvent>();
    expectKeptParameters<CMessageCommand>();
}

TEST(FailingAllocation, CopyingASensor)
{
    EXPECT_GE(failEachAllocationOfCopying(makeSensor(), makeSensor()), 12);
}

TEST(FailingAllocation, CopyingAnEvent)
{
    CMessageEvent other = makeEvent();
    setParameters(other, 1);
    EXPECT_GE(failEachAllocationOfCopying(makeEvent(), makeEvent()), 12);
    EXPECT_GE(failEachAllocationOfCopying(makeEvent(), other), 12);
}

TEST(FailingAllocation, CopyingACommand)
{
    CMessageCommand other = makeCommand();
    setParameters(other, 3);
    EXPECT_GE(failEachAllocationOfCopying(makeCommand(), makeCommand()), 8);
    EXPECT_GE(failEachAllocationOfCopying(makeCommand(), other), 8);
}

TEST(FailingAllocation, CopyingRequests)
{
    CMessageEventRequest events;
    setText(events.SensorID, events.LSensorID, "mask");
    setText(events.EventName, events.LEventName, "name");
    EXPECT_GE(failEachAllocationOfCopying(events, events), 12);
    CMessageCommandRequest commands;
    setText(commands.SensorID, commands.LSensorID, "mask");
    EXPECT_GE(failEachAllocationOfCopying(commands, commands), 6);
}

TEST(FailingAllocation, CopyOfATextLeavesTheOldOne)
{
    char *text = nullptr;
    int length = 0;
    setText(text, length, "old");
    const bool reached =
        runFailing(0, false, [&] { EXPECT_FALSE(completes([&] { CopyPtr(&text, &length, "new", 4); })); });
    EXPECT_TRUE(reached);
    EXPECT_EQ(held(text, length), terminated("old"));
    delete[] text;
}

TEST(FailingAllocation, SettingACommand)
{
    EXPECT_EQ(failEachAllocation([] {
                  CMessageCommand command;
                  return completes([&] { command.Set(1, "sensor12", CommandStart); });
              }),
              2);
}

TEST(FailingAllocation, AllocatingStringsAndParameters)
{
    EXPECT_GE(failEachAllocation([] {
                  CMessageEvent event;
                  event.LSensorID = 3;
                  event.LEventName = 3;
                  event.ParNum = 2;
                  const bool allocated = completes([&] {
                      event.AllocateStrings();
                      event.par[0].LName = 3;
                      event.par[1].LVal = 3;
                      event.AllocateParameters();
                  });
                  FailingAllocation::grant();
                  const CMessageEvent copy(event);
                  EXPECT_EQ(copy.ParNum, 2);
                  EXPECT_EQ(copy.par != nullptr, event.par != nullptr);
                  return allocated;
              }),
              8);
    EXPECT_GE(failEachAllocation([] {
                  CSensor sensor;
                  return completes([&] { sensor.AllocateStrings(); });
              }),
              4);
}

TEST(FailingAllocation, MatchingNeedsNoMemory)
{
    CMessageEventRequest request;
    CopyPtr(&request.SensorID, &request.LSensorID, "sensor12 without a terminating NUL", 30);
    request.UseSensorID = 1;
    const CMessageEvent event = makeEvent();
    int result = -1;
    EXPECT_FALSE(runFailing(0, true, [&] { result = request & event; }));
    EXPECT_EQ(result, 0);
}

TEST_F(TestFiles, InitialisersGiveMinusOneAndReadAllTheNextTime)
{
    for (int (*init)(QString) : {InitDBSensorsDebug, InitDBEventsDebug, InitDBCommandsDebug}) {
        const int descriptors = openDescriptors();
        int failures = 0;
        for (int n = 0;; ++n) {
            int result = 1;
            if (!runFailing(n, false, [&] { result = init(dir()); })) {
                EXPECT_EQ(result, 0);
                break;
            }
            EXPECT_EQ(result, -1) << "allocation " << n;
            ++failures;
        }
        EXPECT_GE(failures, 3);
        EXPECT_EQ(openDescriptors(), descriptors);
    }
}

TEST_F(TestFiles, FetchesGiveMinusOneAndLeaveTheCount)
{
    ASSERT_EQ(InitDBSensorsDebug(dir()), 0);
    ASSERT_EQ(InitDBEventsDebug(dir()), 0);
    ASSERT_EQ(InitDBCommandsDebug(dir()), 0);
    const auto sensors = std::make_unique<CSensor[]>(DebugSensorCapacity);
    const auto events = std::make_unique<CMessageEvent[]>(DebugEventCapacity);
    const auto commands = std::make_unique<CMessageCommand[]>(DebugCommandCapacity);
    const auto fetchSensors = [&](int *n) { return DBGetSensorsDebug(n, sensors.get()); };
    const auto fetchEvents = [&](int *n) { return DBGetEventsDebug(n, events.get(), nullptr); };
    const auto fetchCommands = [&](int *n) { return DBGetCommandsDebug(n, commands.get(), nullptr); };
    const auto failEach = [&](auto fetch) {
        const int descriptors = openDescriptors();
        int failures = 0;
        for (int n = 0;; ++n) {
            int count = 77;
            int result = 1;
            if (!runFailing(n, false, [&] { result = fetch(&count); })) {
                EXPECT_EQ(result, 0);
                EXPECT_EQ(count, 3);
                break;
            }
            EXPECT_EQ(result, -1) << "allocation " << n;
            EXPECT_EQ(count, 77) << "allocation " << n;
            ++failures;
        }
        EXPECT_GE(failures, 6);
        EXPECT_EQ(openDescriptors(), descriptors);
    };
    failEach(fetchSensors);
    failEach(fetchEvents);
    failEach(fetchCommands);
    EXPECT_EQ(held(events[2].EventName, events[2].LEventName), terminated("e"));
}

TEST_F(TestFiles, ReadingNeedsNoMemoryAndLookingUpThrows)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(
        openRegularFile((m_path + "/DebugInitSensor.txt").c_str()), std::fclose);
    ASSERT_TRUE(file);
    char lines[MaxBlockLines][ConfigLineSize];
    int n = 0;
    int result = -1;
    EXPECT_FALSE(runFailing(0, true, [&] { result = GetConfigBlock(file.get(), lines, n); }));
    EXPECT_EQ(result, 1);
    EXPECT_EQ(n, 3);
    std::string value;
    const bool reached =
        runFailing(0, true, [&] { EXPECT_FALSE(completes([&] { findConfigValue(lines, n, "ID", value); })); });
    EXPECT_TRUE(reached);
    EXPECT_TRUE(findConfigValue(lines, n, "ID", value));
}
