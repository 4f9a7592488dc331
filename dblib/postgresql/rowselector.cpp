// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rowselector.h"

#include "latin1.h"

#include <algorithm>
#include <climits>

namespace Postgres
{
namespace
{
/** From so many rows on the server is left to find its own way, and plans for the whole table. */
constexpr int ManyRows = 10000;
/** Identifiers looked through at first, beside four for each row that is wanted. */
constexpr std::int64_t LookAhead = 4096;
/** How much larger the part of the table gets from try to try. */
constexpr std::int64_t Growth = 16;
constexpr std::int64_t PartitionSize = std::int64_t(1) << PartitionShift;
constexpr std::int64_t ZoneSize = std::int64_t(1) << ZoneShift;
constexpr std::int64_t MostZones = INT_MAX;

} // namespace

/** One selection on its way. */
class RowSelector::Work
{
public:
    Work(RowSelector &owner, Connection &connection, const Selection &selection, const Restart &restart,
         const Sink &sink)
        : m_owner(owner)
        , m_connection(connection)
        , m_selection(selection)
        , m_restart(restart)
        , m_sink(sink)
        , m_isAlone(!connection.isInTransaction())
        , m_anySeries(selection.series.passesAll())
    {
    }
    /** True when all that are wanted were found in a part of the table, which grows with `growth`. */
    bool tryPart(std::int64_t growth)
    {
        m_found = 0;
        m_restart();
        return m_selection.anyTime ? tryIdentifiers(growth) : tryTimes(growth);
    }

private:
    bool wantsMany() const
    {
        return m_selection.count > ManyRows;
    }
    RowQuery query() const
    {
        return {m_owner.m_table, m_selection, m_anySeries ? nullptr : &m_allowed.ids};
    }
    void findSeries()
    {
        if (!m_anySeries)
            m_allowed = m_owner.m_series.matching(m_selection.series);
    }
    IdRange part(std::int64_t size) const;
    bool isWhole(IdRange ids) const;
    bool tryIdentifiers(std::int64_t growth);
    bool tryTimes(std::int64_t growth);
    std::vector<int> zonesOf(int level, IdRange blocks, std::int64_t most);
    std::string rowsInZones(const std::vector<int> &zones, IdRange partitions, bool sparse) const;
    void takeRow(const CopiedRow &row);

    const char *begin() const
    {
        return m_isAlone ? "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY;" : "";
    }
    const char *end() const
    {
        return m_isAlone ? "COMMIT" : "";
    }
    RowSink newsSink()
    {
        return [this](const CopiedRow &row) { m_owner.takeNews(row); };
    }
    RowSink rowSink()
    {
        return [this](const CopiedRow &row) { takeRow(row); };
    }

    RowSelector &m_owner;
    Connection &m_connection;
    const Selection &m_selection;
    const Restart &m_restart;
    const Sink &m_sink;
    bool m_isAlone;
    bool m_anySeries;
    SeriesSet m_allowed;
    int m_found = 0;
    std::string m_buffer;
};

/** The first identifiers in scan direction, `size` of them or up to a partition's edge more. */
IdRange RowSelector::Work::part(std::int64_t size) const
{
    IdRange ids = {m_selection.idLow, m_selection.idHigh};
    if (wantsMany())
        return ids;
    if (m_selection.first) {
        const std::int64_t start = std::max(ids.low, m_owner.m_oldestPartition * PartitionSize);
        ids.high = std::min(ids.high, start + size - 1);
    } else {
        const std::int64_t start = std::min(ids.high, m_owner.m_newest);
        ids.low = std::max(ids.low, start - size + 1);
    }
    return ids;
}

bool RowSelector::Work::isWhole(IdRange ids) const
{
    return m_selection.first ? ids.high >= std::min(m_selection.idHigh, m_owner.m_newest)
                             : ids.low <= std::max(m_selection.idLow, m_owner.m_oldestPartition * PartitionSize);
}

bool RowSelector::Work::tryIdentifiers(std::int64_t growth)
{
    findSeries();
    const int knownSeries = m_owner.m_series.end();
    const bool isSparse = !m_anySeries && growth > 1 && !wantsMany();
    const std::int64_t size =
        growth == 1 ? LookAhead + 4 * std::int64_t(m_selection.count) : growth / Growth * PartitionSize;
    const IdRange ids = part(size);
    const std::string rows = isSparse ? query().bySeries(ids) : query().inOrder(ids);
    m_connection.copy(begin() + copied(m_owner.newsQuery()) + copied(rows) + end(), {newsSink(), rowSink()});
    // A series that came with these rows may be one of those that are wanted.
    if (!m_anySeries && m_owner.m_series.end() > knownSeries)
        return tryPart(growth);
    return m_found == m_selection.count || isWhole(ids);
}

std::vector<int> RowSelector::Work::zonesOf(int level, IdRange blocks, std::int64_t most)
{
    std::vector<int> zones;
    m_connection.copy(copied(query().zones(level, blocks, most)),
                      {[&](const CopiedRow &row) { zones.push_back(row.number(0)); }});
    return zones;
}

std::string RowSelector::Work::rowsInZones(const std::vector<int> &zones, IdRange partitions, bool sparse) const
{
    const auto [least, most] = std::minmax_element(zones.begin(), zones.end());
    const IdRange whole = sparse ? IdRange{partitions.low * PartitionSize, (partitions.high + 1) * PartitionSize - 1}
                                 : IdRange{*least * ZoneSize, (*most + 1) * ZoneSize - 1};
    const IdRange ids = {std::max(whole.low, m_selection.idLow), std::min(whole.high, m_selection.idHigh)};
    if (sparse)
        return query().bySeries(ids);
    const bool lieTogether = std::size_t(*most - *least) + 1 == zones.size();
    return lieTogether ? query().inOrder(ids) : query().inZones(ids, zones);
}

bool RowSelector::Work::tryTimes(std::int64_t growth)
{
    m_connection.copy(begin() + copied(m_owner.newsQuery()), {newsSink()});
    findSeries();
    const std::int64_t low = std::max<std::int64_t>(m_selection.idLow, 0);
    std::vector<int> partitions = zonesOf(1, {low >> PartitionShift, m_selection.idHigh >> PartitionShift}, MostZones);
    const bool isLast = wantsMany() || growth >= std::int64_t(partitions.size());
    if (!isLast)
        partitions.resize(std::size_t(growth));
    const std::int64_t most = wantsMany() ? MostZones : growth * (m_selection.count / ZoneSize + 4);
    std::vector<int> zones;
    if (!partitions.empty() && (m_anySeries || !m_allowed.ids.empty())) {
        const auto [least, latest] = std::minmax(partitions.front(), partitions.back());
        const int finer = PartitionShift - ZoneShift;
        zones = zonesOf(0,
                        {std::max(low >> ZoneShift, std::int64_t(least) << finer),
                         std::min(m_selection.idHigh >> ZoneShift, ((std::int64_t(latest) + 1) << finer) - 1)},
                        most);
        const bool isSparse = !m_anySeries && growth > 1 && !wantsMany();
        if (!zones.empty()) {
            m_connection.copy(copied(rowsInZones(zones, {least, latest}, isSparse)), {rowSink()});
            if (m_found == m_selection.count || (isLast && isSparse)) {
                m_connection.run(end());
                return true;
            }
        }
    }
    m_connection.run(end());
    return isLast && std::int64_t(zones.size()) < most;
}

void RowSelector::Work::takeRow(const CopiedRow &row)
{
    const int series = row.number(1);
    ++m_found;
    if (m_owner.m_series.exists(series))
        m_sink({row.number(0), series, row.seconds(2), latin1From(row.bytes(3), m_buffer)});
}

RowSelector::RowSelector(std::string table)
    : m_table(std::move(table))
{
}

void RowSelector::forget()
{
    m_series.forget();
}

/** How far the table reaches, and the series that are not known yet: a row at least. */
std::string RowSelector::newsQuery() const
{
    const std::string oldest = "(SELECT min(block) FROM obrim." + m_table + "_zone WHERE level = 1)";
    return "SELECT n.id, coalesce(" + oldest + ", 0), s.id, s.message_type, " +
           (m_table == "event" ? "s.sensor_type, s.sensor, s.name" : "s.command_type, s.sensor, NULL::text") +
           " FROM obrim.newest n LEFT JOIN obrim." + m_table +
           "_series s ON s.id >= " + std::to_string(m_series.end()) + " WHERE n.kind = '" + m_table + "' ORDER BY s.id";
}

void RowSelector::takeNews(const CopiedRow &row)
{
    m_newest = row.number(0);
    m_oldestPartition = row.number(1);
    const int id = row.number(2);
    if (row.isNull(2) || id < m_series.end() || id > SeriesCatalogue::LargestId)
        return;
    std::string sensor;
    std::string name;
    SeriesKey key;
    key.messageType = row.number(3);
    key.kind = row.number(4);
    if (!row.isNull(5))
        key.sensor = latin1From(row.bytes(5), sensor);
    if (!row.isNull(6))
        key.name = latin1From(row.bytes(6), name);
    m_series.add(id, key);
}

void RowSelector::refresh(Connection &connection)
{
    connection.copy(copied(newsQuery()), {[this](const CopiedRow &row) { takeNews(row); }});
}

std::int64_t RowSelector::mostRows(const Selection &selection) const
{
    const std::int64_t lowest = std::max(selection.idLow, m_oldestPartition * PartitionSize);
    const std::int64_t highest = std::min(selection.idHigh, m_newest);
    return std::clamp<std::int64_t>(highest - lowest + 1, 0, selection.count);
}

void RowSelector::select(Connection &connection, const Selection &selection, const Restart &restart, const Sink &sink)
{
    const bool possible = selection.count > 0 && selection.idLow <= selection.idHigh && selection.idHigh >= 0 &&
                          (selection.anyTime || selection.timeLow <= selection.timeHigh);
    restart();
    if (!possible)
        return;
    const bool isAlone = !connection.isInTransaction();
    try {
        Work work(*this, connection, selection, restart, sink);
        for (std::int64_t growth = 1; !work.tryPart(growth); growth *= Growth) {
        }
    } catch (...) {
        if (isAlone)
            connection.rollBack();
        throw;
    }
}
} // namespace Postgres
