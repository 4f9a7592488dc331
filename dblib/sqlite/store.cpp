// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "store.h"

#include "clock.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <limits>
#include <sys/stat.h>

namespace
{
/** Rows of one INSERT statement of putEvents. OR ROLLBACK there spares SQLite a journal a statement. */
constexpr std::size_t RowsAtOnce = 32;
/** For so few rows no room is made beforehand. */
constexpr int FewRows = 1000;
/** From so many rows on it pays to do without the trigger. */
constexpr std::size_t ManyRows = 1000;

constexpr const char *StateWords[] = {"running", "stopped", "killed"};

/** The stores' times are signed 32-bit, as the boundary's are. */
std::int64_t clamped(std::int64_t time)
{
    return std::clamp<std::int64_t>(time, INT_MIN, INT_MAX);
}

std::optional<std::string_view> textOf(const char *text, int length)
{
    // No bytes are no text, as in the records' own copies.
    if (!text || length <= 0)
        return std::nullopt;
    return std::string_view(text, ::strnlen(text, std::size_t(length)));
}

std::optional<std::string> maskOf(int used, const char *mask, int length)
{
    // A mask that is switched on but missing lets everything pass.
    const auto text = used ? textOf(mask, length) : std::nullopt;
    return text ? std::optional<std::string>(*text) : std::nullopt;
}

template <class Value> std::optional<int> valueOf(int used, Value value)
{
    return used ? std::optional<int>(value) : std::nullopt;
}

void setTimes(Selection &selection, int use0, std::int64_t time0, int use1, std::int64_t time1)
{
    selection.anyTime = !use0 && !use1;
    selection.timeLow = use0 ? time0 : selection.timeLow;
    selection.timeHigh = use1 ? time1 : selection.timeHigh;
}

Selection selectionOf(const CMessageEventRequest &request)
{
    Selection selection;
    selection.count = request.NMax;
    selection.first = request.TakeFirst1_Last0 != 0;
    selection.idLow = request.UseMessageID0 ? request.MessageID0 : INT_MIN;
    selection.idHigh = request.UseMessageID1 ? request.MessageID1 : INT_MAX;
    setTimes(selection, request.UseEventTime0, request.EventTime0, request.UseEventTime1, request.EventTime1);
    selection.series.messageType = valueOf(request.UseMessageType, request.MessageType);
    selection.series.kind = valueOf(request.UseSensorType, request.SensorType);
    selection.series.sensorMask = maskOf(request.UseSensorID, request.SensorID, request.LSensorID);
    selection.series.nameMask = maskOf(request.UseEventName, request.EventName, request.LEventName);
    return selection;
}

Selection selectionOf(const CMessageCommandRequest &request)
{
    Selection selection;
    selection.count = request.NMax;
    selection.first = request.TakeFirst1_Last0 != 0;
    selection.idLow = request.UseCommandID0 ? request.CommandID0 : INT_MIN;
    selection.idHigh = request.UseCommandID1 ? request.CommandID1 : INT_MAX;
    setTimes(selection, request.UseCommandTime0, request.CommandTime0, request.UseCommandTime1, request.CommandTime1);
    selection.series.messageType = valueOf(request.UseMessageType, request.MessageType);
    selection.series.kind = valueOf(request.UseCommandType, request.CommandType);
    selection.series.sensorMask = maskOf(request.UseSensorID, request.SensorID, request.LSensorID);
    return selection;
}

/** A text in a result's arena with the length that records give with it. */
struct Text {
    char *bytes = nullptr;
    int length = 0;
};

Text textIn(Arena &arena, std::optional<std::string_view> text)
{
    return text ? Text{arena.copy(*text), int(text->size()) + 1} : Text();
}

/** The texts of a series, once for all records of a result that have it. */
struct SeriesTexts {
    SeriesKey key;
    Text sensor;
    Text name;
};

void setSeries(CMessageEvent &event, const SeriesTexts &series)
{
    event.MessageType = series.key.messageType;
    event.SensorType = series.key.kind;
    event.SensorID = series.sensor.bytes;
    event.LSensorID = series.sensor.length;
    event.EventName = series.name.bytes;
    event.LEventName = series.name.length;
}

void setSeries(CMessageCommand &command, const SeriesTexts &series)
{
    command.MessageType = series.key.messageType;
    command.CommandType = series.key.kind;
    command.SensorID = series.sensor.bytes;
    command.LSensorID = series.sensor.length;
}

void setIdentity(CMessageEvent &event, const Row &row)
{
    event.MessageID = row.id;
    event.EventTime = std::time_t(clamped(row.time));
}

void setIdentity(CMessageCommand &command, const Row &row)
{
    command.CommandID = row.id;
    command.CommandTime = std::time_t(clamped(row.time));
}

/** Turns rows into records. */
template <class Record> class Builder
{
public:
    Builder(Records<Record> &result, const SeriesTable &table)
        : m_records(result)
        , m_seriesTable(table)
        , m_places(std::size_t(table.end()), None)
    {
    }

    void add(const Row &row)
    {
        Record &record = m_records.add();
        setIdentity(record, row);
        setSeries(record, textsOf(row.series));
        record.par = m_reader.read(m_records.arena, row.params, record.ParNum);
    }

private:
    const SeriesTexts &textsOf(int series)
    {
        int &place = m_places[std::size_t(series)];
        if (place == None) {
            const SeriesKey key = m_seriesTable.key(series);
            m_texts.push_back({key, textIn(m_records.arena, key.sensor), textIn(m_records.arena, key.name)});
            place = int(m_texts.size()) - 1;
        }
        return m_texts[std::size_t(place)];
    }

    Records<Record> &m_records;
    const SeriesTable &m_seriesTable;
    static constexpr int None = -1;
    /** Where a series' texts are. A damaged table may have a huge last number, so the many are kept small. */
    std::vector<int> m_places;
    std::vector<SeriesTexts> m_texts;
    ParameterReader m_reader;
};

template <class Record> void addParameters(ParameterWriter &writer, const Record &record)
{
    writer.discard();
    for (int i = 0; record.par && i < record.ParNum; ++i)
        writer.add(record.par[i]);
}

SensorState stateOf(std::string_view word)
{
    for (const SensorState state : {SensorState::Stopped, SensorState::Killed})
        if (word == StateWords[int(state)])
            return state;
    return SensorState::Running;
}

int livenessOf(const StoredSensor &sensor, std::int64_t now, int deadAfter)
{
    if (sensor.state == SensorState::Killed)
        return SensorDead;
    if (!sensor.keepAlive)
        return 0;
    // A sign of life from the future tells of a clock put back, not of a live sensor.
    const bool isRecent = *sensor.keepAlive >= now - deadAfter && *sensor.keepAlive <= now + deadAfter;
    return isRecent ? SensorAlive : SensorDead;
}

const std::string &withFolder(const std::string &path)
{
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
struct Store::Table {
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

Store::LazyTable::LazyTable(Sqlite::Connection &connection, const char *tableName)
    : m_db(connection)
    , m_name(tableName)
{
}

Store::LazyTable::~LazyTable() = default;

Store::Table &Store::LazyTable::operator*()
{
    if (!m_table)
        m_table = std::make_unique<Table>(m_db, m_name);
    return *m_table;
}

Store::Table *Store::LazyTable::operator->()
{
    return &**this;
}

struct Store::Statements {
    /** Where a sensor that is new begins to read commands: older ones were meant for another of its name. */
    inline static const std::string NewestCommand =
        "coalesce((SELECT seq FROM sqlite_sequence WHERE name = 'command'), 0)";

    explicit Statements(Sqlite::Connection &db)
        : sensors(db, "SELECT name, type, description, state, keep_alive, last_message, last_command FROM sensor "
                      "ORDER BY name")
        , noteMessage(db,
                      "INSERT INTO sensor(name, type, last_message, last_command) VALUES(?1, ?2, ?3, " + NewestCommand +
                          ") ON CONFLICT(name) DO UPDATE SET last_message = max(last_message, excluded.last_message)")
        , registerSensor(db, "INSERT INTO sensor(name, type, description, last_command) VALUES(?1, ?2, ?3, " +
                                 NewestCommand +
                                 ") ON CONFLICT(name) DO UPDATE SET type = excluded.type, "
                                 "description = excluded.description")
        , keepAlive(db, "UPDATE sensor SET keep_alive = ?2, last_message = max(last_message, ?2) WHERE name = ?1")
        , setState(db, "UPDATE sensor SET state = ?2 WHERE name = ?1")
        , setLastCommand(db, "UPDATE sensor SET last_command = max(last_command, ?2) WHERE name = ?1")
    {
    }

    Sqlite::Statement sensors;
    Sqlite::Statement noteMessage;
    Sqlite::Statement registerSensor;
    Sqlite::Statement keepAlive;
    Sqlite::Statement setState;
    Sqlite::Statement setLastCommand;
};

Store::Store(const std::string &path, Sqlite::Durability durability, int busyMilliseconds)
    : m_db(withFolder(path), durability, busyMilliseconds)
    , m_eventTable(m_db, "event")
    , m_commandTable(m_db, "command")
{
    Schema::prepare(m_db);
    m_prepared = std::make_unique<Statements>(m_db);
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0) {
        m_device = status.st_dev;
        m_inode = status.st_ino;
    }
}

Store::~Store() = default;

const std::string &Store::path() const
{
    return m_db.path();
}

Sqlite::Connection &Store::connection()
{
    return m_db;
}

bool Store::isInPlace() const
{
    struct stat status = {};
    return ::stat(path().c_str(), &status) == 0 && status.st_dev == m_device && status.st_ino == m_inode;
}

std::vector<std::string> Store::statements() const
{
    std::vector<std::string> result = m_eventTable->selector.statements();
    const std::vector<std::string> commandStatements = m_commandTable->selector.statements();
    result.insert(result.end(), commandStatements.begin(), commandStatements.end());
    return result;
}

Store::Batch::Batch(Store &changed)
    : m_store(changed)
{
    if (!m_store.m_inBatch) {
        m_transaction = std::make_unique<Sqlite::Transaction>(m_store.m_db, Sqlite::Transaction::Write);
        m_store.m_inBatch = true;
    }
}

Store::Batch::~Batch()
{
    if (!m_transaction)
        return;
    m_store.m_inBatch = false;
    if (!m_committed) {
        for (LazyTable *table : {&m_store.m_eventTable, &m_store.m_commandTable})
            if (table->isReady())
                (*table)->series.forget();
    }
}

void Store::Batch::commit()
{
    if (m_transaction) {
        m_transaction->commit();
        m_committed = true;
    }
}

/** Without a filter the number of rows is known well enough to make room for all of them at once. */
template <class Record> void Store::reserveFor(Table &table, const Selection &selection, Records<Record> &result)
{
    if (selection.count > FewRows && selection.anyTime && selection.series.passesAll()) {
        const std::int64_t last = std::min<std::int64_t>(selection.idHigh, newestIdentifier(table));
        const std::int64_t possible = last - std::max<std::int64_t>(selection.idLow, 1) + 1;
        result.reserve(std::size_t(std::clamp<std::int64_t>(possible, 0, selection.count)));
    }
}

template <class Record>
std::unique_ptr<Records<Record>> Store::read(Table &table, const Selection &selection, bool rising)
{
    auto result = std::make_unique<Records<Record>>();
    Sqlite::Transaction view(m_db, Sqlite::Transaction::Read);
    table.series.refresh();
    reserveFor(table, selection, *result);
    Builder<Record> builder(*result, table.series);
    table.selector.select(selection, [&](const Row &row) { builder.add(row); });
    view.commit();
    if (rising && !selection.first)
        result->reverse();
    return result;
}

std::unique_ptr<Records<CMessageEvent>> Store::events(const CMessageEventRequest &request)
{
    return read<CMessageEvent>(*m_eventTable, selectionOf(request), request.UseMessageID0 != 0);
}

std::unique_ptr<Records<CMessageCommand>> Store::commands(const CMessageCommandRequest &request)
{
    return read<CMessageCommand>(*m_commandTable, selectionOf(request), request.UseCommandID0 != 0);
}

std::unique_ptr<Records<CSensor>> Store::sensors(int deadAfter)
{
    auto result = std::make_unique<Records<CSensor>>();
    const std::int64_t now = currentTime();
    for (const StoredSensor &stored : storedSensors()) {
        CSensor &sensor = result->add();
        const Text name = textIn(result->arena, stored.name);
        const Text description = textIn(result->arena, stored.description);
        sensor.SensorType = stored.type;
        sensor.SensorID = name.bytes;
        sensor.LSensorID = name.length;
        sensor.Description = description.bytes;
        sensor.LDescription = description.length;
        sensor.MessageType = livenessOf(stored, now, deadAfter);
        sensor.EventTime = std::time_t(clamped(stored.lastMessage));
    }
    return result;
}

std::vector<StoredSensor> Store::storedSensors()
{
    std::vector<StoredSensor> result;
    Sqlite::Statement &rows = m_prepared->sensors;
    const Sqlite::Resetter reset(rows);
    while (rows.step()) {
        StoredSensor sensor;
        sensor.name = rows.text(0);
        sensor.type = int(rows.number(1));
        sensor.description = rows.text(2);
        sensor.state = stateOf(rows.text(3));
        sensor.keepAlive = rows.isNull(4) ? std::nullopt : std::optional(rows.number(4));
        sensor.lastMessage = rows.number(5);
        sensor.lastCommand = int(rows.number(6));
        if (!result.empty() && sensor.name <= result.back().name)
            throw Sqlite::Error(path(), "the database is damaged: sensors out of order");
        result.push_back(std::move(sensor));
    }
    return result;
}

int Store::put(const CMessageEvent &event)
{
    addParameters(m_writer, event);
    NewMessage message;
    message.series = {event.MessageType, event.SensorType, textOf(event.SensorID, event.LSensorID),
                      textOf(event.EventName, event.LEventName)};
    message.time = event.EventTime;
    message.params = m_writer.finish();
    return putEvent(message);
}

int Store::put(const CMessageCommand &command)
{
    addParameters(m_writer, command);
    NewMessage message;
    message.series = {command.MessageType, command.CommandType, textOf(command.SensorID, command.LSensorID),
                      std::nullopt};
    message.time = command.CommandTime;
    message.params = m_writer.finish();
    Batch batch(*this);
    const int id = insert(*m_commandTable, message);
    batch.commit();
    return id;
}

int Store::putEvent(const NewMessage &event)
{
    Batch batch(*this);
    const int id = insert(*m_eventTable, event);
    noteMessage(event);
    batch.commit();
    return id;
}

int Store::insert(Table &table, const NewMessage &message)
{
    table.series.refresh();
    Sqlite::Statement &statement = table.insert;
    statement.bind(1, table.series.find(message.series)).bind(2, clamped(message.time)).bind(3, message.params).run();
    return checkedIdentifier(m_db.lastIdentifier());
}

int Store::checkedIdentifier(std::int64_t id) const
{
    if (id > INT_MAX)
        throw Sqlite::Error(path(), "all identifiers are used up");
    return int(id);
}

void Store::noteMessage(const NewMessage &event)
{
    if (event.series.sensor && !event.series.sensor->empty()) {
        Sqlite::Statement &statement = m_prepared->noteMessage;
        statement.bind(1, *event.series.sensor).bind(2, event.series.kind).bind(3, clamped(event.time)).run();
    }
}

int Store::newestIdentifier(Table &table)
{
    const Sqlite::Resetter reset(table.newest);
    return table.newest.step() ? checkedIdentifier(std::max<std::int64_t>(0, table.newest.number(0))) : 0;
}

int Store::putEvents(const std::vector<NewMessage> &events)
{
    Batch batch(*this);
    Table &table = *m_eventTable;
    table.series.refresh();
    const std::int64_t newest = newestIdentifier(table);
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

std::vector<int> Store::findSeries(Table &table, const std::vector<NewMessage> &messages)
{
    std::vector<int> series;
    series.reserve(messages.size());
    for (const NewMessage &message : messages)
        series.push_back(table.series.find(message.series));
    return series;
}

void Store::insertRows(Sqlite::Statement &statement, const NewMessage *messages, const int *series, std::size_t count,
                       int firstId)
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
void Store::widenZones(Table &table, const std::vector<NewMessage> &messages, int firstId)
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
void Store::noteMessages(const std::vector<NewMessage> &events, const std::vector<int> &series)
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
        noteMessage(*event);
}

bool Store::remove(Table &table, int id)
{
    Batch batch(*this);
    table.remove.bind(1, id).run();
    const bool removed = m_db.changes() > 0;
    batch.commit();
    return removed;
}

bool Store::deleteEvent(int id)
{
    return remove(*m_eventTable, id);
}

bool Store::deleteCommand(int id)
{
    return remove(*m_commandTable, id);
}

void Store::registerSensor(const std::string &name, int type, const std::string &description)
{
    Batch batch(*this);
    m_prepared->registerSensor.bind(1, name).bind(2, type).bind(3, description).run();
    batch.commit();
}

void Store::keepAlive(const std::string &name, std::int64_t time)
{
    Batch batch(*this);
    m_prepared->keepAlive.bind(1, name).bind(2, clamped(time)).run();
    batch.commit();
}

void Store::setState(const std::string &name, SensorState state)
{
    Batch batch(*this);
    m_prepared->setState.bind(1, name).bind(2, StateWords[int(state)]).run();
    batch.commit();
}

void Store::setLastCommand(const std::string &name, int commandId)
{
    Batch batch(*this);
    m_prepared->setLastCommand.bind(1, name).bind(2, commandId).run();
    batch.commit();
}
