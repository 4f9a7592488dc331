// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "postgresstore.h"

#include "binaryvalues.h"
#include "latin1.h"
#include "postgresschema.h"

#include <cstdio>
#include <random>
#include <unordered_map>

using Postgres::Connection;
using Postgres::Error;
using Postgres::Parameters;
using Postgres::Result;
using Postgres::RowSelector;

namespace
{
constexpr int UuidSize = 16;
/** So many records grow without being moved far. */
constexpr int FewRows = 1000;

std::string randomUuid()
{
    std::random_device random;
    std::string bytes;
    while (bytes.size() < UuidSize)
        bytes += char(random());
    return bytes;
}

/** JSON in UTF-8; NULL where there are no parameters. */
std::optional<std::string> storedForm(std::string_view params)
{
    std::string buffer;
    return params.empty() ? std::nullopt : std::optional<std::string>(Postgres::utf8From(params, buffer));
}

StoredSensor sensorFrom(const Postgres::CopiedRow &row)
{
    std::string buffer;
    StoredSensor sensor;
    sensor.name = Postgres::latin1From(row.bytes(0), buffer);
    sensor.type = row.number(1);
    sensor.description = Postgres::latin1From(row.bytes(2), buffer);
    sensor.state = stateOf(row.bytes(3));
    if (!row.isNull(4))
        sensor.keepAlive = row.seconds(4);
    sensor.lastMessage = row.isNull(5) ? 0 : row.seconds(5);
    sensor.lastCommand = row.number(6);
    return sensor;
}
} // namespace

PostgresStore::PostgresStore(Settings settings)
    : m_settings(std::move(settings))
    , m_connector(m_settings.connection, std::chrono::seconds(m_settings.connectSeconds))
    , m_writer(randomUuid())
{
    warnOfPassword();
}

PostgresStore::~PostgresStore() = default;

void PostgresStore::warnOfPassword() const
{
    if (m_connector.hasPassword() && m_settings.isFileShared) {
        std::fprintf(stderr, "DBLib: %s: others can read this file and the password in it; see chmod(1)\n",
                     m_settings.file.c_str());
    }
}

bool PostgresStore::serves(const Settings &settings) const
{
    return settings.connection == m_settings.connection && settings.connectSeconds == m_settings.connectSeconds &&
           settings.statementSeconds == m_settings.statementSeconds;
}

void PostgresStore::watch(std::vector<std::string> *sent)
{
    m_watched = sent;
    connection().watch(sent);
}

Connection &PostgresStore::connection()
{
    if (m_connection && m_connection->isUsable())
        return *m_connection;
    if (isInBatch())
        throw Error(server(), "the connection was lost", Error::Lost);
    m_connection.reset();
    auto made = std::make_unique<Connection>(m_connector.connect(), server(),
                                             std::chrono::seconds(m_settings.statementSeconds));
    setUp(*made);
    m_connection = std::move(made);
    m_connection->watch(m_watched);
    return *m_connection;
}

void PostgresStore::setUp(Connection &made)
{
    // The server gives a statement up a little earlier than this program does, and says so.
    const int milliseconds = m_settings.statementSeconds * 900;
    made.run(
        "SET statement_timeout = " + std::to_string(milliseconds) +
        "; SET default_transaction_isolation = 'read committed'; SET search_path = pg_catalog; SET timezone = 'UTC';"
        "SET jit = off;"
        // A confirmed event that a crash of the server takes back would give its identifier to another one.
        "SELECT set_config('synchronous_commit', 'on', false) WHERE current_setting('synchronous_commit') = 'off'");
    Postgres::prepareSchema(made, server());
    for (RowSelector *selector : {&m_events, &m_commands}) {
        selector->forget();
        selector->refresh(made);
    }
}

/** What a lost connection left undone is done once more on another one; all that comes here may be done twice. */
template <class Action> auto PostgresStore::perform(Action action)
{
    for (bool again = false;; again = true) {
        try {
            return action(connection());
        } catch (const Error &error) {
            const bool mayHelp = error.kind() == Error::Lost && m_connection && !isInBatch() && !again;
            if (!mayHelp)
                throw;
        }
    }
}

void PostgresStore::open()
{
    // A connection that was lost looks like any other until it is used.
    perform([](Connection &used) { used.run(""); });
}

/** Records that grow by and by are moved into new memory each time, which the system has to clear. */
template <class Record>
void PostgresStore::reserveFor(const RowSelector &selector, const Selection &selection, Records<Record> &result)
{
    // A filter may let few pass.
    if (selection.count > FewRows && selection.anyTime && selection.series.passesAll())
        result.reserve(std::size_t(selector.mostRows(selection)));
}

template <class Record>
std::unique_ptr<Records<Record>> PostgresStore::read(RowSelector &selector, const Selection &selection, bool ascending)
{
    return perform([&](Connection &used) {
        std::unique_ptr<Records<Record>> result;
        std::optional<Builder<Record>> builder;
        const auto restart = [&] {
            builder.reset();
            result = std::make_unique<Records<Record>>();
        };
        selector.select(used, selection, restart, [&](const Row &row) {
            // Not before the series and the table's end are known, which come with the rows.
            if (!builder) {
                reserveFor(selector, selection, *result);
                builder.emplace(*result, selector.series());
            }
            builder->add(row);
        });
        if (ascending && !selection.first)
            result->reverse();
        return result;
    });
}

std::unique_ptr<Records<CMessageEvent>> PostgresStore::events(const CMessageEventRequest &request)
{
    return read<CMessageEvent>(m_events, selectionOf(request), request.UseMessageID0 != 0);
}

std::unique_ptr<Records<CMessageCommand>> PostgresStore::commands(const CMessageCommandRequest &request)
{
    return read<CMessageCommand>(m_commands, selectionOf(request), request.UseCommandID0 != 0);
}

Result PostgresStore::call(const std::string &function, const Parameters &parameters)
{
    return perform([&](Connection &used) { return used.call(function, parameters); });
}

int PostgresStore::seriesOf(RowSelector &selector, const SeriesKey &key)
{
    if (const std::optional<int> known = selector.series().find(key))
        return *known;
    Parameters parameters;
    parameters.add(key.messageType).add(key.kind).addText(key.sensor);
    if (&selector == &m_events)
        parameters.addText(key.name);
    const int series = call(&selector == &m_events ? "event_series_of" : "command_series_of", parameters).number(0, 0);
    selector.refresh(connection());
    return series;
}

/** Stores something once, also when it is tried again for want of an answer, here or by the caller. */
int PostgresStore::putOnce(const std::string &function, const Parameters &what)
{
    const std::string content = function + what.bytes();
    const bool isRepeated = m_unanswered && m_unanswered->content == content && !isInBatch();
    const std::int64_t number = isRepeated ? m_unanswered->number : ++m_number;
    if (!isInBatch())
        m_unanswered = Unanswered{content, number};
    Parameters parameters;
    parameters.addBytes(Postgres::Uuid, m_writer).addLong(number).append(what);
    // One attempt without an answer is enough; that a later one is refused says nothing about it.
    bool isUncertain = isRepeated;
    try {
        const int id = perform([&](Connection &used) {
            try {
                return used.call(function, parameters).number(0, 0);
            } catch (const Error &error) {
                isUncertain = isUncertain || error.kind() != Error::Refused;
                throw;
            }
        });
        m_unanswered.reset();
        return id;
    } catch (const Error &) {
        if (!isUncertain)
            m_unanswered.reset();
        throw;
    }
}

int PostgresStore::putEvent(const NewMessage &event)
{
    return putEvents({event});
}

int PostgresStore::putEvents(const std::vector<NewMessage> &events)
{
    Postgres::ArrayWriter series(Postgres::Int4, events.size());
    Postgres::ArrayWriter times(Postgres::Timestamp, events.size());
    Postgres::ArrayWriter params(Postgres::Json, events.size());
    for (const NewMessage &event : events) {
        series.add(seriesOf(m_events, event.series));
        times.addTimestamp(clamped(event.time));
        if (const std::optional<std::string> stored = storedForm(event.params))
            params.add(*stored);
        else
            params.addNull();
    }
    Parameters parameters;
    parameters.addBytes(Postgres::Int4Array, series.bytes())
        .addBytes(Postgres::TimestampArray, times.bytes())
        .addBytes(Postgres::JsonArray, params.bytes());
    return putOnce("put_events", parameters);
}

int PostgresStore::putCommand(const NewMessage &command)
{
    Parameters parameters;
    parameters.add(seriesOf(m_commands, command.series))
        .addTimestamp(clamped(command.time))
        .addBytes(Postgres::Json, storedForm(command.params));
    return putOnce("put_command", parameters);
}

bool PostgresStore::remove(const char *table, int id)
{
    const std::string sql = std::string("DELETE FROM obrim.") + table + " WHERE id = " + std::to_string(id);
    return perform([&](Connection &used) { return used.query(sql).changes() > 0; });
}

bool PostgresStore::deleteEvent(int id)
{
    return remove("event", id);
}

bool PostgresStore::deleteCommand(int id)
{
    return remove("command", id);
}

void PostgresStore::registerSensor(const std::string &name, int type, const std::string &description)
{
    call("register_sensor", Parameters().addText(name).add(type).addText(description));
}

std::vector<StoredSensor> PostgresStore::storedSensors()
{
    return perform([&](Connection &used) {
        std::vector<StoredSensor> sensors;
        used.copy(Postgres::copied("SELECT name, type, description, state, keep_alive, last_message, last_command "
                                   "FROM obrim.sensor ORDER BY name COLLATE \"C\""),
                  {[&](const Postgres::CopiedRow &row) { sensors.push_back(sensorFrom(row)); }});
        return sensors;
    });
}

void PostgresStore::keepAlive(const std::vector<std::string> &names, std::int64_t time)
{
    call("keep_alive", Parameters().addTexts(names).addTimestamp(clamped(time)));
}

void PostgresStore::setState(const std::string &name, SensorState state)
{
    call("set_state", Parameters().addText(name).addText(wordOf(state)));
}

int PostgresStore::readCommands(const std::vector<std::string> &names, int commandId)
{
    return call("read_commands", Parameters().addTexts(names).add(commandId)).number(0, 0);
}

void PostgresStore::begin()
{
    perform([](Connection &used) {
        try {
            return used.run("BEGIN; SELECT obrim.start_writing()");
        } catch (...) {
            used.rollBack();
            throw;
        }
    });
}

void PostgresStore::commit()
{
    connection().commit();
}

void PostgresStore::rollBack() noexcept
{
    if (m_connection)
        m_connection->rollBack();
    // Series that the transaction added are none.
    for (RowSelector *selector : {&m_events, &m_commands})
        selector->forget();
}
