// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * What the answers of the store on PostgreSQL cost, as ratios within one run, on
 * a server of its own. Prints each figure and then each goal with PASS or FAIL;
 * the exit status is 1 when one is missed. Times are the clock's, as the server
 * does most of the work.
 *
 * TMPDIR names where the server keeps its files (3 GB), OBRIM_BENCH_EVENTS the
 * larger number of events (10,000,000; 250 bytes of room each).
 */
#include "binaryvalues.h"
#include "postgresstore.h"
#include "simulation.h"
#include "storefigures.h"
#include "testserver.h"

#include <chrono>
#include <cstdlib>
#include <libpq-fe.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
constexpr int SmallCount = 1000000;
constexpr int WrittenCount = 100000; // what is put goes to a database of its own
constexpr int Sensors = 30;
constexpr double EventsPerSecond = 20;

int largeCount()
{
    const char *given = std::getenv("OBRIM_BENCH_EVENTS");
    return given ? std::max(SmallCount, std::atoi(given)) : 10000000;
}

Settings settingsOf(const TestServer &server, const std::string &database)
{
    Settings settings;
    settings.connection = server.connection(database);
    settings.connectSeconds = 10;
    settings.statementSeconds = 600;
    return settings;
}

/** A database with a history of the simulator's events. */
struct Data : History {
    Data(TestServer &server, int events)
        : database(server.freshDatabase())
        , store(settingsOf(server, database))
    {
        count = events;
        Simulation simulation(store, Sensors, 1, EventsPerSecond, nullptr);
        simulation.fill(events, [](int) { return true; });
        // As the server itself does a minute after so many changes.
        server.sql("VACUUM (ANALYZE) obrim.event", database);
        server.sql("CHECKPOINT");
        firstTime =
            std::stoll(server.sql("SELECT extract(epoch FROM min(earliest))::bigint FROM obrim.event_zone", database));
        lastTime =
            std::stoll(server.sql("SELECT extract(epoch FROM max(latest))::bigint FROM obrim.event_zone", database));
    }
    std::string database;
    PostgresStore store;
};

struct Closer {
    void operator()(PGconn *connection) const
    {
        PQfinish(connection);
    }
    void operator()(PGresult *result) const
    {
        PQclear(result);
    }
};
using BareConnection = std::unique_ptr<PGconn, Closer>;
using BareResult = std::unique_ptr<PGresult, Closer>;

BareConnection bareConnection(const TestServer &server, const std::string &database)
{
    BareConnection connection(PQconnectdb((server.connection(database) + " client_encoding=UTF8").c_str()));
    const BareResult set(PQexec(connection.get(), "SET jit = off; SET client_min_messages = error"));
    if (PQresultStatus(set.get()) != PGRES_COMMAND_OK)
        throw std::runtime_error(PQerrorMessage(connection.get()));
    return connection;
}

/**
 * What a million events cost depends on where their memory comes from: a virtual
 * machine's host may take pages back that were free for a second, and they cost
 * ten times as much as others when they are used again. So each fetch is measured
 * right after another one, and after a pause.
 */
enum class Memory { JustUsed, HandedBack };
constexpr int PauseSeconds = 3;

template <class Fetch> void measureFetch(benchmark::State &state, Memory memory, Fetch fetch)
{
    if (memory == Memory::JustUsed)
        fetch();
    for (auto _ : state) {
        if (memory == Memory::HandedBack) {
            state.PauseTiming();
            std::this_thread::sleep_for(std::chrono::seconds(PauseSeconds));
            state.ResumeTiming();
        }
        if (fetch() != ManyRecords)
            state.SkipWithError("not the number of records asked for");
    }
}

void fetchMillion(benchmark::State &state, Data &data, Memory memory)
{
    CMessageEventRequest request;
    request.NMax = ManyRecords;
    measureFetch(state, memory, [&] { return data.store.events(request)->size(); });
}

/** The same columns of the same rows, taken from the server and nothing else. */
void bareSelect(benchmark::State &state, const TestServer &server, const Data &data, Memory memory)
{
    const BareConnection connection = bareConnection(server, data.database);
    const std::string sql =
        "SELECT id, series, time, params FROM obrim.event WHERE id <= " + std::to_string(data.count) +
        " ORDER BY id DESC LIMIT " + std::to_string(ManyRecords);
    measureFetch(state, memory, [&] {
        const BareResult rows(PQexecParams(connection.get(), sql.c_str(), 0, nullptr, nullptr, nullptr, nullptr, 1));
        return PQntuples(rows.get());
    });
}

void fill(benchmark::State &state, TestServer &server)
{
    for (auto _ : state) {
        state.PauseTiming();
        const std::string database = server.freshDatabase();
        auto store = std::make_unique<PostgresStore>(settingsOf(server, database));
        Simulation simulation(*store, Sensors, 1, EventsPerSecond, nullptr);
        state.ResumeTiming();
        simulation.fill(ManyRecords, [](int) { return true; });
        state.PauseTiming();
        store.reset();
        server.sql("DROP DATABASE " + database);
        server.sql("CHECKPOINT");
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * ManyRecords);
}

constexpr char Params[] = R"({"channel":7,"level":-42.125,"place":"north antenna"})";

void put(benchmark::State &state, Data &data)
{
    NewMessage message;
    message.series = {1, 1, "analyser01", "LevelMeasured"};
    message.params = Params;
    for (auto _ : state) {
        message.time = data.lastTime;
        data.store.putEvent(message);
    }
}

/** The same row into a table with the same indexes, one prepared INSERT that is committed at once. */
void bareInsert(benchmark::State &state, const TestServer &server, const Data &data)
{
    const BareConnection connection = bareConnection(server, data.database);
    const BareResult prepared(
        PQprepare(connection.get(), "insert", "INSERT INTO bare VALUES ($1, $2, to_timestamp($3), $4)", 0, nullptr));
    static int id = 0;
    const std::string time = std::to_string(data.lastTime);
    for (auto _ : state) {
        const std::string number = std::to_string(++id);
        const char *const values[] = {number.c_str(), "1", time.c_str(), Params};
        const BareResult done(PQexecPrepared(connection.get(), "insert", 4, values, nullptr, nullptr, 0));
        if (PQresultStatus(done.get()) != PGRES_COMMAND_OK)
            state.SkipWithError(PQerrorMessage(connection.get()));
    }
}

template <class... Arguments> void enlist(const std::string &name, Arguments &&...arguments)
{
    benchmark::RegisterBenchmark(name.c_str(), std::forward<Arguments>(arguments)...)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void enlistAll(Data &small, Data &large, Data &written, TestServer &server)
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
    for (const auto &[memory, suffix] : {std::pair(Memory::JustUsed, ""), std::pair(Memory::HandedBack, "/paused")}) {
        enlist(std::string("fetch_1000000") + suffix,
               [&large, memory = memory](auto &s) { fetchMillion(s, large, memory); });
        enlist(std::string("bare_select_1000000") + suffix,
               [&server, &large, memory = memory](auto &s) { bareSelect(s, server, large, memory); });
    }
    enlist("put", [&written](auto &s) { put(s, written); });
    enlist("bare_insert", [&server, &written](auto &s) { bareInsert(s, server, written); });
    enlist("fill_1000000", [&server](auto &s) { fill(s, server); });
}

bool judge(const Figures &figures)
{
    Goals goals(figures);
    for (const Filter &filter : Filters)
        for (const bool first : {false, true})
            goals.clockRatio(fewName(filter, first, "large"), fewName(filter, first, "small"), 2);
    goals.clockRatio("nothing_new/large", "nothing_new/small", 2);
    goals.clockRatio("fetch_1000000", "bare_select_1000000", 1.6);
    goals.clockRatio("put", "bare_insert", 1.5);
    goals.rate("fill_1000000", ManyRecords, 100000);
    return goals.met;
}
} // namespace

int main(int argc, char *argv[])
{
    if (!initialiseBenchmark(argc, argv))
        return 1;
    try {
        TestServer server({"fsync = on", "shared_buffers = 1GB", "max_wal_size = 8GB", "log_min_messages = warning"});
        server.start();
        Data small(server, SmallCount);
        Data large(server, largeCount());
        Data written(server, WrittenCount);
        server.sql(
            "CREATE TABLE bare(id integer PRIMARY KEY, series integer NOT NULL, time timestamptz NOT NULL, params json)"
            " PARTITION BY RANGE (id); CREATE TABLE bare_0 PARTITION OF bare FOR VALUES FROM (0) TO (MAXVALUE);"
            " CREATE INDEX ON bare(series, id); CREATE INDEX ON bare((id >> 10), time)",
            written.database);
        std::printf("small: %d events, large: %d events, %s\n", small.count, large.count,
                    server.sql("SELECT pg_size_pretty(pg_database_size('" + large.database + "'))").c_str());
        enlistAll(small, large, written, server);
        Figures figures;
        benchmark::RunSpecifiedBenchmarks(&figures);
        const bool met = judge(figures);
        return met && !figures.failed ? 0 : 1;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
