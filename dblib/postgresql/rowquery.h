// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "selection.h"

#include <cstdint>
#include <string>
#include <vector>

/**
 * @file
 * The statements that read rows. All values stand in them as numbers, so that
 * the server plans each for the partitions that it needs, and never for others.
 */
namespace Postgres
{
/** Identifiers a partition, and a zone, as powers of two. */
constexpr int PartitionShift = 20;
constexpr int ZoneShift = 10;

struct IdRange {
    std::int64_t low;
    std::int64_t high;
};

/** Which rows of "event" or "command" are wanted, and which of their series; NULL: any. */
struct RowQuery {
    const std::string &table;
    const Selection &selection;
    const std::vector<int> *series;

    /** The rows of a range in scan direction. */
    std::string inOrder(IdRange ids) const;
    /** The same rows, looked for series by series: for series with few rows in the range. */
    std::string bySeries(IdRange ids) const;
    /** The rows of some zones, which need not lie together. */
    std::string inZones(IdRange ids, const std::vector<int> &zones) const;

    /** The blocks of a level between two blocks whose rows' times overlap the wanted ones, in scan direction. */
    std::string zones(int level, IdRange blocks, std::int64_t most) const;

private:
    std::string timeCondition() const;
    std::string order() const;
    std::string columnsFrom(IdRange ids) const;
};

/** `query` as a statement that sends its rows in binary. */
std::string copied(const std::string &query);
} // namespace Postgres
