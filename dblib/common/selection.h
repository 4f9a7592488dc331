// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "series.h"

#include <climits>
#include <cstdint>

struct CMessageCommandRequest;
struct CMessageEventRequest;

/** Which rows of a table are wanted, and from which end. All ranges include both ends. */
struct Selection {
    int count = 0;      ///< most rows wanted
    bool first = false; ///< the oldest ones, else the newest
    std::int64_t idLow = INT_MIN;
    std::int64_t idHigh = INT_MAX;
    bool anyTime = true;
    std::int64_t timeLow = INT_MIN;
    std::int64_t timeHigh = INT_MAX;
    SeriesFilter series;
};

Selection selectionOf(const CMessageEventRequest &request);
Selection selectionOf(const CMessageCommandRequest &request);
