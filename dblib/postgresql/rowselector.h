// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "connection.h"
#include "recordbuilder.h"
#include "rowquery.h"
#include "selection.h"
#include "series.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Postgres
{
/**
 * Finds the rows of a selection in one table, and mirrors its series.
 *
 * A selection is read in one snapshot, most of them in one round trip: the
 * series that are new come with the rows. First only the part of the table
 * first in scan direction is asked for, so that neither planning nor reading
 * depends on how much there is. When it does not hold enough, all is asked
 * again for a larger part.
 */
class RowSelector
{
public:
    using Sink = std::function<void(const Row &)>;
    using Restart = std::function<void()>;

    /** `table` is "event" or "command". */
    explicit RowSelector(std::string table);

    /** Forgets the series: after a change of the connection, or a transaction that may have added some was undone. */
    void forget();
    const SeriesCatalogue &series() const
    {
        return m_series;
    }
    /** Reads the series that were added, by whomever, and how far the table reaches. */
    void refresh(Connection &connection);
    /**
     * Hands the selected rows over, in scan direction. `restart` is called before
     * the first one and whenever those handed over so far are to be forgotten. Inside a
     * transaction when there is one, else as one of its own. Throws Error.
     */
    void select(Connection &connection, const Selection &selection, const Restart &restart, const Sink &sink);
    /** How many rows a selection has at most, as far as the table is known to reach. */
    std::int64_t mostRows(const Selection &selection) const;

private:
    class Work;

    std::string newsQuery() const;
    void takeNews(const CopiedRow &row);

    std::string m_table;
    SeriesCatalogue m_series;
    std::int64_t m_newest = 0; ///< the highest identifier ever given, as far as known
    std::int64_t m_oldestPartition = 0;
};
} // namespace Postgres
