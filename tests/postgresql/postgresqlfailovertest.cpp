// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Two servers, of which the second follows the first and nothing is confirmed
 * that it does not have. Simulators write and readers look for what is new, while
 * the first is killed and the second takes its place. OBRIM_FAILOVER_ROUNDS tells
 * how often (1); with it, nobody may need more than five seconds.
 */
#include "runningprogram.h"
#include "servertesting.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

constexpr int Simulators = 3;
constexpr int Readers = 2;
constexpr const char *EventsPerSecond = "167"; // of each simulator
constexpr auto Tick = std::chrono::milliseconds(100);
constexpr double MostSeconds = 5;

/** Asks for what is above the highest identifier that it has seen, as a list on auto-update. */
class Reader
{
public:
    explicit Reader(const Settings &settings)
        : m_thread([this, settings] { run(settings); })
    {
    }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;
    ~Reader()
    {
        if (m_thread.joinable())
            end();
    }
    int count() const
    {
        return m_count;
    }
    /** What it has seen up to the end. */
    const std::vector<int> &end()
    {
        m_ends = true;
        m_thread.join();
        return m_seen;
    }

private:
    void run(const Settings &settings)
    {
        PostgresStore store(settings);
        for (bool last = false; !last;) {
            last = m_ends;
            try {
                look(store);
            } catch (const StoreError &) {
                // The next tick tries again.
            }
            std::this_thread::sleep_for(Tick);
        }
    }
    void look(Store &store)
    {
        CMessageEventRequest request = eventsWanted(1000000);
        request.UseMessageID0 = 1;
        request.MessageID0 = m_seen.empty() ? 1 : m_seen.back() + 1;
        const auto events = store.events(request);
        for (int i = 0; i < events->size(); ++i)
            m_seen.push_back((*events)[i].MessageID);
        m_count = int(m_seen.size());
    }

    std::vector<int> m_seen;
    std::atomic<int> m_count{0};
    std::atomic<bool> m_ends{false};
    std::thread m_thread;
};

/** sensor-sim with a log of what was confirmed to it. */
class Simulator
{
public:
    Simulator(const std::string &folder, int number)
        : m_log(folder + "/simulator" + std::to_string(number))
        , m_program({SENSOR_SIM, "--config", folder, "--rate", EventsPerSecond, "--log", m_log})
    {
    }
    std::vector<int> confirmed() const
    {
        std::vector<int> ids;
        std::ifstream file(m_log);
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            std::string kind;
            int id = 0;
            if (words >> kind >> id && kind == "event")
                ids.push_back(id);
        }
        return ids;
    }
    void end()
    {
        m_program.signal(SIGTERM);
        m_program.wait();
    }

private:
    std::string m_log;
    RunningProgram m_program;
};

class Installation
{
public:
    Installation()
    {
        m_first.start();
        m_database = m_first.freshDatabase();
        m_second = std::make_unique<TestServer>(TestServer::Standby{m_first, "b"});
        m_second->start();
        m_first.sql("ALTER SYSTEM SET synchronous_standby_names = 'b'");
        m_first.sql("SELECT pg_reload_conf()");
        EXPECT_TRUE(eventually(
            [&] { return m_first.sql("SELECT count(*) FROM pg_stat_replication WHERE sync_state = 'sync'") == "1"; }));
        std::ofstream(folder() + "/DBLib.def") << "Connection=" << connection() << "\n";
        PostgresStore(settings()).open();
        for (int i = 0; i < Simulators; ++i)
            m_simulators.push_back(std::make_unique<Simulator>(folder(), i));
        for (int i = 0; i < Readers; ++i)
            m_readers.push_back(std::make_unique<Reader>(settings()));
    }
    const std::string &folder() const
    {
        return m_folder.path();
    }
    /** Kills the first server and promotes the second. */
    void fail()
    {
        m_first.kill();
        m_second->promote();
    }
    /** How much each simulator was confirmed, and each reader has seen. */
    std::vector<std::size_t> progress() const
    {
        std::vector<std::size_t> all;
        for (const auto &simulator : m_simulators)
            all.push_back(simulator->confirmed().size());
        for (const auto &reader : m_readers)
            all.push_back(std::size_t(reader->count()));
        return all;
    }
    /** Waits until everybody has got further than that by so many events. */
    bool waitForProgress(const std::vector<std::size_t> &before, std::size_t by) const
    {
        return eventually([&] {
            const std::vector<std::size_t> now = progress();
            return std::equal(now.begin(), now.end(), before.begin(), [&](auto a, auto b) { return a >= b + by; });
        });
    }
    std::vector<int> endAndListConfirmed()
    {
        std::vector<int> all;
        for (const auto &simulator : m_simulators) {
            simulator->end();
            const std::vector<int> ids = simulator->confirmed();
            all.insert(all.end(), ids.begin(), ids.end());
        }
        std::sort(all.begin(), all.end());
        return all;
    }
    std::vector<int> stored() const
    {
        PostgresStore store(settings());
        const auto events = store.events(eventsWanted(10000000, true));
        std::vector<int> ids;
        for (int i = 0; i < events->size(); ++i)
            ids.push_back((*events)[i].MessageID);
        return ids;
    }
    std::vector<std::unique_ptr<Reader>> &readers()
    {
        return m_readers;
    }

private:
    std::string connection() const
    {
        return "host=" + m_first.host() + "," + m_second->host() + " user=owner dbname=" + m_database +
               " target_session_attrs=read-write";
    }
    Settings settings() const
    {
        return readSettings(folder());
    }

    TemporaryFolder m_folder;
    TestServer m_first;
    std::unique_ptr<TestServer> m_second;
    std::string m_database;
    std::vector<std::unique_ptr<Simulator>> m_simulators;
    std::vector<std::unique_ptr<Reader>> m_readers;
};

void playRound(bool isTimed)
{
    Installation installation;
    ASSERT_TRUE(installation.waitForProgress(installation.progress(), 100));
    installation.fail();
    const auto start = Clock::now();
    ASSERT_TRUE(installation.waitForProgress(installation.progress(), 1));
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    ASSERT_TRUE(installation.waitForProgress(installation.progress(), 100));
    const std::vector<int> confirmed = installation.endAndListConfirmed();
    const std::vector<int> stored = installation.stored();
    std::printf("%zu events, all went on %.2f s after the promotion\n", stored.size(), seconds);
    EXPECT_EQ(stored, confirmed); // nothing is lost, and nothing is there twice
    for (const auto &reader : installation.readers())
        EXPECT_EQ(reader->end(), stored);
    EXPECT_LT(isTimed ? seconds : 0, MostSeconds);
}

TEST(FailoverTest, AllGoOnByThemselvesAndNothingIsLostOrDoubled)
{
    const char *given = std::getenv("OBRIM_FAILOVER_ROUNDS");
    for (int round = given ? std::atoi(given) : 1; round > 0; --round)
        playRound(given != nullptr);
}
} // namespace
