// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

/**
 * @file
 * What locks on a database's log mean by their offset; they have nothing to do
 * with its bytes. They belong to the open file description, so that two
 * connections of one program do not take them for one another's, and are given
 * back when a program dies.
 */
namespace Sqlite::LogRanges
{
/** Exclusive: the numbers that those have who wait for their turn to write. */
constexpr std::int64_t Numbers = 0;
/** Shared: the inode of the database that the log is used for. */
constexpr std::int64_t Owners = std::int64_t(1) << 62;
/** Behind the last one. */
constexpr std::int64_t End = INT64_MAX;

inline std::int64_t ownerOffset(std::uint64_t inode)
{
    return Owners + 1 + std::int64_t(inode % (std::uint64_t(1) << 61));
}
} // namespace Sqlite::LogRanges
