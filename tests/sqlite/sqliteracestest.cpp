// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Two programs on one file: at every file operation of the one, the other comes
 * in between with all that it does. Both are this process, so that the moments
 * are the same in every run and none is missed.
 */
#include "failingsqlite.h"
#include "schema.h"
#include "sqlitestore.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <functional>
#include <memory>

namespace
{
using testing::HasSubstr;

/** For the one that comes in between waiting would be in vain: the other stands still meanwhile. */
constexpr int NoPatience = 0;

enum class Afterwards { Stays, Leaves };

class Races : public ::testing::TestWithParam<Afterwards>
{
protected:
    void TearDown() override
    {
        FailingFiles::grant();
    }
    /** Starts the file as `make` leaves it and opens it, with the other program's `visit` at every moment in turn. */
    void meetEverywhere(const std::function<void()> &make, int eventsBefore, int leastMoments)
    {
        int moments = 0;
        int visits = 0;
        for (bool reached = true; reached && !HasFailure(); ++moments) {
            SCOPED_TRACE("file operation " + std::to_string(moments));
            std::filesystem::remove_all(m_folder.file("Data"));
            std::filesystem::create_directories(m_folder.file("Data"));
            make();
            std::unique_ptr<SqliteStore> other;
            bool visited = false;
            FailingFiles::interrupt(moments, [&] { visited = visit(other); });
            {
                SqliteStore one(m_path, Sqlite::Durability::Crash);
                one.put(makeEvent("one", "e", 1));
                reached = FailingFiles::grant();
                visits += visited;
                expectAll(one, eventsBefore + 1 + visited);
            }
            if (other) {
                other->put(makeEvent("other", "e", 2));
                expectAll(*other, eventsBefore + 2 + visited);
            }
        }
        EXPECT_GT(moments, leastMoments) << "hardly any moment was tried";
        EXPECT_GT(visits, 10) << "the other program hardly ever came through";
    }
    /** The other program: opens the file and puts a record; false when the lock kept it out. */
    bool visit(std::unique_ptr<SqliteStore> &other)
    {
        try {
            other = std::make_unique<SqliteStore>(m_path, Sqlite::Durability::Crash, NoPatience);
            other->put(makeEvent("other", "e", 0));
        } catch (const Sqlite::Error &error) {
            EXPECT_THAT(error.what(), HasSubstr("locked by another program"));
            other.reset();
            return false;
        }
        if (GetParam() == Afterwards::Leaves)
            other.reset();
        return true;
    }
    void expectAll(SqliteStore &store, int events)
    {
        Sqlite::Statement check(store.connection(), "PRAGMA integrity_check");
        ASSERT_TRUE(check.step());
        EXPECT_EQ(check.text(0), "ok");
        EXPECT_EQ(store.connection().number("PRAGMA user_version"), Schema::Version);
        EXPECT_EQ(store.events(eventsWanted(INT_MAX))->size(), events);
        EXPECT_EQ(store.connection().number("SELECT count(*) FROM sqlite_schema WHERE type = 'trigger'"), 4);
    }
    void makeOlder(int version)
    {
        Sqlite::Connection connection(m_path, Sqlite::Durability::Crash, NoPatience);
        Schema::createOlder(connection, version);
        connection.run(
            "INSERT INTO event_series VALUES(1, 1, 1, 's', 'e'); INSERT INTO event(series, time) VALUES(1, 5)");
    }

    TemporaryFolder m_folder;
    std::string m_path = m_folder.file("Data/installation.db");
};

TEST_P(Races, BothMakeTheFile)
{
    meetEverywhere([] {}, 0, 50);
}

TEST_P(Races, BothFindAnEmptyFile)
{
    meetEverywhere([this] { std::ofstream{m_path}; }, 0, 50);
}

TEST_P(Races, BothBringItUpToDate)
{
    meetEverywhere([this] { makeOlder(1); }, 1, 30);
}

TEST_P(Races, BothOpenWhatIsThere)
{
    meetEverywhere([this] { SqliteStore(m_path, Sqlite::Durability::Crash).put(makeEvent("s", "e", 0)); }, 1, 10);
}

/** A file as other tools leave it: without the log of write-ahead mode. */
TEST_P(Races, BothFindAFileInAnotherJournalMode)
{
    meetEverywhere(
        [this] {
            SqliteStore store(m_path, Sqlite::Durability::Crash);
            store.put(makeEvent("s", "e", 0));
            store.connection().run("PRAGMA journal_mode=DELETE");
        },
        1, 10);
}

INSTANTIATE_TEST_SUITE_P(, Races, ::testing::Values(Afterwards::Stays, Afterwards::Leaves), [](const auto &tested) {
    return std::string(tested.param == Afterwards::Stays ? "TheOtherStays" : "TheOtherLeaves");
});
} // namespace
