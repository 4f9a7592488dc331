// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <memory_resource>

/**
 * Where a window's rows lie: one behind the other, apart from everything else.
 *
 * A million rows put between the pieces of a million records would keep most
 * of the records' pages from going back to the system, and whoever walks over
 * the rows would wait for memory at each.
 *
 * A row's memory is not used again before all rows are gone: clear() then
 * gives it back at once, as the object's end does.
 */
class RowMemory
{
public:
    /** Memory for one row. Throws std::bad_alloc. */
    void *allocate(std::size_t bytes, std::size_t alignment)
    {
        return m_pool.allocate(bytes, alignment);
    }

    /** All rows are gone. */
    void clear() noexcept
    {
        m_pool.release();
    }

    /** Gives memory back to the system that has become free when so many rows or their records went. */
    static void trimAfter(int rows) noexcept;

private:
    std::pmr::monotonic_buffer_resource m_pool;
};
