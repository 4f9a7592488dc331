// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** @file One put and one count through the data access layer, for tests of what goes wrong on the way. */

#include "DBFuns.h"
#include "storetesting.h"

/** The put's result. */
inline int putAnEvent()
{
    CMessageEvent event = makeEvent("sensor", "event", 1000);
    return DBPutEvent(event);
}

/** Number of events, -1 when the fetch failed. */
inline int countEvents()
{
    CMessageEventRequest request = eventsWanted(1000000);
    int n = 0;
    CMessageEvent *events = nullptr;
    const int result = DBGetEvents(&n, &events, &request, nullptr);
    delete[] events;
    return result == 0 ? n : -1;
}
