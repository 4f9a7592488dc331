// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The events window as it is, on the SQLite library as it is: what an operator
 * waits for, beside the least that the same data can cost, in one run.
 *
 * OBRIM_BENCH_FOLDER names where the databases are made (1 GB; the system's
 * temporary folder otherwise), OBRIM_BENCH_EVENTS the larger number of events
 * (10,000,000). With OBRIM_BENCH_ROWS, so many rows, 10,000,000 for instance,
 * are shown as well: that takes 3 GB of memory.
 */

#include "LoadDLL.h"
#include "data.h"
#include "eventswindow.h"
#include "parameters.h"
#include "sqlitestore.h"

#include <QApplication>
#include <fstream>
#include <memory>
#include <random>
#include <sqlite3.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int SmallStore = 10000;
constexpr int Few = 1000;
constexpr int Many = 1000000;

int fromEnvironment(const char *name, int otherwise)
{
    const char *given = std::getenv(name);
    return given ? std::atoi(given) : otherwise;
}

/** Rows that are shown beside Many of them; 0: none. */
int veryMany()
{
    return fromEnvironment("OBRIM_BENCH_ROWS", 0);
}

int largeStore()
{
    return std::max({Many, veryMany(), fromEnvironment("OBRIM_BENCH_EVENTS", 10000000)});
}

/** Draws events whose parameters take 20 characters in a list, on the average. */
class Events
{
public:
    void put(SqliteStore &store, int count)
    {
        constexpr int batch = 50000;
        for (int done = 0; done < count; done += batch)
            putSome(store, std::min(batch, count - done));
    }

private:
    void putSome(SqliteStore &store, int count)
    {
        std::vector<std::string> parameters;
        for (int i = 0; i < count; ++i)
            parameters.push_back(drawParameters());
        std::vector<NewMessage> messages;
        for (const std::string &own : parameters) {
            const int type = 1 + int(m_random() % 3);
            NewMessage message;
            message.series = {type, type, m_sensors[m_random() % m_sensors.size()],
                              m_names[m_random() % m_names.size()]};
            message.time = m_time;
            message.params = own;
            messages.push_back(message);
            m_time += m_random() % 20 == 0 ? 1 : 0;
        }
        store.putEvents(messages);
    }

    std::string drawParameters()
    {
        ParameterWriter writer;
        switch (m_random() % 4) {
        case 0:
            writer.addDouble("temperature", double(1000 + m_random() % 9000) / 100);
            break;
        case 1:
            writer.addText("state", m_states[m_random() % m_states.size()]);
            break;
        case 2:
            writer.addInteger("pressure_in_pascal", 90000 + int(m_random() % 20000));
            break;
        default:
            writer.addInteger("channel", 1 + int(m_random() % 16));
            writer.addDouble("level", -double(1000 + m_random() % 8000) / 100);
        }
        return std::string(writer.finish());
    }

    static std::vector<std::string> numbered(const char *name, int count)
    {
        std::vector<std::string> all;
        for (int i = 1; i <= count; ++i)
            all.push_back(name + std::to_string(i));
        return all;
    }

    std::mt19937 m_random{1};
    std::vector<std::string> m_sensors = numbered("sensor-", 100);
    std::vector<std::string> m_names = numbered("event ", 20);
    std::vector<std::string> m_states = {"warming up", "ready", "out of range", "fan runs slowly"};
    std::int64_t m_time = 1700000000;
};

/** Makes a database in a process of its own, which takes its traces in the memory along. */
void makeDatabase(const std::string &path, int count)
{
    const pid_t child = ::fork();
    if (child == 0) {
        try {
            SqliteStore store(path, Sqlite::Durability::Crash);
            Events().put(store, count);
            store.connection().run("PRAGMA wal_checkpoint(TRUNCATE)");
        } catch (const std::exception &error) {
            std::fprintf(stderr, "%s\n", error.what());
            ::_exit(1);
        }
        ::_exit(0);
    }
    int status = 1;
    if (::waitpid(child, &status, 0) != child || status != 0)
        std::exit(1);
}

/** Lets the count of the most memory, VmHWM, start anew. */
void forgetPeak()
{
    std::ofstream("/proc/self/clear_refs") << 5;
}

/** A prepared SELECT, stepped and nothing else. */
class BareSelect
{
public:
    BareSelect(const std::string &database, const char *sql, int rows = Many)
        : m_rows(rows)
    {
        sqlite3_open_v2(database.c_str(), &m_db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
        sqlite3_exec(m_db, "PRAGMA cache_size=-16000", nullptr, nullptr, nullptr);
        if (sqlite3_prepare_v2(m_db, sql, -1, &m_statement, nullptr) != SQLITE_OK) {
            std::fprintf(stderr, "%s\n", sqlite3_errmsg(m_db));
            std::exit(1);
        }
        sqlite3_bind_int(m_statement, 1, rows);
    }
    BareSelect(const BareSelect &) = delete;
    BareSelect &operator=(const BareSelect &) = delete;
    ~BareSelect()
    {
        sqlite3_finalize(m_statement);
        sqlite3_close(m_db);
    }

    void step()
    {
        int rows = 0;
        while (sqlite3_step(m_statement) == SQLITE_ROW)
            ++rows;
        sqlite3_reset(m_statement);
        if (rows != m_rows) {
            std::fprintf(stderr, "%d rows instead of %d\n", rows, m_rows);
            std::exit(1);
        }
    }

private:
    int m_rows;
    sqlite3 *m_db = nullptr;
    sqlite3_stmt *m_statement = nullptr;
};

/** What the rows of a window show. */
constexpr const char *NamedRows = "SELECT e.id, s.sensor, s.name, e.time, e.params FROM event e "
                                  "JOIN event_series s ON s.id = e.series ORDER BY e.id DESC LIMIT ?1";

double averageTextLength(const ListView &list)
{
    double sum = 0;
    for (int row = 0; row < list.childCount(); ++row)
        sum += list.itemAt(row)->latin1(ParametersColumn).size();
    return sum / list.childCount();
}

/** Bytes of memory for each row of a window. */
struct RowCost {
    double after; ///< the load
    double peak;  ///< at most during it
};

/** In a process that has loaded nothing before: what was freed stays with it, and the next rows come to lie there. */
RowCost benchMemory(Goals &goals, std::FILE *figures)
{
    Window window;
    const double before = memory("VmRSS:");
    forgetPeak();
    window.load(Many);
    const double after = memory("VmRSS:");
    const double peak = memory("VmHWM:");
    std::fprintf(
        figures,
        "      %d rows, parameters of %.1f characters on the average; at rest %.1f MB, after %.1f MB, peak %.1f MB\n",
        window.list().childCount(), averageTextLength(window.list()), before / 1e6, after / 1e6, peak / 1e6);
    const RowCost cost = {(after - before) / Many, (peak - before) / Many};
    goals.atMost("memory after the load, a row", cost.after, "bytes", 90);
    goals.atMost("most memory during the load, a row", cost.peak, "bytes", 300);
    return cost;
}

void benchLoading(Goals &goals, std::FILE *figures, const std::string &database)
{
    BareSelect rows(database, "SELECT id, series, time, params FROM event ORDER BY id DESC LIMIT ?1");
    BareSelect named(database, NamedRows);
    std::vector<double> loads;
    std::vector<double> bare;
    std::vector<double> bareNamed;
    std::vector<double> closings;
    // One after the other, so that all have the same share of what else the machine does.
    for (int i = 0; i < 5; ++i) {
        Window window;
        loads.push_back(seconds([&] { window.load(Many); }));
        bare.push_back(seconds([&] { rows.step(); }));
        bareNamed.push_back(seconds([&] { named.step(); }));
        closings.push_back(seconds([&] { window.close(); }));
    }
    goals.ratio("\"Update list\", beside the bare SELECT of its rows", medianOf(loads), medianOf(bareNamed), 1.6);
    std::fprintf(figures, "      %.4f ms: the SELECT of those rows with a number in place of both names\n",
                 1e3 * medianOf(bare));
    goals.ratio("closing, beside the load", medianOf(closings), medianOf(loads), 0.1);
}

/** A load beside the bare SELECT of its rows, the quickest of some. */
double loadRatio(int rows, BareSelect &bare)
{
    double load = 1e9;
    double select = 1e9;
    for (int i = 0; i < 3; ++i) {
        Window window;
        load = std::min(load, seconds([&] { window.load(rows); }));
        select = std::min(select, seconds([&] { bare.step(); }));
    }
    return load / select;
}

/** `cost` is that of Many rows. */
void benchVeryMany(Goals &goals, std::FILE *figures, const std::string &database, const RowCost &cost)
{
    const int rows = veryMany();
    RowCost most{};
    {
        Window window;
        const double before = memory("VmRSS:");
        forgetPeak();
        window.load(rows);
        most = {(memory("VmRSS:") - before) / rows, (memory("VmHWM:") - before) / rows};
    }
    std::fprintf(figures, "      %d rows: %.1f bytes a row, at most %.1f\n", rows, most.after, most.peak);
    goals.atMost("memory after the load, a row, beside a million", most.after / cost.after, "x", 1);
    goals.atMost("most memory during the load, a row, beside a million", most.peak / cost.peak, "x", 1);
    BareSelect million(database, NamedRows);
    BareSelect all(database, NamedRows, rows);
    const double ofMillion = loadRatio(Many, million);
    const double ofAll = loadRatio(rows, all);
    std::fprintf(figures, "      %.3f x the bare SELECT : %.3f x\n", ofAll, ofMillion);
    goals.atMost("\"Update list\" of those, beside a million", ofAll / ofMillion, "x", 1.15);
}

void benchFitting(Goals &goals, Window &many, Window &few)
{
    std::vector<double> resizes[2];
    std::vector<double> turns[2];
    for (int i = 0; i < 24; ++i) {
        for (const bool large : {false, true}) {
            Window &window = large ? many : few;
            resizes[large].push_back(seconds([&] { window.resize(); }));
            turns[large].push_back(seconds([&] { window.turnColumn(i / 2 % 6); }));
        }
    }
    goals.ratio("columns fitted on a resize", medianOf(resizes[1]), medianOf(resizes[0]), 2);
    goals.ratio("columns fitted when one is hidden or shown", medianOf(turns[1]), medianOf(turns[0]), 2);
}

void benchNewRows(Goals &goals, Window &many, Window &few, const std::string &database)
{
    SqliteStore store(database, Sqlite::Durability::Crash);
    Events events;
    std::vector<double> ofMany;
    std::vector<double> ofFew;
    for (int i = 0; i < 15; ++i) {
        events.put(store, 100);
        ofMany.push_back(seconds([&] { many.getNew(); }));
        ofFew.push_back(seconds([&] { few.getNew(); }));
    }
    if (few.list().childCount() != Few + 1500 || many.list().childCount() != Many + 1500) {
        std::fputs("not all new events came\n", stderr);
        std::exit(1);
    }
    goals.ratio("\"Get new\" with 100 new", medianOf(ofMany), medianOf(ofFew), 2);
}

void benchNothingNew(Goals &goals, const Installations &installations)
{
    std::vector<double> times[2];
    int paints = 0;
    for (int round = 0; round < 3; ++round) {
        for (const bool large : {false, true}) {
            useInstallation(installations, large ? "large" : "small");
            Window window;
            window.settle();
            PaintCounter counter;
            qApp->installEventFilter(&counter);
            for (int i = 0; i < 200; ++i)
                times[large].push_back(seconds([&] { window.tick(); }));
            paints += counter.count;
        }
    }
    goals.ratio("\"Get new\" with nothing new, many events in the store", medianOf(times[1]), medianOf(times[0]), 2);
    goals.atMost("paint events of any widget when nothing is new", paints, "", 0);
}

} // namespace

int main(int argc, char **argv)
{
    // The windows trace to standard output; the figures alone go where it went.
    std::FILE *figures = ::fdopen(::dup(STDOUT_FILENO), "w");
    if (!figures || !std::freopen("/dev/null", "w", stdout))
        return 1;
    const Installations installations({"small", "large"});
    makeDatabase(installations.database("small"), SmallStore);
    makeDatabase(installations.database("large"), largeStore());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    LoadDLL(installations.libs());
    if (!FDBGetEvents)
        return 1;
    useInstallation(installations, "large");
    Goals goals(figures);
    const RowCost cost = benchMemory(goals, figures);
    if (veryMany() > 0)
        benchVeryMany(goals, figures, installations.database("large"), cost);
    benchLoading(goals, figures, installations.database("large"));
    {
        Window many;
        many.load(Many);
        Window few;
        few.load(Few);
        benchFitting(goals, many, few);
        benchNewRows(goals, many, few, installations.database("large"));
    }
    benchNothingNew(goals, installations);
    return goals.met() ? 0 : 1;
}
