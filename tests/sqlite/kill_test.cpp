// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file A writer that is killed at any moment loses nothing that it was told to be stored. */
#include "StoreTesting.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <random>
#include <set>
#include <sys/wait.h>

namespace
{
constexpr int Kills = 200;

/** Writes one record after the other and tells each identifier through `pipe`; never returns. */
[[noreturn]] void writeUntilKilled(const std::string &path, int pipe)
{
    try {
        Store store(path, Sqlite::Durability::PowerLoss);
        const std::vector<NewMessage> many(1500);
        for (int i = 0;; ++i) {
            int id = 0;
            if (i % 50 == 49) {
                id = store.putEvents(many);
            } else {
                CMessageEvent event = makeEvent("sensor" + std::to_string(i % 9), "event" + std::to_string(i), i);
                addInteger(event, "i", i);
                id = store.put(event);
            }
            if (::write(pipe, &id, sizeof id) != ssize_t(sizeof id)) {
                ::_exit(1);
            }
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    ::_exit(1);
}

/**
 * Lets a writer live for some time, counted from its start or from its first
 * record; what it was told to be stored is added to `confirmed`.
 */
void runAndKill(const std::string &path, bool afterFirst, int microseconds, std::set<int> &confirmed)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t writer = ::fork();
    if (writer == 0) {
        ::close(ends[0]);
        writeUntilKilled(path, ends[1]);
    }
    ::close(ends[1]);
    if (afterFirst) {
        int id = 0;
        ASSERT_EQ(::read(ends[0], &id, sizeof id), ssize_t(sizeof id));
        confirmed.insert(id);
    }
    // The moment is drawn, not waited for: any moment has to do.
    ::usleep(useconds_t(microseconds));
    ::kill(writer, SIGKILL);
    for (int id = 0; ::read(ends[0], &id, sizeof id) == ssize_t(sizeof id);) {
        EXPECT_TRUE(confirmed.insert(id).second) << "identifier " << id << " was given twice";
    }
    ::close(ends[0]);
    int status = 0;
    ::waitpid(writer, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "the writer ended by itself";
}

std::string integrity(Store &store)
{
    Sqlite::Statement check(store.connection(), "PRAGMA integrity_check");
    check.step();
    return std::string(check.text(0));
}

/** Rows whose time their zone does not know. */
std::int64_t rowsOutsideTheirZones(Store &store)
{
    return store.connection().number(
        "SELECT count(*) FROM event e WHERE EXISTS (SELECT 1 FROM (SELECT 0 AS level, 8 AS shift UNION ALL "
        "VALUES(1, 14), (2, 20)) l WHERE NOT EXISTS (SELECT 1 FROM event_zone z WHERE z.level = l.level AND "
        "z.block = e.id >> l.shift AND z.earliest <= e.time AND z.latest >= e.time))");
}

TEST(Kill, NothingThatWasConfirmedIsLost)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("killed.db");
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::set<int> confirmed;
    for (int i = 0; i < Kills; ++i) {
        runAndKill(path, i % 4 != 0, int(random() % 20000), confirmed);
        Store store(path, Sqlite::Durability::PowerLoss);
        ASSERT_EQ(integrity(store), "ok") << "after kill " << i;
        const auto events = store.events(eventsWanted(INT_MAX));
        std::set<int> stored;
        for (int k = 0; k < events->size(); ++k) {
            stored.insert((*events)[k].MessageID);
        }
        for (const int id : confirmed) {
            ASSERT_EQ(stored.count(id), 1U) << "event " << id << " after kill " << i;
        }
        // Keeps the checks short, and deletes are part of the life of a store.
        if (events->size() > 5000) {
            ASSERT_EQ(rowsOutsideTheirZones(store), 0);
            store.connection().run("DELETE FROM event");
            confirmed.clear();
        }
    }
    Store store(path, Sqlite::Durability::PowerLoss);
    EXPECT_EQ(rowsOutsideTheirZones(store), 0);
    EXPECT_GT(store.connection().number("SELECT seq FROM sqlite_sequence WHERE name = 'event'"), Kills)
        << "hardly anything was written";
}
} // namespace
