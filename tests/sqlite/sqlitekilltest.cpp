// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file A writer that is killed at any moment loses nothing that it was told to be stored. */
#include "sqlitestore.h"
#include "storetesting.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <random>
#include <set>
#include <sys/wait.h>

namespace
{
constexpr int Kills = 200;

/** What a writer tells through its pipe: each change when it was confirmed, a delete also before. */
struct Told {
    enum What { EventStored, CommandStored, DeletingEvent, EventDeleted } what;
    int id;
};

void tell(int pipe, Told::What what, int id)
{
    const Told told = {what, id};
    if (::write(pipe, &told, sizeof told) != ssize_t(sizeof told))
        ::_exit(1);
}

/** Writes one record after the other, deletes some, and tells it through `pipe`; never returns. */
[[noreturn]] void writeUntilKilled(const std::string &path, int pipe)
{
    try {
        SqliteStore store(path, Sqlite::Durability::PowerLoss);
        const std::vector<NewMessage> many(1500);
        for (int i = 0, id = 0;; ++i) {
            if (i % 50 == 49) {
                tell(pipe, Told::EventStored, store.putEvents(many));
            } else if (i % 5 == 2) {
                tell(pipe, Told::CommandStored, store.put(makeCommand("sensor" + std::to_string(i % 9), 1, i)));
            } else if (i % 5 == 3 && id > 0) {
                tell(pipe, Told::DeletingEvent, id);
                store.deleteEvent(id);
                tell(pipe, Told::EventDeleted, id);
            } else {
                CMessageEvent event = makeEvent("sensor" + std::to_string(i % 9), "event" + std::to_string(i), i);
                addInteger(event, "i", i);
                id = store.put(event);
                tell(pipe, Told::EventStored, id);
            }
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    ::_exit(1);
}

/** Identifiers of what has to be in the store, and of what must not. */
struct Confirmed {
    std::set<int> events;
    std::set<int> commands;
    std::set<int> deleted;

    void add(const Told &told)
    {
        switch (told.what) {
        case Told::EventStored:
            EXPECT_TRUE(events.insert(told.id).second) << "event identifier " << told.id << " was given twice";
            EXPECT_EQ(deleted.count(told.id), 0U) << "event identifier " << told.id << " was given again";
            break;
        case Told::CommandStored:
            EXPECT_TRUE(commands.insert(told.id).second) << "command identifier " << told.id << " was given twice";
            break;
        case Told::DeletingEvent:
            // From here on it may be there or not.
            events.erase(told.id);
            break;
        case Told::EventDeleted:
            deleted.insert(told.id);
            break;
        }
    }
};

/**
 * Lets a writer live for some time, counted from its start or from its first
 * record; what it was told to be stored is added to `confirmed`.
 */
void runAndKill(const std::string &path, bool afterFirst, int microseconds, Confirmed &confirmed)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t writer = ::fork();
    if (writer == 0) {
        ::close(ends[0]);
        writeUntilKilled(path, ends[1]);
    }
    ::close(ends[1]);
    Told told = {};
    if (afterFirst) {
        ASSERT_EQ(::read(ends[0], &told, sizeof told), ssize_t(sizeof told));
        confirmed.add(told);
    }
    // The moment is drawn, not waited for: any moment has to do.
    ::usleep(useconds_t(microseconds));
    ::kill(writer, SIGKILL);
    while (::read(ends[0], &told, sizeof told) == ssize_t(sizeof told))
        confirmed.add(told);
    ::close(ends[0]);
    int status = 0;
    ::waitpid(writer, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "the writer ended by itself";
}

void expectWhatWasConfirmed(SqliteStore &store, const Confirmed &confirmed)
{
    const auto events = store.events(eventsWanted(INT_MAX));
    std::set<int> stored;
    for (int i = 0; i < events->size(); ++i)
        stored.insert((*events)[i].MessageID);
    for (const int id : confirmed.events)
        ASSERT_EQ(stored.count(id), 1U) << "event " << id;
    for (const int id : confirmed.deleted)
        ASSERT_EQ(stored.count(id), 0U) << "deleted event " << id;
    const auto commands = store.commands(commandsWanted(INT_MAX));
    std::set<int> storedCommands;
    for (int i = 0; i < commands->size(); ++i)
        storedCommands.insert((*commands)[i].CommandID);
    for (const int id : confirmed.commands)
        ASSERT_EQ(storedCommands.count(id), 1U) << "command " << id;
}

std::string integrity(SqliteStore &store)
{
    Sqlite::Statement check(store.connection(), "PRAGMA integrity_check");
    check.step();
    return std::string(check.text(0));
}

/** Rows whose time their zone does not know. */
std::int64_t rowsOutsideTheirZones(SqliteStore &store)
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
    Confirmed confirmed;
    std::size_t deletes = 0;
    for (int i = 0; i < Kills; ++i) {
        SCOPED_TRACE("after kill " + std::to_string(i));
        runAndKill(path, i % 4 != 0, int(random() % 20000), confirmed);
        SqliteStore store(path, Sqlite::Durability::PowerLoss);
        ASSERT_EQ(integrity(store), "ok");
        ASSERT_NO_FATAL_FAILURE(expectWhatWasConfirmed(store, confirmed));
        // Keeps the checks short.
        if (store.connection().number("SELECT count(*) FROM event") > 5000) {
            ASSERT_EQ(rowsOutsideTheirZones(store), 0);
            store.connection().run("DELETE FROM event; DELETE FROM command");
            deletes += confirmed.deleted.size();
            confirmed = {};
        }
    }
    EXPECT_GT(deletes + confirmed.deleted.size(), 0U) << "nothing was deleted";
    SqliteStore store(path, Sqlite::Durability::PowerLoss);
    EXPECT_EQ(rowsOutsideTheirZones(store), 0);
    EXPECT_GT(store.connection().number("SELECT seq FROM sqlite_sequence WHERE name = 'event'"), Kills)
        << "hardly anything was written";
}
} // namespace
