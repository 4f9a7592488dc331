// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file The simulator on PostgreSQL, alone and beside others. */
#include "breakingproxy.h"
#include "runningprogram.h"
#include "servertesting.h"
#include "simulation.h"

#include <gmock/gmock.h>

namespace
{
constexpr int Commands = 12;

class SimulatorTest : public ServerTest
{
protected:
    void SetUp() override
    {
        ServerTest::SetUp();
        m_store = openStore();
        std::ofstream(m_folder.file("DBLib.def")) << "Connection=" << connection() << "\n";
    }
    std::vector<std::string> simulator(const std::vector<std::string> &more) const
    {
        std::vector<std::string> command = {SENSOR_SIM, "--config", m_folder.path()};
        command.insert(command.end(), more.begin(), more.end());
        return command;
    }
    int number(const std::string &sql) const
    {
        return std::atoi(value(sql).c_str());
    }

    std::unique_ptr<Store> m_store;
    TemporaryFolder m_folder;
};

TEST_F(SimulatorTest, ItFillsTheDatabaseThatDBLibDefNames)
{
    EXPECT_EQ(RunningProgram(simulator({"--fill", "2000"})).wait(), 0);
    EXPECT_EQ(m_store->events(eventsWanted(5000))->size(), 2000);
}

TEST_F(SimulatorTest, SeveralPlayTheSameSensorsAndObeyEachCommandOnce)
{
    std::vector<std::unique_ptr<RunningProgram>> programs;
    for (int i = 0; i < 3; ++i)
        programs.push_back(std::make_unique<RunningProgram>(simulator({"--sensors", "6", "--rate", "30"})));
    ASSERT_TRUE(eventually([&] { return number("SELECT count(*) FROM obrim.event") > 10; }));
    for (int i = 0; i < Commands; ++i)
        m_store->put(makeCommand("analyser01", i % 2 ? CommandStart : CommandStop, 1000));
    const std::string done = "FROM obrim.events WHERE name = 'CommandDone'";
    EXPECT_TRUE(eventually([&] { return number("SELECT count(*) " + done) >= Commands; }));
    for (const auto &program : programs)
        program->signal(SIGTERM);
    for (const auto &program : programs)
        EXPECT_EQ(program->wait(), 0);
    EXPECT_EQ(number("SELECT count(*) " + done), Commands);
    EXPECT_EQ(number("SELECT count(DISTINCT params->>'command') " + done), Commands);
}

TEST_F(SimulatorTest, APortionWithoutAnAnswerIsStoredOnce)
{
    BreakingProxy proxy(server().host());
    Settings words = settings("host=" + proxy.host() + " user=owner dbname=" + m_database);
    words.statementSeconds = 1;
    PostgresStore store(words);
    Simulation simulation(store, 3, 1, 20, nullptr);
    simulation.advance(1);
    proxy.breakAt("put_events", 1, BreakingProxy::Late);
    EXPECT_THROW(simulation.advance(2), StoreError);
    simulation.advance(3);
    EXPECT_EQ(proxy.broken(), 1);
    EXPECT_EQ(simulation.totals().events, 60);
    EXPECT_EQ(number("SELECT count(*) FROM obrim.event"), 60);
}
} // namespace
