// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Three writers that are killed at any moment lose nothing that they were told
 * to be stored. OBRIM_KILL_ROUNDS is how often.
 */
#include "sqlitestore.h"
#include "storetesting.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <random>
#include <set>
#include <sys/wait.h>

namespace
{
constexpr int Writers = 3;

int rounds()
{
    const char *given = std::getenv("OBRIM_KILL_ROUNDS");
    return given ? std::atoi(given) : 60;
}

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
        // On a busy disk, 1500 records of another writer may take longer than a console would wait.
        constexpr int patience = 60000;
        SqliteStore store(path, Sqlite::Durability::PowerLoss, patience);
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

/** A writer as a process of its own. */
class Writer
{
public:
    explicit Writer(const std::string &path)
    {
        int ends[2];
        if (::pipe(ends) != 0)
            ::abort();
        m_pid = ::fork();
        if (m_pid == 0) {
            ::close(ends[0]);
            writeUntilKilled(path, ends[1]);
        }
        ::close(ends[1]);
        m_end = ends[0];
    }
    /** Waits until it has told something of the kind; what it tells before is added, too. */
    void await(Told::What what, Confirmed &confirmed) const
    {
        Told told = {};
        do {
            ASSERT_EQ(::read(m_end, &told, sizeof told), ssize_t(sizeof told));
            confirmed.add(told);
        } while (told.what != what);
    }
    void kill() const
    {
        ::kill(m_pid, SIGKILL);
    }
    /** When it was killed; what it was told to be stored is added. */
    void end(Confirmed &confirmed) const
    {
        Told told = {};
        while (::read(m_end, &told, sizeof told) == ssize_t(sizeof told))
            confirmed.add(told);
        ::close(m_end);
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status)) << "the writer ended by itself";
    }

private:
    pid_t m_pid = 0;
    int m_end = -1;
};

/**
 * Lets writers live for some time, counted from their start or from the first
 * change of a kind by each. One is killed before the others, which go on meanwhile.
 */
void runAndKill(const std::string &path, std::optional<Told::What> first, std::mt19937 &random, Confirmed &confirmed)
{
    std::vector<Writer> writers;
    for (int i = 0; i < Writers; ++i)
        writers.emplace_back(path);
    for (std::size_t i = 0; first && i < writers.size(); ++i)
        ASSERT_NO_FATAL_FAILURE(writers[i].await(*first, confirmed));
    // The moments are drawn, not waited for: any moment has to do.
    for (const Writer &writer : writers) {
        ::usleep(useconds_t(random() % 30000));
        writer.kill();
    }
    for (const Writer &writer : writers)
        writer.end(confirmed);
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
    std::size_t total = 0;
    const std::optional<Told::What> firsts[] = {std::nullopt, Told::EventStored, Told::EventDeleted, Told::EventStored};
    for (int i = 0; i < rounds(); ++i) {
        SCOPED_TRACE("after round " + std::to_string(i));
        ASSERT_NO_FATAL_FAILURE(runAndKill(path, firsts[std::size_t(i) % std::size(firsts)], random, confirmed));
        SqliteStore store(path, Sqlite::Durability::PowerLoss);
        ASSERT_EQ(integrity(store), "ok");
        ASSERT_NO_FATAL_FAILURE(expectWhatWasConfirmed(store, confirmed));
        // Keeps the checks short.
        if (store.connection().number("SELECT count(*) FROM event") > 5000) {
            ASSERT_EQ(rowsOutsideTheirZones(store), 0);
            store.connection().run("DELETE FROM event; DELETE FROM command");
            deletes += confirmed.deleted.size();
            total += confirmed.events.size() + confirmed.commands.size();
            confirmed = {};
        }
    }
    EXPECT_GT(deletes + confirmed.deleted.size(), 0U) << "nothing was deleted";
    SqliteStore store(path, Sqlite::Durability::PowerLoss);
    EXPECT_EQ(rowsOutsideTheirZones(store), 0);
    EXPECT_GT(store.connection().number("SELECT seq FROM sqlite_sequence WHERE name = 'event'"), rounds())
        << "hardly anything was written";
    total += confirmed.events.size() + confirmed.commands.size();
    std::printf("%d rounds of %d writers: %zu confirmed records, none lost or doubled; %zu confirmed deletes\n",
                rounds(), Writers, total, deletes + confirmed.deleted.size());
}
} // namespace
