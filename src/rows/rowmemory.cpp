// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rowmemory.h"

#include <malloc.h>

void RowMemory::trim() noexcept
{
    ::malloc_trim(0);
}
