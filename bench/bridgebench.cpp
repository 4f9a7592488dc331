// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * What it costs to have the SQLite library work in a process of its own, as
 * ratios within one run. Prints each figure and then each goal with PASS or
 * FAIL; the exit status is 1 when one is missed.
 *
 * Times are wall time, as two processes work for one call: the shortest of
 * several turns, the ways taking turns. OBRIM_BENCH_FOLDER names where the
 * database is made (120 MB; the system's temporary folder otherwise).
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
        PrintedWords words;
        loadDBLibraryFile(library, folder + "/Funs.def", placesIn(m_functions), words);
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

/** The most memory that a process had in use so far, in megabytes. */
double peakOf(const std::string &process)
{
    std::ifstream status("/proc/" + process + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stod(line.substr(6)) / 1024;
    return 0;
}

/** The first process that this one has started, or nothing. */
std::string childOf(pid_t process)
{
    const std::string self = std::to_string(process);
    std::ifstream children("/proc/" + self + "/task/" + self + "/children");
    std::string child;
    children >> child;
    return child;
}

struct Peaks {
    double own = 0;
    double host = 0;
};

/** In a process of its own: how much memory a fetch of many takes, in megabytes above that before it. */
Peaks peaksOf(const std::function<std::unique_ptr<Installed>()> &install)
{
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0)
        std::abort();
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const auto installed = install();
        const std::string host = childOf(getpid());
        const Peaks before = {peakOf("self"), host.empty() ? 0 : peakOf(host)};
        installed->fetchMany(true);
        const Peaks peaks = {peakOf("self") - before.own, host.empty() ? 0 : peakOf(host) - before.host};
        (void)!write(ends[1], &peaks, sizeof(peaks));
        _exit(0);
    }
    Peaks peaks;
    if (read(ends[0], &peaks, sizeof(peaks)) != sizeof(peaks))
        std::abort();
    waitpid(child, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    return peaks;
}

/** In a process of its own: the memory that a console's copy of many events takes, in megabytes. */
double copySize(const std::function<std::unique_ptr<Installed>()> &install)
{
    const auto bare = [&] {
        auto installed = install();
        return installed;
    };
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0)
        std::abort();
    const pid_t child = fork();
    if (child == 0) {
        const auto installed = bare();
        const double before = peakOf("self");
        installed->fetchMany(false);
        const double size = peakOf("self") - before;
        (void)!write(ends[1], &size, sizeof(size));
        _exit(0);
    }
    double size = 0;
    if (read(ends[0], &size, sizeof(size)) != sizeof(size))
        std::abort();
    waitpid(child, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    return size;
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
                                           database + "Library=" DBLIB_SQLITE "\n");
    };

    const Peaks directPeak = peaksOf(directly);
    const Peaks bridgedPeak = peaksOf(bridged);
    const double answer = copySize(directly);
    std::printf(
        "      memory of 1,000,000 events: %.0f MB directly, of which the library's %.0f MB; bridged %.0f MB in "
        "the console and %.0f MB in the host\n",
        directPeak.own, answer, bridgedPeak.own, bridgedPeak.host);
    atMost("memory at the peak, both processes, above directly", bridgedPeak.own + bridgedPeak.host - directPeak.own,
           "MB", answer);

    const auto direct = directly();
    const auto bridge = bridged();
    const std::vector<double> many =
        shortest(Turns, {[&] { direct->fetchMany(true); }, [&] { bridge->fetchMany(true); },
                         [&] { direct->fetchMany(false); }, [&] { bridge->fetchMany(false); }});
    ratio("1,000,000 events, as the console fetches them", many[1], many[0], 1.5);
    ratio("1,000,000 events, without the console's copy", many[3], many[2], 99);
    const std::vector<double> none =
        shortest(NewTurns, {[&] { direct->fetchNothingNew(); }, [&] { bridge->fetchNothingNew(); }});
    std::printf("      %.1f us : %.1f us\n", 1e6 * none[1] / FetchesPerTurn, 1e6 * none[0] / FetchesPerTurn);
    atMost("\"Get new\" with nothing new: more", 1e6 * (none[1] - none[0]) / FetchesPerTurn, "us", 100);
    return allMet ? 0 : 1;
}
