// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file The store on PostgreSQL: puts whose answers are lost, round trips, thinning out, plans, roles. */
#include "breakingproxy.h"
#include "servertesting.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

namespace
{
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class StoreTest : public ServerTest
{
protected:
    void SetUp() override
    {
        ServerTest::SetUp();
        m_opened = openStore();
    }
    Store &store()
    {
        return *m_opened;
    }
    PostgresStore &postgresStore()
    {
        return *m_opened;
    }
    std::vector<int> eventIds(int count = 1000)
    {
        const auto events = store().events(eventsWanted(count, true));
        std::vector<int> found;
        for (int i = 0; i < events->size(); ++i)
            found.push_back((*events)[i].MessageID);
        return found;
    }
    /** A store whose answers may get lost. */
    std::unique_ptr<Store> openThrough(const BreakingProxy &proxy, int statementSeconds = 60) const
    {
        Settings words = settings("host=" + proxy.host() + " user=owner dbname=" + m_database);
        words.statementSeconds = statementSeconds;
        auto store = std::make_unique<PostgresStore>(words);
        store->open();
        return store;
    }

private:
    std::unique_ptr<PostgresStore> m_opened;
};

TEST_F(StoreTest, APutWhoseAnswerIsLostIsStoredOnce)
{
    BreakingProxy proxy(server().host());
    const auto writer = openThrough(proxy);
    EXPECT_EQ(writer->put(makeEvent("a", "e", 1)), 1);
    proxy.breakAt("put_events", 1);
    EXPECT_EQ(writer->put(makeEvent("a", "e", 2)), 2);
    EXPECT_EQ(writer->put(makeEvent("a", "e", 2)), 3);
    EXPECT_EQ(writer->put(makeCommand("a", 1, 1)), 1);
    proxy.breakAt("put_command", 1);
    EXPECT_EQ(writer->put(makeCommand("a", 1, 2)), 2);
    EXPECT_EQ(proxy.broken(), 2);
    EXPECT_THAT(eventIds(), ElementsAre(1, 2, 3));
    EXPECT_EQ(store().commands(commandsWanted(10))->size(), 2);
}

TEST_F(StoreTest, AFirstPutWhoseAnswerIsLostIsStoredOnce)
{
    // The server reads the call and then does it: the answer to either may be lost.
    const std::string reading = "SELECT obrim.put_events";
    const std::string doing("\0put_events\0\0", 13); // a portal without a name, the statement's, a number
    BreakingProxy proxy(server().host());
    int id = 0;
    for (const std::string &moment : {reading, doing}) {
        const auto writer = openThrough(proxy);
        proxy.breakAt(moment, 1);
        EXPECT_EQ(writer->put(makeEvent("a", "e", 1)), ++id);
        EXPECT_EQ(proxy.broken(), id);
    }
    EXPECT_THAT(eventIds(), ElementsAre(1, 2));
}

TEST_F(StoreTest, APutThatIsRepeatedByItsCallerIsStoredOnce)
{
    BreakingProxy proxy(server().host());
    const auto writer = openThrough(proxy);
    writer->put(makeEvent("a", "e", 1));
    proxy.breakAt("put_events", 2);
    EXPECT_THROW(writer->put(makeEvent("a", "e", 2)), StoreError);
    EXPECT_EQ(writer->put(makeEvent("a", "e", 2)), 2);
    EXPECT_EQ(proxy.broken(), 2);
    EXPECT_THAT(eventIds(), ElementsAre(1, 2));
}

TEST_F(StoreTest, APutWhoseAnswerIsLateIsStoredOnce)
{
    BreakingProxy proxy(server().host());
    const auto writer = openThrough(proxy, 2);
    writer->put(makeEvent("a", "e", 1));
    proxy.breakAt("put_events", 1, BreakingProxy::Late);
    EXPECT_THROW(writer->put(makeEvent("a", "e", 2)), StoreError);
    EXPECT_EQ(writer->put(makeEvent("a", "e", 2)), 2);
    EXPECT_THAT(eventIds(), ElementsAre(1, 2));
}

TEST_F(StoreTest, ARefusalOfASecondAttemptSaysNothingOfTheFirst)
{
    BreakingProxy proxy(server().host());
    const auto writer = openThrough(proxy, 2);
    writer->put(makeEvent("a", "e", 1));
    proxy.breakAt("put_events", 1, BreakingProxy::Late);
    EXPECT_THROW(writer->put(makeEvent("a", "e", 2)), StoreError);
    EXPECT_TRUE(eventually([&] { return proxy.broken() == 1; }));
    {
        const Store::Batch batch(store());
        EXPECT_THROW(writer->put(makeEvent("a", "e", 2)), StoreError);
    }
    EXPECT_EQ(writer->put(makeEvent("a", "e", 2)), 2);
    EXPECT_THAT(eventIds(), ElementsAre(1, 2));
}

TEST_F(StoreTest, ThePutThatTakesTheLastIdentifierIsStoredOnce)
{
    BreakingProxy proxy(server().host());
    const auto writer = openThrough(proxy);
    writer->put(makeEvent("a", "e", 1));
    server().sql("UPDATE obrim.newest SET id = 2147483646 WHERE kind = 'event'", m_database);
    proxy.breakAt("put_events", 2);
    EXPECT_THROW(writer->put(makeEvent("a", "e", 2)), StoreError);
    EXPECT_EQ(writer->put(makeEvent("a", "e", 2)), 2147483647);
    try {
        writer->put(makeEvent("a", "e", 3));
        ADD_FAILURE() << "there was an identifier left";
    } catch (const StoreError &error) {
        EXPECT_THAT(error.what(), HasSubstr("all identifiers are used up"));
    }
    EXPECT_THAT(eventIds(), ElementsAre(1, 2147483647));
}

TEST_F(StoreTest, APutOfAnotherProgramThatIsRepeatedIsStoredOnce)
{
    store().put(makeEvent("a", "e", 1));
    const auto put = [&](int number, const std::string &arrays) {
        return server().sql("SELECT obrim.put_events('00000000-0000-0000-0000-000000000001', " +
                                std::to_string(number) + ", " + arrays + ")",
                            m_database);
    };
    EXPECT_EQ(put(7, "ARRAY[1], ARRAY[now()], ARRAY[NULL::json]"), "2");
    EXPECT_EQ(put(7, "ARRAY[1], ARRAY[now()], ARRAY[NULL::json]"), "2");
    EXPECT_EQ(put(8, "'[0:0]={1}', ARRAY[now()], '[5:5]={1}'"), "3");
    EXPECT_EQ(put(9, "ARRAY[1, 1], ARRAY[now(), now()], ARRAY['2', NULL]::json[]"), "4");
    EXPECT_EQ(put(8, "'[0:0]={1}', ARRAY[now()], '[5:5]={1}'"), "4");
    EXPECT_THAT(eventIds(), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(
        server().sql("SELECT string_agg(params::text, ' ' ORDER BY id) FROM obrim.event WHERE id > 2", m_database),
        "1 2");
}

TEST_F(StoreTest, ZonesAndSensorsKnowTheTimesOfWhatIsPutOneByOne)
{
    for (const int time : {1500, 1000, 2000, 1700})
        store().put(makeEvent("a", "e", time));
    EXPECT_EQ(server().sql("SELECT string_agg(concat_ws(' ', level, block, extract(epoch FROM earliest)::integer, "
                           "extract(epoch FROM latest)::integer), ', ' ORDER BY level) FROM obrim.event_zone",
                           m_database),
              "0 0 1000 2000, 1 0 1000 2000");
    EXPECT_EQ(server().sql("SELECT extract(epoch FROM last_message)::integer FROM obrim.sensor", m_database), "2000");
}

TEST_F(StoreTest, ADeleteWhoseAnswerIsLostIsNoFailure)
{
    BreakingProxy proxy(server().host());
    const auto writer = openThrough(proxy);
    writer->put(makeEvent("a", "e", 1));
    proxy.breakAt("DELETE", 1);
    writer->deleteEvent(1);
    EXPECT_EQ(proxy.broken(), 1);
    EXPECT_THAT(eventIds(), ElementsAre());
}

TEST_F(StoreTest, ATransactionWhoseConnectionIsLostIsUndone)
{
    const auto other = openStore();
    {
        Store::Batch batch(store());
        store().put(makeEvent("a", "e", 1));
        server().sql("SELECT pg_terminate_backend(pid, 10000) FROM pg_stat_activity WHERE datname = '" + m_database +
                     "' AND state = 'idle in transaction'");
        EXPECT_THROW(store().put(makeEvent("a", "e", 2)), StoreError);
        EXPECT_THROW(batch.commit(), StoreError);
    }
    EXPECT_THAT(eventIds(), ElementsAre());
    EXPECT_EQ(store().put(makeEvent("a", "e", 3)), 1);
}

TEST_F(StoreTest, ATickWithNothingNewIsOneRoundTrip)
{
    for (int i = 0; i < 5; ++i)
        store().put(makeEvent("a", "e", 1000 + i));
    CMessageEventRequest request = eventsWanted(100);
    request.UseMessageID0 = 1;
    request.MessageID0 = 6;
    std::vector<std::string> sent;
    postgresStore().watch(&sent);
    EXPECT_EQ(store().events(request)->size(), 0);
    EXPECT_THAT(sent, SizeIs(1));
    CMessageCommandRequest commands = commandsWanted(100);
    commands.UseCommandID0 = 1;
    commands.CommandID0 = 1;
    sent.clear();
    EXPECT_EQ(store().commands(commands)->size(), 0);
    EXPECT_THAT(sent, SizeIs(1));
    sent.clear();
    store().storedSensors();
    EXPECT_THAT(sent, SizeIs(1));
}

TEST_F(StoreTest, APutIsOneRoundTrip)
{
    store().put(makeEvent("a", "e", 1));
    std::vector<std::string> sent;
    postgresStore().watch(&sent);
    store().put(makeEvent("a", "e", 2));
    EXPECT_THAT(sent, SizeIs(1));
}

TEST_F(StoreTest, TextsAreReadableInPsql)
{
    store().put(makeEvent("\xC4rger \xFC", "\xE9t\xE9 \x80", 1000));
    EXPECT_EQ(value("SELECT sensor || '|' || name FROM obrim.events"),
              "\xC3\x84rger \xC3\xBC|\xC3\xA9t\xC3\xA9 \xC2\x80");
    const auto events = store().events(eventsWanted(1));
    EXPECT_STREQ((*events)[0].SensorID, "\xC4rger \xFC");
    EXPECT_STREQ((*events)[0].EventName, "\xE9t\xE9 \x80");
}

TEST_F(StoreTest, OtherProgramsTextsBeyondLatin1AreShownAsQuestionMarks)
{
    store().put(makeEvent("a", "e", 1000));
    value("UPDATE obrim.event_series SET name = 'Ω ü'");
    const auto events = openStore()->events(eventsWanted(1));
    EXPECT_STREQ((*events)[0].EventName, "? \xFC");
}

constexpr int PartitionSize = 1 << 20;

TEST_F(StoreTest, ThinningOutDropsPartitions)
{
    for (int part = 0; part < 4; ++part) {
        value("UPDATE obrim.newest SET id = " + std::to_string(5 + std::int64_t(part) * PartitionSize) +
              " WHERE kind = 'event'");
        store().put(makeEvent("a", "e", 1000 * (std::int64_t(part) + 1)));
    }
    EXPECT_EQ(value("SELECT obrim.thin_out('event', to_timestamp(3000))"), "2");
    EXPECT_THAT(eventIds(), ElementsAre(2 * PartitionSize + 6, 3 * PartitionSize + 6));
    EXPECT_EQ(value("SELECT count(*) FROM pg_inherits WHERE inhparent = 'obrim.event'::regclass"), "2");
    EXPECT_EQ(value("SELECT count(*) FROM obrim.event_zone"), "4");
    EXPECT_EQ(store().put(makeEvent("a", "e", 5000)), 3 * PartitionSize + 7);
    // Whoever looks from the oldest on finds it without a search.
    std::vector<std::string> sent;
    postgresStore().watch(&sent);
    EXPECT_EQ(store().events(eventsWanted(1, true))->size(), 1);
    EXPECT_THAT(sent, SizeIs(1));
}

TEST_F(StoreTest, ThinningOutKeepsTheNewestPartition)
{
    store().put(makeEvent("a", "e", 1000));
    EXPECT_EQ(value("SELECT obrim.thin_out('event', now())"), "0");
    EXPECT_THAT(eventIds(), ElementsAre(1));
}

TEST_F(StoreTest, ThinningOutOfCommands)
{
    store().put(makeCommand("a", 1, 1000));
    value("UPDATE obrim.newest SET id = 3000000 WHERE kind = 'command'");
    store().put(makeCommand("a", 1, 1000));
    EXPECT_EQ(value("SELECT obrim.thin_out('command', now())"), "1");
    EXPECT_EQ(store().commands(commandsWanted(10))->size(), 1);
}

class RolesTest : public StoreTest
{
protected:
    void SetUp() override
    {
        StoreTest::SetUp();
        for (int i = 1; i <= 2; ++i) {
            store().put(makeEvent("a", "e", 1000));
            store().put(makeCommand("a", 1, 1000));
        }
        // An update runs the script again.
        for (int i = 0; i < 2; ++i)
            value(textOf(ROLES_SCRIPT));
    }
    std::unique_ptr<Store> openAs(const std::string &role) const
    {
        server().sql("DROP ROLE IF EXISTS member; CREATE ROLE member LOGIN IN ROLE " + role);
        auto opened = std::make_unique<PostgresStore>(settings(connection("member")));
        opened->open();
        return opened;
    }
    static std::string textOf(const std::string &path)
    {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    template <class Action> static void expectRefusal(Action action)
    {
        try {
            action();
            ADD_FAILURE() << "it was done";
        } catch (const StoreError &error) {
            EXPECT_THAT(error.what(), HasSubstr(": permission denied for "));
        }
    }
};

TEST_F(RolesTest, ViewersOnlyRead)
{
    const auto viewer = openAs("obrim_viewers");
    EXPECT_EQ(viewer->events(eventsWanted(10))->size(), 2);
    EXPECT_EQ(viewer->commands(commandsWanted(10))->size(), 2);
    EXPECT_EQ(viewer->sensors(10)->size(), 1);
    expectRefusal([&] { viewer->put(makeCommand("a", 1, 1000)); });
    expectRefusal([&] { viewer->put(makeEvent("a", "e", 1000)); });
    expectRefusal([&] { viewer->deleteEvent(1); });
    expectRefusal([&] { viewer->deleteCommand(1); });
    EXPECT_EQ(viewer->events(eventsWanted(10))->size(), 2);
}

TEST_F(RolesTest, OperatorsReadCommandAndDelete)
{
    const auto console = openAs("obrim_operators");
    EXPECT_EQ(console->events(eventsWanted(10))->size(), 2);
    EXPECT_EQ(console->put(makeCommand("b", 3, 1000)), 3);
    EXPECT_TRUE(console->deleteEvent(1));
    EXPECT_TRUE(console->deleteCommand(1));
    expectRefusal([&] { console->put(makeEvent("a", "e", 1000)); });
    expectRefusal([&] { console->setState("a", SensorState::Killed); });
}

TEST_F(RolesTest, SensorsReportAndObey)
{
    const auto sensor = openAs("obrim_sensors");
    sensor->registerSensor("new", 1, "of this test");
    EXPECT_EQ(sensor->put(makeEvent("new", "e", 1000)), 3);
    sensor->keepAlive({"new"}, 1000);
    sensor->setState("new", SensorState::Stopped);
    EXPECT_EQ(sensor->commands(commandsWanted(10))->size(), 2);
    EXPECT_EQ(sensor->readCommands({"a"}, 2), 1);
    EXPECT_EQ(sensor->storedSensors().size(), 2U);
    Store::Batch batch(*sensor);
    sensor->put(makeEvent("new", "e", 1000));
    batch.commit();
    expectRefusal([&] { sensor->events(eventsWanted(10)); });
    expectRefusal([&] { sensor->put(makeCommand("a", 1, 1000)); });
    expectRefusal([&] { sensor->deleteEvent(1); });
}

TEST_F(RolesTest, SensorsMakeRoomForTheirEvents)
{
    value("UPDATE obrim.newest SET id = 3 * 1048576 - 1 WHERE kind = 'event'");
    EXPECT_EQ(openAs("obrim_sensors")->put(makeEvent("a", "e", 1000)), 3 * PartitionSize);
    EXPECT_EQ(store().events(eventsWanted(10))->size(), 3);
}

TEST_F(RolesTest, ADatabaseRestoredWithoutRightsGetsThemBack)
{
    // As every new function is, for want of rights in the dump.
    value("GRANT EXECUTE ON ALL FUNCTIONS IN SCHEMA obrim TO PUBLIC");
    value(textOf(ROLES_SCRIPT));
    const auto viewer = openAs("obrim_viewers");
    expectRefusal([&] { viewer->put(makeCommand("a", 1, 1000)); });
}

TEST_F(RolesTest, NobodyElseHasRights)
{
    server().sql("DROP ROLE IF EXISTS member; CREATE ROLE member LOGIN");
    PostgresStore stranger(settings(connection("member")));
    EXPECT_THROW(stranger.open(), StoreError);
}
} // namespace
