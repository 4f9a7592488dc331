// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file Which index serves each of the store's queries: none may read a whole table where an index stands. */
#include "sqlitestore.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sqlite3.h>

namespace
{
using testing::ElementsAre;

std::vector<std::string> planOf(SqliteStore &store, const std::string &sql)
{
    std::vector<std::string> steps;
    Sqlite::Statement plan(store.connection(), "EXPLAIN QUERY PLAN " + sql);
    while (plan.step())
        steps.emplace_back(plan.text(3));
    return steps;
}

class Plans : public ::testing::TestWithParam<const char *>
{
protected:
    /** The plan of the one statement of the selector that contains all of `words`. */
    std::vector<std::string> planWith(const std::vector<std::string> &words)
    {
        std::vector<std::string> found;
        for (const std::string &sql : m_store.statements())
            if (std::all_of(words.begin(), words.end(),
                            [&](const std::string &word) { return sql.find(word) != std::string::npos; }))
                found.push_back(sql);
        EXPECT_EQ(found.size(), 1U) << words[0];
        return found.empty() ? std::vector<std::string>() : planOf(m_store, found[0]);
    }

    TemporaryFolder m_folder;
    SqliteStore m_store{m_folder.file("x.db"), Sqlite::Durability::Crash};
    std::string m_table = GetParam();
};

TEST_P(Plans, RowsInOrderComeByTheTableItself)
{
    for (const char *order : {"ASC", "DESC"}) {
        EXPECT_THAT(planWith({"params) FROM " + m_table + " WHERE id BETWEEN", order}),
                    ElementsAre("SEARCH " + m_table + " USING INTEGER PRIMARY KEY (rowid>? AND rowid<?)"));
    }
}

TEST_P(Plans, ARowComesByItsIdentifier)
{
    EXPECT_THAT(planWith({"params FROM " + m_table + " WHERE id = ?1"}),
                ElementsAre("SEARCH " + m_table + " USING INTEGER PRIMARY KEY (rowid=?)"));
}

TEST_P(Plans, KindsAndNamesComeByTheIndexOfSeriesAlone)
{
    for (const char *order : {"ASC", "DESC"}) {
        EXPECT_THAT(planWith({"INDEXED BY " + m_table + "_by_series", order}),
                    ElementsAre("SEARCH " + m_table + " USING COVERING INDEX " + m_table +
                                "_by_series (series=? AND rowid>? AND rowid<?)"));
    }
}

TEST_P(Plans, TimesComeByZones)
{
    for (const char *order : {"ASC", "DESC"}) {
        for (const char *level : {"level = 0", "level = 1", "level = 2"}) {
            EXPECT_THAT(planWith({m_table + "_zone", level, order}),
                        ElementsAre("SEARCH " + m_table + "_zone USING PRIMARY KEY (level=? AND block>? AND block<?)"));
        }
    }
}

TEST_P(Plans, AZoneIsAskedForATimeByTheIndexOfTimesAlone)
{
    EXPECT_THAT(planWith({"INDEXED BY " + m_table + "_by_time"}),
                ElementsAre("SEARCH " + m_table + " USING COVERING INDEX " + m_table +
                            "_by_time (<expr>=? AND time>? AND time<?)"));
}

INSTANTIATE_TEST_SUITE_P(Of, Plans, ::testing::Values("event", "command"),
                         [](const auto &tested) { return std::string(tested.param); });

/** No statement of the selector may scan. */
TEST(AllPlans, NothingIsScannedOrSorted)
{
    const TemporaryFolder folder;
    SqliteStore store(folder.file("x.db"), Sqlite::Durability::Crash);
    const std::vector<std::string> statements = store.statements();
    EXPECT_EQ(statements.size(), 28U);
    for (const std::string &sql : statements)
        for (const std::string &step : planOf(store, sql))
            EXPECT_EQ(step.rfind("SEARCH", 0), 0U) << sql << ": " << step;
}

/** Steps of SQLite's virtual machine since it was made: some ten for a row read. */
class StepCount
{
public:
    explicit StepCount(SqliteStore &store)
        : m_db(store.connection().handle())
    {
        sqlite3_progress_handler(
            m_db, 1,
            [](void *count) {
                ++*static_cast<int *>(count);
                return 0;
            },
            &steps);
    }
    StepCount(const StepCount &) = delete;
    StepCount &operator=(const StepCount &) = delete;
    ~StepCount()
    {
        sqlite3_progress_handler(m_db, 0, nullptr, nullptr);
    }
    int steps = 0;

private:
    sqlite3 *m_db;
};

TEST(Visits, AFilterReadsLittleMoreThanItGivesOut)
{
    const TemporaryFolder folder;
    SqliteStore store(folder.file("x.db"), Sqlite::Durability::Crash);
    constexpr int rows = 200000;
    std::vector<NewMessage> events(rows);
    for (int i = 0; i < rows; ++i) {
        NewMessage &event = events[std::size_t(i)];
        // The rare kind and names stand in the middle only, the times rise.
        const bool rare = i > 99000 && i < 100000;
        event.series = {rare ? 9 : i % 3, rare ? 9 : i % 3, std::string_view(rare ? "rare" : "sensor"),
                        std::string_view(rare ? "seldom" : "often")};
        event.time = 1000 + i;
    }
    store.putEvents(events);

    std::vector<CMessageEventRequest> requests(7, eventsWanted(100));
    requests[1].UseMessageType = 1;
    requests[1].MessageType = 9;
    requests[2].UseSensorType = 1;
    requests[2].SensorType = 9;
    requests[3].UseSensorID = 1;
    setText(requests[3].SensorID, requests[3].LSensorID, "RARE");
    requests[4].UseEventName = 1;
    setText(requests[4].EventName, requests[4].LEventName, "seldom");
    requests[5].UseEventTime1 = 1;
    requests[5].EventTime1 = 1000 + rows / 2;
    requests[6].UseEventTime0 = requests[6].UseEventTime1 = 1;
    requests[6].EventTime0 = 1000 + 99500;
    requests[6].EventTime1 = 1000 + 99700;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        for (const int first : {0, 1}) {
            requests[i].TakeFirst1_Last0 = first;
            const StepCount count(store);
            EXPECT_EQ(store.events(requests[i])->size(), 100);
            EXPECT_LT(count.steps, 20000) << "request " << i << (first ? " first" : " last");
        }
    }
}
} // namespace
