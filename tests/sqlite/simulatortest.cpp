// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "clock.h"
#include "eventsource.h"
#include "options.h"
#include "sensorslock.h"
#include "simulation.h"
#include "sqlitestore.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <pty.h>
#include <set>
#include <sstream>
#include <sys/wait.h>

namespace
{
using testing::ElementsAre;
using testing::HasSubstr;

Options parsed(std::vector<std::string> arguments, std::string *fault = nullptr)
{
    arguments.insert(arguments.begin(), "sensor-sim");
    std::vector<char *> pointers;
    for (std::string &argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    std::string found;
    const Options options = parseOptions(int(arguments.size()), pointers.data(), fault ? *fault : found);
    EXPECT_TRUE(fault || found.empty()) << found;
    return options;
}

TEST(SimulatorOptions, HaveTheDocumentedDefaults)
{
    const Options options = parsed({"--config", "x"});
    EXPECT_EQ(options.configDir, "x");
    EXPECT_EQ(options.sensors, 30);
    EXPECT_EQ(options.rate, 20);
    EXPECT_FALSE(options.fill);
    EXPECT_FALSE(options.seed);
    EXPECT_FALSE(options.duration);
}

TEST(SimulatorOptions, AreTaken)
{
    const Options options = parsed({"--config=c", "--sensors", "5", "--rate=2.5", "--fill", "1000", "--seed",
                                    "4294967295", "--duration=0.5", "--log", "file"});
    EXPECT_EQ(options.sensors, 5);
    EXPECT_EQ(options.rate, 2.5);
    EXPECT_EQ(options.fill, 1000);
    EXPECT_EQ(options.seed, 4294967295U);
    EXPECT_EQ(options.duration, 0.5);
    EXPECT_EQ(options.log, "file");
    EXPECT_TRUE(parsed({"--help"}).help);
    EXPECT_TRUE(parsed({"--version"}).version);
}

TEST(SimulatorOptions, FaultsAreNamed)
{
    const std::pair<std::vector<std::string>, const char *> cases[] = {
        {{}, "--config is missing"},
        {{"--config"}, "a value is missing after --config"},
        {{"--config", ""}, "--config cannot be ''"},
        {{"--config", "c", "--sensors", "0"}, "--sensors cannot be '0'"},
        {{"--config", "c", "--rate", "-1"}, "--rate cannot be '-1'"},
        {{"--config", "c", "--rate", "nan"}, "--rate cannot be 'nan'"},
        {{"--config", "c", "--fill", "1x"}, "--fill cannot be '1x'"},
        {{"--config", "c", "--seed", "-1"}, "--seed cannot be '-1'"},
        {{"--config", "c", "--colour"}, "unknown option --colour"},
        {{"--config", "c", "more"}, "unexpected argument more"},
    };
    for (const auto &[arguments, expected] : cases) {
        std::string fault;
        parsed(arguments, &fault);
        EXPECT_EQ(fault, expected);
    }
}

TEST(SimulatorEvents, AreTheSameForTheSameSeed)
{
    const auto sensors = makeSensors(7);
    EventSource one(sensors, 42);
    EventSource two(sensors, 42);
    EventSource other(sensors, 43);
    int differences = 0;
    for (int i = 0; i < 200; ++i) {
        const DrawnEvent a = one.draw();
        const DrawnEvent b = two.draw();
        ASSERT_EQ(a.sensor, b.sensor);
        ASSERT_EQ(a.name, b.name);
        ASSERT_EQ(a.params, b.params);
        differences += a.params == other.draw().params ? 0 : 1;
    }
    EXPECT_GT(differences, 150);
}

TEST(SimulatorEvents, ComeFromAllSensorsWithAllTypesOfParameters)
{
    const auto sensors = makeSensors(6);
    EXPECT_EQ(sensors[0].name, "analyser01");
    EXPECT_EQ(sensors[1].name, "converter01");
    EXPECT_EQ(sensors[5].name, "receiver02");
    EXPECT_EQ(sensors[5].kind, Receiver);
    EventSource source(sensors, 1);
    std::set<std::size_t> reporting;
    for (int i = 0; i < 500; ++i) {
        const DrawnEvent event = source.draw();
        reporting.insert(event.sensor);
        Arena arena;
        ParameterReader reader;
        int count = 0;
        const CMessageEventParam *params = reader.read(arena, event.params, count);
        ASSERT_EQ(count, 3) << event.params;
        EXPECT_EQ(params[0].Type, ParameterInteger);
        EXPECT_EQ(params[1].Type, ParameterDouble);
        EXPECT_EQ(params[2].Type, ParameterText);
    }
    EXPECT_EQ(reporting.size(), 6U);
}

class SimulationTest : public ::testing::Test
{
protected:
    /** It stands: on a slow machine a sensor would otherwise die between its heartbeat and the look at it. */
    static std::time_t wallClock()
    {
        return 1700000000;
    }
    void SetUp() override
    {
        setClock(wallClock);
    }
    void TearDown() override
    {
        setClock(nullptr);
    }
    int order(const char *sensor, int command)
    {
        return m_store.put(makeCommand(sensor, command, 0));
    }
    int newest()
    {
        const auto events = m_store.events(eventsWanted(1));
        return events->size() ? (*events)[0].MessageID : 0;
    }
    /** Events of a sensor after identifier `id`, reports on commands apart. */
    int eventsOf(const std::string &sensor, int id)
    {
        CMessageEventRequest request = eventsWanted(INT_MAX, true);
        request.UseMessageID0 = 1;
        request.MessageID0 = id + 1;
        request.UseSensorID = 1;
        setText(request.SensorID, request.LSensorID, sensor);
        const auto events = m_store.events(request);
        int count = 0;
        for (int i = 0; i < events->size(); ++i)
            count += std::string((*events)[i].EventName) == Simulation::ReportName ? 0 : 1;
        return count;
    }
    int liveness(const std::string &sensor)
    {
        const auto sensors = m_store.sensors(10);
        for (int i = 0; i < sensors->size(); ++i)
            if (sensor == (*sensors)[i].SensorID)
                return (*sensors)[i].MessageType;
        return -1;
    }
    /** The last report: its sensor and parameters as "sensor command=ID order=TEXT result=TEXT". */
    std::string lastReport()
    {
        CMessageEventRequest request = eventsWanted(1);
        request.UseEventName = 1;
        setText(request.EventName, request.LEventName, Simulation::ReportName);
        const auto events = m_store.events(request);
        if (events->size() == 0)
            return "none";
        const CMessageEvent &event = (*events)[0];
        int id = 0;
        std::memcpy(&id, event.par[0].Val, sizeof id);
        return std::string(event.SensorID) + " " + event.par[0].Name + "=" + std::to_string(id) + " " +
               event.par[1].Name + "=" + event.par[1].Val + " " + event.par[2].Name + "=" + event.par[2].Val;
    }
    void advance(double seconds)
    {
        for (double until = m_now + seconds; m_now < until; m_now += 0.25)
            m_simulation.advance(m_now);
    }

    TemporaryFolder m_folder;
    std::string m_path = m_folder.file("x.db");
    SqliteStore m_store{m_path, Sqlite::Durability::Crash};
    Simulation m_simulation{m_store, 3, 5, 100, nullptr};
    double m_now = 0;
};

TEST_F(SimulationTest, ReportsAtTheRateAskedForAndKeepsSensorsAlive)
{
    advance(10);
    EXPECT_NEAR(double(m_simulation.totals().events), 1000, 30);
    EXPECT_EQ(newest(), m_simulation.totals().events);
    EXPECT_EQ(liveness("analyser01"), SensorAlive);
    EXPECT_EQ(liveness("converter01"), SensorAlive);
    EXPECT_EQ(liveness("receiver01"), SensorAlive);
}

TEST_F(SimulationTest, KindsStandInTheKindOfMessage)
{
    advance(2);
    const auto events = m_store.events(eventsWanted(100));
    for (int i = 0; i < events->size(); ++i) {
        const std::string sensor = (*events)[i].SensorID;
        EXPECT_EQ((*events)[i].MessageType, sensor[0] == 'a' ? 1 : sensor[0] == 'c' ? 2 : 3);
        EXPECT_EQ((*events)[i].SensorType, (*events)[i].MessageType);
    }
}

TEST_F(SimulationTest, StopEndsTheEventsAndStartResumesThem)
{
    advance(1);
    const int stop = order("analyser01", CommandStop);
    advance(1);
    EXPECT_EQ(lastReport(), "analyser01 command=" + std::to_string(stop) + " order=Stop result=stopped");
    int id = newest();
    advance(5);
    EXPECT_EQ(eventsOf("analyser01", id), 0);
    EXPECT_GT(eventsOf("converter01", id), 0);
    EXPECT_EQ(liveness("analyser01"), SensorAlive) << "stopped is not dead";
    const int start = order("analyser01", CommandStart);
    advance(1);
    EXPECT_EQ(lastReport(), "analyser01 command=" + std::to_string(start) + " order=Start result=running");
    id = newest();
    advance(5);
    EXPECT_GT(eventsOf("analyser01", id), 0);
}

TEST_F(SimulationTest, RestartDoesBothAndReportsIt)
{
    order("receiver01", CommandStop);
    advance(1);
    const int restart = order("receiver01", CommandRestart);
    advance(1);
    EXPECT_EQ(lastReport(), "receiver01 command=" + std::to_string(restart) + " order=Restart result=running");
    const int id = newest();
    advance(5);
    EXPECT_GT(eventsOf("receiver01", id), 0);
}

TEST_F(SimulationTest, AKilledSensorIsDeadUntilStart)
{
    advance(1);
    const int kill = order("converter01", CommandKill);
    advance(0.5);
    EXPECT_EQ(lastReport(), "converter01 command=" + std::to_string(kill) + " order=Kill result=dead");
    EXPECT_EQ(liveness("converter01"), SensorDead);
    EXPECT_EQ(m_simulation.totals().dead, 1);
    const std::string report = lastReport();
    const int id = newest();
    order("converter01", CommandStop);
    order("converter01", CommandRestart);
    order("converter01", CommandKill);
    advance(5);
    EXPECT_EQ(lastReport(), report) << "the dead hear nothing but Start";
    EXPECT_EQ(eventsOf("converter01", id), 0);
    EXPECT_EQ(liveness("converter01"), SensorDead);
    order("converter01", CommandStart);
    advance(1);
    EXPECT_EQ(liveness("converter01"), SensorAlive);
    EXPECT_EQ(m_simulation.totals().commands, 2);
}

TEST_F(SimulationTest, AnUnknownOrderIsReportedAndChangesNothing)
{
    const int odd = order("analyser01", 77);
    order("nobody", CommandKill);
    advance(1);
    EXPECT_EQ(lastReport(), "analyser01 command=" + std::to_string(odd) + " order=77 result=unknown order");
    EXPECT_EQ(m_simulation.totals().commands, 1);
}

TEST_F(SimulationTest, ANewRunGoesOnWhereTheLastEnded)
{
    order("analyser01", CommandKill);
    order("converter01", CommandStop);
    advance(1);
    const int later = order("converter01", CommandStart);
    const std::int64_t before = m_store.connection().number("SELECT count(*) FROM event");
    Simulation next(m_store, 3, 5, 0, nullptr);
    EXPECT_EQ(next.totals().dead, 1);
    next.advance(0);
    EXPECT_EQ(lastReport(), "converter01 command=" + std::to_string(later) + " order=Start result=running");
    EXPECT_EQ(m_store.connection().number("SELECT count(*) FROM event"), before + 1) << "no command is obeyed twice";
}

TEST_F(SimulationTest, ANewRunReadsNoCommandAgain)
{
    for (int i = 0; i < 5; ++i)
        order("analyser01", CommandRestart);
    const int last = order("nobody", CommandKill);
    advance(1);
    for (const StoredSensor &sensor : m_store.storedSensors())
        EXPECT_EQ(sensor.lastCommand, last) << sensor.name << ": a new run reads from the least of these";
    // Without a simulator a command waits for the next one.
    order("receiver01", CommandKill);
    Simulation next(m_store, 3, 5, 0, nullptr);
    next.advance(0);
    EXPECT_EQ(next.totals().commands, 1);
    EXPECT_EQ(next.totals().dead, 1);
}

TEST_F(SimulationTest, SensorsThatAreNewHearNoOldCommands)
{
    order("analyser02", CommandKill);
    order("converter02", CommandKill);
    m_store.put(makeEvent("converter02", "e", 0));
    Simulation more(m_store, 6, 5, 0, nullptr);
    more.advance(0);
    EXPECT_EQ(more.totals().dead, 0);
    EXPECT_EQ(more.totals().commands, 0);
    order("converter02", CommandKill);
    more.advance(1);
    EXPECT_EQ(more.totals().dead, 1);
}

TEST_F(SimulationTest, AnEarlierStateThatIsRestoredUnderItIsGoneOnFrom)
{
    order("analyser01", CommandRestart);
    order("analyser01", CommandStop);
    advance(1);
    m_store.connection().run("UPDATE sensor SET state = 'running', last_command = 0; DELETE FROM command;"
                             "UPDATE sqlite_sequence SET seq = 0 WHERE name = 'command';"
                             "DELETE FROM sensor WHERE name = 'converter01'");
    advance(1);
    const int before = newest();
    EXPECT_EQ(order("analyser01", CommandRestart), 1);
    EXPECT_EQ(order("converter01", CommandStop), 2);
    advance(1);
    EXPECT_EQ(lastReport(), "converter01 command=2 order=Stop result=stopped");
    EXPECT_GT(eventsOf("analyser01", before), 0);
    EXPECT_EQ(m_store.connection().number("SELECT count(*) FROM sensor WHERE description = ''"), 0);
}

TEST_F(SimulationTest, WhatCouldNotBeWrittenIsWrittenLater)
{
    advance(1);
    const std::int64_t before = m_simulation.totals().events;
    m_store.connection().run("PRAGMA query_only=1");
    EXPECT_THROW(m_simulation.advance(m_now + 1), Sqlite::Error);
    EXPECT_EQ(m_simulation.totals().events, before);
    m_store.connection().run("PRAGMA query_only=0");
    m_simulation.advance(m_now + 1);
    EXPECT_GE(m_simulation.totals().events, before + 100);
    EXPECT_EQ(newest(), m_simulation.totals().events);
}

TEST_F(SimulationTest, HistoryEndsNowAndIsTheSameForTheSameSeed)
{
    Simulation one(m_store, 9, 77, 20, nullptr);
    one.fill(60000, [](int) { return true; });
    const auto events = m_store.events(eventsWanted(60000, true));
    ASSERT_EQ(events->size(), 60000);
    EXPECT_EQ((*events)[0].EventTime, wallClock() - 2999);
    EXPECT_EQ((*events)[59999].EventTime, wallClock());

    SqliteStore second(m_folder.file("second.db"), Sqlite::Durability::Crash);
    Simulation two(second, 9, 77, 20, nullptr);
    two.fill(60000, [](int) { return true; });
    const auto again = second.events(eventsWanted(60000, true));
    ASSERT_EQ(again->size(), 60000);
    for (int i = 0; i < again->size(); ++i) {
        ASSERT_STREQ((*again)[i].SensorID, (*events)[i].SensorID);
        ASSERT_STREQ((*again)[i].EventName, (*events)[i].EventName);
        ASSERT_TRUE(sameParameters((*again)[i], (*events)[i]));
    }
}

TEST_F(SimulationTest, HistoryCanBeStopped)
{
    m_simulation.fill(200000, [](int) { return false; });
    EXPECT_EQ(m_simulation.totals().events, newest());
    EXPECT_LT(newest(), 200000);
}

TEST(SensorsLock, IsGivenBackAtItsEnd)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("x.db");
    std::ofstream{path};
    std::filesystem::permissions(path, std::filesystem::perms(0444));
    auto first = std::make_unique<SensorsLock>();
    first->take(path);
    EXPECT_THROW(SensorsLock().take(path, 0), Sqlite::Error);
    first.reset();
    SensorsLock().take(path, 0);
}

TEST(SensorsLock, NamesTheFileThatCannotBeLocked)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("missing.db");
    SensorsLock lock;
    try {
        lock.take(path);
        ADD_FAILURE() << "there is no such file";
    } catch (const Sqlite::Error &error) {
        EXPECT_EQ(error.what(), path + ": the sensors cannot be taken (No such file or directory)");
    }
}

/** The program itself, as a process. */
class ProgramTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(m_folder.file("Config"));
    }
    pid_t start(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {SENSOR_SIM, "--config", m_folder.file("Config")});
        std::vector<char *> pointers;
        for (std::string &argument : arguments)
            pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        const pid_t child = ::fork();
        if (child == 0) {
            const int out = ::open(m_folder.file("out").c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
            ::dup2(out, STDOUT_FILENO);
            ::dup2(out, STDERR_FILENO);
            ::execv(pointers[0], pointers.data());
            ::_exit(127);
        }
        return child;
    }
    static int end(pid_t child)
    {
        int status = -1;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    std::string textOf(const std::string &name)
    {
        std::ifstream file(m_folder.file(name));
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    template <class Condition> static void await(Condition condition)
    {
        for (int i = 0; i < 6000 && !condition(); ++i)
            ::usleep(10000);
        EXPECT_TRUE(condition());
    }
    /** Waits until the log has a line; the program is then in full run. */
    void awaitEvents()
    {
        await([this] { return !textOf("log").empty(); });
    }
    /** Identifiers of the events that the log has as written. */
    std::multiset<int> loggedEvents()
    {
        std::multiset<int> ids;
        std::istringstream log(textOf("log"));
        for (std::string line; std::getline(log, line);)
            if (line.rfind("event ", 0) == 0)
                ids.insert(std::atoi(line.c_str() + 6));
        return ids;
    }
    static std::multiset<int> eventsIn(const std::string &path)
    {
        SqliteStore store(path, Sqlite::Durability::Crash);
        const auto events = store.events(eventsWanted(INT_MAX));
        std::multiset<int> ids;
        for (int i = 0; i < events->size(); ++i)
            ids.insert((*events)[i].MessageID);
        return ids;
    }

    TemporaryFolder m_folder;
    std::string m_database = m_folder.file("Data/installation.db");
};

TEST_F(ProgramTest, FillsAndEnds)
{
    EXPECT_EQ(end(start({"--fill", "2500", "--seed", "3"})), 0);
    SqliteStore store(m_database, Sqlite::Durability::Crash);
    EXPECT_EQ(store.events(eventsWanted(INT_MAX))->size(), 2500);
    EXPECT_THAT(textOf("out"), HasSubstr("2500 of 2500 events of history written"));
}

TEST_F(ProgramTest, EndsAfterItsDurationWithAllEventsInTheDatabaseExactlyOnce)
{
    EXPECT_EQ(end(start({"--duration", "1", "--rate", "300", "--log", m_folder.file("log")})), 0);
    SqliteStore store(m_database, Sqlite::Durability::Crash);
    const auto events = store.events(eventsWanted(INT_MAX, true));
    EXPECT_EQ(events->size(), 300);
    std::istringstream log(textOf("log"));
    int place = 0;
    for (std::string what, sensor, name; log >> what;) {
        int id = 0;
        log >> id >> sensor >> name;
        ASSERT_EQ(what, "event");
        ASSERT_LT(place, events->size());
        EXPECT_EQ((*events)[place].MessageID, id);
        EXPECT_STREQ((*events)[place].SensorID, sensor.c_str());
        EXPECT_STREQ((*events)[place].EventName, name.c_str());
        ++place;
    }
    EXPECT_EQ(place, events->size());
    EXPECT_THAT(textOf("out"), HasSubstr("300 events written"));
}

TEST_F(ProgramTest, EndsCleanlyOnSignals)
{
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        std::filesystem::remove(m_folder.file("log"));
        const pid_t child = start({"--rate", "200", "--log", m_folder.file("log")});
        awaitEvents();
        ::kill(child, signal);
        EXPECT_EQ(end(child), 0) << "signal " << signal;
        EXPECT_THAT(textOf("out"), HasSubstr("events written"));
    }
    SqliteStore store(m_database, Sqlite::Durability::Crash);
    EXPECT_EQ(store.connection().number("SELECT count(*) FROM pragma_integrity_check WHERE integrity_check = 'ok'"), 1);
}

TEST_F(ProgramTest, ShowsOneLineOnATerminal)
{
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        ::execl(SENSOR_SIM, SENSOR_SIM, "--config", m_folder.file("Config").c_str(), "--rate", "100", "--duration",
                "2.2", nullptr);
        ::_exit(127);
    }
    std::string shown;
    char bytes[256];
    for (ssize_t n = 0; (n = ::read(terminal, bytes, sizeof bytes)) > 0;)
        shown.append(bytes, std::size_t(n));
    ::close(terminal);
    EXPECT_EQ(end(child), 0);
    EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 1) << shown;
    EXPECT_GE(std::count(shown.begin(), shown.end(), '\r'), 3) << "it is written over: " << shown;
    EXPECT_THAT(shown, HasSubstr("\rsensor-sim: 30 sensors, 0 dead, 220 events written, 0 commands carried out"));
}

TEST_F(ProgramTest, ObeysTheCommandsOfAnotherProcess)
{
    const pid_t child = start({"--log", m_folder.file("log")});
    awaitEvents();
    {
        SqliteStore store(m_database, Sqlite::Durability::Crash);
        const int id = store.put(makeCommand("receiver03", CommandKill, 0));
        const std::string line = "command " + std::to_string(id) + " receiver03 Kill\n";
        for (int i = 0; i < 1000 && textOf("log").find(line) == std::string::npos; ++i)
            ::usleep(10000);
        EXPECT_THAT(textOf("log"), HasSubstr(line));
        EXPECT_EQ(store.connection().number("SELECT count(*) FROM sensor WHERE state = 'killed'"), 1);
    }
    ::kill(child, SIGTERM);
    EXPECT_EQ(end(child), 0);
}

TEST_F(ProgramTest, IsTheOnlyOneToPlayADatabasesSensors)
{
    const pid_t first = start({"--rate", "50", "--log", m_folder.file("log")});
    awaitEvents();
    EXPECT_EQ(end(start({"--duration", "0.1"})), 1);
    const std::string path = m_folder.file("Config/../Data/installation.db");
    EXPECT_EQ(textOf("out"), "sensor-sim: " + path + ": another sensor-sim plays the sensors of this database\n");

    // By another name it is still the same database.
    std::filesystem::create_directory_symlink("Data", m_folder.file("Alias"));
    std::ofstream(m_folder.file("Config/DBLib.def")) << "Database=../Alias/installation.db\n";
    EXPECT_EQ(end(start({"--duration", "0.1"})), 1);
    EXPECT_THAT(textOf("out"), HasSubstr("/Alias/installation.db: another sensor-sim plays the sensors"));
    EXPECT_EQ(end(start({"--fill", "10"})), 0) << textOf("out");

    // The first one goes on, and when it is killed the next one may begin at once.
    {
        SqliteStore store(m_database, Sqlite::Durability::Crash);
        const int id = store.put(makeCommand("receiver01", CommandStop, 0));
        const std::string line = "command " + std::to_string(id) + " receiver01 Stop\n";
        for (int i = 0; i < 2000 && textOf("log").find(line) == std::string::npos; ++i)
            ::usleep(10000);
        EXPECT_THAT(textOf("log"), HasSubstr(line));
    }
    ::kill(first, SIGKILL);
    EXPECT_EQ(end(start({"--duration", "0.1"})), 0) << textOf("out");
    EXPECT_EQ(end(first), -SIGKILL);
    for (const auto &entry : std::filesystem::directory_iterator(m_folder.file("Data")))
        EXPECT_THAT(entry.path().filename().string(), testing::StartsWith("installation.db")) << "was left behind";
}

TEST_F(ProgramTest, ADatabaseOfAnotherNameBesideItIsAnother)
{
    const pid_t first = start({"--rate", "50", "--log", m_folder.file("log")});
    awaitEvents();
    std::ofstream(m_folder.file("Config/DBLib.def")) << "Database=../Data/other.db\n";
    EXPECT_EQ(end(start({"--duration", "0.1"})), 0) << textOf("out");
    ::kill(first, SIGTERM);
    EXPECT_EQ(end(first), 0);
}

TEST_F(ProgramTest, GoesOnWhenAFileThatWasGoneIsBack)
{
    const pid_t child = start({"--rate", "200", "--log", m_folder.file("log")});
    awaitEvents();
    const std::string away = m_folder.file("away.db");
    std::filesystem::rename(m_database, away);
    await([&] { return textOf("out").find(": the database is gone\n") != std::string::npos; });
    EXPECT_FALSE(std::filesystem::exists(m_database));
    const std::string before = textOf("log");
    std::filesystem::rename(away, m_database);
    await([&] { return textOf("log").size() > before.size() + 1000; });
    ::kill(child, SIGTERM);
    EXPECT_EQ(end(child), 0);
    EXPECT_EQ(eventsIn(m_database), loggedEvents());
    EXPECT_THAT(textOf("out"), HasSubstr(" " + std::to_string(loggedEvents().size()) + " events written"));
}

TEST_F(ProgramTest, EndsWithAnErrorWhenItsFileIsGone)
{
    const pid_t child = start({"--rate", "200", "--log", m_folder.file("log")});
    awaitEvents();
    const std::string away = m_folder.file("away.db");
    std::filesystem::rename(m_database, away);
    await([&] { return textOf("out").find(": the database is gone\n") != std::string::npos; });
    ::kill(child, SIGTERM);
    EXPECT_EQ(end(child), 1);
    EXPECT_FALSE(std::filesystem::exists(m_database));
    EXPECT_EQ(eventsIn(away), loggedEvents()) << "what was not stored was not counted as written";
}

TEST_F(ProgramTest, FollowsAFileThatWasReplaced)
{
    // Its events have other numbers, so that each tells where it is.
    const std::string other = m_folder.file("other.db");
    {
        SqliteStore store(other, Sqlite::Durability::Crash);
        store.registerSensor("analyser01", 1, "");
        store.setState("analyser01", SensorState::Killed);
        store.put(makeEvent("s", "e", 0));
        store.connection().run("DELETE FROM event; UPDATE sqlite_sequence SET seq = 1000000 WHERE name = 'event'");
    }
    const pid_t child = start({"--rate", "200", "--log", m_folder.file("log")});
    awaitEvents();
    const std::string away = m_folder.file("away.db");
    std::filesystem::rename(m_database, away);
    std::filesystem::copy_file(other, m_database);
    await([&] { return textOf("log").find("event 10005") != std::string::npos; });
    {
        SqliteStore store(m_database, Sqlite::Durability::Crash);
        const int id = store.put(makeCommand("analyser01", CommandStart, 0));
        await([&] {
            return textOf("log").find("command " + std::to_string(id) + " analyser01 Start") != std::string::npos;
        });
        EXPECT_EQ(store.connection().number("SELECT count(*) FROM event WHERE id > 1000000"),
                  store.connection().number("SELECT count(*) FROM event"));
    }
    ::kill(child, SIGTERM);
    EXPECT_EQ(end(child), 0);
    std::multiset<int> stored = eventsIn(away);
    for (const int id : eventsIn(m_database))
        stored.insert(id);
    EXPECT_EQ(stored, loggedEvents());
    EXPECT_THAT(textOf("out"), HasSubstr(" 0 dead, ")) << "it was dead in the file that came";
}

TEST_F(ProgramTest, FaultsAreNamed)
{
    EXPECT_EQ(end(start({"--rate", "x"})), 2);
    EXPECT_THAT(textOf("out"), HasSubstr("--rate cannot be 'x'"));
    std::ofstream(m_folder.file("Config/DBLib.def")) << "Database=/proc/nowhere/x.db\n";
    EXPECT_EQ(end(start({"--fill", "10"})), 1);
    EXPECT_THAT(textOf("out"), HasSubstr("/proc/nowhere/x.db: "));
}

TEST_F(ProgramTest, AMistypedFolderIsNamedAndNotMade)
{
    const std::string mistyped = m_folder.file("Confg");
    EXPECT_EQ(end(start({"--config", mistyped, "--fill", "10"})), 2);
    EXPECT_EQ(textOf("out"), "sensor-sim: --config " + mistyped + ": No such file or directory\n");
    EXPECT_FALSE(std::filesystem::exists(mistyped));
    EXPECT_FALSE(std::filesystem::exists(m_database));
    std::ofstream(mistyped) << "a file";
    EXPECT_EQ(end(start({"--config", mistyped, "--fill", "10"})), 2);
    EXPECT_EQ(textOf("out"), "sensor-sim: --config " + mistyped + ": Not a directory\n");
}

TEST_F(ProgramTest, MakesNoDatabaseWhenTheSettingsCannotBeRead)
{
    const std::string definitions = m_folder.file("Config/DBLib.def");
    std::filesystem::create_directory(definitions);
    EXPECT_EQ(end(start({"--fill", "10"})), 1);
    EXPECT_EQ(textOf("out"), "sensor-sim: " + definitions + ": the settings cannot be read (Not a regular file)\n");
    EXPECT_FALSE(std::filesystem::exists(m_database));
}
} // namespace
