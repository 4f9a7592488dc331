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
#include "storefigures.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace
{
constexpr int SmallCount = 10000;
constexpr int Sensors = 30;
constexpr double EventsPerSecond = 20;

int largeCount()
{
    const char *given = std::getenv("OBRIM_BENCH_EVENTS");
    return given ? std::max(SmallCount, std::atoi(given)) : 10000000;
}

/** A store with a history of the simulator's events. */
struct Data : History {
    Data(const std::string &path, int events)
        : store(path, Sqlite::Durability::Crash)
    {
        count = events;
        Simulation simulation(store, Sensors, 1, EventsPerSecond, nullptr);
        simulation.fill(events, [](int) { return true; });
        store.connection().run("PRAGMA wal_checkpoint(TRUNCATE)");
        firstTime = store.connection().number("SELECT min(earliest) FROM event_zone");
        lastTime = store.connection().number("SELECT max(latest) FROM event_zone");
    }
    SqliteStore store;
};

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
            goals.ratio(fewName(filter, first, "large"), fewName(filter, first, "small"), 1.5);
    goals.ratio("nothing_new/large", "nothing_new/small", 2);
    goals.ratio("fetch_1000000", "bare_select_1000000", 2);
    goals.ratio("fill_1000000", "bare_insert_1000000", 1);
    goals.rate("fill_1000000", ManyRecords, 200000);
    return goals.met;
}

} // namespace

int main(int argc, char *argv[])
{
    if (!initialiseBenchmark(argc, argv))
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
