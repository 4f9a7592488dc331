// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * What obrimctl adds to the fetching of events, in the same process: a million
 * of them written as comma-separated values, beside one bare fetch.
 */
#include "benchfolder.h"
#include "listing.h"
#include "measuring.h"
#include "output.h"
#include "simulation.h"
#include "sqlitestore.h"

#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <unistd.h>

namespace
{
constexpr int Events = 1000000;
constexpr int Runs = 7;

/** An installation with the SQLite library and a history of events. */
Installation makeInstallation(const BenchFolder &folder)
{
    std::ofstream(folder.path("Config/DBLib.def")) << "Database=../installation.db\n";
    std::filesystem::copy_file(DBLIB_SQLITE, folder.path("Libs/DBLib.a"));
    SqliteStore store(folder.path("installation.db"), Sqlite::Durability::Crash);
    Simulation(store, 30, 1, 20, nullptr).fill(Events, [](int) { return true; });
    return Installation(folder.path("."));
}

void fetchBare(const DBFunctions &library)
{
    CMessageEventRequest request;
    request.NMax = Events;
    int n = 0;
    CMessageEvent *events = nullptr;
    if (library.getEvents(&n, &events, &request) != 0 || n != Events) {
        std::fprintf(stderr, "the bare fetch gave %d events\n", n);
        std::exit(1);
    }
    library.getEvents(nullptr, &events, &request);
}

/** Standard output, for the time of one list, is a file that takes everything. */
class Discarded
{
public:
    Discarded()
        : m_before(dup(STDOUT_FILENO))
    {
        std::fflush(stdout);
        const int nothing = open("/dev/null", O_WRONLY);
        dup2(nothing, STDOUT_FILENO);
        close(nothing);
    }
    ~Discarded()
    {
        dup2(m_before, STDOUT_FILENO);
        close(m_before);
    }
    Discarded(const Discarded &) = delete;
    Discarded &operator=(const Discarded &) = delete;

private:
    int m_before;
};

void list(const Source &source, std::optional<int> limit, FormatName format)
{
    const Discarded discarded;
    Output output;
    ListOptions options;
    options.limit = limit;
    options.format.name = format;
    listRecords<CMessageEvent>(source, options, output);
    output.flush();
}

/** The least times of several runs, by turns, so that other work on the machine counts alike. */
struct Times {
    double bare = 1e9;
    double last = 1e9;
    double all = 1e9;
    double json = 1e9;
};

Times measure(const Source &source)
{
    Times times;
    for (int i = 0; i < Runs; ++i) {
        times.bare = std::min(times.bare, seconds([&] { fetchBare(source.functions()); }));
        times.last = std::min(times.last, seconds([&] { list(source, Events, FormatName::Csv); }));
        times.all = std::min(times.all, seconds([&] { list(source, std::nullopt, FormatName::Csv); }));
        times.json = std::min(times.json, seconds([&] { list(source, std::nullopt, FormatName::Json); }));
    }
    return times;
}
} // namespace

int main()
{
    const BenchFolder folder;
    const Source source(makeInstallation(folder));
    const Times times = measure(source);
    Goals goals(stdout);
    goals.ratio("events -n 1000000 -o csv, beside the bare fetch", times.last, times.bare, 3);
    goals.ratio("events -n all -o csv", times.all, times.bare, 3);
    goals.ratio("events -n all -o json", times.json, times.bare, 6);
    return goals.met() ? 0 : 1;
}
