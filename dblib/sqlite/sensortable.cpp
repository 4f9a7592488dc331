// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sensortable.h"

#include "clock.h"
#include "textbudget.h"

#include <optional>
#include <utility>

namespace
{
/** Where a sensor that is new begins to read commands: older ones were meant for another of its name. */
const std::string NewestCommand = "coalesce((SELECT seq FROM sqlite_sequence WHERE name = 'command'), 0)";

/** ?3 or what is known, unless that is later than now, ?4: a clock may have run far ahead and come back. */
const std::string Later = "iif(last_message > ?4, ?3, max(last_message, ?3))";

StoredSensor sensorIn(const Sqlite::Statement &row)
{
    StoredSensor sensor;
    sensor.name = row.text(0);
    sensor.type = int(row.number(1));
    sensor.description = row.text(2);
    sensor.state = stateOf(row.text(3));
    sensor.keepAlive = row.isNull(4) ? std::nullopt : std::optional(row.number(4));
    sensor.lastMessage = row.number(5);
    sensor.lastCommand = int(clamped(row.number(6)));
    return sensor;
}
} // namespace

SensorTable::SensorTable(Sqlite::Connection &connection)
    : m_db(connection)
    , m_all(m_db, "SELECT name, type, description, state, keep_alive, last_message, last_command FROM sensor "
                  "ORDER BY name")
    , m_noteMessage(m_db, "INSERT INTO sensor(name, type, last_message, last_command) VALUES(?1, ?2, ?3, " +
                              NewestCommand + ") ON CONFLICT(name) DO UPDATE SET last_message = " + Later)
    , m_add(m_db, "INSERT INTO sensor(name, type, description, last_command) VALUES(?1, ?2, ?3, " + NewestCommand +
                      ") ON CONFLICT(name) DO UPDATE SET type = excluded.type, description = excluded.description")
    , m_keepAlive(m_db, "UPDATE sensor SET keep_alive = ?3, last_message = " + Later + " WHERE name = ?1")
    , m_setState(m_db, "UPDATE sensor SET state = ?2 WHERE name = ?1")
    , m_readCommands(m_db, "UPDATE sensor SET last_command = ?2 WHERE name = ?1 AND last_command < ?2")
{
}

std::vector<StoredSensor> SensorTable::all()
{
    std::vector<StoredSensor> result;
    Sqlite::TextBudget budget(m_db);
    const Sqlite::Resetter reset(m_all);
    while (m_all.step()) {
        StoredSensor sensor = sensorIn(m_all);
        budget.spend(sensor.name.size() + sensor.description.size());
        if (!result.empty() && sensor.name <= result.back().name)
            throw Sqlite::Error(m_db.path(), "the database is corrupt: sensors out of order");
        result.push_back(std::move(sensor));
    }
    return result;
}

void SensorTable::add(const std::string &name, int type, const std::string &description)
{
    m_add.bind(1, name).bind(2, type).bind(3, description).run();
}

void SensorTable::noteMessage(const NewMessage &event)
{
    if (event.series.sensor && !event.series.sensor->empty()) {
        m_noteMessage.bind(1, *event.series.sensor)
            .bind(2, event.series.kind)
            .bind(3, clamped(event.time))
            .bind(4, currentTime())
            .run();
    }
}

void SensorTable::keepAlive(const std::string &name, std::int64_t time)
{
    m_keepAlive.bind(1, name).bind(3, clamped(time)).bind(4, currentTime()).run();
}

void SensorTable::setState(const std::string &name, SensorState state)
{
    m_setState.bind(1, name).bind(2, wordOf(state)).run();
}

bool SensorTable::readCommands(const std::string &name, int commandId)
{
    m_readCommands.bind(1, name).bind(2, commandId).run();
    return m_db.changes() > 0;
}
