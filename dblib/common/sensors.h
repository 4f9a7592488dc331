// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "records.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct CSensor;

/** What a sensor does: the words in the database. */
enum class SensorState { Running, Stopped, Killed };

/** A sensor as it is kept. */
struct StoredSensor {
    std::string name;
    int type = 0;
    std::string description;
    SensorState state = SensorState::Running;
    std::optional<std::int64_t> keepAlive; ///< time of the last heartbeat
    std::int64_t lastMessage = 0;
    int lastCommand = 0; ///< identifier of the last command that the sensor has read
};

const char *wordOf(SensorState state);
/** The state of a word in the database; any other word is Running. */
SensorState stateOf(std::string_view word);

/** Sensors as records. One is dead when it was killed or sent no heartbeat for `deadAfter` seconds. */
std::unique_ptr<Records<CSensor>> recordsOf(const std::vector<StoredSensor> &sensors, int deadAfter);
