// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Many writers at full speed: none is refused and they take turns. How long one
 * waits is told with OBRIM_WRITERS_SECONDS=N, which lets them write for so long.
 */
#include "logranges.h"
#include "sqlitestore.h"
#include "storetesting.h"
#include "writerqueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <sys/wait.h>
#include <thread>

namespace
{
using Clock = std::chrono::steady_clock;

constexpr int Writers = 8;

double secondsToWrite()
{
    const char *given = std::getenv("OBRIM_WRITERS_SECONDS");
    return given ? std::atof(given) : 0;
}

/** What a writer tells at its end. */
struct Told {
    int stored = 0;
    int refused = 0;
    double longest = 0; ///< seconds that a put took
};

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/** Puts at least `least` events under the name of a sensor, and goes on for the time asked for. */
Told write(const std::string &path, const std::string &sensor, int least)
{
    Told told;
    SqliteStore store(path, Sqlite::Durability::PowerLoss);
    const CMessageEvent event = makeEvent(sensor, "event", 1000);
    const Clock::time_point start = Clock::now();
    while (told.stored + told.refused < least || secondsSince(start) < secondsToWrite()) {
        const Clock::time_point before = Clock::now();
        try {
            store.put(event);
            ++told.stored;
        } catch (const Sqlite::Error &error) {
            std::fprintf(stderr, "%s\n", error.what());
            ++told.refused;
        }
        told.longest = std::max(told.longest, secondsSince(before));
    }
    return told;
}

class Process
{
public:
    template <class Work> explicit Process(Work work)
    {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        m_pid = ::fork();
        if (m_pid == 0) {
            const Told told = work();
            ::_exit(::write(ends[1], &told, sizeof told) == ssize_t(sizeof told) ? 0 : 1);
        }
        ::close(ends[1]);
        m_end = ends[0];
    }
    Told end() const
    {
        Told told;
        EXPECT_EQ(::read(m_end, &told, sizeof told), ssize_t(sizeof told));
        ::close(m_end);
        ::waitpid(m_pid, nullptr, 0);
        return told;
    }

private:
    pid_t m_pid = 0;
    int m_end = -1;
};

class WritersTest : public ::testing::Test
{
protected:
    std::vector<Process> start(int least)
    {
        SqliteStore(m_path, Sqlite::Durability::PowerLoss).put(makeEvent("nobody", "event", 1000));
        std::vector<Process> writers;
        for (int i = 0; i < Writers; ++i)
            writers.emplace_back([this, i, least] { return write(m_path, "sensor" + std::to_string(i), least); });
        return writers;
    }
    /** Lets them write; none may be refused. */
    Told run(int least)
    {
        Told all;
        int slowest = INT_MAX;
        for (const Process &writer : start(least)) {
            const Told told = writer.end();
            EXPECT_EQ(told.refused, 0);
            slowest = std::min(slowest, told.stored);
            all.stored += told.stored;
            all.longest = std::max(all.longest, told.longest);
        }
        std::printf("%d puts of %d writers, %d of the slowest; the longest took %.3f s; one comes %d after its "
                    "last at most\n",
                    all.stored, Writers, slowest, all.longest, longestGap());
        return all;
    }
    /** By how many events of all sensors one comes after the one before of its own, at most. */
    int longestGap()
    {
        SqliteStore store(m_path, Sqlite::Durability::Crash);
        const auto events = store.events(eventsWanted(INT_MAX, true));
        std::map<std::string, int> last;
        int longest = 0;
        for (int i = 0; i < events->size(); ++i) {
            const auto [known, isFirst] = last.emplace((*events)[i].SensorID, i);
            if (!isFirst)
                longest = std::max(longest, i - known->second);
            known->second = i;
        }
        return longest;
    }

    /** Waits until somebody has the number in the queue. */
    void awaitNumber(int number) const
    {
        const int log = ::open((m_path + "-wal").c_str(), O_RDWR | O_CLOEXEC);
        struct flock lock = {};
        for (int i = 0; i < 6000 && lock.l_pid == 0; ++i) {
            ::usleep(1000);
            lock = {};
            lock.l_type = F_WRLCK;
            lock.l_whence = SEEK_SET;
            lock.l_start = Sqlite::LogRanges::Numbers + number;
            lock.l_len = 1;
            ::fcntl(log, F_OFD_GETLK, &lock);
        }
        EXPECT_EQ(lock.l_pid, -1) << "nobody waits";
        ::close(log);
    }
    /** Lets some wait for one that holds the file long enough for the last of them to have lost its patience. */
    bool areServedInOrder()
    {
        constexpr int waiting = 4;
        SqliteStore holder(m_path, Sqlite::Durability::Crash);
        std::vector<std::thread> threads;
        {
            Store::Batch batch(holder);
            holder.put(makeEvent("holder", "event", 1000));
            for (int i = 0; i < waiting; ++i) {
                threads.emplace_back([this, i] { write(m_path, "waiting" + std::to_string(i), 1); });
                awaitNumber(i);
            }
            ::usleep(250000);
            batch.commit();
        }
        for (std::thread &thread : threads)
            thread.join();
        std::vector<std::string> served;
        const auto events = holder.events(eventsWanted(waiting));
        for (int i = events->size() - 1; i >= 0; --i)
            served.emplace_back((*events)[i].SensorID);
        return std::is_sorted(served.begin(), served.end());
    }

    TemporaryFolder m_folder;
    std::string m_path = m_folder.file("x.db");
};

TEST_F(WritersTest, TakeTurns)
{
    const Told all = run(100);
    // In turn it is as many as there are others, and some more when the machine has other work to do.
    EXPECT_LT(longestGap(), 200);
    EXPECT_TRUE(secondsToWrite() <= 0 || all.longest < 1) << "no put may take longer than a second";
}

TEST_F(WritersTest, KeepTheirOrderWhenTheyWaitForLong)
{
    SqliteStore(m_path, Sqlite::Durability::Crash).put(makeEvent("nobody", "event", 1000));
    constexpr int rounds = 5;
    int inOrder = 0;
    for (int i = 0; i < rounds; ++i)
        inOrder += areServedInOrder() ? 1 : 0;
    // One may be overtaken on a busy machine. Drawn by lot it is one round in twenty-four.
    EXPECT_GE(inOrder, 3);
}

TEST_F(WritersTest, OneThatStandsStillInTheQueueStopsNoOther)
{
    SqliteStore store(m_path, Sqlite::Durability::PowerLoss);
    store.put(makeEvent("sensor", "event", 1000));
    const int log = ::open((m_path + "-wal").c_str(), O_RDWR | O_CLOEXEC);
    {
        Sqlite::WriterQueue stopped(log);
        stopped.join();
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(store.put(makeEvent("sensor", "event", 1000)), 2 + i);
        EXPECT_TRUE(stopped.isFirst());
    }
    ::close(log);
}

TEST_F(WritersTest, TheLogShrinksAfterALongReader)
{
    constexpr std::uintmax_t limit = 8 << 20;
    SqliteStore writer(m_path, Sqlite::Durability::Crash);
    writer.put(makeEvent("sensor", "event", 1000));
    std::vector<NewMessage> many(3000);
    const std::string text(1000, 'x');
    for (NewMessage &message : many)
        message.params = text;
    {
        SqliteStore reader(m_path, Sqlite::Durability::Crash);
        const Sqlite::Transaction view(reader.connection(), Sqlite::Transaction::Read);
        EXPECT_EQ(reader.connection().number("SELECT count(*) FROM event"), 1);
        for (int i = 0; i < 5; ++i)
            writer.putEvents(many);
        EXPECT_GT(std::filesystem::file_size(m_path + "-wal"), limit);
    }
    for (int i = 0; i < 3; ++i)
        writer.put(makeEvent("sensor", "event", 1000));
    EXPECT_LE(std::filesystem::file_size(m_path + "-wal"), limit);
}

/** Descriptors of one file, each with locks of its own, as programs have them. */
class QueueTest : public ::testing::Test
{
protected:
    int open() const
    {
        return ::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    }
    void TearDown() override
    {
        for (const int descriptor : m_programs)
            ::close(descriptor);
    }

    TemporaryFolder m_folder;
    std::string m_path = m_folder.file("log");
    int m_programs[3] = {open(), open(), open()};
};

TEST_F(QueueTest, IsServedInTheOrderOfComing)
{
    auto first = std::make_unique<Sqlite::WriterQueue>(m_programs[0]);
    EXPECT_TRUE(first->isFirst()) << "nobody waits";
    first->join();
    EXPECT_TRUE(first->isFirst());
    auto second = std::make_unique<Sqlite::WriterQueue>(m_programs[1]);
    EXPECT_FALSE(second->isFirst());
    second->join();
    auto third = std::make_unique<Sqlite::WriterQueue>(m_programs[2]);
    third->join();
    EXPECT_FALSE(second->isFirst());
    EXPECT_FALSE(third->isFirst());
    first.reset();
    EXPECT_TRUE(second->isFirst());
    EXPECT_FALSE(third->isFirst());
    // Who comes again stands at the end.
    first = std::make_unique<Sqlite::WriterQueue>(m_programs[0]);
    first->join();
    second.reset();
    EXPECT_TRUE(third->isFirst());
    EXPECT_FALSE(first->isFirst());
    third.reset();
    EXPECT_TRUE(first->isFirst());
}

TEST_F(QueueTest, IsNotStoppedByOneThatLeaves)
{
    Sqlite::WriterQueue first(m_programs[0]);
    auto second = std::make_unique<Sqlite::WriterQueue>(m_programs[1]);
    Sqlite::WriterQueue third(m_programs[2]);
    first.join();
    second->join();
    third.join();
    second.reset();
    EXPECT_FALSE(third.isFirst());
    ::close(m_programs[0]);
    m_programs[0] = -1;
    EXPECT_TRUE(third.isFirst()) << "a program that has died stands in no queue";
}

TEST_F(QueueTest, IsNoneWithoutALog)
{
    Sqlite::WriterQueue queue(-1);
    queue.join();
    EXPECT_TRUE(queue.isFirst());
    const int readOnly = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    {
        Sqlite::WriterQueue reader(readOnly);
        reader.join();
        EXPECT_TRUE(reader.isFirst()) << "without a number";
    }
    ::close(readOnly);
}
} // namespace
