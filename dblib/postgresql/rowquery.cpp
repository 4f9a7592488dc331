// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rowquery.h"

namespace
{
std::string timestamp(std::int64_t seconds)
{
    return "to_timestamp(" + std::to_string(seconds) + ")";
}

std::string listOf(const std::vector<int> &numbers)
{
    std::string list;
    for (const int number : numbers)
        list.append(list.empty() ? "'{" : ",").append(std::to_string(number));
    return list.append(list.empty() ? "'{}'::integer[]" : "}'::integer[]");
}

std::string between(const char *what, Postgres::IdRange range)
{
    return std::string(what) + " BETWEEN " + std::to_string(range.low) + " AND " + std::to_string(range.high);
}
} // namespace

namespace Postgres
{
std::string copied(const std::string &query)
{
    return "COPY (" + query + ") TO STDOUT (FORMAT binary);";
}

/** A record's time is cut to whole seconds, and set to the nearest that it can tell: both are undone here. */
std::string RowQuery::timeCondition() const
{
    std::string condition;
    if (!selection.anyTime && selection.timeLow > INT_MIN)
        condition += " AND time >= " + timestamp(selection.timeLow);
    if (!selection.anyTime && selection.timeHigh < INT_MAX)
        condition += " AND time < " + timestamp(selection.timeHigh + 1);
    return condition;
}

std::string RowQuery::order() const
{
    return std::string(selection.first ? " ASC" : " DESC") + " LIMIT " + std::to_string(selection.count);
}

std::string RowQuery::columnsFrom(IdRange ids) const
{
    return "SELECT id, series, time, params FROM obrim." + table + " WHERE " + between("id", ids) + timeCondition();
}

std::string RowQuery::inOrder(IdRange ids) const
{
    return columnsFrom(ids) + (series ? " AND series = ANY (" + listOf(*series) + ")" : "") + " ORDER BY id" + order();
}

std::string RowQuery::bySeries(IdRange ids) const
{
    return "SELECT r.* FROM unnest(" + listOf(*series) + ") AS s(id), LATERAL (" + columnsFrom(ids) +
           " AND series = s.id ORDER BY id" + order() + ") AS r ORDER BY r.id" + order();
}

std::string RowQuery::inZones(IdRange ids, const std::vector<int> &zones) const
{
    return "SELECT r.* FROM unnest(" + listOf(zones) + ") AS z(block), LATERAL (" + columnsFrom(ids) + " AND id >> " +
           std::to_string(ZoneShift) + " = z.block" + (series ? " AND series = ANY (" + listOf(*series) + ")" : "") +
           ") AS r ORDER BY r.id" + order();
}

std::string RowQuery::zones(int level, IdRange blocks, std::int64_t most) const
{
    std::string query = "SELECT block FROM obrim." + table + "_zone WHERE level = " + std::to_string(level) + " AND " +
                        between("block", blocks);
    if (selection.timeLow > INT_MIN)
        query += " AND latest >= " + timestamp(selection.timeLow);
    if (selection.timeHigh < INT_MAX)
        query += " AND earliest < " + timestamp(selection.timeHigh + 1);
    return query + " ORDER BY block" + (selection.first ? " ASC" : " DESC") + " LIMIT " + std::to_string(most);
}
} // namespace Postgres
