// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "clock.h"
#include "settings.h"
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

std::time_t steppedTime = 0;

/** The clock stands still at a time that a test sets. */
class SteppedClock
{
public:
    explicit SteppedClock(std::time_t now)
    {
        steppedTime = now;
        setClock([] { return steppedTime; });
    }
    SteppedClock(const SteppedClock &) = delete;
    SteppedClock &operator=(const SteppedClock &) = delete;
    ~SteppedClock()
    {
        setClock(nullptr);
    }
    void step(int seconds)
    {
        steppedTime += seconds;
    }
};

std::vector<int> ids(const Records<CMessageEvent> &events)
{
    std::vector<int> result;
    for (int i = 0; i < events.size(); ++i)
        result.push_back(events[i].MessageID);
    return result;
}

std::vector<int> ids(const Records<CMessageCommand> &commands)
{
    std::vector<int> result;
    for (int i = 0; i < commands.size(); ++i)
        result.push_back(commands[i].CommandID);
    return result;
}

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

TEST_F(StoreTest, AnEventComesBackAsItWasPut)
{
    CMessageEvent event = makeEvent("analyser\xE4", "overheat", 1700000000, 2);
    addInteger(event, "level", -5);
    addDouble(event, "gain", 0.1);
    addText(event, "unit",
            "\xB0"
            "C; \"quoted\"");
    EXPECT_EQ(m_store->put(event), 1);
    const auto events = m_store->events(eventsWanted(100));
    ASSERT_EQ(events->size(), 1);
    EXPECT_EQ((*events)[0].MessageID, 1);
    EXPECT_TRUE(same((*events)[0], event));
}

TEST_F(StoreTest, ACommandComesBackAsItWasPut)
{
    CMessageCommand command = makeCommand("receiver03", CommandKill, 1700000000);
    addDouble(command, "delay", 2.5);
    EXPECT_EQ(m_store->put(command), 1);
    const auto commands = m_store->commands(commandsWanted(100));
    ASSERT_EQ(commands->size(), 1);
    EXPECT_EQ((*commands)[0].CommandID, 1);
    EXPECT_TRUE(same((*commands)[0], command));
}

TEST_F(StoreTest, MissingNamesDifferFromEmptyOnes)
{
    CMessageEvent nameless;
    m_store->put(nameless);
    m_store->put(makeEvent("", "", 0));
    const auto events = m_store->events(eventsWanted(100, true));
    ASSERT_EQ(events->size(), 2);
    EXPECT_EQ((*events)[0].SensorID, nullptr);
    EXPECT_EQ((*events)[0].LSensorID, 0);
    EXPECT_EQ((*events)[0].EventName, nullptr);
    EXPECT_STREQ((*events)[1].SensorID, "");
    EXPECT_EQ((*events)[1].LSensorID, 1);
    EXPECT_EQ(m_store->sensors(10)->size(), 0) << "a sensor without a name cannot be listed";
}

TEST_F(StoreTest, ATextIsCutWhereItsLengthOrItsNulEndsIt)
{
    CMessageEvent event = makeEvent("sensor\0hidden", "longer", 0);
    CopyPtr(&event.SensorID, &event.LSensorID, "sensor\0hidden", 14);
    event.LEventName = 4;
    m_store->put(event);
    const auto events = m_store->events(eventsWanted(1));
    EXPECT_STREQ((*events)[0].SensorID, "sensor");
    EXPECT_EQ((*events)[0].LSensorID, 7);
    EXPECT_STREQ((*events)[0].EventName, "long");
    EXPECT_EQ((*events)[0].LEventName, 5);
}

TEST_F(StoreTest, ATextOfNoBytesIsMissingAsInItsCopy)
{
    CMessageEvent event = makeEvent("sensor", "name", 0);
    event.LSensorID = 0;
    event.LEventName = -1;
    m_store->put(event);
    const auto events = m_store->events(eventsWanted(1));
    ASSERT_EQ(events->size(), 1);
    EXPECT_TRUE(same((*events)[0], CMessageEvent(event)));
    EXPECT_EQ((*events)[0].SensorID, nullptr);
}

TEST_F(StoreTest, AMaskWithoutALengthEndsAtItsNul)
{
    m_store->put(makeEvent("sensor", "name", 0));
    CMessageEventRequest request = eventsWanted(1);
    request.UseSensorID = 1;
    request.UseEventName = 1;
    setText(request.SensorID, request.LSensorID, "other");
    setText(request.EventName, request.LEventName, "other");
    EXPECT_EQ(m_store->events(request)->size(), 0);
    request.LSensorID = 0;
    request.LEventName = -1;
    EXPECT_EQ(m_store->events(request)->size(), 0);
    setText(request.SensorID, request.LSensorID, "Sensor");
    setText(request.EventName, request.LEventName, "Name");
    request.LSensorID = -1;
    request.LEventName = 0;
    EXPECT_EQ(request & makeEvent("sensor", "name", 0), 1);
    EXPECT_EQ(m_store->events(request)->size(), 1);
}

TEST_F(StoreTest, ACountWithoutParametersIsNone)
{
    CMessageEvent event = makeEvent("s", "e", 0);
    event.ParNum = 7;
    m_store->put(event);
    event.ParNum = 0;
    EXPECT_EQ((*m_store->events(eventsWanted(1)))[0].ParNum, 0);
}

TEST_F(StoreTest, TimesBeyond32BitsAreClamped)
{
    for (const std::int64_t time : {std::int64_t(INT_MAX) + 1, std::int64_t(INT_MIN) - 1, std::int64_t(-5)}) {
        NewMessage event;
        event.series.sensor = "s";
        event.time = time;
        m_store->putEvent(event);
    }
    const auto events = m_store->events(eventsWanted(3, true));
    EXPECT_EQ((*events)[0].EventTime, INT_MAX);
    EXPECT_EQ((*events)[1].EventTime, INT_MIN);
    EXPECT_EQ((*events)[2].EventTime, -5);
}

TEST_F(StoreTest, TheOrderFollowsTheEndAskedFor)
{
    for (int i = 0; i < 6; ++i) {
        m_store->put(makeEvent("s", "e", 100 - i));
        m_store->put(makeCommand("s", 1, 100 - i));
    }
    CMessageEventRequest request = eventsWanted(3);
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(6, 5, 4));
    request.TakeFirst1_Last0 = 1;
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(1, 2, 3));
    request.UseMessageID0 = 1;
    request.MessageID0 = 2;
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(2, 3, 4));
    request.TakeFirst1_Last0 = 0;
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(4, 5, 6));

    CMessageCommandRequest commands = commandsWanted(2);
    EXPECT_THAT(ids(*m_store->commands(commands)), ElementsAre(6, 5));
    commands.UseCommandID0 = 1;
    commands.CommandID0 = 3;
    EXPECT_THAT(ids(*m_store->commands(commands)), ElementsAre(5, 6));
}

TEST_F(StoreTest, NoneAreWantedByACountOfZeroOrLess)
{
    m_store->put(makeEvent("s", "e", 0));
    EXPECT_EQ(m_store->events(eventsWanted(0))->size(), 0);
    EXPECT_EQ(m_store->events(eventsWanted(-1))->size(), 0);
    EXPECT_EQ(m_store->events(eventsWanted(INT_MIN))->size(), 0);
    EXPECT_EQ(m_store->events(eventsWanted(INT_MAX))->size(), 1);
}

TEST_F(StoreTest, TheMaskIsTheSubjectAndTheStoredNameThePattern)
{
    m_store->put(makeEvent("sensor12", "e", 0));
    m_store->put(makeEvent("sens*", "e", 0));
    m_store->put(makeEvent("other", "e", 0));
    CMessageEventRequest request = eventsWanted(10, true);
    request.UseSensorID = 1;
    setText(request.SensorID, request.LSensorID, "SENSOR12");
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(1, 2));
    setText(request.SensorID, request.LSensorID, "sens*");
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(2));
    CopyPtr(&request.SensorID, &request.LSensorID, nullptr, 0);
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(1, 2, 3)) << "a missing mask lets all pass";
}

TEST_F(StoreTest, IdentifiersAreNeverUsedTwice)
{
    m_store->put(makeEvent("s", "e", 0));
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 0)), 2);
    EXPECT_TRUE(m_store->deleteEvent(2));
    EXPECT_FALSE(m_store->deleteEvent(2));
    reopen();
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 0)), 3);
    std::vector<NewMessage> many(2000);
    EXPECT_EQ(m_store->putEvents(many), 4);
    m_store->connection().run("DELETE FROM event");
    reopen();
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 0)), 2004);
    m_store->put(makeCommand("s", 1, 0));
    EXPECT_TRUE(m_store->deleteCommand(1));
    reopen();
    EXPECT_EQ(m_store->put(makeCommand("s", 1, 0)), 2);
}

TEST_F(StoreTest, TheIdentifierOfARecordThatIsPutDoesNotMatter)
{
    CMessageEvent event = makeEvent("s", "e", 0);
    event.MessageID = 77;
    EXPECT_EQ(m_store->put(event), 1);
    EXPECT_EQ(event.MessageID, 77);
}

TEST_F(StoreTest, UsedUpIdentifiersAreAnError)
{
    m_store->put(makeEvent("s", "e", 0));
    m_store->connection().run("UPDATE sqlite_sequence SET seq = 2147483646");
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 0)), INT_MAX);
    EXPECT_THROW(m_store->put(makeEvent("s", "e", 0)), Sqlite::Error);
    EXPECT_THROW(m_store->putEvents(std::vector<NewMessage>(3)), Sqlite::Error);
    EXPECT_EQ(m_store->events(eventsWanted(10))->size(), 2);
}

TEST_F(StoreTest, ManyEventsAreWrittenLikeSingleOnes)
{
    std::vector<NewMessage> many(3000);
    std::vector<std::string> names;
    for (int i = 0; i < 7; ++i)
        names.push_back("sensor" + std::to_string(i));
    for (std::size_t i = 0; i < many.size(); ++i) {
        many[i].series.sensor = names[i % 7];
        many[i].time = std::int64_t(i) * 10;
        many[i].params = R"({"n":1})";
    }
    EXPECT_EQ(m_store->putEvents(many), 1);
    const auto events = m_store->events(eventsWanted(INT_MAX, true));
    ASSERT_EQ(events->size(), 3000);
    EXPECT_EQ((*events)[2999].MessageID, 3000);
    EXPECT_EQ((*events)[2999].EventTime, 29990);
    EXPECT_STREQ((*events)[2999].SensorID, "sensor3");
    const auto sensors = m_store->sensors(10);
    ASSERT_EQ(sensors->size(), 7);
    EXPECT_EQ((*sensors)[3].EventTime, 29990);
    EXPECT_EQ(integrity(), "ok");
    // The trigger that keeps the zones is back.
    EXPECT_EQ(textOf("SELECT count(*) FROM sqlite_schema WHERE type = 'trigger'"), "4");
}

TEST_F(StoreTest, ABatchIsUndoneUnlessCommitted)
{
    {
        Store::Batch batch(*m_store);
        m_store->put(makeEvent("new sensor", "new name", 0));
        m_store->putEvents(std::vector<NewMessage>(2000));
    }
    EXPECT_EQ(m_store->events(eventsWanted(10))->size(), 0);
    EXPECT_EQ(m_store->sensors(10)->size(), 0);
    m_store->put(makeEvent("new sensor", "new name", 0));
    const auto events = m_store->events(eventsWanted(10));
    ASSERT_EQ(events->size(), 1);
    EXPECT_STREQ((*events)[0].SensorID, "new sensor");
    EXPECT_EQ(textOf("SELECT count(*) FROM sqlite_schema WHERE type = 'trigger'"), "4");
}

TEST_F(StoreTest, TwoStoresSeeEachOthersRecords)
{
    SqliteStore other(m_path, Sqlite::Durability::Crash);
    m_store->put(makeEvent("a", "e", 0));
    EXPECT_EQ(other.events(eventsWanted(10))->size(), 1);
    other.put(makeEvent("b", "f", 0));
    m_store->put(makeEvent("c", "g", 0));
    const auto events = other.events(eventsWanted(10, true));
    ASSERT_EQ(events->size(), 3);
    EXPECT_STREQ((*events)[1].SensorID, "b");
    EXPECT_STREQ((*events)[2].SensorID, "c");
}

TEST_F(StoreTest, AReaderDoesNotStopAWriter)
{
    m_store->put(makeEvent("a", "e", 0));
    SqliteStore reader(m_path, Sqlite::Durability::Crash, 0);
    Sqlite::Transaction view(reader.connection(), Sqlite::Transaction::Read);
    EXPECT_EQ(reader.connection().number("SELECT count(*) FROM event"), 1);
    EXPECT_EQ(m_store->put(makeEvent("b", "e", 0)), 2);
    EXPECT_EQ(reader.connection().number("SELECT count(*) FROM event"), 1) << "the view stays one";
}

TEST_F(StoreTest, AWriterWaitsForAnother)
{
    SqliteStore other(m_path, Sqlite::Durability::Crash);
    auto batch = std::make_unique<Store::Batch>(other);
    std::thread writer([&] { m_store->put(makeEvent("b", "e", 0)); });
    other.put(makeEvent("a", "e", 0));
    batch->commit();
    batch.reset();
    writer.join();
    EXPECT_EQ(m_store->events(eventsWanted(10))->size(), 2);
}

TEST_F(StoreTest, ASensorIsAliveWhileItGivesSignsOfLife)
{
    SteppedClock clock(1000);
    m_store->registerSensor("analyser01", 1, "Spectrum of the northern antenna");
    const auto liveness = [&] { return (*m_store->sensors(10))[0].MessageType; };
    EXPECT_EQ(liveness(), 0) << "not heard of yet";
    m_store->keepAlive("analyser01", 1000);
    EXPECT_EQ(liveness(), SensorAlive);
    clock.step(10);
    EXPECT_EQ(liveness(), SensorAlive);
    clock.step(1);
    EXPECT_EQ(liveness(), SensorDead);
    m_store->keepAlive("analyser01", 1011);
    EXPECT_EQ(liveness(), SensorAlive);
    m_store->setState("analyser01", SensorState::Killed);
    EXPECT_EQ(liveness(), SensorDead);
    m_store->setState("analyser01", SensorState::Stopped);
    EXPECT_EQ(liveness(), SensorAlive);
    clock.step(-500);
    EXPECT_EQ(liveness(), SensorDead) << "a sign of life from the future is none";
}

TEST_F(StoreTest, SensorsComeByNameWithWhatIsKnownOfThem)
{
    m_store->registerSensor("receiver02", 3, "Long wave \xE4");
    m_store->put(makeEvent("converter01", "e", 500, 2));
    m_store->registerSensor("receiver02", 3, "Short wave \xE4");
    m_store->put(makeEvent("receiver02", "e", 700, 3));
    const auto sensors = m_store->sensors(10);
    ASSERT_EQ(sensors->size(), 2);
    EXPECT_STREQ((*sensors)[0].SensorID, "converter01");
    EXPECT_EQ((*sensors)[0].SensorType, 2);
    EXPECT_STREQ((*sensors)[0].Description, "");
    EXPECT_EQ((*sensors)[0].LDescription, 1);
    EXPECT_STREQ((*sensors)[1].SensorID, "receiver02");
    EXPECT_EQ((*sensors)[1].LSensorID, 11);
    EXPECT_STREQ((*sensors)[1].Description, "Short wave \xE4");
    EXPECT_EQ((*sensors)[1].EventTime, 700);
}

TEST_F(StoreTest, ASensorReadsOnlyCommandsThatCameAfterIt)
{
    m_store->put(makeCommand("late", CommandKill, 0));
    m_store->registerSensor("late", 1, "");
    EXPECT_EQ(m_store->storedSensors()[0].lastCommand, 1);
    m_store->put(makeCommand("late", CommandStop, 0));
    m_store->setLastCommand("late", 2);
    m_store->registerSensor("late", 1, "again");
    EXPECT_EQ(m_store->storedSensors()[0].lastCommand, 2);
    m_store->setLastCommand("late", 1);
    EXPECT_EQ(m_store->storedSensors()[0].lastCommand, 2) << "what was read stays read";
}

TEST_F(StoreTest, SoDoesASensorThatAnEventMakesKnown)
{
    m_store->put(makeEvent("first", "e", 0));
    m_store->put(makeCommand("second", CommandKill, 0));
    m_store->put(makeCommand("third", CommandKill, 0));
    m_store->put(makeEvent("second", "e", 0));
    m_store->deleteCommand(2);
    std::vector<NewMessage> many(2000);
    for (NewMessage &message : many)
        message.series.sensor = "third";
    m_store->putEvents(many);
    m_store->put(makeEvent("first", "e", 0));
    const auto sensors = m_store->storedSensors();
    ASSERT_EQ(sensors.size(), 3U);
    EXPECT_EQ(sensors[0].lastCommand, 0);
    EXPECT_EQ(sensors[1].lastCommand, 2);
    EXPECT_EQ(sensors[2].lastCommand, 2) << "a deleted command counts";
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
    m_store->connection().run("PRAGMA writable_schema = ON; UPDATE sqlite_schema SET sql = replace(sql, "
                              "'name TEXT NOT NULL UNIQUE', 'name TEXT NOT NULL UNIQUE COLLATE \"wipe\x1b[2J\"') "
                              "WHERE name = 'sensor'");
    try {
        reopen();
        FAIL() << "opened";
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

TEST(Settings, DefaultsHoldWithoutAFile)
{
    const TemporaryFolder folder;
    const Settings settings = readSettings(folder.path());
    EXPECT_EQ(settings.database, folder.path() + "/../Data/installation.db");
    EXPECT_EQ(settings.deadAfterSeconds, 10);
}

Settings settingsFrom(const std::string &text)
{
    const TemporaryFolder folder;
    std::ofstream(folder.file("DBLib.def")) << text;
    Settings settings = readSettings(folder.path());
    if (settings.database.compare(0, folder.path().size(), folder.path()) == 0)
        settings.database = "CONFIG" + settings.database.substr(folder.path().size());
    return settings;
}

TEST(Settings, APathMayBeRelativeOrAbsolute)
{
    EXPECT_EQ(settingsFrom("% comment\ndatabase=here.db\n").database, "CONFIG/here.db");
    EXPECT_EQ(settingsFrom("Database=\"../with blank .db\"\n").database, "CONFIG/../with blank .db");
    EXPECT_EQ(settingsFrom("Database=/var/lib/x.db\n").database, "/var/lib/x.db");
    EXPECT_EQ(settingsFrom("Database=\n").database, "CONFIG/../Data/installation.db");
}

TEST(Settings, AWrongNumberMeansTheDefault)
{
    EXPECT_EQ(settingsFrom("DeadAfter=25\n").deadAfterSeconds, 25);
    for (const char *wrong : {"0", "-3", "x", "5x", "", "99999999999"})
        EXPECT_EQ(settingsFrom("DeadAfter=" + std::string(wrong) + "\n").deadAfterSeconds, 10) << wrong;
}
} // namespace
