// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Commands that are put and records that are deleted.
#include "child.h"
#include "contractlibraries.h"
#include "sqlitestore.h"
#include "storetesting.h"
#include "testinstallation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using testing::ElementsAre;
using testing::HasSubstr;

class Changing : public testing::Test
{
protected:
    Changing()
    {
        m_store.registerSensor("boiler", 1, "Boiler");
        m_store.registerSensor("p\xfcmp", 2, "Pump");
    }
    Ended run(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"-C", m_installation.base()});
        return runCtl(arguments);
    }
    Child start(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"-C", m_installation.base()});
        return Child(arguments);
    }
    /** What a sensor stores when it has carried a command out. */
    void report(const char *sensor, int command, const char *result, const char *name = "CommandDone")
    {
        CMessageEvent event = makeEvent(sensor, name, 1795292160);
        addInteger(event, "command", command);
        addText(event, "order", "Stop");
        addText(event, "result", result);
        m_store.put(event);
    }
    std::vector<int> commandIds()
    {
        return ids(*m_store.commands(commandsWanted(100, true)));
    }
    std::vector<int> eventIds()
    {
        return ids(*m_store.events(eventsWanted(100, true)));
    }

    TestInstallation m_installation{DBLIB_SQLITE};
    SqliteStore m_store{m_installation.path("Data/installation.db"), Sqlite::Durability::Crash};
};

TEST_F(Changing, EveryOrderIsStoredAsTheConsoleStoresIt)
{
    const char *const orders[] = {"start", "stop", "restart", "kill"};
    for (int i = 0; i < 4; ++i) {
        const Ended ended = run({"put", "p\u00fcmp", orders[i]});
        EXPECT_EQ(ended.status, 0) << ended.err;
        EXPECT_EQ(ended.out, "command " + std::to_string(i + 1) + " stored\n");
        const auto stored = m_store.commands(commandsWanted(1));
        EXPECT_STREQ((*stored)[0].SensorID, "p\xfcmp");
        EXPECT_EQ((*stored)[0].MessageType, 1);
        EXPECT_EQ((*stored)[0].CommandType, i + 1);
        EXPECT_EQ((*stored)[0].ParNum, 0);
    }
}

TEST_F(Changing, ASensorThatIsNotThereGetsNoCommand)
{
    // A name is no mask, and its letters are its own.
    for (const char *name : {"valve", "boil*", "BOILER", ""}) {
        const Ended ended = run({"put", name, "stop"});
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(ended.err, std::string("obrimctl: there is no sensor '") + name +
                                 "'; 'obrimctl sensors' lists those there are\n");
    }
    EXPECT_THAT(commandIds(), ElementsAre());
}

TEST_F(Changing, WaitingEndsWithTheSensorsReport)
{
    Child child = start({"put", "boiler", "stop", "--wait=100"});
    EXPECT_EQ(child.line(), "command 1 stored");
    report("boiler", 1, "stopped");
    const Ended ended = child.end();
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.out, "carried out: stopped\n");
}

TEST_F(Changing, WhatOthersReportIsNoReport)
{
    report("boiler", 1, "of a database that was here before");
    Child child = start({"put", "boiler", "stop", "--wait=1"});
    EXPECT_EQ(child.line(), "command 1 stored");
    report("p\xfcmp", 1, "another sensor");
    report("boiler", 2, "another command");
    report("boiler", 1, "another event", "CommandBegun");
    m_store.put(makeEvent("boiler", "CommandDone", 1795292160));
    const Ended ended = child.end();
    EXPECT_EQ(ended.status, 3);
    EXPECT_EQ(ended.err, "obrimctl: the sensor did not report within 1 s that command 1 was carried out\n");
}

TEST_F(Changing, AnOrderThatTheSensorDoesNotKnowFails)
{
    Child child = start({"put", "boiler", "kill", "--wait=100"});
    EXPECT_EQ(child.line(), "command 1 stored");
    report("boiler", 1, "unknown order");
    EXPECT_EQ(child.end().status, 1);
}

TEST_F(Changing, NoTimeToWaitIsALookAllTheSame)
{
    const Ended ended = run({"put", "boiler", "stop", "--wait=0"});
    EXPECT_EQ(ended.status, 3);
    EXPECT_EQ(ended.out, "command 1 stored\n");
}

TEST_F(Changing, WhatIsNamedIsDeletedAndNothingElse)
{
    for (int i = 0; i < 6; ++i) {
        m_store.put(makeEvent("boiler", "Level", 1795292160));
        m_store.put(makeCommand("boiler", 1, 1795292160));
    }
    EXPECT_EQ(run({"delete", "event", "2", "5", "2"}).out, "event 2 deleted\nevent 5 deleted\n");
    EXPECT_EQ(run({"delete", "command", "6"}).out, "command 6 deleted\n");
    EXPECT_THAT(eventIds(), ElementsAre(1, 3, 4, 6));
    EXPECT_THAT(commandIds(), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(Changing, NothingIsDeletedWhenOneIsNotThere)
{
    for (int i = 0; i < 3; ++i)
        m_store.put(makeEvent("boiler", "Level", 1795292160));
    for (const char *missing : {"4", "0", "2147483647"}) {
        const Ended ended = run({"delete", "event", "1", missing, "2"});
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(ended.err, std::string("obrimctl: there is no event ") + missing + "; nothing was deleted\n");
    }
    EXPECT_EQ(run({"delete", "event", "--", "1", "-5"}).err, "obrimctl: there is no event -5; nothing was deleted\n");
    EXPECT_THAT(eventIds(), ElementsAre(1, 2, 3));
}

Ended runOn(const char *library, std::vector<std::string> arguments)
{
    const TestInstallation installation(std::string(ContractLibraries) + "/" + library + "/DBLib.a");
    arguments.insert(arguments.begin(), {"-C", installation.base()});
    return runCtl(arguments);
}

TEST(ChangingOtherLibraries, ACommandIsFoundAgainWhateverTheLibraryReturns)
{
    EXPECT_EQ(runOn("cxx", {"put", "sensor2", "restart"}).out, "command 15 stored\n");
    EXPECT_EQ(runOn("cxx", {"delete", "event", "5"}).out, "event 5 deleted\n");
    EXPECT_EQ(runOn("cxx", {"delete", "command", "12", "14"}).out, "command 12 deleted\ncommand 14 deleted\n");
}

TEST(ChangingOtherLibraries, OneThatFailsIsNamedByItsFunction)
{
    const auto error = [](const char *library, const std::vector<std::string> &arguments) {
        const Ended ended = runOn(library, arguments);
        EXPECT_EQ(ended.status, 1) << library;
        EXPECT_EQ(ended.out, "") << library;
        return ended.err;
    };
    const std::vector<std::string> put = {"put", "sensor1", "stop"};
    EXPECT_EQ(error("throws-put", put), "obrimctl: FDBPutCommand threw an exception: the store is gone\n");
    EXPECT_EQ(error("ends-thread-put", put), "obrimctl: FDBPutCommand called pthread_exit\n");
    const std::vector<std::string> putToC = {"put", "c-sensor", "stop"};
    EXPECT_EQ(error("missing-c-4", putToC), "obrimctl: the DB library has no FDBGetCommands\n");
    EXPECT_EQ(error("missing-c-6", putToC), "obrimctl: the DB library has no FDBPutCommand\n");
    EXPECT_EQ(error("throws-delete", {"delete", "event", "1"}),
              "obrimctl: FDBDeleteEvent threw an exception: the store is gone\n");
    EXPECT_EQ(error("c", {"delete", "command", "1"}).substr(0, 42), "obrimctl: the DB library has no FDBDeleteC");
    EXPECT_THAT(error("codes", {"delete", "event", "1"}), HasSubstr("FDBGetEvents failed with 7"));
}
} // namespace
