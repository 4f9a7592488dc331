// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * What the store's answers cost, as ratios within one run. Prints each figure
 * and then each goal with PASS or FAIL; the exit status is 1 when one is missed.
 *
 * OBRIM_BENCH_FOLDER names where the databases are made (3 GB; the system's
 * temporary folder otherwise), OBRIM_BENCH_EVENTS the larger number of events
 * (10,000,000).
 */
#include "benchfolder.h"
#include "simulation.h"
#include "sqlitestore.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace
{
constexpr int SmallCount = 10000;
constexpr int FewRecords = 100;
constexpr int ManyRecords = 1000000;
constexpr int Sensors = 30;
constexpr double EventsPerSecond = 20;

int largeCount()
{
    const char *given = std::getenv("OBRIM_BENCH_EVENTS");
    return given ? std::max(SmallCount, std::atoi(given)) : 10000000;
}

/** A store with a history of the simulator's events. */
struct Data {
    Data(const std::string &path, int events)
        : count(events)
        , store(path, Sqlite::Durability::Crash)
    {
        Simulation simulation(store, Sensors, 1, EventsPerSecond, nullptr);
        simulation.fill(events, [](int) { return true; });
        store.connection().run("PRAGMA wal_checkpoint(TRUNCATE)");
        firstTime = store.connection().number("SELECT min(earliest) FROM event_zone");
        lastTime = store.connection().number("SELECT max(latest) FROM event_zone");
    }
    /** The time at a share of the history. */
    std::time_t timeAt(double share) const
    {
        return std::time_t(double(firstTime) + share * double(lastTime - firstTime));
    }
    int idAt(double share) const
    {
        return int(share * count);
    }
    int count;
    SqliteStore store;
    std::int64_t firstTime = 0;
    std::int64_t lastTime = 0;
};

void setMask(char *&mask, int &length, const std::string &text)
{
    CopyPtr(&mask, &length, text.c_str(), int(text.size()) + 1);
}

/** One filter, set on a request so that it selects far from both ends where it can. */
struct Filter {
    const char *name;
    void (*set)(CMessageEventRequest &request, const Data &data);
};

const Filter Filters[] = {
    {"none", [](CMessageEventRequest &, const Data &) {}},
    {"id_from",
     [](CMessageEventRequest &request, const Data &data) {
         request.UseMessageID0 = 1;
         request.MessageID0 = data.idAt(0.4);
     }},
    {"id_to",
     [](CMessageEventRequest &request, const Data &data) {
         request.UseMessageID1 = 1;
         request.MessageID1 = data.idAt(0.6);
     }},
    {"message_type",
     [](CMessageEventRequest &request, const Data &) {
         request.UseMessageType = 1;
         request.MessageType = Converter;
     }},
    {"sensor_type",
     [](CMessageEventRequest &request, const Data &) {
         request.UseSensorType = 1;
         request.SensorType = Receiver;
     }},
    {"sensor_mask",
     [](CMessageEventRequest &request, const Data &) {
         request.UseSensorID = 1;
         setMask(request.SensorID, request.LSensorID, "Analyser07");
     }},
    {"event_mask",
     [](CMessageEventRequest &request, const Data &) {
         request.UseEventName = 1;
         setMask(request.EventName, request.LEventName, "signallost");
     }},
    {"time_from",
     [](CMessageEventRequest &request, const Data &data) {
         request.UseEventTime0 = 1;
         request.EventTime0 = data.timeAt(0.4);
     }},
    {"time_to",
     [](CMessageEventRequest &request, const Data &data) {
         request.UseEventTime1 = 1;
         request.EventTime1 = data.timeAt(0.6);
     }},
    {"time_range",
     [](CMessageEventRequest &request, const Data &data) {
         request.UseEventTime0 = request.UseEventTime1 = 1;
         request.EventTime0 = data.timeAt(0.4);
         request.EventTime1 = data.timeAt(0.6);
     }},
};

void fetchFew(benchmark::State &state, Data &data, const Filter &filter, bool first)
{
    CMessageEventRequest request;
    request.NMax = FewRecords;
    request.TakeFirst1_Last0 = first ? 1 : 0;
    filter.set(request, data);
    for (auto _ : state) {
        const auto events = data.store.events(request);
        if (events->size() != FewRecords)
            state.SkipWithError("not the number of records asked for");
    }
}

void fetchNew(benchmark::State &state, Data &data)
{
    CMessageEventRequest request;
    request.NMax = FewRecords;
    request.UseMessageID0 = 1;
    request.MessageID0 = data.count + 1;
    for (auto _ : state)
        if (data.store.events(request)->size() != 0)
            state.SkipWithError("something is new");
}

void fetchMany(benchmark::State &state, Data &data)
{
    CMessageEventRequest request;
    request.NMax = ManyRecords;
    for (auto _ : state)
        if (data.store.events(request)->size() != std::min(ManyRecords, data.count))
            state.SkipWithError("not the number of records asked for");
}

/** The same columns of the same rows, stepped and nothing else. */
void bareSelect(benchmark::State &state, Data &data)
{
    sqlite3 *db = nullptr;
    sqlite3_stmt *statement = nullptr;
    sqlite3_open_v2(data.store.path().c_str(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
    sqlite3_exec(db, "PRAGMA cache_size=-16000", nullptr, nullptr, nullptr);
    sqlite3_prepare_v2(db, "SELECT id, series, time, params FROM event ORDER BY id DESC LIMIT ?1", -1, &statement,
                       nullptr);
    sqlite3_bind_int(statement, 1, ManyRecords);
    for (auto _ : state) {
        int rows = 0;
        while (sqlite3_step(statement) == SQLITE_ROW)
            ++rows;
        sqlite3_reset(statement);
        if (rows != std::min(ManyRecords, data.count))
            state.SkipWithError("not the number of rows asked for");
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
}

void removeDatabase(const std::string &path)
{
    for (const char *suffix : {"", "-wal", "-shm"})
        std::filesystem::remove(path + suffix);
}

void fill(benchmark::State &state, const std::string &path)
{
    for (auto _ : state) {
        state.PauseTiming();
        removeDatabase(path);
        auto store = std::make_unique<SqliteStore>(path, Sqlite::Durability::Crash);
        Simulation simulation(*store, Sensors, 1, EventsPerSecond, nullptr);
        state.ResumeTiming();
        simulation.fill(ManyRecords, [](int) { return true; });
        state.PauseTiming();
        store.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * ManyRecords);
}

/** Rows of a history in memory. */
struct StoredRow {
    int id;
    int series;
    std::int64_t time;
    std::string params;
};

std::vector<StoredRow> oldestRows(Data &data)
{
    std::vector<StoredRow> rows;
    Sqlite::Statement all(data.store.connection(), "SELECT id, series, time, params FROM event ORDER BY id LIMIT " +
                                                       std::to_string(ManyRecords));
    while (all.step())
        rows.push_back({int(all.number(0)), int(all.number(1)), all.number(2), std::string(all.text(3))});
    return rows;
}

/** The same rows into a table with the same indexes, one prepared INSERT a row and nothing else, in one transaction. */
void bareInsert(benchmark::State &state, const std::vector<StoredRow> &rows, const std::string &path)
{
    for (auto _ : state) {
        state.PauseTiming();
        removeDatabase(path);
        std::make_unique<SqliteStore>(path, Sqlite::Durability::Crash).reset();
        sqlite3 *db = nullptr;
        sqlite3_stmt *insert = nullptr;
        sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
        sqlite3_exec(db, "PRAGMA synchronous=NORMAL; PRAGMA cache_size=-16000; DROP TRIGGER event_zone_insert", nullptr,
                     nullptr, nullptr);
        sqlite3_prepare_v2(db, "INSERT INTO event(id, series, time, params) VALUES(?1, ?2, ?3, ?4)", -1, &insert,
                           nullptr);
        state.ResumeTiming();
        sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
        for (const StoredRow &row : rows) {
            sqlite3_bind_int(insert, 1, row.id);
            sqlite3_bind_int(insert, 2, row.series);
            sqlite3_bind_int64(insert, 3, row.time);
            sqlite3_bind_text(insert, 4, row.params.data(), int(row.params.size()), SQLITE_STATIC);
            sqlite3_step(insert);
            sqlite3_reset(insert);
        }
        const int result = sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
        state.PauseTiming();
        if (result != SQLITE_OK || sqlite3_total_changes(db) < int(rows.size()))
            state.SkipWithError("not all rows were inserted");
        sqlite3_finalize(insert);
        sqlite3_close(db);
        state.ResumeTiming();
    }
}

/** Shows each figure as the least of its repetitions and keeps them for the goals. */
class Figures : public benchmark::ConsoleReporter
{
public:
    struct Least {
        double cpu = 0;  ///< seconds an iteration
        double real = 0; ///< seconds an iteration
    };

    bool ReportContext(const Context &context) override
    {
        PrintBasicContext(&std::cout, context);
        return true;
    }
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.error_occurred) {
                std::cout << run.benchmark_name() << ": " << run.error_message << "\n";
                failed = true;
            } else if (run.run_type == Run::RT_Iteration) {
                add(run);
            }
        }
    }
    void Finalize() override
    {
        std::printf("%-40s %14s %14s\n", "least of all repetitions", "CPU ms", "real ms");
        for (const std::string &name : order)
            std::printf("%-40s %14.4f %14.4f\n", name.c_str(), least[name].cpu * 1e3, least[name].real * 1e3);
    }

    std::map<std::string, Least> least;
    bool failed = false;

private:
    void add(const Run &run)
    {
        const std::string name = run.run_name.function_name;
        const double iterations = double(run.iterations);
        const Least figure = {run.cpu_accumulated_time / iterations, run.real_accumulated_time / iterations};
        const auto [known, isNew] = least.emplace(name, figure);
        if (isNew)
            order.push_back(name);
        known->second.cpu = std::min(known->second.cpu, figure.cpu);
        known->second.real = std::min(known->second.real, figure.real);
    }

    std::vector<std::string> order;
};

/** Tells each goal and whether it was met. Figures that a filter left out are passed over. */
class Goals
{
public:
    explicit Goals(const Figures &measured)
        : figures(measured)
    {
    }
    /** `name` costs at most `most` times what `base` costs, in processor time. */
    void ratio(const std::string &name, const std::string &base, double most)
    {
        const auto figure = figures.least.find(name);
        const auto reference = figures.least.find(base);
        if (figure == figures.least.end() || reference == figures.least.end())
            return;
        const double value = figure->second.cpu / reference->second.cpu;
        tell(value <= most, name, "%.2f times " + base + ", goal at most %.1f", value, most);
    }
    /** `name` does at least `least` of `count` things a second. */
    void rate(const std::string &name, double count, double least)
    {
        const auto figure = figures.least.find(name);
        if (figure == figures.least.end())
            return;
        const double value = count / figure->second.real;
        tell(value >= least, name, "%.0f a second, goal at least %.0f", value, least);
    }
    bool met = true;

private:
    void tell(bool pass, const std::string &name, const std::string &format, double value, double goal)
    {
        std::printf("%s  %-28s ", pass ? "PASS" : "FAIL", name.c_str());
        std::printf(format.c_str(), value, goal);
        std::printf("\n");
        met = met && pass;
    }

    const Figures &figures;
};

std::string fewName(const Filter &filter, bool first, const char *size)
{
    return std::string(first ? "first_100/" : "last_100/") + filter.name + "/" + size;
}

/** Counts the processor time of all threads: filling has two. */
template <class... Arguments> void enlist(const std::string &name, Arguments &&...arguments)
{
    benchmark::RegisterBenchmark(name.c_str(), std::forward<Arguments>(arguments)...)
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime();
}

void enlistAll(Data &small, Data &large, const std::vector<StoredRow> &rows, const BenchFolder &folder)
{
    for (const Filter &filter : Filters) {
        for (const bool first : {false, true}) {
            enlist(fewName(filter, first, "small"),
                   [&small, &filter, first](auto &s) { fetchFew(s, small, filter, first); });
            enlist(fewName(filter, first, "large"),
                   [&large, &filter, first](auto &s) { fetchFew(s, large, filter, first); });
        }
    }
    enlist("nothing_new/small", [&small](auto &s) { fetchNew(s, small); });
    enlist("nothing_new/large", [&large](auto &s) { fetchNew(s, large); });
    enlist("fetch_1000000", [&large](auto &s) { fetchMany(s, large); });
    enlist("bare_select_1000000", [&large](auto &s) { bareSelect(s, large); });
    enlist("fill_1000000", [&folder](auto &s) { fill(s, folder.path("fill.db")); });
    enlist("bare_insert_1000000", [&folder, &rows](auto &s) { bareInsert(s, rows, folder.path("bare.db")); });
}

bool judge(const Figures &figures)
{
    Goals goals(figures);
    for (const Filter &filter : Filters)
        for (const bool first : {false, true})
            goals.ratio(fewName(filter, first, "large"), fewName(filter, first, "small"), 2);
    goals.ratio("nothing_new/large", "nothing_new/small", 2);
    goals.ratio("fetch_1000000", "bare_select_1000000", 3);
    goals.ratio("fill_1000000", "bare_insert_1000000", 1);
    goals.rate("fill_1000000", ManyRecords, 200000);
    return goals.met;
}

/** Defaults that the command line can change: short repetitions in random order even out what else the machine does. */
std::vector<std::string> withDefaults(int argc, char *argv[])
{
    std::vector<std::string> arguments = {argv[0], "--benchmark_repetitions=7", "--benchmark_min_time=0.02",
                                          "--benchmark_enable_random_interleaving=true"};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    return arguments;
}
} // namespace

int main(int argc, char *argv[])
{
    std::vector<std::string> arguments = withDefaults(argc, argv);
    std::vector<char *> pointers;
    for (std::string &argument : arguments)
        pointers.push_back(argument.data());
    int count = int(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data()))
        return 1;
    try {
        const BenchFolder folder;
        Data small(folder.path("small.db"), SmallCount);
        Data large(folder.path("large.db"), largeCount());
        std::printf("small: %d events, large: %d events, %.0f MB\n", small.count, large.count,
                    double(std::filesystem::file_size(large.store.path())) / 1e6);
        const std::vector<StoredRow> rows = oldestRows(large);
        enlistAll(small, large, rows, folder);
        Figures figures;
        benchmark::RunSpecifiedBenchmarks(&figures);
        const bool met = judge(figures);
        return met && !figures.failed ? 0 : 1;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
