// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>

/**
 * Where a window's rows lie: one behind the other, apart from everything else.
 *
 * A million rows put between the pieces of a million records would keep most
 * of the records' pages from going back to the system, and whoever walks over
 * the rows would wait for memory at each.
 *
 * Rows may outlive the object: their memory goes back slab by slab, each when
 * its last row is released.
 */
class RowMemory
{
public:
    RowMemory() = default;
    RowMemory(const RowMemory &) = delete;
    RowMemory &operator=(const RowMemory &) = delete;
    ~RowMemory();

    /** Memory for one row, aligned to 8 bytes. Throws std::bad_alloc. */
    void *allocate(std::size_t bytes);
    /** Gives back what allocate() of any RowMemory returned; `bytes` at least of it are not used any more. */
    static void release(void *row, std::size_t bytes) noexcept;

    /** Gives memory that has become free back to the system: after large loads and their ends. */
    static void returnSpare() noexcept;

private:
    struct Slab;

    Slab *m_open = nullptr; ///< takes the next rows; NULL before the first
};
