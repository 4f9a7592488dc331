// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "seriestable.h"

#include "sqlite.h"

namespace
{
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
    const std::string from = " FROM " + table + "_series";
    m_largest = std::make_unique<Sqlite::Statement>(m_db, "SELECT max(id)" + from);
    m_newer = std::make_unique<Sqlite::Statement>(
        m_db, std::string("SELECT id, message_type, ") +
                  (m_hasNames ? "sensor_type, sensor, name" : "command_type, sensor, NULL") + from +
                  " WHERE id >= ?1 ORDER BY id");
    m_insert = std::make_unique<Sqlite::Statement>(
        m_db, m_hasNames
                  ? "INSERT INTO event_series(id, message_type, sensor_type, sensor, name) VALUES(?1, ?2, ?3, ?4, ?5)"
                  : "INSERT INTO command_series(id, message_type, command_type, sensor) VALUES(?1, ?2, ?3, ?4)");
}

SeriesTable::~SeriesTable() = default;

void SeriesTable::refresh()
{
    const Sqlite::Resetter resetLargest(*m_largest);
    const std::int64_t last = m_largest->step() ? m_largest->number(0) : 0;
    if (last < end())
        return;
    if (last > LargestId)
        throw Sqlite::Error(m_db.path(), "the database is damaged: a series has the number " + std::to_string(last));
    const Sqlite::Resetter resetNewer(*m_newer);
    m_newer->bind(1, end());
    while (m_newer->step()) {
        const std::int64_t id = m_newer->number(0);
        if (id < end() || id > last)
            throw Sqlite::Error(m_db.path(), "the database is damaged: series out of order");
        SeriesKey key;
        key.messageType = int(m_newer->number(1));
        key.kind = int(m_newer->number(2));
        key.sensor = textIn(*m_newer, 3);
        key.name = textIn(*m_newer, 4);
        add(id, key);
    }
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
    add(id, key);
    return id;
}
