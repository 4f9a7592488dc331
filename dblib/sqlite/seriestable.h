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

/** The series of one table in memory: a look at the largest identifier tells whether the memory is up to date. */
class SeriesTable : public SeriesCatalogue
{
public:
    /** `table` is "event" or "command". */
    SeriesTable(Sqlite::Connection &connection, const std::string &table);
    ~SeriesTable();

    /** Reads what other programs have added. Call inside the transaction that uses it. */
    void refresh();
    /** The series with this key, added to the table when it is new. Inside a write transaction. */
    int findOrAdd(const SeriesKey &key);

private:
    Sqlite::Connection &m_db;
    bool m_hasNames;
    std::unique_ptr<Sqlite::Statement> m_largest;
    std::unique_ptr<Sqlite::Statement> m_newer;
    std::unique_ptr<Sqlite::Statement> m_insert;
};
