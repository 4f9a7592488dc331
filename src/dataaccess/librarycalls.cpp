// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "librarycalls.h"

#include "DBFuns.h"

#include <cstdio>

namespace
{
FailureNotice failureNotice = nullptr;
bool failing[DBFunctionCount] = {}; ///< those of the library's functions that failed when they were called last
} // namespace

void note(DBFunction function, std::optional<int> result)
{
    const bool fails = result != 0;
    if (failing[function] == fails)
        return;
    failing[function] = fails;
    if (failureNotice)
        attempt("The notification", [=] { return failureNotice(DBSymbols[function].key, result), 0; });
}

int judged(DBFunction function, std::optional<int> result)
{
    if (result.value_or(0) != 0)
        std::fprintf(stderr, "%s returned %d\n", DBSymbols[function].key, *result);
    note(function, result);
    return result.value_or(-1);
}

void setFailureNotice(FailureNotice show)
{
    failureNotice = show;
}
