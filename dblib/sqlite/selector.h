// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "recordbuilder.h"
#include "schema.h"
#include "selection.h"
#include "sqlite.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/**
 * Finds the rows of a selection in one table without reading those that are
 * not wanted, as far as an index or the zone maps can tell.
 *
 * Identifiers grow with arrival, so "oldest" and "newest" are the order of
 * identifiers. Without a filter the rows are read in that order, in
 * scan direction. A series filter merges the index entries of its series. A time
 * range is first narrowed to runs of identifiers whose zones overlap it.
 */
class Selector
{
public:
    using Sink = std::function<void(const Row &)>;

    /** `table` is "event" or "command"; `series` mirrors its series. */
    Selector(Sqlite::Connection &connection, const std::string &table, const SeriesCatalogue &series);
    Selector(const Selector &) = delete;
    Selector &operator=(const Selector &) = delete;

    /**
     * Hands the selected rows over, in scan direction. To be called inside a
     * read transaction, with the series refreshed. Throws StoreError.
     */
    void select(const Selection &selection, const Sink &sink);

    /** The statements that select uses, for whoever looks at their plans. */
    std::vector<std::string> statements() const;

private:
    struct Run {
        std::int64_t low;
        std::int64_t high;
        bool certain; ///< all its rows are in the time range
    };
    class Work;
    friend class Work;

    struct Directed {
        Sqlite::Statement rows;
        Sqlite::Statement nearestId;
        Sqlite::Statement idsOfSeries;
        std::vector<Sqlite::Statement> zones; ///< one a level: they run inside each other
    };
    static Directed directed(Sqlite::Connection &connection, const std::string &table, const char *order);
    static Sqlite::Connection &withFunction(Sqlite::Connection &connection, const std::string &table, Selector &owner);

    std::string m_path;
    Work *m_current = nullptr; ///< the selection whose rows are being read
    const SeriesCatalogue &m_seriesTable;
    Directed m_ascending;
    Directed m_descending;
    Sqlite::Statement m_rowById;
    Sqlite::Statement m_timeInZone;
};
