// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "seriestable.h"

#include "WCompare.h"
#include "sqlite.h"

#include <cstring>
#include <new>

namespace
{
/** More series than this and the table is no series table; the bound keeps a damaged file from taking all memory. */
constexpr std::int64_t LargestId = 1 << 22;

std::string lowered(std::string text)
{
    strlwr_win(text.data());
    return text;
}

/** Where the answer for a text stands; a missing text, -1, has the first place. */
std::size_t placeOf(int text)
{
    return std::size_t(text) + 1;
}

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

int SeriesTable::Texts::add(std::optional<std::string_view> text)
{
    if (!text)
        return -1;
    const auto [known, isNew] = indexOf.emplace(std::string(*text), int(texts.size()));
    if (isNew) {
        texts.push_back(known->first);
        if (text->find_first_of("*?+") == std::string_view::npos)
            plain[lowered(known->first)].push_back(known->second);
        else
            patterns.push_back(known->second);
    }
    return known->second;
}

std::optional<std::string_view> SeriesTable::Texts::at(int index) const
{
    return index < 0 ? std::nullopt : std::optional<std::string_view>(texts[std::size_t(index)]);
}

std::vector<char> SeriesTable::Texts::matching(const std::string &mask) const
{
    std::vector<char> result(texts.size() + 1, 0);
    // The stored name is the pattern: without wildcards it matches its equals only.
    result[0] = char(WCompareNoCase(mask.c_str(), ""));
    const auto check = [&](int index) {
        const auto place = std::size_t(index);
        result[place + 1] = char(WCompareNoCase(mask.c_str(), texts[place].c_str()));
    };
    const auto equal = plain.find(lowered(mask));
    if (equal != plain.end())
        for (const int index : equal->second)
            check(index);
    for (const int index : patterns)
        check(index);
    return result;
}

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

void SeriesTable::forget()
{
    m_series.clear();
    m_idOf.clear();
    m_sensors = {};
    m_names = {};
}

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
        store(id, key);
    }
}

const std::string &SeriesTable::lookupKey(const SeriesKey &key)
{
    m_scratch.assign(reinterpret_cast<const char *>(&key.messageType), sizeof key.messageType);
    m_scratch.append(reinterpret_cast<const char *>(&key.kind), sizeof key.kind);
    m_scratch += key.sensor ? 's' : '-';
    m_scratch += key.name ? 'n' : '-';
    m_scratch.append(key.sensor.value_or("")).append(1, '\0').append(key.name.value_or(""));
    return m_scratch;
}

void SeriesTable::store(std::int64_t id, const SeriesKey &key)
{
    try {
        add(id, key);
    } catch (const std::bad_alloc &) {
        // A text may be known by now without its place: better read all again than mix up names.
        forget();
        throw;
    }
}

void SeriesTable::add(std::int64_t id, const SeriesKey &key)
{
    Series added;
    added.known = true;
    added.messageType = key.messageType;
    added.kind = key.kind;
    added.sensor = m_sensors.add(key.sensor);
    added.name = m_names.add(key.name);
    m_idOf.emplace(lookupKey(key), int(id));
    m_series.resize(std::size_t(id) + 1);
    m_series[std::size_t(id)] = added;
}

SeriesKey SeriesTable::key(int id) const
{
    const Series &found = m_series[std::size_t(id)];
    return {found.messageType, found.kind, m_sensors.at(found.sensor), m_names.at(found.name)};
}

SeriesSet SeriesTable::matching(const SeriesFilter &filter) const
{
    SeriesSet result;
    result.contains.assign(m_series.size(), 0);
    const std::vector<char> bySensor = filter.sensorMask ? m_sensors.matching(*filter.sensorMask) : std::vector<char>();
    const std::vector<char> byName = filter.nameMask ? m_names.matching(*filter.nameMask) : std::vector<char>();
    for (std::size_t id = 0; id < m_series.size(); ++id) {
        const Series &one = m_series[id];
        if (one.known && (!filter.messageType || *filter.messageType == one.messageType) &&
            (!filter.kind || *filter.kind == one.kind) && (!filter.sensorMask || bySensor[placeOf(one.sensor)]) &&
            (!filter.nameMask || byName[placeOf(one.name)])) {
            result.contains[id] = 1;
            result.ids.push_back(int(id));
        }
    }
    return result;
}

int SeriesTable::find(const SeriesKey &key)
{
    const auto known = m_idOf.find(lookupKey(key));
    if (known != m_idOf.end())
        return known->second;
    const int id = end() > 0 ? end() : 1;
    if (id > LargestId)
        throw Sqlite::Error(m_db.path(), "there are too many different kinds and names");
    const Sqlite::Resetter reset(*m_insert);
    m_insert->bind(1, id).bind(2, key.messageType).bind(3, key.kind);
    bindText(*m_insert, 4, key.sensor);
    if (m_hasNames)
        bindText(*m_insert, 5, key.name);
    m_insert->step();
    store(id, key);
    return id;
}
