// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "series.h"

#include <memory>
#include <string>

namespace Sqlite
{
class Connection;
class Statement;
} // namespace Sqlite

/** The series of one table in memory, up to date after each refresh. */
class SeriesTable : public SeriesCatalogue
{
public:
    /** `table` is "event" or "command". */
    SeriesTable(Sqlite::Connection &connection, const std::string &table);
    ~SeriesTable();

    /** Lets the next refresh look what other programs have added or changed. */
    void expectChange()
    {
        m_mayHaveChanged = true;
    }
    /** Reads the table when it may have changed. Call inside the transaction that uses it. */
    void refresh();
    void forget();
    /** The series with this key, added to the table when it is new. Inside a write transaction. */
    int findOrAdd(const SeriesKey &key);

private:
    bool readAll();
    bool isKnown(std::int64_t id, const SeriesKey &key) const;
    std::int64_t knownCount() const;

    Sqlite::Connection &m_db;
    bool m_hasNames;
    bool m_mayHaveChanged = true;
    std::unique_ptr<Sqlite::Statement> m_all;
    std::unique_ptr<Sqlite::Statement> m_insert;
};
