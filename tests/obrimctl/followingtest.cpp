// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Lists that go on, until they are ended: nothing is missed, whatever happens meanwhile.
#include "child.h"
#include "clock.h"
#include "sqlitestore.h"
#include "storetesting.h"
#include "testinstallation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace
{
using testing::HasSubstr;
using testing::StartsWith;

/** More than two pages of what is read at once. */
constexpr int Burst = 40000;

class Following : public testing::Test
{
protected:
    Following()
    {
        m_store.emplace(m_database, Sqlite::Durability::Crash);
    }
    int put(const char *sensor = "boiler", const char *name = "Level")
    {
        return m_store->put(makeEvent(sensor, name, 1795292160));
    }
    Child follow(std::vector<std::string> arguments, const char *interval = "0.02")
    {
        arguments.insert(arguments.begin(), {"-C", m_installation.base()});
        arguments.insert(arguments.end(), {"-f", "-o", "short", "--interval", interval});
        return Child(arguments);
    }
    static void expectWell(Child &child)
    {
        child.signal(SIGINT);
        const Ended ended = child.end();
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.out, "");
    }

    TestInstallation m_installation{DBLIB_SQLITE};
    std::string m_database = m_installation.path("Data/installation.db");
    std::optional<SqliteStore> m_store;
};

TEST_F(Following, WhatComesIsListedOnce)
{
    put();
    put();
    put();
    Child child = follow({"events", "-n", "2"});
    EXPECT_THAT(child.line(), StartsWith("2 "));
    EXPECT_THAT(child.line(), StartsWith("3 "));
    put();
    EXPECT_EQ(child.line(), "4 2026-11-21T20:16:00+00:00 analyser boiler Level");
    put();
    put();
    EXPECT_THAT(child.line(), StartsWith("5 "));
    EXPECT_THAT(child.line(), StartsWith("6 "));
    expectWell(child);
    EXPECT_EQ(child.errors(), "");
}

TEST_F(Following, AnEmptyListBeginsWithTheFirstRecord)
{
    Child child = follow({"commands"});
    m_store->put(makeCommand("boiler", 1, 1795292160));
    EXPECT_EQ(child.line(), "1 2026-11-21T20:16:00+00:00 start boiler");
    m_store->put(makeCommand("boiler", 4, 1795292160));
    EXPECT_EQ(child.line(), "2 2026-11-21T20:16:00+00:00 kill boiler");
    expectWell(child);
}

/** Puts events until the program, which may look at any time, has listed one. Returns its identifier. */
int firstListed(Child &child, const std::function<int()> &put)
{
    std::atomic<int> listed = 0;
    std::thread reader([&] { listed = std::stoi("0" + child.line()); });
    while (listed == 0 && put() < 10000)
        usleep(20000);
    reader.join();
    return listed;
}

TEST_F(Following, NoneOfTheOldOnesAreListedWhereNoneAreWanted)
{
    put();
    put();
    Child child = follow({"events", "-n", "0"});
    EXPECT_GT(firstListed(child, [this] { return put(); }), 2);
    child.signal(SIGINT);
    EXPECT_EQ(child.end().status, 0);
}

TEST_F(Following, ABurstLeavesNoGap)
{
    put();
    Child child = follow({"events"});
    EXPECT_THAT(child.line(), StartsWith("1 "));
    for (int round = 0; round < 2; ++round) {
        Store::Batch batch(*m_store);
        for (int i = 0; i < Burst; ++i)
            put();
        batch.commit();
    }
    for (int id = 2; id <= 1 + 2 * Burst; ++id)
        ASSERT_THAT(child.line(), StartsWith(std::to_string(id) + " "));
    expectWell(child);
}

TEST_F(Following, OnlyWhatTheFilterSelectsIsListed)
{
    put("boiler1", "Level");
    Child child = follow({"events", "-s", "boil*", "-e", "l?vel"});
    EXPECT_THAT(child.line(), StartsWith("1 "));
    put("pump", "Level");
    put("boiler2", "Started");
    const int meant = put("boiler2", "Level");
    EXPECT_THAT(child.line(), StartsWith(std::to_string(meant) + " "));
    expectWell(child);
}

TEST_F(Following, ADatabaseThatIsAwayIsToldOnceAndNothingIsMissed)
{
    put();
    Child child = follow({"events"});
    EXPECT_THAT(child.line(), StartsWith("1 "));
    m_store.reset();
    std::filesystem::rename(m_installation.path("Data"), m_installation.path("Away"));
    std::ofstream(m_installation.path("Data")) << "in the way";
    ASSERT_TRUE(child.awaitError("trying again every 0.02 s\n")) << child.errors();
    m_store.emplace(m_installation.path("Away/installation.db"), Sqlite::Durability::Crash);
    for (int i = 0; i < 100; ++i)
        put();
    m_store.reset();
    std::filesystem::remove(m_installation.path("Data"));
    std::filesystem::rename(m_installation.path("Away"), m_installation.path("Data"));
    for (int id = 2; id <= 101; ++id)
        ASSERT_THAT(child.line(), StartsWith(std::to_string(id) + " "));
    EXPECT_TRUE(child.awaitError("obrimctl: it works again\n"));
    expectWell(child);
    const std::string told = "obrimctl: FDBGetEvents failed with ";
    EXPECT_THAT(child.errors(), HasSubstr(told));
    EXPECT_EQ(child.errors().find(told), child.errors().rfind(told)) << child.errors();
}

TEST_F(Following, ADatabaseFromABackupIsGoneOnWith)
{
    for (int i = 0; i < 5; ++i)
        put();
    m_store->connection().run(("VACUUM INTO '" + m_installation.path("backup.db") + "'").c_str());
    for (int i = 0; i < 5; ++i)
        put();
    Child child = follow({"events", "-n", "1"});
    EXPECT_THAT(child.line(), StartsWith("10 "));
    m_store.reset();
    for (const char *end : {"-wal", "-shm"})
        std::filesystem::remove(m_database + end);
    std::filesystem::rename(m_installation.path("backup.db"), m_database);
    m_store.emplace(m_database, Sqlite::Durability::Crash);
    // Only when it has looked at the backup is anything new to it.
    const int listed = firstListed(child, [this] { return put(); });
    EXPECT_GT(listed, 5);
    EXPECT_LT(listed, 1000);
    child.signal(SIGINT);
    EXPECT_EQ(child.end().status, 0);
}

TEST_F(Following, ASensorIsListedAgainWhenItDiesOrComesAlive)
{
    m_store->registerSensor("boiler", 1, "Boiler");
    m_store->registerSensor("pump", 2, "Pump");
    m_store->keepAlive({"boiler", "pump"}, currentTime());
    std::ofstream(m_installation.path("Config/DBLib.def")) << "DeadAfter=100000\n";
    Child child = follow({"sensors"});
    EXPECT_THAT(child.line(), StartsWith("boiler analyser alive"));
    EXPECT_THAT(child.line(), StartsWith("pump converter alive"));
    m_store->setState("pump", SensorState::Killed);
    EXPECT_THAT(child.line(), StartsWith("pump converter dead"));
    m_store->setState("pump", SensorState::Running);
    EXPECT_THAT(child.line(), StartsWith("pump converter alive"));
    m_store->registerSensor("valve", 3, "Valve");
    EXPECT_THAT(child.line(), StartsWith("valve receiver unknown"));
    expectWell(child);
}

TEST_F(Following, AReaderThatGoesEndsItAtOnceAndQuietly)
{
    put();
    Child child = follow({"events"}, "100000");
    EXPECT_THAT(child.line(), StartsWith("1 "));
    child.closeOutput();
    const Ended ended = child.end();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "");
}

TEST_F(Following, SignalsEndIt)
{
    put();
    for (const int signal : {SIGINT, SIGTERM}) {
        Child child = follow({"events"}, "100000");
        EXPECT_THAT(child.line(), StartsWith("1 "));
        child.signal(signal);
        EXPECT_EQ(child.end().status, 0);
    }
}

TEST_F(Following, StoppingAndContinuingDoesNotEndIt)
{
    put();
    Child child = follow({"events"});
    EXPECT_THAT(child.line(), StartsWith("1 "));
    child.signal(SIGSTOP);
    put();
    child.signal(SIGCONT);
    EXPECT_THAT(child.line(), StartsWith("2 "));
    put();
    EXPECT_THAT(child.line(), StartsWith("3 "));
    expectWell(child);
}
} // namespace
