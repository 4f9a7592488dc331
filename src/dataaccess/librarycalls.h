// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dbsymbols.h"
#include "foreigncall.h"

#include <optional>

/** Keeps in mind whether a function of the library works; the operator is told when that changes. */
void note(DBFunction function, std::optional<int> result);

/** Calls a function of the library; nothing when it threw, which is reported. */
template <class Call> std::optional<int> callLibrary(DBFunction function, Call call)
{
    const std::optional<int> result = attempt(DBSymbols[function].key, call);
    if (!result)
        note(function, result);
    return result;
}

/** What a function of the library returned, -1 when it threw. Any result but 0 is a failure, which is reported. */
int judged(DBFunction function, std::optional<int> result);
