// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sqlitestore.h"
#include "clock.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <thread>

namespace
{
using testing::ElementsAre;
using testing::HasSubstr;

std::time_t shownTime = 0;

class StoreTest : public ::testing::Test
{
protected:
    TemporaryFolder m_folder;
    std::string m_path = m_folder.file("Data/deep/installation.db");
    std::unique_ptr<SqliteStore> m_store = std::make_unique<SqliteStore>(m_path, Sqlite::Durability::Crash);

    void reopen()
    {
        m_store.reset();
        m_store = std::make_unique<SqliteStore>(m_path, Sqlite::Durability::Crash);
    }
    std::string integrity()
    {
        Sqlite::Statement check(m_store->connection(), "PRAGMA integrity_check");
        check.step();
        return std::string(check.text(0));
    }
    std::string textOf(const std::string &sql)
    {
        Sqlite::Statement statement(m_store->connection(), sql);
        statement.step();
        return std::string(statement.text(0));
    }
};

TEST_F(StoreTest, AReaderDoesNotStopAWriter)
{
    m_store->put(makeEvent("a", "e", 0));
    SqliteStore reader(m_path, Sqlite::Durability::Crash, 0);
    Sqlite::Transaction view(reader.connection(), Sqlite::Transaction::Read);
    EXPECT_EQ(reader.connection().number("SELECT count(*) FROM event"), 1);
    EXPECT_EQ(m_store->put(makeEvent("b", "e", 0)), 2);
    EXPECT_EQ(reader.connection().number("SELECT count(*) FROM event"), 1) << "the view stays one";
}

TEST_F(StoreTest, AClockThatRanAheadLeavesNoSensorThere)
{
    constexpr int ahead = 10 * 365 * 86400;
    shownTime = 1000;
    setClock([] { return shownTime; });
    m_store->registerSensor("talks", 1, "");
    m_store->registerSensor("lives", 1, "");
    m_store->registerSensor("many", 1, "");
    const auto work = [&] {
        m_store->put(makeEvent("talks", "e", currentTime()));
        m_store->keepAlive({"lives"}, currentTime());
        NewMessage message;
        message.series.sensor = "many";
        message.time = currentTime();
        m_store->putEvents(std::vector<NewMessage>(2000, message));
    };
    const auto expectTimes = [&](std::time_t time) {
        const auto sensors = m_store->sensors(10);
        for (int i = 0; i < sensors->size(); ++i)
            EXPECT_EQ((*sensors)[i].EventTime, time) << (*sensors)[i].SensorID;
        EXPECT_EQ((*sensors)[0].MessageType, SensorAlive);
    };
    work();
    expectTimes(1000);
    shownTime += ahead;
    work();
    expectTimes(1000 + ahead);
    shownTime += 5 - ahead;
    work();
    expectTimes(1005);
    // An event that comes late is no reason to go back.
    m_store->put(makeEvent("talks", "e", 900));
    expectTimes(1005);
    setClock(nullptr);
}

TEST_F(StoreTest, RowsAreReadableInTheShell)
{
    CMessageEvent event = makeEvent("analyser01", "overheat", 0, 1);
    addInteger(event, "level", 5);
    m_store->put(event);
    m_store->put(makeCommand("analyser01", CommandKill, 0));
    m_store->registerSensor("analyser01", 1, "text");
    EXPECT_EQ(textOf("SELECT id || sensor || name || params FROM events"), "1analyser01overheat{\"level\":5}");
    EXPECT_EQ(textOf("SELECT json_extract(params, '$.level') FROM events"), "5");
    EXPECT_EQ(textOf("SELECT sensor || command FROM commands"), "analyser01Kill");
    EXPECT_EQ(textOf("SELECT type || state FROM sensors"), "analyserrunning");
}

TEST_F(StoreTest, RowsOfOtherProgramsAreFoundByTime)
{
    m_store->put(makeEvent("s", "e", 1000));
    m_store->connection().run(
        "INSERT INTO event(series, time) VALUES(1, 5000); UPDATE event SET time = 9000 WHERE id = 1");
    CMessageEventRequest request = eventsWanted(10, true);
    request.UseEventTime0 = 1;
    request.EventTime0 = 4000;
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(1, 2));
    request.EventTime0 = 6000;
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(1));
}

/** The statements of the operator's page. */
TEST_F(StoreTest, ThinningOutByAgeLeavesTheRestFindable)
{
    std::vector<NewMessage> many(5000);
    for (std::size_t i = 0; i < many.size(); ++i) {
        many[i].series.sensor = "s";
        many[i].time = 1000 + std::int64_t(i);
    }
    m_store->putEvents(many);
    m_store->connection().run(
        "DELETE FROM event WHERE id IN (SELECT id FROM event WHERE time < 4000 ORDER BY id LIMIT 20000)");
    CMessageEventRequest request = eventsWanted(2, true);
    request.UseEventTime1 = 1;
    request.EventTime1 = 5000;
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(3001, 3002));
    const std::int64_t zones = m_store->connection().number("SELECT count(*) FROM event_zone");
    m_store->connection().run("DELETE FROM event_zone WHERE NOT EXISTS (SELECT 1 FROM event WHERE id BETWEEN "
                              "block << (8 + 6 * level) AND ((block + 1) << (8 + 6 * level)) - 1)");
    EXPECT_LT(m_store->connection().number("SELECT count(*) FROM event_zone"), zones);
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(3001, 3002));
    request.UseEventTime1 = 0;
    request.UseEventTime0 = 1;
    EXPECT_EQ(m_store->events(request)->size(), 2);
    request.NMax = INT_MAX;
    EXPECT_EQ(m_store->events(request)->size(), 2000);
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 3)), 5001);
}

TEST_F(StoreTest, RowsOfAnUnknownSeriesAreLeftOut)
{
    m_store->put(makeEvent("s", "e", 1000));
    m_store->connection().run("INSERT INTO event(series, time) VALUES(77, 5000), (-1, 0), (9999999999, 0)");
    EXPECT_EQ(m_store->events(eventsWanted(10))->size(), 1);
}

TEST_F(StoreTest, AnOlderVersionIsBroughtUpToDate)
{
    m_store.reset();
    std::filesystem::remove_all(m_folder.file("Data"));
    std::filesystem::create_directories(m_folder.file("Data/deep"));
    {
        Sqlite::Connection connection(m_path, Sqlite::Durability::Crash, 100);
        Schema::createOlder(connection, 1);
        connection.run(
            "INSERT INTO event_series VALUES(1, 1, 1, 's', 'e');"
            "INSERT INTO event(id, series, time) VALUES(7, 1, 500), (5000000, 1, 800), (9000000, 1, 900);"
            "INSERT INTO command_series VALUES(1, 1, 4, 's'); INSERT INTO command(series, time) VALUES(1, 600)");
    }
    reopen();
    EXPECT_EQ(m_store->connection().number("PRAGMA user_version"), Schema::Version);
    CMessageEventRequest request = eventsWanted(10, true);
    request.UseEventTime0 = 1;
    request.EventTime0 = 600;
    request.UseEventTime1 = 1;
    request.EventTime1 = 850;
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(5000000));
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 1)), 9000001);
    EXPECT_EQ(m_store->commands(commandsWanted(10))->size(), 1);
    EXPECT_EQ(integrity(), "ok");
}

TEST_F(StoreTest, AnUpgradeThatFailsChangesNothing)
{
    m_store.reset();
    std::filesystem::remove_all(m_folder.file("Data"));
    std::filesystem::create_directories(m_folder.file("Data/deep"));
    {
        Sqlite::Connection connection(m_path, Sqlite::Durability::Crash, 100);
        Schema::createOlder(connection, 1);
        // In the way of the last steps only: those for events have been done by then.
        connection.run(
            "INSERT INTO event_series VALUES(1, 1, 1, 's', 'e'); INSERT INTO event(series, time) VALUES(1, 5);"
            "CREATE TABLE command_by_time(x)");
    }
    for (int times = 0; times < 2; ++times) {
        EXPECT_THROW(SqliteStore(m_path, Sqlite::Durability::Crash), Sqlite::Error);
        Sqlite::Connection connection(m_path, Sqlite::Durability::Crash, 100);
        EXPECT_EQ(connection.number("PRAGMA user_version"), 1);
        EXPECT_EQ(connection.number("SELECT count(*) FROM sqlite_schema WHERE name LIKE 'event_zone%'"), 0);
        EXPECT_EQ(connection.number("SELECT count(*) FROM event"), 1);
    }
    Sqlite::Connection(m_path, Sqlite::Durability::Crash, 100).run("DROP TABLE command_by_time");
    reopen();
    EXPECT_EQ(m_store->connection().number("PRAGMA user_version"), Schema::Version);
    EXPECT_EQ(m_store->events(eventsWanted(10))->size(), 1);
}

TEST_F(StoreTest, TheZonesOfVersion2AreReplaced)
{
    m_store->put(makeEvent("s", "e", 500));
    m_store->put(makeEvent("s", "e", 600));
    // Other zones under the same names, which say that there is nothing.
    m_store->connection().run("DROP INDEX event_by_time; CREATE INDEX event_by_time ON event(id >> 10, time);"
                              "DELETE FROM event_zone; PRAGMA user_version = 2");
    reopen();
    EXPECT_EQ(m_store->connection().number("PRAGMA user_version"), Schema::Version);
    CMessageEventRequest request = eventsWanted(10, true);
    request.UseEventTime1 = 1;
    request.EventTime1 = 550;
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(1));
}

TEST_F(StoreTest, ANewerVersionIsRefused)
{
    m_store->connection().run("PRAGMA user_version = 99");
    try {
        reopen();
        FAIL() << "opened";
    } catch (const Sqlite::Error &error) {
        EXPECT_THAT(error.what(), HasSubstr(m_path));
        EXPECT_THAT(error.what(), HasSubstr("version 99"));
    }
}

TEST_F(StoreTest, AnotherProgramsDatabaseIsRefused)
{
    {
        Sqlite::Connection connection(m_folder.file("other.db"), Sqlite::Durability::Crash, 100);
        connection.run("CREATE TABLE bookmark(url TEXT)");
    }
    try {
        SqliteStore other(m_folder.file("other.db"), Sqlite::Durability::Crash);
        FAIL() << "opened";
    } catch (const Sqlite::Error &error) {
        EXPECT_THAT(error.what(), HasSubstr("another program's database"));
    }
}

TEST_F(StoreTest, ForeignTriggersAndVirtualTablesAreRefused)
{
    const char *const endless = "WITH RECURSIVE n(id) AS (SELECT 1000 UNION ALL SELECT id + 1 FROM n) SELECT id FROM n";
    const std::string additions[] = {
        "CREATE TRIGGER foreign_wait AFTER INSERT ON event BEGIN DELETE FROM sensor WHERE id IN (" +
            std::string(endless) + "); END",
        "DROP TRIGGER event_zone_insert; CREATE TRIGGER event_zone_insert AFTER INSERT ON event BEGIN SELECT 1; END",
        "ALTER TABLE event_series RENAME TO foreign_series;"
        "CREATE VIEW event_series AS SELECT id, 1 AS message_type, 1 AS sensor_type, NULL AS sensor, NULL AS name "
        "FROM (" +
            std::string(endless) +
            ");"
            "CREATE TRIGGER foreign_insert INSTEAD OF INSERT ON event_series BEGIN SELECT 1; END",
        "CREATE VIRTUAL TABLE foreign_index USING rtree(id, low, high)",
    };
    for (const std::string &addition : additions) {
        const std::string changed = m_folder.file("changed.db");
        SqliteStore(changed, Sqlite::Durability::Crash).connection().run(addition.c_str());
        try {
            const SqliteStore again(changed, Sqlite::Durability::Crash);
            ADD_FAILURE() << "opened with " << addition;
        } catch (const Sqlite::Error &error) {
            EXPECT_THAT(error.what(), HasSubstr(changed + ": the database holds a foreign trigger or virtual table"));
        }
        std::filesystem::remove(changed);
    }
}

TEST_F(StoreTest, ANameInTheFileCannotCommandTheTerminal)
{
    m_store->connection().run("CREATE INDEX foreign_texts ON event(params COLLATE NOCASE);"
                              "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET sql = replace(sql, 'NOCASE', "
                              "'\"wipe\x1b[2J\"') WHERE name = 'foreign_texts'");
    reopen();
    try {
        m_store->put(makeEvent("s", "e", 0));
        FAIL() << "stored";
    } catch (const Sqlite::Error &error) {
        EXPECT_THAT(error.what(), HasSubstr("wipe?[2J"));
    }
}

TEST_F(StoreTest, TablesViewsAndIndexesOfOthersAreLeftAlone)
{
    m_store->connection().run(
        "CREATE TABLE note(id INTEGER PRIMARY KEY, text UNIQUE); CREATE INDEX note_text ON note(text);"
        "CREATE UNIQUE INDEX event_times ON event(time, id); CREATE VIEW newest AS SELECT 1;"
        "ANALYZE");
    reopen();
    m_store->put(makeEvent("s", "e", 500));
    EXPECT_EQ(m_store->events(eventsWanted(10))->size(), 1);
}

TEST_F(StoreTest, OddPathsAreTakenAsTheyStand)
{
    for (const char *name : {"a b.db", "50%25?mode=memory#x.db", "\xE4\xF6.db", "file:x.db"}) {
        SqliteStore other(m_folder.file(name), Sqlite::Durability::Crash);
        other.put(makeEvent("s", "e", 0));
        EXPECT_TRUE(std::filesystem::exists(m_folder.file(name))) << name;
    }
}

TEST_F(StoreTest, AFileBeyondTwoGigabytesIsStillInPlace)
{
    std::fstream file(m_path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(std::streamoff(3) << 30);
    file.put('x').flush();
    ASSERT_TRUE(file.good());
    EXPECT_TRUE(m_store->isInPlace());
}

TEST_F(StoreTest, ManyProgramsMayMakeTheFileAtOnce)
{
    // A busy machine may take its time for the others.
    constexpr int patience = 60000;
    for (int round = 0; round < 10; ++round) {
        const std::string fresh = m_folder.file("fresh" + std::to_string(round) + ".db");
        std::vector<std::thread> programs;
        for (int i = 0; i < 4; ++i) {
            programs.emplace_back([&, i] {
                SqliteStore one(fresh, Sqlite::Durability::Crash, patience);
                one.put(makeEvent("sensor" + std::to_string(i), "e", 0));
            });
        }
        for (std::thread &program : programs)
            program.join();
        SqliteStore one(fresh, Sqlite::Durability::Crash);
        EXPECT_EQ(one.events(eventsWanted(10))->size(), 4);
    }
}

} // namespace
