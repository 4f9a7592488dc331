// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "schema.h"
#include "series.h"

#include <chrono>
#include <memory>
#include <string>

/** The series of one table in memory, up to date after each refresh. */
class SeriesTable : public SeriesCatalogue
{
public:
    /** `table` is "event" or "command". */
    SeriesTable(Sqlite::Connection &connection, const std::string &table);
    ~SeriesTable();

    /** Lets the next refresh look what other programs have added or, after a change of anything, changed. */
    void expect(Schema::Change change)
    {
        if (change != Schema::Change::None)
            m_mayHaveChanged = m_isUnchecked = true;
        m_mayBeAnother = m_mayBeAnother || change == Schema::Change::Anything;
    }
    /** Reads what may be new or changed. Call inside the transaction that uses it. */
    void refresh();
    void forget();
    /** The series with this key, added to the table when it is new. Inside a write transaction. */
    int findOrAdd(const SeriesKey &key);

private:
    using Clock = std::chrono::steady_clock;

    bool readFrom(std::int64_t first);
    void check();
    bool isKnown(std::int64_t id, const SeriesKey &key) const;
    std::int64_t knownCount() const;

    Sqlite::Connection &m_db;
    bool m_hasNames;
    bool m_mayHaveChanged = true;
    bool m_isUnchecked = true;  ///< since a change
    bool m_mayBeAnother = true; ///< than the one whose series are known
    Clock::time_point m_checked;
    std::unique_ptr<Sqlite::Statement> m_rows;
    std::unique_ptr<Sqlite::Statement> m_insert;
};
