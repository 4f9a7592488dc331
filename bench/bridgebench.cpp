// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * What it costs to have the SQLite library work in a process of its own, or
 * recorded, as ratios within one run. Prints each figure and then each goal with PASS or
 * FAIL; the exit status is 1 when one is missed.
 *
 * Times are wall-clock time, as two processes work for one call: the shortest of
 * several turns, the ways taking turns. OBRIM_BENCH_FOLDER names where the
 * database is made (1.2 GB; the system's temporary folder otherwise).
 */
#include "benchfolder.h"
#include "dblibrary.h"
#include "simulation.h"
#include "sqlitestore.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int Many = 1000000;
constexpr int Turns = 9;
constexpr int NewTurns = 15;
constexpr int FetchesPerTurn = 400;

double now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double seconds(const std::function<void()> &work)
{
    const double start = now();
    work();
    return now() - start;
}

/** An installation with a library, initialised. */
class Installed
{
public:
    /** `definitions` go into its DBLib.def. */
    Installed(const std::string &folder, const std::string &library, const std::string &definitions)
        : m_config(folder)
    {
        std::filesystem::create_directories(folder);
        std::ofstream(folder + "/DBLib.def") << definitions;
        loadDBLibrary(library, folder + "/Funs.def", placesIn(m_functions), printWords);
        m_functions.initSensors(folder.c_str());
        m_functions.initEvents(folder.c_str());
        m_functions.initCommands(folder.c_str());
    }

    /** As the console's data access does it: size query, fetch, a copy if wanted, release. How many events there were.
     */
    int fetch(CMessageEventRequest &request, bool copies) const
    {
        m_functions.getEvents(nullptr, nullptr, nullptr);
        int n = 0;
        CMessageEvent *events = nullptr;
        m_functions.getEvents(&n, &events, &request);
        if (copies && events) {
            const std::unique_ptr<CMessageEvent[]> copy(new CMessageEvent[std::size_t(n)]);
            for (int i = 0; i < n; ++i)
                copy[std::size_t(i)] = events[i];
            m_functions.getEvents(nullptr, &events, &request);
            return n; // the copy goes after the release, as a window's does
        }
        m_functions.getEvents(nullptr, &events, &request);
        return n;
    }
    void fetchMany(bool copies) const
    {
        CMessageEventRequest request;
        request.NMax = Many;
        if (fetch(request, copies) != Many)
            std::abort();
    }
    void fetchNothingNew() const
    {
        CMessageEventRequest request;
        request.NMax = 100;
        request.UseMessageID0 = 1;
        request.MessageID0 = Many + 1;
        for (int i = 0; i < FetchesPerTurn; ++i)
            if (fetch(request, true) != 0)
                std::abort();
    }

private:
    std::string m_config;
    DBFunctions m_functions;
};

/** The shortest turn of each way. */
std::vector<double> shortest(int turns, const std::vector<std::function<void()>> &ways)
{
    std::vector<double> least(ways.size(), 1e9);
    for (int turn = 0; turn < turns; ++turn)
        for (std::size_t i = 0; i < ways.size(); ++i)
            least[i] = std::min(least[i], seconds(ways[i]));
    return least;
}

bool allMet = true;

void atMost(const char *work, double value, const char *unit, double goal)
{
    const bool met = value <= goal;
    allMet = allMet && met;
    std::printf("%s  %-52s %8.2f %-3s goal at most %.2f\n", met ? "PASS" : "FAIL", work, value, unit, goal);
    std::fflush(stdout);
}

void ratio(const char *work, double time, double base, double goal)
{
    std::printf("      %.1f ms : %.1f ms\n", 1e3 * time, 1e3 * base);
    atMost(work, time / base, "x", goal);
}

/** A figure of a process's memory as the kernel names it, in megabytes. */
double memoryOf(const std::string &process, const std::string &name)
{
    std::ifstream status("/proc/" + process + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(name + ":", 0) == 0)
            return std::stod(line.substr(name.size() + 1)) / 1024;
    return 0;
}

/** The first process that another one has started, or nothing. */
std::string childOf(const std::string &process)
{
    std::ifstream children("/proc/" + process + "/task/" + process + "/children");
    std::string child;
    children >> child;
    return child;
}

/** What a fetch of many took, in megabytes above that before it. */
struct Memory {
    double peak = 0;     ///< of the process that fetched
    double hostPeak = 0; ///< of its host
    double hostLeft = 0; ///< in its host once it has answered
};

/** In a process of its own, which is new to such a fetch. */
Memory memoryOfFetch(const std::function<std::unique_ptr<Installed>()> &install, bool copies)
{
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0)
        std::abort();
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const auto installed = install();
        // The library works in the child of its keeper.
        const std::string host = childOf(childOf(std::to_string(getpid())));
        const double own = memoryOf("self", "VmRSS");
        const double hosts = memoryOf(host, "VmRSS");
        installed->fetchMany(copies);
        const Memory memory = {memoryOf("self", "VmHWM") - own, memoryOf(host, "VmHWM") - hosts,
                               memoryOf(host, "VmRSS") - hosts};
        (void)!write(ends[1], &memory, sizeof(memory));
        _exit(0);
    }
    Memory memory;
    if (read(ends[0], &memory, sizeof(memory)) != sizeof(memory))
        std::abort();
    waitpid(child, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    return memory;
}

/**
 * The most that both processes have in use at one time. While the host fills
 * the answer, the console has nothing; the answer is counted with the records
 * that are made of it. When the console has most, the library has released.
 */
void compareMemory(const std::function<std::unique_ptr<Installed>()> &directly,
                   const std::function<std::unique_ptr<Installed>()> &bridged)
{
    const Memory direct = memoryOfFetch(directly, true);
    const Memory bridge = memoryOfFetch(bridged, true);
    const double answer = memoryOfFetch(bridged, false).peak;
    const double array = memoryOfFetch(directly, false).peak;
    std::printf(
        "      memory of 1,000,000 events: %.0f MB directly, of which the library's %.0f MB; bridged first %.0f "
        "MB in the host beside an answer of at most %.0f MB, then %.0f MB in the console beside %.0f MB\n",
        direct.peak, array, bridge.hostPeak, answer, bridge.peak, bridge.hostLeft);
    const double peak = std::max(bridge.hostPeak + answer, bridge.peak + bridge.hostLeft);
    atMost("memory at the peak, both processes, above directly", peak - direct.peak, "MB", array);
}
} // namespace

int main()
{
    const BenchFolder folder;
    const std::string database = "Database=" + folder.path("events.db") + "\n";
    {
        SqliteStore store(folder.path("events.db"), Sqlite::Durability::Crash);
        Simulation simulation(store, 30, 1, 20, nullptr);
        simulation.fill(Many, [](int) { return true; });
    }
    const auto directly = [&] { return std::make_unique<Installed>(folder.path("direct"), DBLIB_SQLITE, database); };
    const auto bridged = [&] {
        return std::make_unique<Installed>(folder.path("bridged"), DBLIB_BRIDGE,
                                           database + "Library=" DBLIB_SQLITE
                                                      "\nTimeout=600\n"); // the machine may have other work
    };

    compareMemory(directly, bridged);
    const auto direct = directly();
    const auto bridge = bridged();
    const auto recorder =
        std::make_unique<Installed>(folder.path("recorded"), DBLIB_RECORDER,
                                    database + "Library=" DBLIB_SQLITE "\nRecord=" + folder.path("session.rec") + "\n");
    const std::vector<double> many =
        shortest(Turns, {[&] { direct->fetchMany(true); }, [&] { bridge->fetchMany(true); },
                         [&] { direct->fetchMany(false); }, [&] { bridge->fetchMany(false); },
                         [&] { recorder->fetchMany(true); }, [&] { recorder->fetchMany(false); }});
    ratio("1,000,000 events, as the console fetches them", many[1], many[0], 1.5);
    ratio("1,000,000 events, without the console's copy", many[3], many[2], 99);
    ratio("the same, recorded", many[4], many[0], 1.2);
    ratio("the same, recorded, without the console's copy", many[5], many[2], 99);
    const std::vector<double> none =
        shortest(NewTurns, {[&] { direct->fetchNothingNew(); }, [&] { bridge->fetchNothingNew(); }});
    std::printf("      %.1f us : %.1f us\n", 1e6 * none[1] / FetchesPerTurn, 1e6 * none[0] / FetchesPerTurn);
    atMost("\"Get new\" with nothing new: more", 1e6 * (none[1] - none[0]) / FetchesPerTurn, "us", 100);
    return allMet ? 0 : 1;
}
