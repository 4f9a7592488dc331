// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "timetext.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

/** What is known of one kind of records. */
struct RecordStatus {
    std::optional<std::int64_t> count; ///< nothing: not counted
    std::optional<int> newestId;       ///< nothing: there is none
    std::time_t newestTime = 0;
};

struct SensorStatus {
    int alive = 0;
    int dead = 0;
    int unknown = 0;
};

/** What obrimctl status found. What could not be found out is missing, and a fault says why. */
struct StatusReport {
    std::string installation;
    std::string library;              ///< the file as the installation has it
    std::string linked;               ///< where that is a link, what it leads to
    int bits = 0;                     ///< word width of this program, which a library that is loaded shares
    std::string symbols;              ///< "C++", "C" or empty
    std::vector<std::string> missing; ///< functions
    std::optional<SensorStatus> sensors;
    std::optional<RecordStatus> events;
    std::optional<RecordStatus> commands;
    std::optional<double> roundTrip; ///< milliseconds of a call that fetches one event
    std::vector<std::string> faults;
};

std::string statusText(const StatusReport &report, Clock clock);
/** One object on one line. */
std::string statusJson(const StatusReport &report, Clock clock);
