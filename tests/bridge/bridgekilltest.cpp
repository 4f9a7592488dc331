// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Hosts and consoles that are killed, again and again. OBRIM_ALL_KILLS=1 kills
 * 1000 hosts and 100 consoles, which takes minutes; some of them otherwise.
 */
#include "bridgefixture.h"
#include "recordmaking.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <random>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>

namespace
{
using namespace BridgeFixture;
using std::chrono::steady_clock;

bool wantsAll()
{
    return std::getenv("OBRIM_ALL_KILLS") != nullptr;
}

/** Kills a process after a random time below `most`; waits for it to be done. */
class KillLater
{
public:
    KillLater(int process, std::chrono::microseconds most, std::mt19937 &random)
        : m_thread([=, delay = std::chrono::microseconds(random() % unsigned(most.count()))] {
            std::this_thread::sleep_for(delay);
            sendSignal(process, SIGKILL);
        })
    {
    }
    ~KillLater()
    {
        m_thread.join();
    }
    KillLater(const KillLater &) = delete;
    KillLater &operator=(const KillLater &) = delete;

private:
    std::thread m_thread;
};

const std::string Good = CHECKER_LIBRARIES "/good/Libs/DBLib.a";

TEST(BridgeKills, NothingIsLeftOfHostsThatAreKilled)
{
    const Subreaper subreaper;
    const Installation installation(DBLIB_BRIDGE, "Library=" + Good + "\n");
    const DBFunctions functions = installation.load();
    initialise(functions, installation.config());
    ASSERT_EQ(fetchEvents(functions, 7).count, 7);
    const std::size_t before = openDescriptors();
    std::mt19937 random(1);
    const int kills = wantsAll() ? 1000 : 40;
    const CapturedOutput err(stderr);
    int failed = 0;
    for (int i = 0; i < kills; ++i) {
        const int host = hostOf(getpid());
        ASSERT_GT(host, 0);
        const int keeper = *childrenOf(getpid()).begin();
        const bool killsKeeper = i % 4 == 3;
        {
            // In the middle of a call, or between two.
            const KillLater killer(killsKeeper ? keeper : host, std::chrono::microseconds(2000), random);
            for (int fetches = 0; fetches < 5; ++fetches)
                failed += fetchEvents(functions, INT_MAX).result != 0;
        }
        ASSERT_TRUE(endsInTime(host));
        // Whether the bridge knows already or not.
        if (fetchEvents(functions, INT_MAX).result != 0) {
            ++failed;
            ASSERT_EQ(fetchEvents(functions, INT_MAX).result, 0) << err.text();
        }
    }
    EXPECT_EQ(childrenOf(getpid()).size(), 1U);
    EXPECT_EQ(openDescriptors(), before + 2); // of the captured output
    EXPECT_FALSE(hasMemoryOfHosts());
    std::printf("%d hosts killed, %d of them in a call\n", kills, failed);
    EXPECT_LE(failed, kills);
}

/** A console of its own, up to its end. */
class Console
{
public:
    Console(const Installation &installation, const std::string &way)
    {
        std::array<int, 2> ends = {};
        EXPECT_EQ(pipe(ends.data()), 0);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&files, ends[0]);
        const std::string libs = installation.folder.file("Libs");
        const std::string config = installation.config();
        std::array<const char *, 5> arguments = {FETCHER, libs.c_str(), config.c_str(), way.c_str(), nullptr};
        EXPECT_EQ(posix_spawn(&id, FETCHER, &files, nullptr, const_cast<char **>(arguments.data()), environ), 0);
        posix_spawn_file_actions_destroy(&files);
        close(ends[1]);
        std::FILE *output = fdopen(ends[0], "r");
        std::array<char, 200> line = {};
        while (std::fgets(line.data(), line.size(), output) && std::sscanf(line.data(), "ready %d", &host) != 1)
            ;
        std::fclose(output);
    }
    ~Console()
    {
        if (id < 0)
            return;
        sendSignal(id, SIGKILL);
        waitpid(id, nullptr, 0);
    }
    Console(const Console &) = delete;
    Console &operator=(const Console &) = delete;

    void waitForEnd() const
    {
        siginfo_t ended = {};
        EXPECT_EQ(waitid(P_PID, id_t(id), &ended, WEXITED | WNOWAIT), 0);
    }

    pid_t id = -1;
    int host = 0;
};

/** Waits for the end of a process that has lost its parent to this one. In seconds. */
double secondsUntilGone(int process)
{
    const auto start = steady_clock::now();
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    return std::chrono::duration<double>(steady_clock::now() - start).count();
}

class ConsoleEnds : public testing::TestWithParam<const char *>
{
};

TEST_P(ConsoleEnds, AndSoDoesItsHost)
{
    const Subreaper subreaper;
    const std::set<int> before = childrenOf(getpid());
    const Installation installation(DBLIB_BRIDGE, "Library=" + Good + "\n");
    std::mt19937 random(2);
    double longest = 0;
    const std::string way = GetParam();
    for (int i = 0; i < (wantsAll() ? 100 : 5); ++i) {
        const Console console(installation, way);
        ASSERT_GT(console.host, 0);
        if (way == "busy" || way == "idle") {
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
            sendSignal(console.id, SIGKILL);
        }
        console.waitForEnd();
        // One that ends in order has reaped its host itself.
        if (way != "exit")
            longest = std::max(longest, secondsUntilGone(console.host));
        EXPECT_NE(kill(console.host, 0), 0);
    }
    EXPECT_EQ(childrenOf(getpid()), before);
    std::printf("the slowest host ended %.3f s after its console\n", longest);
    EXPECT_LT(longest, 60); // far more than the second that is promised, on a machine with other work
}

INSTANTIATE_TEST_SUITE_P(BridgeKills, ConsoleEnds,
                         testing::Values("busy", "idle", "exit", "abort", "crash", "quick-exit"),
                         [](const auto &instance) {
                             std::string name = instance.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(BridgeKills, AHostThatIsStoppedEndsWithItsConsole)
{
    const Subreaper subreaper;
    const Installation installation(DBLIB_BRIDGE, "Library=" + Good + "\n");
    const Console console(installation, "idle");
    sendSignal(hostOf(console.id), SIGSTOP);
    sendSignal(console.host, SIGSTOP);
    sendSignal(console.id, SIGKILL);
    console.waitForEnd();
    EXPECT_LT(secondsUntilGone(console.host), 60);
}
} // namespace
