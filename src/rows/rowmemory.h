// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <memory_resource>

/**
 * Where a window's rows lie: one behind the other, apart from everything else.
 *
 * A million rows put between the pieces of a million records would keep most
 * of the records' pages from going back to the system, and whoever walks over
 * the rows would wait for memory at each.
 *
 * A row's memory is not used again before all rows are gone: release() then
 * gives it back at once, as the object's end does.
 */
using RowMemory = std::pmr::monotonic_buffer_resource;

/** Gives memory back to the system that has become free when so many rows or their records went. */
void trimMemoryAfter(int rows) noexcept;
