// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * How the server finds the rows of a request: by an index, in the part of the
 * table that holds them. So a request costs the same on any number of events.
 */
#include "servertesting.h"

#include <gmock/gmock.h>

#include <functional>
#include <regex>
#include <set>

namespace
{
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

constexpr int Partitions = 4;
constexpr int PartitionSize = 1 << 20;
constexpr int EventsEach = 8000;
constexpr int Sensors = 40;
constexpr std::int64_t Start = 1700000000;

struct Case {
    const char *name;
    std::function<void(CMessageEventRequest &)> set;
};

const Case Cases[] = {
    {"none", [](CMessageEventRequest &) {}},
    {"id_from",
     [](CMessageEventRequest &request) {
         request.UseMessageID0 = 1;
         request.MessageID0 = 2 * PartitionSize;
     }},
    {"id_to",
     [](CMessageEventRequest &request) {
         request.UseMessageID1 = 1;
         request.MessageID1 = 2 * PartitionSize + 4000;
     }},
    {"message_type",
     [](CMessageEventRequest &request) {
         request.UseMessageType = 1;
         request.MessageType = 2;
     }},
    {"sensor_mask",
     [](CMessageEventRequest &request) {
         request.UseSensorID = 1;
         setText(request.SensorID, request.LSensorID, "sensor7");
     }},
    {"event_mask",
     [](CMessageEventRequest &request) {
         request.UseEventName = 1;
         setText(request.EventName, request.LEventName, "event3");
     }},
    {"time_from",
     [](CMessageEventRequest &request) {
         request.UseEventTime0 = 1;
         request.EventTime0 = std::time_t(Start + EventsEach * 3 / 2);
     }},
    {"time_to",
     [](CMessageEventRequest &request) {
         request.UseEventTime1 = 1;
         request.EventTime1 = std::time_t(Start + EventsEach * 3 / 2);
     }},
};

class PlansTest : public ServerTest
{
protected:
    void SetUp() override
    {
        ServerTest::SetUp();
        m_store = openStore();
        for (int part = 0; part < Partitions; ++part) {
            value("UPDATE obrim.newest SET id = " + std::to_string(std::int64_t(part) * PartitionSize + 100) +
                  " WHERE kind = 'event'");
            fill(part);
        }
        value("ANALYZE obrim.event");
        m_store->events(eventsWanted(1)); // tells how far the table reaches
    }
    void fill(int part)
    {
        std::vector<std::string> sensors;
        for (int i = 0; i < Sensors; ++i)
            sensors.push_back("sensor" + std::to_string(i));
        std::vector<NewMessage> events(EventsEach);
        for (int i = 0; i < EventsEach; ++i) {
            const int sensor = i % Sensors;
            events[std::size_t(i)].series = {1 + sensor % 3, 1 + sensor % 3, sensors[std::size_t(sensor)],
                                             sensor % 8 == 3 ? "event3" : "event0"};
            events[std::size_t(i)].time = Start + std::int64_t(part) * EventsEach + i;
        }
        m_store->putEvents(events);
    }
    /** The plans of what the store sends for a request, and how many rows that gave. */
    std::vector<std::string> plansOf(const CMessageEventRequest &request, int &rows)
    {
        std::vector<std::string> sent;
        m_store->watch(&sent);
        rows = m_store->events(request)->size();
        m_store->watch(nullptr);
        static const std::regex copy(R"(COPY \((.*?)\) TO STDOUT)");
        std::vector<std::string> plans;
        for (const std::string &statement : sent)
            for (std::sregex_iterator found(statement.begin(), statement.end(), copy), end; found != end; ++found)
                plans.push_back(value("EXPLAIN (FORMAT JSON) " + (*found)[1].str()));
        return plans;
    }
    static std::set<std::string> partitionsIn(const std::string &plan)
    {
        static const std::regex partition(R"re("Relation Name": "(event_\d+)")re");
        std::set<std::string> all;
        for (std::sregex_iterator found(plan.begin(), plan.end(), partition), end; found != end; ++found)
            all.insert((*found)[1]);
        return all;
    }

    std::unique_ptr<PostgresStore> m_store;
};

TEST_F(PlansTest, AFewRowsComeByAnIndexFromTheWantedEnd)
{
    static const std::regex wholePartition(R"re("Node Type": "Seq Scan",[^{}]*"Relation Name": "event_\d+")re");
    for (const Case &one : Cases) {
        for (const bool first : {false, true}) {
            SCOPED_TRACE(std::string(one.name) + (first ? ", first" : ", last"));
            CMessageEventRequest request = eventsWanted(100, first);
            one.set(request);
            int rows = 0;
            for (const std::string &plan : plansOf(request, rows)) {
                EXPECT_FALSE(std::regex_search(plan, wholePartition)) << plan;
                EXPECT_LE(partitionsIn(plan).size(), 2U) << plan; // it may begin near an edge
            }
            EXPECT_EQ(rows, 100);
        }
    }
}

TEST_F(PlansTest, NothingNewIsFoundWithoutLookingAtEvents)
{
    CMessageEventRequest request = eventsWanted(100);
    request.UseMessageID0 = 1;
    request.MessageID0 = Partitions * PartitionSize;
    int rows = 0;
    for (const std::string &plan : plansOf(request, rows))
        EXPECT_THAT(partitionsIn(plan), SizeIs(0)) << plan;
    EXPECT_EQ(rows, 0);
}

TEST_F(PlansTest, ARareSensorIsFoundByItsIndexInAllPartitions)
{
    CMessageEventRequest request = eventsWanted(700);
    request.UseSensorID = 1;
    setText(request.SensorID, request.LSensorID, "sensor7");
    int rows = 0;
    const std::vector<std::string> plans = plansOf(request, rows);
    EXPECT_EQ(rows, 700);
    EXPECT_THAT(plans.back(), Not(HasSubstr("Seq Scan")));
    EXPECT_THAT(plans.back(), HasSubstr("_series_id_idx"));
}
} // namespace
