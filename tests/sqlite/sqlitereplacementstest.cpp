// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * A database that is replaced and restored again and again under two programs
 * with the library, which read all the time, and a simulator of sensors:
 * OBRIM_REPLACEMENTS is how often.
 */
#include "LoadDLL.h"
#include "capturedoutput.h"
#include "data.h"
#include "sqlitestore.h"
#include "storetesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <set>
#include <sqlite3.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/wait.h>

namespace
{
using Clock = std::chrono::steady_clock;

int replacements()
{
    const char *given = std::getenv("OBRIM_REPLACEMENTS");
    return given ? std::atoi(given) : 30;
}

constexpr int States = 5;
/** Events of state n have identifiers from n * StateSize on, so that each tells where it comes from. */
constexpr int StateSize = 10000000;
constexpr int EventsOfState = 300;
constexpr int SensorsOfState = 12;

/** The names of an event that was there from the start follow from its identifier. */
std::string sensorOf(int id)
{
    return "s" + std::to_string(id / StateSize) + "-" + std::to_string(id % SensorsOfState);
}

std::string nameOf(int id)
{
    return "n" + std::to_string(id % SensorsOfState) + "-" + std::to_string(id / StateSize);
}

/** The same kinds and names under other numbers in each state: memory of one would show wrong names in another. */
void makeState(const std::string &path, int state)
{
    SqliteStore store(path, Sqlite::Durability::Crash);
    const int first = state * StateSize;
    store.put(makeEvent("unused", "unused", 0));
    store.connection().run(
        ("DELETE FROM event; DELETE FROM sensor; UPDATE sqlite_sequence SET seq = " + std::to_string(first)).c_str());
    for (int i = 1; i <= EventsOfState; ++i)
        store.put(makeEvent(sensorOf(first + i), nameOf(first + i), first + i));
    store.connection().run("PRAGMA wal_checkpoint(TRUNCATE)");
}

/** What a reader tells while it works, in memory that it shares with the test. */
struct Told {
    volatile int state;    ///< that its last answer came from, -1 when the last call failed
    volatile long answers; ///< how many there were
    volatile long failures;
    volatile bool wrong; ///< an answer that no state could give
    volatile bool ended;
    char reason[500]; ///< what was wrong with it
};

/** The state of an event; -1 when it fits to none. */
int stateOf(const CMessageEvent &event)
{
    const int state = event.MessageID / StateSize;
    if (event.MessageID % StateSize <= EventsOfState) {
        const bool fits = event.SensorID && event.EventName && event.SensorID == sensorOf(event.MessageID) &&
                          event.EventName == nameOf(event.MessageID) && event.EventTime == event.MessageID;
        return fits ? state : -1;
    }
    // From the simulator: the kind and the name of a sensor belong together.
    static const char *const names[] = {"", "analyser", "converter", "receiver"};
    const bool fits = event.SensorType >= 1 && event.SensorType <= 3 && event.SensorID &&
                      std::string(event.SensorID).rfind(names[event.SensorType], 0) == 0;
    return fits ? state : -1;
}

/** Fetches all, or the last ones; notes what was wrong with it. */
void readOnce(Told &told, bool all)
{
    CMessageEventRequest request = eventsWanted(all ? INT_MAX : EventsOfState, all);
    int n = 0;
    CMessageEvent *events = nullptr;
    if (FDBGetEvents(&n, &events, &request) != 0) {
        told.failures = told.failures + 1;
        told.state = -1;
        return;
    }
    const int state = n > 0 ? stateOf(events[0]) : -1;
    for (int i = 0; i < n && !told.wrong; ++i) {
        if (stateOf(events[i]) != state || state < 0) {
            std::snprintf(told.reason, sizeof told.reason, "event %d of %s, %s beside state %d", events[i].MessageID,
                          events[i].SensorID, events[i].EventName, state);
            told.wrong = true;
        }
    }
    if (all && n < EventsOfState) {
        std::snprintf(told.reason, sizeof told.reason, "%d events only", n);
        told.wrong = true;
    }
    FDBGetEvents(nullptr, &events, &request);
    told.state = state;
    told.answers = told.answers + 1;
}

[[noreturn]] void readUntilToldToEnd(const std::string &config, Told &told)
{
    const CapturedOutput output(stdout);
    const CapturedOutput errors(stderr);
    if (LoadDLL(QString::fromLocal8Bit(DBLIB_SQLITE_FOLDER)) != 0 || FInitDBEvents(config.c_str()) != 0)
        told.wrong = true;
    for (long i = 0; !told.ended; ++i)
        readOnce(told, i % 4 == 0);
    ::_exit(0);
}

class Replacements : public ::testing::Test
{
public:
    static constexpr int Readers = 2;

    void SetUp() override
    {
        for (const char *name : {"Config", "Data", "States", "Away"})
            std::filesystem::create_directories(m_folder.file(name));
        for (int state = 0; state < States; ++state)
            makeState(stateFile(state), state);
        std::filesystem::copy_file(stateFile(0), m_path);
        for (int i = 0; i < Readers; ++i)
            startReader(i);
        startSimulator();
        awaitState(0);
        awaitSimulator();
    }
    void TearDown() override
    {
        for (int i = 0; i < Readers; ++i) {
            m_told[i]->ended = true;
            ::waitpid(m_readers[i], nullptr, 0);
            ::munmap(m_told[i], sizeof(Told));
        }
    }
    std::string stateFile(int state) const
    {
        return m_folder.file("States/" + std::to_string(state) + ".db");
    }
    void startReader(int i)
    {
        void *shared = ::mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(shared, MAP_FAILED);
        m_told[i] = static_cast<Told *>(shared);
        m_readers[i] = ::fork();
        if (m_readers[i] == 0)
            readUntilToldToEnd(m_folder.file("Config"), *m_told[i]);
    }
    void startSimulator()
    {
        m_simulator = ::fork();
        if (m_simulator == 0) {
            const int out = ::open(m_folder.file("said").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
            ::dup2(out, STDOUT_FILENO);
            ::dup2(out, STDERR_FILENO);
            ::execl(SENSOR_SIM, SENSOR_SIM, "--config", m_folder.file("Config").c_str(), "--rate", "300", "--log",
                    m_folder.file("log").c_str(), nullptr);
            ::_exit(127);
        }
    }
    /** Waits for something that must come; for how long is told at the end. */
    template <class Condition> void await(const char *what, Condition condition)
    {
        const Clock::time_point start = Clock::now();
        const auto waited = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
        while (!condition() && waited() < 60)
            ::usleep(500);
        ASSERT_TRUE(condition()) << what << " in round " << m_round << ", " << m_what;
        m_longest = std::max(m_longest, waited());
    }
    /** Each reader has an answer of the state that began after this call. */
    void awaitState(int state)
    {
        for (Told *told : m_told) {
            const long before = told->answers;
            await("a reader", [&] { return (told->state == state && told->answers > before + 1) || told->wrong; });
        }
    }
    void awaitFailure()
    {
        for (Told *told : m_told)
            await("a failure", [&] { return told->state == -1; });
    }
    std::string textOf(const std::string &name) const
    {
        std::ifstream file(m_folder.file(name));
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    std::uintmax_t logSize() const
    {
        std::error_code missing;
        const std::uintmax_t size = std::filesystem::file_size(m_folder.file("log"), missing);
        return missing ? 0 : size;
    }
    /** What the simulator said, from a place in its log on, that it stored in the present state. */
    std::set<int> storedSince(std::uintmax_t place) const
    {
        std::set<int> ids;
        std::ifstream log(m_folder.file("log"));
        log.seekg(std::streamoff(place));
        for (std::string line; std::getline(log, line);)
            if (line.rfind("event ", 0) == 0 && std::atoi(line.c_str() + 6) / StateSize == m_state)
                ids.insert(std::atoi(line.c_str() + 6));
        return ids;
    }
    /** The simulator has stored an event in the present state since this call. */
    void awaitSimulator()
    {
        const std::uintmax_t before = logSize();
        await("the simulator", [&] { return logSize() > before && !storedSince(before).empty(); });
    }
    /** A file that was carried away is whole by itself: the programs have left it. */
    void expectWhole(const std::string &path, const std::set<int> &ids) const
    {
        const std::string copy = m_folder.file("copy.db");
        std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
        if (std::filesystem::exists(path + "-wal"))
            std::filesystem::copy_file(path + "-wal", copy + "-wal", std::filesystem::copy_options::overwrite_existing);
        Sqlite::Connection db(copy, Sqlite::Durability::Crash, 1000);
        Sqlite::Statement check(db, "PRAGMA integrity_check");
        check.step();
        EXPECT_EQ(check.text(0), "ok") << m_what;
        std::set<int> stored;
        Sqlite::Statement rows(db, "SELECT id FROM event");
        while (rows.step())
            stored.insert(int(rows.number(0)));
        for (const int id : ids)
            ASSERT_EQ(stored.count(id), 1U) << "event " << id << " was stored and is gone, " << m_what;
    }

    // What is done to the file; each begins with the present state in place.

    void carryAwayAndCopy(int next)
    {
        m_what = "moved away, another one copied";
        std::filesystem::rename(m_path, m_away);
        std::filesystem::copy_file(stateFile(next), m_path);
        follow(next, m_away);
    }
    void renameOver(int next)
    {
        m_what = "another one renamed over it";
        const std::string fresh = m_folder.file("Data/fresh.db");
        std::filesystem::copy_file(stateFile(next), fresh);
        std::filesystem::create_hard_link(m_path, m_away);
        std::filesystem::rename(fresh, m_path);
        follow(next, m_away);
    }
    void carryAwayAndBack(int)
    {
        m_what = "moved away and back";
        std::filesystem::rename(m_path, m_away);
        awaitFailure();
        std::filesystem::rename(m_away, m_path);
        awaitState(m_state);
        awaitSimulator();
    }
    void carryAwayAndBackAtOnce(int)
    {
        m_what = "moved away and back at once";
        std::filesystem::rename(m_path, m_away);
        std::filesystem::rename(m_away, m_path);
        awaitState(m_state);
        awaitSimulator();
    }
    void carryFolderAwayAndCopy(int next)
    {
        m_what = "its folder moved away, another one made";
        std::filesystem::rename(m_folder.file("Data"), m_folder.file("Old"));
        std::filesystem::create_directory(m_folder.file("Data"));
        std::filesystem::copy_file(stateFile(next), m_path);
        follow(next, m_folder.file("Old/installation.db"));
        std::filesystem::remove_all(m_folder.file("Old"));
    }
    void carryFolderAwayAndBack(int)
    {
        m_what = "its folder moved away and back";
        std::filesystem::rename(m_folder.file("Data"), m_folder.file("Old"));
        awaitFailure();
        std::filesystem::rename(m_folder.file("Old"), m_folder.file("Data"));
        awaitState(m_state);
        awaitSimulator();
    }
    void removeAllAndCopy(int next)
    {
        m_what = "all files removed, another one copied";
        for (const char *suffix : {"", "-wal", "-shm"})
            std::filesystem::remove(m_path + suffix);
        std::filesystem::copy_file(stateFile(next), m_path);
        follow(next, "");
    }
    void restore(int next)
    {
        m_what = "another state restored into it";
        sqlite3 *source = nullptr;
        sqlite3 *target = nullptr;
        ASSERT_EQ(sqlite3_open(stateFile(next).c_str(), &source), SQLITE_OK);
        ASSERT_EQ(sqlite3_open(m_path.c_str(), &target), SQLITE_OK);
        sqlite3_busy_timeout(target, 30000);
        sqlite3_backup *backup = sqlite3_backup_init(target, "main", source, "main");
        int code = SQLITE_BUSY;
        while (code == SQLITE_BUSY)
            code = sqlite3_backup_step(backup, -1);
        EXPECT_EQ(code, SQLITE_DONE);
        EXPECT_EQ(sqlite3_backup_finish(backup), SQLITE_OK);
        sqlite3_close(source);
        sqlite3_close(target);
        follow(next, "");
    }
    /** Waits until all are at the next state, and looks at the file that they have left. */
    void follow(int next, const std::string &left)
    {
        const int before = m_state;
        m_state = next;
        ASSERT_NO_FATAL_FAILURE(awaitState(next));
        ASSERT_NO_FATAL_FAILURE(awaitSimulator());
        if (!left.empty()) {
            m_state = before;
            expectWhole(left, storedSince(m_logged));
            m_state = next;
            std::filesystem::remove(left);
        }
        m_logged = logSize();
    }

    TemporaryFolder m_folder;
    std::string m_path = m_folder.file("Data/installation.db");
    std::string m_away = m_folder.file("Away/installation.db");
    std::array<Told *, Readers> m_told = {};
    std::array<pid_t, Readers> m_readers = {};
    pid_t m_simulator = 0;
    int m_state = 0;
    std::uintmax_t m_logged = 0; ///< how long the log was when the present state came
    int m_round = 0;
    const char *m_what = "";
    double m_longest = 0;
};

TEST_F(Replacements, AreFollowedByAllAndMixNothing)
{
    using Action = void (Replacements::*)(int next);
    const Action actions[] = {&Replacements::carryAwayAndCopy,       &Replacements::renameOver,
                              &Replacements::carryAwayAndBack,       &Replacements::carryAwayAndBackAtOnce,
                              &Replacements::carryFolderAwayAndCopy, &Replacements::carryFolderAwayAndBack,
                              &Replacements::removeAllAndCopy,       &Replacements::restore};
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (m_round = 0; m_round < replacements() && !HasFailure(); ++m_round) {
        const int next = (m_state + 1 + int(random() % (States - 1))) % States;
        (this->*actions[random() % std::size(actions)])(next);
        for (const Told *told : m_told)
            EXPECT_FALSE(told->wrong) << told->reason << " in round " << m_round << ", " << m_what;
        // Some time at work between two replacements, other times none.
        ::usleep(useconds_t(random() % 3 * 20000));
    }
    ::kill(m_simulator, SIGTERM);
    int status = -1;
    ::waitpid(m_simulator, &status, 0);
    EXPECT_EQ(status, 0) << textOf("said");
    expectWhole(m_path, storedSince(m_logged));
    std::printf("%d replacements: %ld answers, %ld failed calls, the longest wait for all programs %.2f s\n", m_round,
                m_told[0]->answers + m_told[1]->answers, m_told[0]->failures + m_told[1]->failures, m_longest);
    std::printf("the simulator said: %s", textOf("said").c_str());
}
} // namespace
