// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstring>

/** The one way in which this build of the library breaks the contract; "none" for the good one. */
extern const char *const FaultName;

/** Whether this is the build with that fault; asked for each record, so the first letter decides most. */
inline bool fault(const char *name)
{
    return *name == *FaultName && std::strcmp(name, FaultName) == 0;
}
