// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "schema.h"

#include "sqlite.h"

#include <set>
#include <string>
#include <string_view>

namespace
{
// Events and commands are stored alike. All that most rows have in common
// (kinds and names) is one row of the series table, and a single index finds
// the rows of a series by identifier: it serves every filter but time.
constexpr char Tables[] = R"(
CREATE TABLE sensor(
    id INTEGER PRIMARY KEY,
    name TEXT NOT NULL UNIQUE,
    type INTEGER NOT NULL DEFAULT 0,        -- 1 analyser, 2 converter, 3 receiver
    description TEXT NOT NULL DEFAULT '',
    state TEXT NOT NULL DEFAULT 'running',  -- running, stopped or killed
    keep_alive INTEGER,                     -- time of the last sign of life, NULL: never gave one
    last_message INTEGER NOT NULL DEFAULT 0,
    last_command INTEGER NOT NULL DEFAULT 0 -- identifier of the last command that the sensor has read
);
CREATE TABLE event_series(
    id INTEGER PRIMARY KEY,
    message_type INTEGER NOT NULL,
    sensor_type INTEGER NOT NULL,
    sensor TEXT,
    name TEXT
);
CREATE TABLE event(
    id INTEGER PRIMARY KEY AUTOINCREMENT,   -- never used twice
    series INTEGER NOT NULL REFERENCES event_series(id),
    time INTEGER NOT NULL,                  -- seconds since 1970 in UTC
    params TEXT NOT NULL DEFAULT ''         -- a JSON object, or empty
);
CREATE INDEX event_by_series ON event(series);
CREATE TABLE command_series(
    id INTEGER PRIMARY KEY,
    message_type INTEGER NOT NULL,
    command_type INTEGER NOT NULL,          -- 1 Start, 2 Stop, 3 Restart, 4 Kill
    sensor TEXT
);
CREATE TABLE command(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    series INTEGER NOT NULL REFERENCES command_series(id),
    time INTEGER NOT NULL,
    params TEXT NOT NULL DEFAULT ''
);
CREATE INDEX command_by_series ON command(series);
CREATE VIEW events AS
    SELECT e.id, datetime(e.time, 'unixepoch', 'localtime') AS time, s.sensor, s.name, e.params,
           s.message_type, s.sensor_type
    FROM event e JOIN event_series s ON s.id = e.series;
CREATE VIEW commands AS
    SELECT c.id, datetime(c.time, 'unixepoch', 'localtime') AS time, s.sensor,
           CASE s.command_type WHEN 1 THEN 'Start' WHEN 2 THEN 'Stop' WHEN 3 THEN 'Restart' WHEN 4 THEN 'Kill'
                               ELSE s.command_type END AS command,
           c.params, s.message_type
    FROM command c JOIN command_series s ON s.id = c.series;
CREATE VIEW sensors AS
    SELECT name, CASE type WHEN 1 THEN 'analyser' WHEN 2 THEN 'converter' WHEN 3 THEN 'receiver' ELSE type END AS type,
           description, state, datetime(keep_alive, 'unixepoch', 'localtime') AS keep_alive,
           datetime(last_message, 'unixepoch', 'localtime') AS last_message
    FROM sensor;
)";

// Rows are read by identifier, so a time range far from both ends would be
// looked for through the whole table. Zones of 2^8, 2^14 and 2^20 identifiers
// know between which times their rows lie; a row only ever widens them, so
// rows may be deleted without a thought of them. The index finds out whether a
// finest zone holds a time of the range at all, which it may not when clocks
// differ. Triggers keep both right for every program that writes here.
constexpr char Zones[] = R"(
DROP INDEX IF EXISTS @_by_time; -- version 2 had zones four times as large
DROP TRIGGER IF EXISTS @_zone_insert;
DROP TRIGGER IF EXISTS @_zone_update;
DROP TABLE IF EXISTS @_zone;
CREATE INDEX @_by_time ON @(id >> 8, time);
CREATE TABLE @_zone(
    level INTEGER NOT NULL,                 -- 0, 1, 2
    block INTEGER NOT NULL,                 -- id >> 8, >> 14, >> 20
    earliest INTEGER NOT NULL,
    latest INTEGER NOT NULL,
    PRIMARY KEY(level, block)
) WITHOUT ROWID;
INSERT INTO @_zone SELECT 0, id >> 8, min(time), max(time) FROM @ GROUP BY id >> 8;
INSERT INTO @_zone SELECT 1, block >> 6, min(earliest), max(latest) FROM @_zone WHERE level = 0 GROUP BY block >> 6;
INSERT INTO @_zone SELECT 2, block >> 6, min(earliest), max(latest) FROM @_zone WHERE level = 1 GROUP BY block >> 6;
)";

// Files are held against these texts, so another text is another version.
constexpr char UpdateTrigger[] = R"(CREATE TRIGGER @_zone_update AFTER UPDATE OF id, time ON @
BEGIN
    INSERT INTO @_zone VALUES(0, NEW.id >> 8, NEW.time, NEW.time), (1, NEW.id >> 14, NEW.time, NEW.time),
                             (2, NEW.id >> 20, NEW.time, NEW.time)
    ON CONFLICT DO UPDATE SET earliest = min(earliest, excluded.earliest), latest = max(latest, excluded.latest);
END)";

constexpr char InsertTrigger[] = R"(CREATE TRIGGER @_zone_insert AFTER INSERT ON @
WHEN NOT EXISTS (SELECT 1 FROM @_zone WHERE level = 0 AND block = NEW.id >> 8
                 AND earliest <= NEW.time AND latest >= NEW.time)
BEGIN
    INSERT INTO @_zone VALUES(0, NEW.id >> 8, NEW.time, NEW.time), (1, NEW.id >> 14, NEW.time, NEW.time),
                             (2, NEW.id >> 20, NEW.time, NEW.time)
    ON CONFLICT DO UPDATE SET earliest = min(earliest, excluded.earliest), latest = max(latest, excluded.latest);
END)";

std::string forTable(std::string sql, const std::string &table)
{
    for (std::size_t at = sql.find('@'); at != std::string::npos; at = sql.find('@', at))
        sql.replace(at, 1, table);
    return sql;
}

void upgradeTo(Sqlite::Connection &connection, int version)
{
    const std::int64_t from = connection.number("PRAGMA user_version");
    if (from < 1) {
        connection.run(Tables);
        connection.run(("PRAGMA application_id=" + std::to_string(Schema::ApplicationId)).c_str());
    }
    if (version >= Schema::ZonesSince) {
        for (const char *table : {"event", "command"}) {
            connection.run(forTable(Zones, table).c_str());
            connection.run(forTable(UpdateTrigger, table).c_str());
            Schema::watchInserts(connection, table);
        }
    }
    connection.run(("PRAGMA user_version=" + std::to_string(version)).c_str());
}

/**
 * A trigger is a program in the file, which may run for ever, and with one even
 * a view can stand where a table should. What others add to the file begins as
 * SQLite writes it there, whatever the row says that it is.
 */
void refuseForeignTriggers(Sqlite::Connection &connection)
{
    std::set<std::string_view> own;
    const std::string texts[] = {forTable(InsertTrigger, "event"), forTable(UpdateTrigger, "event"),
                                 forTable(InsertTrigger, "command"), forTable(UpdateTrigger, "command")};
    own.insert(std::begin(texts), std::end(texts));
    Sqlite::Statement others(connection, "SELECT sql FROM sqlite_schema WHERE sql NOT LIKE 'CREATE TABLE %' "
                                         "AND sql NOT LIKE 'CREATE INDEX %' AND sql NOT LIKE 'CREATE UNIQUE INDEX %' "
                                         "AND (sql NOT LIKE 'CREATE VIEW %' OR name LIKE 'sqlite!_%' ESCAPE '!')");
    while (others.step()) {
        if (own.count(others.bytes(0)) == 0) {
            // Not by name: that comes from the file, and this goes to a terminal.
            throw Sqlite::Error(connection.path(), "the database holds a foreign trigger or virtual table");
        }
    }
}

/** True when the tables are there in the version that this program knows. */
bool isCurrent(Sqlite::Connection &connection)
{
    const std::int64_t version = connection.number("PRAGMA user_version");
    const std::int64_t application = connection.number("PRAGMA application_id");
    if (application == 0 && version == 0 && connection.number("SELECT count(*) FROM sqlite_schema") == 0)
        return false;
    if (application != Schema::ApplicationId || version < 1)
        throw Sqlite::Error(connection.path(), "this is another program's database");
    if (version > Schema::Version) {
        throw Sqlite::Error(connection.path(), "the database has version " + std::to_string(version) +
                                                   ", this program knows versions up to " +
                                                   std::to_string(Schema::Version));
    }
    return version == Schema::Version;
}
} // namespace

namespace Schema
{
void prepare(Sqlite::Connection &connection)
{
    {
        // Another program may be making the tables: both marks come from one view.
        const Sqlite::Transaction view(connection, Sqlite::Transaction::Read);
        if (isCurrent(connection)) {
            refuseForeignTriggers(connection);
            return;
        }
    }
    // It may have finished since, so the question is asked again.
    Sqlite::Transaction transaction(connection, Sqlite::Transaction::Write);
    if (!isCurrent(connection))
        upgradeTo(connection, Version);
    refuseForeignTriggers(connection);
    transaction.commit();
}

void watchInserts(Sqlite::Connection &connection, const std::string &table)
{
    connection.run(forTable(InsertTrigger, table).c_str());
}

void unwatchInserts(Sqlite::Connection &connection, const std::string &table)
{
    connection.run(forTable("DROP TRIGGER @_zone_insert", table).c_str());
}

void createOlder(Sqlite::Connection &connection, int version)
{
    Sqlite::Transaction transaction(connection, Sqlite::Transaction::Write);
    upgradeTo(connection, version);
    transaction.commit();
}
} // namespace Schema
