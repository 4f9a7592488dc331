// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rowmemory.h"

#include <malloc.h>

void trimMemoryAfter(int rows) noexcept
{
    // Many free whole pages, whose return takes milliseconds.
    constexpr int many = 50000;
    if (rows >= many)
        ::malloc_trim(0);
}
