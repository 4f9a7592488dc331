// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>

/** Bytes of a page. */
std::size_t pageSize();

/** How many of the `size` bytes at `p` lie on pages that can be read. Never faults; leaves errno. */
std::size_t mappedBytes(const void *p, std::size_t size);
