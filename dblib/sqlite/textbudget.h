// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

namespace Sqlite
{
class Connection;

/**
 * What the texts of one answer may take of memory: as much as the whole file
 * has bytes. In a file that was made for it, many rows can share one long text.
 */
class TextBudget
{
public:
    explicit TextBudget(Connection &connection)
        : m_db(connection)
    {
    }
    /** Throws Error when all that was spent is more than the file can hold. */
    void spend(std::size_t bytes)
    {
        m_spent += bytes;
        if (m_spent > m_allowed)
            askFile();
    }

private:
    void askFile();

    Connection &m_db;
    std::uint64_t m_spent = 0;
    std::uint64_t m_allowed = 1 << 20; ///< so much needs no question
};
} // namespace Sqlite
