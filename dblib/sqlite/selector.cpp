// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "selector.h"

#include <algorithm>
#include <optional>
#include <queue>

namespace
{
/** With more series than this, merging starts only after a look at the first rows in scan direction. */
constexpr std::size_t FewSeries = 2;
/** How many rows that look may take: about as long as the first step into fifty series. */
constexpr int RowsLookedAt = 256;
/** Identifiers read from a series at once: few at first, as most requests want few rows. */
constexpr int FirstBatch = 8;
constexpr int LargestBatch = 1024;
/** Runs of this length are read row by row: no merge could be quicker. */
constexpr std::int64_t ShortRun = 64;
/** How long a run gets by joining before it is read; doubled with each run, as starting a merge costs. */
constexpr std::int64_t FirstRun = 4096;
constexpr std::int64_t LongestRun = std::int64_t(1) << 32;
} // namespace

/** One selection on its way: what is wanted, and how much is still to come. */
class Selector::Work
{
public:
    Work(Selector &owner, const Selection &wanted, const Sink &to)
        : m_selector(owner)
        , m_selection(wanted)
        , m_sink(to)
        , m_statements(wanted.first ? owner.m_ascending : owner.m_descending)
        , m_remaining(wanted.count)
        , m_anySeries(wanted.series.passesAll())
    {
        if (!m_anySeries)
            m_allowed = owner.m_seriesTable.matching(wanted.series);
    }

    void perform();
    /** Takes a row of a statement that reads rows in order. */
    void takeRow(const Sqlite::Arguments &row);

private:
    /** Where a series stands in the merge: the identifiers read ahead, nearest last. */
    struct Cursor {
        int series;
        int batch = FirstBatch;
        bool exhausted = false;
        std::vector<std::int64_t> ahead;
    };

    bool wants(std::int64_t series, std::int64_t time, bool certain) const;
    template <class Source> void handOverIfWanted(std::int64_t id, const Source &row, bool certain);
    Sqlite::Statement &startReading(const Run &run);
    void readRows(Run run);
    bool stepToRow(Sqlite::Statement &rows, Run &run);
    std::optional<Run> readSomeRows(Run run);
    void readSeries(const Run &run);
    void readRow(std::int64_t id, bool certain);
    void merge(const Run &run);
    void readAhead(Cursor &cursor, const Run &run);
    void visitZones();
    void visitZones(int level, std::int64_t low, std::int64_t high);
    void visitZone(int level, std::int64_t block, bool certain);
    bool holdsTimes(std::int64_t zone);
    void add(const Run &run);
    void flush();
    void checkOrder(std::optional<std::int64_t> &last, std::int64_t next) const;

    /** True when identifier `a` comes before `b` in scan direction. */
    bool before(std::int64_t a, std::int64_t b) const
    {
        return m_selection.first ? a < b : a > b;
    }
    /** What lies behind identifier `id` in a run, in scan direction. */
    Run rest(const Run &run, std::int64_t id) const
    {
        return m_selection.first ? Run{id + 1, run.high, run.certain} : Run{run.low, id - 1, run.certain};
    }

    Selector &m_selector;
    const Selection &m_selection;
    const Sink &m_sink;
    Directed &m_statements;
    int m_remaining;
    bool m_anySeries;
    SeriesSet m_allowed;
    std::optional<Run> m_pending;
    std::int64_t m_longestRun = FirstRun;
    std::optional<std::int64_t> m_lastRead; ///< identifier of the row taken last, in whatever run
    bool m_certainRows = false;             ///< of the run that is being read
};

void Selector::Work::perform()
{
    const bool possible = m_remaining > 0 && m_selection.idLow <= m_selection.idHigh &&
                          (m_selection.anyTime || m_selection.timeLow <= m_selection.timeHigh) &&
                          (m_anySeries || !m_allowed.ids.empty());
    if (!possible)
        return;
    if (m_selection.anyTime)
        add({m_selection.idLow, m_selection.idHigh, true});
    else
        visitZones(Schema::ZoneLevels - 1, m_selection.idLow, m_selection.idHigh);
    flush();
}

/** A corrupt index may lead in circles; identifiers that do not advance give it away. */
void Selector::Work::checkOrder(std::optional<std::int64_t> &last, std::int64_t next) const
{
    if (last && !before(*last, next))
        throw Sqlite::Error(m_selector.m_path, "the database is corrupt: identifiers out of order");
    last = next;
}

bool Selector::Work::wants(std::int64_t series, std::int64_t time, bool certain) const
{
    if (m_anySeries ? !m_selector.m_seriesTable.exists(series) : !m_allowed.has(series))
        return false;
    return certain || (time >= m_selection.timeLow && time <= m_selection.timeHigh);
}

template <class Source> void Selector::Work::handOverIfWanted(std::int64_t id, const Source &row, bool certain)
{
    const std::int64_t series = row.number(1);
    const std::int64_t time = row.number(2);
    if (wants(series, time, certain)) {
        m_sink({int(id), int(series), time, row.bytes(3)});
        --m_remaining;
    }
}

void Selector::Work::takeRow(const Sqlite::Arguments &row)
{
    checkOrder(m_lastRead, row.number(0));
    handOverIfWanted(*m_lastRead, row, m_certainRows);
}

/** Starts reading a run in order; each step of the statement takes one row. */
Sqlite::Statement &Selector::Work::startReading(const Run &run)
{
    m_selector.m_current = this;
    m_certainRows = run.certain;
    return m_statements.rows.bind(1, run.low).bind(2, run.high);
}

/** Takes the next row; one that is too long to be read is passed over, so that it hides none but itself. */
bool Selector::Work::stepToRow(Sqlite::Statement &rows, Run &run)
{
    try {
        return rows.step();
    } catch (const Sqlite::TooLong &) {
        const bool begun = m_lastRead && *m_lastRead >= run.low && *m_lastRead <= run.high;
        run = begun ? rest(run, *m_lastRead) : run;
        Sqlite::Statement &nearest = m_statements.nearestId;
        const Sqlite::Resetter reset(nearest);
        if (!nearest.bind(1, run.low).bind(2, run.high).step())
            return false;
        checkOrder(m_lastRead, nearest.number(0));
        run = rest(run, *m_lastRead);
        startReading(run);
        return run.low <= run.high;
    }
}

void Selector::Work::readRows(Run run)
{
    Sqlite::Statement &rows = startReading(run);
    const Sqlite::Resetter reset(rows);
    while (m_remaining > 0 && stepToRow(rows, run)) {
    }
}

/** Reads the first rows in scan direction; what is left of the run when they did not suffice. */
std::optional<Selector::Run> Selector::Work::readSomeRows(Run run)
{
    Sqlite::Statement &rows = startReading(run);
    const Sqlite::Resetter reset(rows);
    for (int looked = 0; looked < RowsLookedAt; ++looked)
        if (m_remaining <= 0 || !stepToRow(rows, run))
            return std::nullopt;
    return rest(run, *m_lastRead);
}

void Selector::Work::readSeries(const Run &run)
{
    if (run.high - run.low < ShortRun) {
        readRows(run);
        return;
    }
    const std::optional<Run> left = m_allowed.ids.size() > FewSeries ? readSomeRows(run) : run;
    if (left && m_remaining > 0)
        merge(*left);
}

void Selector::Work::readAhead(Cursor &cursor, const Run &run)
{
    Sqlite::Statement &ids = m_statements.idsOfSeries;
    const Sqlite::Resetter reset(ids);
    ids.bind(1, cursor.series).bind(2, run.low).bind(3, run.high).bind(4, cursor.batch);
    std::optional<std::int64_t> last;
    while (ids.step()) {
        checkOrder(last, ids.number(0));
        cursor.ahead.push_back(*last);
    }
    if (last && (*last < run.low || *last > run.high))
        throw Sqlite::Error(m_selector.m_path, "the database is corrupt: an index entry out of its range");
    cursor.exhausted = int(cursor.ahead.size()) < cursor.batch;
    cursor.batch = std::min(cursor.batch * 2, LargestBatch);
    std::reverse(cursor.ahead.begin(), cursor.ahead.end());
}

void Selector::Work::readRow(std::int64_t id, bool certain)
{
    Sqlite::Statement &row = m_selector.m_rowById;
    const Sqlite::Resetter reset(row);
    try {
        if (row.bind(1, id).step())
            handOverIfWanted(id, row, certain);
    } catch (const Sqlite::TooLong &) {
        // It hides none but itself.
    }
}

void Selector::Work::merge(const Run &run)
{
    std::vector<Cursor> cursors(m_allowed.ids.size());
    const auto later = [&](std::size_t a, std::size_t b) {
        return before(cursors[b].ahead.back(), cursors[a].ahead.back());
    };
    std::priority_queue<std::size_t, std::vector<std::size_t>, decltype(later)> queue(later);
    for (std::size_t i = 0; i < cursors.size(); ++i) {
        cursors[i].series = m_allowed.ids[i];
        readAhead(cursors[i], run);
        if (!cursors[i].ahead.empty())
            queue.push(i);
    }
    while (m_remaining > 0 && !queue.empty()) {
        const std::size_t nearest = queue.top();
        queue.pop();
        Cursor &cursor = cursors[nearest];
        const std::int64_t id = cursor.ahead.back();
        cursor.ahead.pop_back();
        checkOrder(m_lastRead, id);
        readRow(id, run.certain);
        if (cursor.ahead.empty() && !cursor.exhausted)
            readAhead(cursor, rest(run, id));
        if (!cursor.ahead.empty())
            queue.push(nearest);
    }
}

void Selector::Work::visitZones(int level, std::int64_t low, std::int64_t high)
{
    const int shift = Schema::ZoneShifts[level];
    Sqlite::Statement &zones = m_statements.zones[std::size_t(level)];
    const Sqlite::Resetter reset(zones);
    const std::int64_t first = low >> shift;
    const std::int64_t end = high >> shift;
    zones.bind(1, first).bind(2, end).bind(3, m_selection.timeLow).bind(4, m_selection.timeHigh);
    std::optional<std::int64_t> last;
    while (m_remaining > 0 && zones.step()) {
        checkOrder(last, zones.number(0));
        if (*last < first || *last > end)
            throw Sqlite::Error(m_selector.m_path, "the database is corrupt: a zone out of its range");
        const bool certain = zones.number(1) >= m_selection.timeLow && zones.number(2) <= m_selection.timeHigh;
        visitZone(level, *last, certain);
    }
}

void Selector::Work::visitZone(int level, std::int64_t block, bool certain)
{
    const std::int64_t size = std::int64_t(1) << Schema::ZoneShifts[level];
    const std::int64_t start = block * size;
    const Run run = {std::max(start, m_selection.idLow), std::min(start + size - 1, m_selection.idHigh), certain};
    if (!certain && level > 0) {
        visitZones(level - 1, run.low, run.high);
    } else if (certain || !m_anySeries || holdsTimes(block)) {
        // With a series filter the merge passes over rows at other times as it goes.
        add(run);
    }
}

bool Selector::Work::holdsTimes(std::int64_t zone)
{
    Sqlite::Statement &times = m_selector.m_timeInZone;
    const Sqlite::Resetter reset(times);
    return times.bind(1, zone).bind(2, m_selection.timeLow).bind(3, m_selection.timeHigh).step();
}

/** Reads a run, with a series filter only after joining it with its neighbours. */
void Selector::Work::add(const Run &run)
{
    if (m_anySeries) {
        readRows(run);
        return;
    }
    const bool neighbours =
        m_pending && (m_selection.first ? m_pending->high + 1 == run.low : run.high + 1 == m_pending->low);
    if (neighbours && m_pending->high - m_pending->low < m_longestRun) {
        m_pending = Run{std::min(m_pending->low, run.low), std::max(m_pending->high, run.high),
                        m_pending->certain && run.certain};
        return;
    }
    flush();
    m_pending = run;
}

void Selector::Work::flush()
{
    if (m_pending && m_remaining > 0) {
        readSeries(*m_pending);
        m_longestRun = std::min(m_longestRun * 2, LongestRun);
    }
    m_pending.reset();
}

Selector::Directed Selector::directed(Sqlite::Connection &connection, const std::string &table, const char *order)
{
    const std::string zones = "SELECT block, earliest, latest FROM " + table + "_zone WHERE level = ";
    Directed result = {
        {connection, "SELECT take_" + table + "(id, series, time, params) FROM " + table +
                         " WHERE id BETWEEN ?1 AND ?2 ORDER BY id " + order},
        {connection, "SELECT id FROM " + table + " WHERE id BETWEEN ?1 AND ?2 ORDER BY id " + order + " LIMIT 1"},
        {connection, "SELECT id FROM " + table + " INDEXED BY " + table +
                         "_by_series WHERE series = ?1 AND id BETWEEN ?2 AND ?3 ORDER BY id " + order + " LIMIT ?4"},
        {}};
    for (int level = 0; level < Schema::ZoneLevels; ++level) {
        result.zones.emplace_back(connection, zones + std::to_string(level) +
                                                  " AND block BETWEEN ?1 AND ?2 AND latest >= ?3 AND earliest <= ?4 "
                                                  "ORDER BY block " +
                                                  order);
    }
    return result;
}

Sqlite::Connection &Selector::withFunction(Sqlite::Connection &connection, const std::string &table, Selector &owner)
{
    connection.define("take_" + table, 4, [&owner](const Sqlite::Arguments &row) { owner.m_current->takeRow(row); });
    return connection;
}

Selector::Selector(Sqlite::Connection &connection, const std::string &table, const SeriesCatalogue &series)
    : m_path(connection.path())
    , m_seriesTable(series)
    , m_ascending(directed(withFunction(connection, table, *this), table, "ASC"))
    , m_descending(directed(connection, table, "DESC"))
    , m_rowById(connection, "SELECT id, series, time, params FROM " + table + " WHERE id = ?1")
    , m_timeInZone(connection, "SELECT 1 FROM " + table + " INDEXED BY " + table +
                                   "_by_time WHERE id >> 8 = ?1 AND time BETWEEN ?2 AND ?3 LIMIT 1")
{
}

void Selector::select(const Selection &selection, const Sink &sink)
{
    Work(*this, selection, sink).perform();
}

std::vector<std::string> Selector::statements() const
{
    std::vector<std::string> result = {m_rowById.sql(), m_timeInZone.sql()};
    for (const Directed *side : {&m_ascending, &m_descending}) {
        result.push_back(side->rows.sql());
        result.push_back(side->nearestId.sql());
        result.push_back(side->idsOfSeries.sql());
        for (const Sqlite::Statement &zones : side->zones)
            result.push_back(zones.sql());
    }
    return result;
}
