// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "format.h"
#include "recordfilter.h"

#include <optional>
#include <string>
#include <vector>

/** @file What the command line asks for, checked. */

/** What to list. */
struct ListOptions {
    Filter filter;
    std::optional<int> limit; ///< most records; nothing: all
    bool first = false;       ///< the oldest ones, else the newest
    bool follow = false;
    double interval = 2; ///< seconds between two looks at what is new
    FormatOptions format;
};

/** A command to a sensor. */
struct PutOptions {
    std::string sensor; ///< Latin-1
    int order = 0;
    std::optional<double> wait; ///< seconds until the sensor must have reported; nothing: it is not waited for
};

/** Which records to delete. */
struct DeleteOptions {
    std::vector<int> ids;
};

struct StatusOptions {
    bool json = false;
    bool quick = false;        ///< does not count
    bool requireAlive = false; ///< a sensor that is not alive is a fault
    Clock clock = Clock::Local;
};

struct InitOptions {
    std::string directory;
    std::string database;
    std::string group; ///< of the files; empty: as they come
    bool desktopEntry = false;
};
