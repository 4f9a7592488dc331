// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sqlitestore.h"

#include "sensortable.h"
#include "settings.h"
#include "textbudget.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <limits>

namespace
{
/** Rows of one INSERT statement of putEvents. OR ROLLBACK there spares SQLite a journal a statement. */
constexpr std::size_t RowsAtOnce = 32;
/** For so few rows no room is made beforehand. */
constexpr int FewRows = 1000;
/** So many rows leave nothing in the cache but pages that hardly anybody asks for again. */
constexpr int RowsBeyondCache = 100000;
/** From so many rows on it pays to do without the trigger. */
constexpr std::size_t ManyRows = 1000;

const std::string &withFolder(const std::string &path, Sqlite::WhenMissing whenMissing)
{
    if (whenMissing == Sqlite::WhenMissing::Refuse)
        return path;
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    std::error_code error;
    if (!folder.empty())
        std::filesystem::create_directories(folder, error);
    if (error)
        throw Sqlite::Error(path, "the folder cannot be made (" + error.message() + ")");
    return path;
}

std::string placeholders(std::size_t rows)
{
    std::string result = "(?,?,?,?)";
    for (std::size_t i = 1; i < rows; ++i)
        result += ",(?,?,?,?)";
    return result;
}
} // namespace

/** What is the same for events and for commands. */
struct SqliteStore::Table {
    Table(Sqlite::Connection &db, const std::string &table)
        : series(db, table)
        , selector(db, table, series)
        , insert(db, "INSERT INTO " + table + "(series, time, params) VALUES(?1, ?2, ?3)")
        , insertMany(db, "INSERT OR ROLLBACK INTO " + table + "(id, series, time, params) VALUES" +
                             placeholders(RowsAtOnce))
        , insertOne(db, "INSERT OR ROLLBACK INTO " + table + "(id, series, time, params) VALUES" + placeholders(1))
        , widen(db, "INSERT INTO " + table +
                        "_zone VALUES(?1, ?2, ?3, ?4) ON CONFLICT DO UPDATE SET "
                        "earliest = min(earliest, excluded.earliest), latest = max(latest, excluded.latest)")
        , remove(db, "DELETE FROM " + table + " WHERE id = ?1")
        , newest(db, "SELECT seq FROM sqlite_sequence WHERE name = '" + table + "'")
    {
    }

    SeriesTable series;
    Selector selector;
    Sqlite::Statement insert;
    Sqlite::Statement insertMany;
    Sqlite::Statement insertOne;
    Sqlite::Statement widen;
    Sqlite::Statement remove;
    Sqlite::Statement newest;
};

SqliteStore::LazyTable::LazyTable(Sqlite::Connection &connection, const char *tableName)
    : m_db(connection)
    , m_name(tableName)
{
}

SqliteStore::LazyTable::~LazyTable() = default;

SqliteStore::Table &SqliteStore::LazyTable::operator*()
{
    if (!m_table)
        m_table = std::make_unique<Table>(m_db, m_name);
    return *m_table;
}

SqliteStore::Table *SqliteStore::LazyTable::operator->()
{
    return &**this;
}

/** One consistent view for several statements; within a batch, that of the batch. */
class SqliteStore::View
{
public:
    explicit View(SqliteStore &read)
    {
        if (!read.m_transaction)
            read.enter(m_own, Sqlite::Transaction::Read);
    }
    void end()
    {
        if (m_own)
            m_own->commit();
    }

private:
    std::optional<Sqlite::Transaction> m_own;
};

SqliteStore::SqliteStore(const std::string &path, Sqlite::Durability durability, int busyMilliseconds,
                         Sqlite::WhenMissing whenMissing)
    : m_db(withFolder(path, whenMissing), durability, busyMilliseconds, whenMissing)
    , m_watch(m_db)
    , m_eventTable(m_db, "event")
    , m_commandTable(m_db, "command")
{
    Schema::prepare(m_db, whenMissing == Sqlite::WhenMissing::Make);
    View view(*this);
    // It may have been replaced while it was opened.
    m_db.requireInPlace();
    m_sensors = std::make_unique<SensorTable>(m_db);
    view.end();
}

SqliteStore::~SqliteStore() = default;

const std::string &SqliteStore::path() const
{
    return m_db.path();
}

Sqlite::Connection &SqliteStore::connection()
{
    return m_db;
}

bool SqliteStore::serves(const Settings &settings) const
{
    return path() == settings.database && isInPlace();
}

bool SqliteStore::isInPlace() const
{
    return m_db.isInPlace();
}

void SqliteStore::leave()
{
    m_db.handOver();
}

/** Begins a transaction: what was true of the file when it was opened has to be true in each. */
void SqliteStore::enter(std::optional<Sqlite::Transaction> &transaction, Sqlite::Transaction::Kind kind)
{
    try {
        transaction.emplace(m_db, kind);
        lookAtFile(kind);
    } catch (const Schema::Outdated &) {
        m_db.requireInPlace();
        transaction.reset();
        Schema::prepare(m_db, false);
        transaction.emplace(m_db, kind);
        lookAtFile(kind);
    }
}

void SqliteStore::lookAtFile(Sqlite::Transaction::Kind kind)
{
    const Schema::Change change = m_watch.look();
    for (LazyTable *table : {&m_eventTable, &m_commandTable})
        if (table->isReady())
            (*table)->series.expect(change);
    // Whoever reads has asked before, and has the file open that was there then.
    if (kind == Sqlite::Transaction::Write)
        m_db.requireInPlace();
}

std::vector<std::string> SqliteStore::statements() const
{
    std::vector<std::string> result = m_eventTable->selector.statements();
    const std::vector<std::string> commandStatements = m_commandTable->selector.statements();
    result.insert(result.end(), commandStatements.begin(), commandStatements.end());
    return result;
}

void SqliteStore::begin()
{
    try {
        enter(m_transaction, Sqlite::Transaction::Write);
    } catch (...) {
        m_transaction.reset();
        throw;
    }
}

void SqliteStore::commit()
{
    m_transaction->commit();
    m_transaction.reset();
    m_watch.passOver();
}

void SqliteStore::rollBack() noexcept
{
    for (LazyTable *table : {&m_eventTable, &m_commandTable})
        if (table->isReady())
            (*table)->series.forget();
    m_transaction.reset();
}

/** Without a filter the number of rows is known well enough to make room for all of them at once. */
template <class Record> void SqliteStore::reserveFor(Table &table, const Selection &selection, Records<Record> &result)
{
    if (selection.count > FewRows && selection.anyTime && selection.series.passesAll()) {
        const std::int64_t last = std::min(selection.idHigh, newestIdentifier(table));
        const std::int64_t possible = last - std::max<std::int64_t>(selection.idLow, 1) + 1;
        result.reserve(std::size_t(std::clamp<std::int64_t>(possible, 0, selection.count)));
    }
}

template <class Record>
std::unique_ptr<Records<Record>> SqliteStore::read(Table &table, const Selection &selection, bool ascending)
{
    auto result = std::make_unique<Records<Record>>();
    View view(*this);
    table.series.refresh();
    reserveFor(table, selection, *result);
    Builder<Record> builder(*result, table.series);
    Sqlite::TextBudget budget(m_db);
    table.selector.select(selection, [&](const Row &row) {
        budget.spend(row.params.size());
        builder.add(row);
    });
    view.end();
    if (result->size() > RowsBeyondCache)
        m_db.releaseCache();
    if (ascending && !selection.first)
        result->reverse();
    return result;
}

std::unique_ptr<Records<CMessageEvent>> SqliteStore::events(const CMessageEventRequest &request)
{
    return read<CMessageEvent>(*m_eventTable, selectionOf(request), request.UseMessageID0 != 0);
}

std::unique_ptr<Records<CMessageCommand>> SqliteStore::commands(const CMessageCommandRequest &request)
{
    return read<CMessageCommand>(*m_commandTable, selectionOf(request), request.UseCommandID0 != 0);
}

std::vector<StoredSensor> SqliteStore::storedSensors()
{
    View view(*this);
    std::vector<StoredSensor> result = m_sensors->all();
    view.end();
    return result;
}

int SqliteStore::putEvent(const NewMessage &event)
{
    Batch batch(*this);
    const int id = insert(*m_eventTable, event);
    m_sensors->noteMessage(event);
    batch.commit();
    return id;
}

int SqliteStore::putCommand(const NewMessage &command)
{
    Batch batch(*this);
    const int id = insert(*m_commandTable, command);
    batch.commit();
    return id;
}

int SqliteStore::insert(Table &table, const NewMessage &message)
{
    table.series.refresh();
    Sqlite::Statement &statement = table.insert;
    statement.bind(1, table.series.findOrAdd(message.series))
        .bind(2, clamped(message.time))
        .bind(3, message.params)
        .run();
    return checkedIdentifier(m_db.lastIdentifier());
}

int SqliteStore::checkedIdentifier(std::int64_t id) const
{
    if (id > INT_MAX)
        throw Sqlite::Error(path(), "all identifiers are used up");
    return int(id);
}

/** The largest identifier that was ever given, 0 when none was. */
std::int64_t SqliteStore::newestIdentifier(Table &table)
{
    const Sqlite::Resetter reset(table.newest);
    return table.newest.step() ? std::max<std::int64_t>(0, table.newest.number(0)) : 0;
}

int SqliteStore::putEvents(const std::vector<NewMessage> &events)
{
    Batch batch(*this);
    Table &table = *m_eventTable;
    table.series.refresh();
    const std::int64_t newest = checkedIdentifier(newestIdentifier(table));
    const int firstId = checkedIdentifier(newest + 1);
    checkedIdentifier(newest + std::int64_t(events.size()));
    const std::vector<int> series = findSeries(table, events);
    widenZones(table, events, firstId);
    const bool many = events.size() >= ManyRows;
    if (many)
        Schema::unwatchInserts(m_db, "event");
    std::size_t done = 0;
    for (; events.size() - done >= RowsAtOnce; done += RowsAtOnce)
        insertRows(table.insertMany, &events[done], &series[done], RowsAtOnce, firstId + int(done));
    for (; done < events.size(); ++done)
        insertRows(table.insertOne, &events[done], &series[done], 1, firstId + int(done));
    if (many)
        Schema::watchInserts(m_db, "event");
    noteMessages(events, series);
    batch.commit();
    return firstId;
}

std::vector<int> SqliteStore::findSeries(Table &table, const std::vector<NewMessage> &messages)
{
    std::vector<int> series;
    series.reserve(messages.size());
    for (const NewMessage &message : messages)
        series.push_back(table.series.findOrAdd(message.series));
    return series;
}

void SqliteStore::insertRows(Sqlite::Statement &statement, const NewMessage *messages, const int *series,
                             std::size_t count, int firstId)
{
    for (std::size_t i = 0; i < count; ++i) {
        const int place = int(i) * 4;
        statement.bind(place + 1, firstId + int(i))
            .bind(place + 2, series[i])
            .bind(place + 3, clamped(messages[i].time))
            .bind(place + 4, messages[i].params);
    }
    statement.run();
}

/** Says beforehand what the triggers would find out row by row. */
void SqliteStore::widenZones(Table &table, const std::vector<NewMessage> &messages, int firstId)
{
    for (std::size_t start = 0; start < messages.size();) {
        const int zone = (firstId + int(start)) >> Schema::ZoneShifts[0];
        std::int64_t earliest = INT_MAX;
        std::int64_t latest = INT_MIN;
        for (; start < messages.size() && (firstId + int(start)) >> Schema::ZoneShifts[0] == zone; ++start) {
            earliest = std::min(earliest, clamped(messages[start].time));
            latest = std::max(latest, clamped(messages[start].time));
        }
        for (int level = 0; level < Schema::ZoneLevels; ++level) {
            const int block = zone >> (Schema::ZoneShifts[level] - Schema::ZoneShifts[0]);
            table.widen.bind(1, level).bind(2, block).bind(3, earliest).bind(4, latest).run();
        }
    }
}

/** The latest of each series is looked for first: series are few, and their numbers need no hashing of names. */
void SqliteStore::noteMessages(const std::vector<NewMessage> &events, const std::vector<int> &series)
{
    std::vector<const NewMessage *> latestOfSeries(std::size_t(m_eventTable->series.end()));
    for (std::size_t i = 0; i < events.size(); ++i) {
        const NewMessage *&known = latestOfSeries[std::size_t(series[i])];
        known = !known || known->time < events[i].time ? &events[i] : known;
    }
    std::unordered_map<std::string_view, const NewMessage *> latest;
    for (const NewMessage *event : latestOfSeries) {
        if (event) {
            const NewMessage *&known = latest[event->series.sensor.value_or("")];
            known = !known || known->time < event->time ? event : known;
        }
    }
    for (const auto &[sensor, event] : latest)
        m_sensors->noteMessage(*event);
}

bool SqliteStore::remove(Table &table, int id)
{
    Batch batch(*this);
    table.remove.bind(1, id).run();
    const bool removed = m_db.changes() > 0;
    batch.commit();
    return removed;
}

void SqliteStore::expectMany()
{
    // Each checkpoint waits for the disk: one for several transactions is enough.
    m_db.run("PRAGMA wal_autocheckpoint=10000");
}

bool SqliteStore::deleteEvent(int id)
{
    return remove(*m_eventTable, id);
}

bool SqliteStore::deleteCommand(int id)
{
    return remove(*m_commandTable, id);
}

void SqliteStore::registerSensor(const std::string &name, int type, const std::string &description)
{
    Batch batch(*this);
    m_sensors->add(name, type, description);
    batch.commit();
}

void SqliteStore::keepAlive(const std::vector<std::string> &names, std::int64_t time)
{
    Batch batch(*this);
    for (const std::string &name : names)
        m_sensors->keepAlive(name, time);
    batch.commit();
}

void SqliteStore::setState(const std::string &name, SensorState state)
{
    Batch batch(*this);
    m_sensors->setState(name, state);
    batch.commit();
}

int SqliteStore::readCommands(const std::vector<std::string> &names, int commandId)
{
    Batch batch(*this);
    int changed = 0;
    for (const std::string &name : names)
        changed += m_sensors->readCommands(name, commandId) ? 1 : 0;
    batch.commit();
    return changed;
}
