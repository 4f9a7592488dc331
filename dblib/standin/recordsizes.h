// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dbsymbols.h"

/** What a fetch function must answer to a size query in a process of this word width, 32 or 64 bits. */
int sizesFor(DBFunction function, unsigned bits);

/** The same for this process. */
int ownSizes(DBFunction function);

/**
 * What a size query gives here when it gave `sizes` in a process of `bits`:
 * what is right there is right here, and what is wrong there is wrong here.
 */
int translatedSizes(DBFunction function, int sizes, unsigned bits);
