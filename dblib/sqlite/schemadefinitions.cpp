// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "schemadefinitions.h"

#include "schema.h"
#include "sqlite.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

// SQLite keeps these texts in the file as they stand here, comments included, and files are held against them: another
// text is another version.
namespace
{
// Events and commands are stored alike. All that most rows have in common
// (kinds and names) is one row of the series table, and a single index finds
// the rows of a series by identifier: it serves every filter but time.
constexpr const char *Tables[] = {
    R"(CREATE TABLE sensor(
    id INTEGER PRIMARY KEY,
    name TEXT NOT NULL UNIQUE,
    type INTEGER NOT NULL DEFAULT 0,        -- 1 analyser, 2 converter, 3 receiver
    description TEXT NOT NULL DEFAULT '',
    state TEXT NOT NULL DEFAULT 'running',  -- running, stopped or killed
    keep_alive INTEGER,                     -- time of the last sign of life, NULL: never gave one
    last_message INTEGER NOT NULL DEFAULT 0,
    last_command INTEGER NOT NULL DEFAULT 0 -- identifier of the last command that the sensor has read
))",
    R"(CREATE TABLE event_series(
    id INTEGER PRIMARY KEY,
    message_type INTEGER NOT NULL,
    sensor_type INTEGER NOT NULL,
    sensor TEXT,
    name TEXT
))",
    R"(CREATE TABLE event(
    id INTEGER PRIMARY KEY AUTOINCREMENT,   -- never used twice
    series INTEGER NOT NULL REFERENCES event_series(id),
    time INTEGER NOT NULL,                  -- seconds since 1970 in UTC
    params TEXT NOT NULL DEFAULT ''         -- a JSON object, or empty
))",          "CREATE INDEX event_by_series ON event(series)",
    R"(CREATE TABLE command_series(
    id INTEGER PRIMARY KEY,
    message_type INTEGER NOT NULL,
    command_type INTEGER NOT NULL,          -- 1 Start, 2 Stop, 3 Restart, 4 Kill
    sensor TEXT
))",
    R"(CREATE TABLE command(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    series INTEGER NOT NULL REFERENCES command_series(id),
    time INTEGER NOT NULL,
    params TEXT NOT NULL DEFAULT ''
))",        "CREATE INDEX command_by_series ON command(series)",
};

constexpr const char *Views[] = {
    R"(CREATE VIEW events AS
    SELECT e.id, datetime(e.time, 'unixepoch', 'localtime') AS time, s.sensor, s.name, e.params,
           s.message_type, s.sensor_type
    FROM event e JOIN event_series s ON s.id = e.series)",
    R"(CREATE VIEW commands AS
    SELECT c.id, datetime(c.time, 'unixepoch', 'localtime') AS time, s.sensor,
           CASE s.command_type WHEN 1 THEN 'Start' WHEN 2 THEN 'Stop' WHEN 3 THEN 'Restart' WHEN 4 THEN 'Kill'
                               ELSE s.command_type END AS command,
           c.params, s.message_type
    FROM command c JOIN command_series s ON s.id = c.series)",
    R"(CREATE VIEW sensors AS
    SELECT name, CASE type WHEN 1 THEN 'analyser' WHEN 2 THEN 'converter' WHEN 3 THEN 'receiver' ELSE type END AS type,
           description, state, datetime(keep_alive, 'unixepoch', 'localtime') AS keep_alive,
           datetime(last_message, 'unixepoch', 'localtime') AS last_message
    FROM sensor)",
};

// Rows are read by identifier, so a time range far from both ends would be
// looked for through the whole table. Zone maps, for zones of 2^8, 2^14 and 2^20
// identifiers, know between which times their rows lie; a row only ever widens them, so
// rows may be deleted without a thought of them. The index finds out whether a
// finest zone holds a time of the range at all, which it may not when clocks
// differ. Triggers keep both right for every program that writes here.
constexpr const char *Zones[] = {
    "CREATE INDEX @_by_time ON @(id >> 8, time)",
    R"(CREATE TABLE @_zone(
    level INTEGER NOT NULL,                 -- 0, 1, 2
    block INTEGER NOT NULL,                 -- id >> 8, >> 14, >> 20
    earliest INTEGER NOT NULL,
    latest INTEGER NOT NULL,
    PRIMARY KEY(level, block)
) WITHOUT ROWID)",
    R"(CREATE TRIGGER @_zone_update AFTER UPDATE OF id, time ON @
BEGIN
    INSERT INTO @_zone VALUES(0, NEW.id >> 8, NEW.time, NEW.time), (1, NEW.id >> 14, NEW.time, NEW.time),
                             (2, NEW.id >> 20, NEW.time, NEW.time)
    ON CONFLICT DO UPDATE SET earliest = min(earliest, excluded.earliest), latest = max(latest, excluded.latest);
END)",
};

constexpr char InsertTrigger[] = R"(CREATE TRIGGER @_zone_insert AFTER INSERT ON @
WHEN NOT EXISTS (SELECT 1 FROM @_zone WHERE level = 0 AND block = NEW.id >> 8
                 AND earliest <= NEW.time AND latest >= NEW.time)
BEGIN
    INSERT INTO @_zone VALUES(0, NEW.id >> 8, NEW.time, NEW.time), (1, NEW.id >> 14, NEW.time, NEW.time),
                             (2, NEW.id >> 20, NEW.time, NEW.time)
    ON CONFLICT DO UPDATE SET earliest = min(earliest, excluded.earliest), latest = max(latest, excluded.latest);
END)";

constexpr char FillZones[] = R"(
INSERT INTO @_zone SELECT 0, id >> 8, min(time), max(time) FROM @ GROUP BY id >> 8;
INSERT INTO @_zone SELECT 1, block >> 6, min(earliest), max(latest) FROM @_zone WHERE level = 0 GROUP BY block >> 6;
INSERT INTO @_zone SELECT 2, block >> 6, min(earliest), max(latest) FROM @_zone WHERE level = 1 GROUP BY block >> 6;
)";

/** Version 2 had zones four times as large. */
constexpr char DropZones[] = R"(
DROP INDEX IF EXISTS @_by_time;
DROP TRIGGER IF EXISTS @_zone_insert;
DROP TRIGGER IF EXISTS @_zone_update;
DROP TABLE IF EXISTS @_zone;
)";

std::string forTable(std::string sql, const std::string &table)
{
    for (std::size_t at = sql.find('@'); at != std::string::npos; at = sql.find('@', at))
        sql.replace(at, 1, table);
    return sql;
}

using Texts = std::vector<std::string>;

/** The tables of version 1, which all others have too. */
Texts ownTables()
{
    Texts texts(std::begin(Tables), std::end(Tables));
    // SQLite's own, but its text in the file is obeyed like any other.
    texts.emplace_back("CREATE TABLE sqlite_sequence(name,seq)");
    std::sort(texts.begin(), texts.end());
    return texts;
}

/** All that is run; the views are not. */
Texts ownDefinitions()
{
    Texts texts = ownTables();
    for (const char *table : {"event", "command"}) {
        for (const char *sql : Zones)
            texts.push_back(forTable(sql, table));
        texts.push_back(forTable(InsertTrigger, table));
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/** As SQLite writes it for what others add: nothing of this runs unless a statement asks for it by its name. */
bool isHarmless(std::string_view sql)
{
    return startsWith(sql, "CREATE TABLE ") || startsWith(sql, "CREATE INDEX ") ||
           startsWith(sql, "CREATE UNIQUE INDEX ") || startsWith(sql, "CREATE VIEW ");
}

/** Expressions in an index on a table are worked out with each row that is written to it. */
constexpr char ForeignExpressions[] = R"(
WITH own(name) AS
    (VALUES('sensor'), ('event'), ('event_series'), ('event_zone'), ('command'), ('command_series'), ('command_zone'))
SELECT count(*) FROM own o, pragma_index_list(o.name) i WHERE i.name NOT IN ('event_by_time', 'command_by_time')
AND (i.partial OR EXISTS (SELECT 1 FROM pragma_index_xinfo(i.name) x WHERE x.cid = -2)))";

[[noreturn]] void refuse(const Sqlite::Connection &connection, const char *reason)
{
    // No names: they come from the file, and this goes to a terminal.
    throw Sqlite::Error(connection.path(), reason);
}

/** How many of these texts stand in the file; `onOther` hears the others. */
template <class OnOther> std::size_t countIn(Sqlite::Connection &connection, const Texts &texts, OnOther onOther)
{
    Sqlite::Statement all(connection, "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL");
    std::size_t found = 0;
    while (all.step())
        if (std::binary_search(texts.begin(), texts.end(), all.bytes(0)))
            ++found;
        else
            onOther(all.bytes(0));
    return found;
}

/** SQLite reads no file in which two of one name stand, so that none was found twice. */
void requireAll(const Sqlite::Connection &connection, const Texts &texts, std::size_t found)
{
    if (found != texts.size())
        refuse(connection, "the database's tables are not as this program makes them");
}
} // namespace

namespace Schema
{
void createTables(Sqlite::Connection &connection)
{
    for (const char *sql : Tables)
        connection.run(sql);
    for (const char *sql : Views)
        connection.run(sql);
}

void createZones(Sqlite::Connection &connection, const std::string &table)
{
    for (const char *sql : Zones)
        connection.run(forTable(sql, table).c_str());
    connection.run(forTable(InsertTrigger, table).c_str());
    connection.run(forTable(FillZones, table).c_str());
}

void dropZones(Sqlite::Connection &connection, const std::string &table)
{
    connection.run(forTable(DropZones, table).c_str());
}

void watchInserts(Sqlite::Connection &connection, const std::string &table)
{
    connection.run(forTable(InsertTrigger, table).c_str());
}

void unwatchInserts(Sqlite::Connection &connection, const std::string &table)
{
    connection.run(forTable("DROP TRIGGER @_zone_insert", table).c_str());
}

void requireOwnTables(Sqlite::Connection &connection)
{
    const Texts own = ownTables();
    requireAll(connection, own, countIn(connection, own, [](std::string_view) {}));
}

void requireOwnDefinitions(Sqlite::Connection &connection)
{
    const Texts own = ownDefinitions();
    bool hasForeignIndex = false;
    const std::size_t found = countIn(connection, own, [&](std::string_view foreign) {
        if (!isHarmless(foreign))
            refuse(connection, "the database holds a foreign trigger or virtual table");
        hasForeignIndex = hasForeignIndex || foreign.find(" INDEX ") < foreign.size();
    });
    requireAll(connection, own, found);
    if (hasForeignIndex && connection.number(ForeignExpressions) > 0)
        refuse(connection, "the database holds a foreign index with an expression");
}
} // namespace Schema
