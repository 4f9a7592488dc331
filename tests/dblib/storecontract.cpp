// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file What every store has to do, beneath the ten functions and for the sensors. */
#include "clock.h"
#include "databaseundertest.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <thread>

namespace
{
using testing::ElementsAre;

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

class StoreContract : public ::testing::Test
{
protected:
    void SetUp() override
    {
        databaseUnderTest().nameFreshDatabase(m_folder.path());
        m_store = openAnother();
    }
    std::unique_ptr<Store> openAnother() const
    {
        return databaseUnderTest().open(m_folder.path());
    }
    void reopen()
    {
        m_store.reset();
        m_store = openAnother();
    }

    TemporaryFolder m_folder;
    std::unique_ptr<Store> m_store;
};

TEST_F(StoreContract, AnEventComesBackAsItWasPut)
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

TEST_F(StoreContract, ACommandComesBackAsItWasPut)
{
    CMessageCommand command = makeCommand("receiver03", CommandKill, 1700000000);
    addDouble(command, "delay", 2.5);
    EXPECT_EQ(m_store->put(command), 1);
    const auto commands = m_store->commands(commandsWanted(100));
    ASSERT_EQ(commands->size(), 1);
    EXPECT_EQ((*commands)[0].CommandID, 1);
    EXPECT_TRUE(same((*commands)[0], command));
}

TEST_F(StoreContract, MissingNamesDifferFromEmptyOnes)
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

TEST_F(StoreContract, ATextIsCutWhereItsLengthOrItsNulEndsIt)
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

TEST_F(StoreContract, ATextOfNoBytesIsMissingAsInItsCopy)
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

TEST_F(StoreContract, AMaskWithoutALengthEndsAtItsNul)
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

TEST_F(StoreContract, ACountWithoutParametersIsNone)
{
    CMessageEvent event = makeEvent("s", "e", 0);
    event.ParNum = 7;
    m_store->put(event);
    event.ParNum = 0;
    EXPECT_EQ((*m_store->events(eventsWanted(1)))[0].ParNum, 0);
}

TEST_F(StoreContract, TimesBeyond32BitsAreClamped)
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

TEST_F(StoreContract, TheOrderFollowsTheEndAskedFor)
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

TEST_F(StoreContract, NoneAreWantedByACountOfZeroOrLess)
{
    m_store->put(makeEvent("s", "e", 0));
    EXPECT_EQ(m_store->events(eventsWanted(0))->size(), 0);
    EXPECT_EQ(m_store->events(eventsWanted(-1))->size(), 0);
    EXPECT_EQ(m_store->events(eventsWanted(INT_MIN))->size(), 0);
    EXPECT_EQ(m_store->events(eventsWanted(INT_MAX))->size(), 1);
}

TEST_F(StoreContract, TheMaskIsTheSubjectAndTheStoredNameThePattern)
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

TEST_F(StoreContract, IdentifiersAreNeverUsedTwice)
{
    m_store->put(makeEvent("s", "e", 0));
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 0)), 2);
    EXPECT_TRUE(m_store->deleteEvent(2));
    EXPECT_FALSE(m_store->deleteEvent(2));
    reopen();
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 0)), 3);
    std::vector<NewMessage> many(2000);
    EXPECT_EQ(m_store->putEvents(many), 4);
    {
        Store::Batch batch(*m_store);
        for (int id = 1; id <= 2003; ++id)
            m_store->deleteEvent(id);
        batch.commit();
    }
    reopen();
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 0)), 2004);
    m_store->put(makeCommand("s", 1, 0));
    EXPECT_TRUE(m_store->deleteCommand(1));
    reopen();
    EXPECT_EQ(m_store->put(makeCommand("s", 1, 0)), 2);
}

TEST_F(StoreContract, TheIdentifierOfARecordThatIsPutDoesNotMatter)
{
    CMessageEvent event = makeEvent("s", "e", 0);
    event.MessageID = 77;
    EXPECT_EQ(m_store->put(event), 1);
    EXPECT_EQ(event.MessageID, 77);
}

TEST_F(StoreContract, UsedUpIdentifiersAreAnError)
{
    m_store->put(makeEvent("s", "e", 0));
    {
        Store::Batch batch(*m_store);
        databaseUnderTest().skipIdentifiers(*m_store, "event", INT_MAX - 2);
        batch.commit();
    }
    EXPECT_EQ(m_store->put(makeEvent("s", "e", 0)), INT_MAX);
    EXPECT_THROW(m_store->put(makeEvent("s", "e", 0)), StoreError);
    EXPECT_THROW(m_store->putEvents(std::vector<NewMessage>(3)), StoreError);
    EXPECT_EQ(m_store->events(eventsWanted(10))->size(), 2);
}

TEST_F(StoreContract, ManyEventsAreWrittenLikeSingleOnes)
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
    CMessageEventRequest request = eventsWanted(2, true);
    request.UseEventTime0 = 1;
    request.EventTime0 = 20005;
    EXPECT_THAT(ids(*m_store->events(request)), ElementsAre(2002, 2003));
}

TEST_F(StoreContract, ABatchIsUndoneUnlessCommitted)
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
}

TEST_F(StoreContract, TwoStoresSeeEachOthersRecords)
{
    const std::unique_ptr<Store> other = openAnother();
    m_store->put(makeEvent("a", "e", 0));
    EXPECT_EQ(other->events(eventsWanted(10))->size(), 1);
    other->put(makeEvent("b", "f", 0));
    m_store->put(makeEvent("c", "g", 0));
    const auto events = other->events(eventsWanted(10, true));
    ASSERT_EQ(events->size(), 3);
    EXPECT_STREQ((*events)[1].SensorID, "b");
    EXPECT_STREQ((*events)[2].SensorID, "c");
}

TEST_F(StoreContract, AWriterWaitsForAnother)
{
    const std::unique_ptr<Store> other = openAnother();
    auto batch = std::make_unique<Store::Batch>(*other);
    std::thread writer([&] { m_store->put(makeEvent("b", "e", 0)); });
    other->put(makeEvent("a", "e", 0));
    batch->commit();
    batch.reset();
    writer.join();
    EXPECT_EQ(m_store->events(eventsWanted(10))->size(), 2);
}

TEST_F(StoreContract, ASensorIsAliveWhileItGivesSignsOfLife)
{
    SteppedClock clock(1000);
    m_store->registerSensor("analyser01", 1, "Spectrum of the northern antenna");
    const auto liveness = [&] { return (*m_store->sensors(10))[0].MessageType; };
    EXPECT_EQ(liveness(), 0) << "not heard of yet";
    m_store->keepAlive({"analyser01"}, 1000);
    EXPECT_EQ(liveness(), SensorAlive);
    clock.step(10);
    EXPECT_EQ(liveness(), SensorAlive);
    clock.step(1);
    EXPECT_EQ(liveness(), SensorDead);
    m_store->keepAlive({"analyser01"}, 1011);
    EXPECT_EQ(liveness(), SensorAlive);
    m_store->setState("analyser01", SensorState::Killed);
    EXPECT_EQ(liveness(), SensorDead);
    m_store->setState("analyser01", SensorState::Stopped);
    EXPECT_EQ(liveness(), SensorAlive);
    clock.step(-500);
    EXPECT_EQ(liveness(), SensorDead) << "a heartbeat from the future is none";
}

TEST_F(StoreContract, SensorsComeByNameWithWhatIsKnownOfThem)
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

TEST_F(StoreContract, ASensorReadsOnlyCommandsThatCameAfterIt)
{
    m_store->put(makeCommand("late", CommandKill, 0));
    m_store->registerSensor("late", 1, "");
    EXPECT_EQ(m_store->storedSensors()[0].lastCommand, 1);
    m_store->put(makeCommand("late", CommandStop, 0));
    EXPECT_EQ(m_store->readCommands({"late", "nobody"}, 2), 1);
    m_store->registerSensor("late", 1, "again");
    EXPECT_EQ(m_store->storedSensors()[0].lastCommand, 2);
    EXPECT_EQ(m_store->readCommands({"late"}, 1), 0);
    EXPECT_EQ(m_store->readCommands({"late"}, 2), 0);
    EXPECT_EQ(m_store->storedSensors()[0].lastCommand, 2) << "what was read stays read";
}

TEST_F(StoreContract, SoDoesASensorThatAnEventMakesKnown)
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
} // namespace
