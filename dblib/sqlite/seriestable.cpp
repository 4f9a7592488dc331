// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "seriestable.h"

#include "sqlite.h"
#include "textbudget.h"

namespace
{
/** Programs only ever add series, but somebody may change them by hand: what is known is held against them so often. */
constexpr std::chrono::seconds LongestTrust(1);

std::optional<std::string_view> textIn(const Sqlite::Statement &row, int column)
{
    return row.isNull(column) ? std::nullopt : std::optional(row.text(column));
}

void bindText(Sqlite::Statement &statement, int index, std::optional<std::string_view> text)
{
    if (text)
        statement.bind(index, *text);
    else
        statement.bindNull(index);
}
} // namespace

SeriesTable::SeriesTable(Sqlite::Connection &connection, const std::string &table)
    : m_db(connection)
    , m_hasNames(table == "event")
{
    m_rows = std::make_unique<Sqlite::Statement>(
        m_db, std::string("SELECT id, message_type, ") +
                  (m_hasNames ? "sensor_type, sensor, name" : "command_type, sensor, NULL") + " FROM " + table +
                  "_series WHERE id >= ?1 ORDER BY id");
    m_insert = std::make_unique<Sqlite::Statement>(
        m_db, m_hasNames
                  ? "INSERT INTO event_series(id, message_type, sensor_type, sensor, name) VALUES(?1, ?2, ?3, ?4, ?5)"
                  : "INSERT INTO command_series(id, message_type, command_type, sensor) VALUES(?1, ?2, ?3, ?4)");
}

SeriesTable::~SeriesTable() = default;

void SeriesTable::forget()
{
    SeriesCatalogue::forget();
    m_mayHaveChanged = true;
}

void SeriesTable::refresh()
{
    if (m_mayBeAnother || (m_isUnchecked && Clock::now() - m_checked >= LongestTrust))
        check();
    else if (m_mayHaveChanged)
        readFrom(end());
    m_mayHaveChanged = false;
}

/** Reads all of it, which takes a quarter of a microsecond for each series. */
void SeriesTable::check()
{
    if (!readFrom(0)) {
        // Rows of it were changed or deleted: another state of the database may have been restored.
        forget();
        readFrom(0);
    }
    m_mayBeAnother = m_isUnchecked = false;
    m_checked = Clock::now();
}

/** Adds what is new from a number on; false when something else than what is known stands there. */
bool SeriesTable::readFrom(std::int64_t first)
{
    const Sqlite::Resetter reset(*m_rows);
    m_rows->bind(1, first);
    Sqlite::TextBudget budget(m_db);
    std::int64_t last = -1;
    std::int64_t found = 0;
    for (; m_rows->step(); ++found) {
        const std::int64_t id = m_rows->number(0);
        if (id > LargestId)
            throw Sqlite::Error(m_db.path(), "the database is corrupt: a series has the number " + std::to_string(id));
        if (id <= last)
            throw Sqlite::Error(m_db.path(), "the database is corrupt: series out of order");
        last = id;
        const SeriesKey key = {int(m_rows->number(1)), int(m_rows->number(2)), textIn(*m_rows, 3), textIn(*m_rows, 4)};
        budget.spend(key.sensor.value_or("").size() + key.name.value_or("").size());
        if (id >= end())
            add(id, key);
        else if (!isKnown(id, key))
            return false;
    }
    return first > 0 || found == knownCount();
}

bool SeriesTable::isKnown(std::int64_t id, const SeriesKey &key) const
{
    if (!exists(id))
        return false;
    const SeriesKey known = this->key(int(id));
    return known.messageType == key.messageType && known.kind == key.kind && known.sensor == key.sensor &&
           known.name == key.name;
}

std::int64_t SeriesTable::knownCount() const
{
    std::int64_t count = 0;
    for (int id = 0; id < end(); ++id)
        count += exists(id) ? 1 : 0;
    return count;
}

int SeriesTable::findOrAdd(const SeriesKey &key)
{
    if (const std::optional<int> known = find(key))
        return *known;
    const int id = end() > 0 ? end() : 1;
    if (id > LargestId)
        throw Sqlite::Error(m_db.path(), "there are too many different kinds and names");
    const Sqlite::Resetter reset(*m_insert);
    m_insert->bind(1, id).bind(2, key.messageType).bind(3, key.kind);
    bindText(*m_insert, 4, key.sensor);
    if (m_hasNames)
        bindText(*m_insert, 5, key.name);
    m_insert->step();
    // Should adding it fail, all has to be read again.
    m_mayHaveChanged = true;
    add(id, key);
    m_mayHaveChanged = false;
    return id;
}
