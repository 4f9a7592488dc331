// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sensors.h"

#include "Messages.h"
#include "clock.h"
#include "newmessage.h"
#include "recordbuilder.h"

namespace
{
constexpr const char *StateWords[] = {"running", "stopped", "killed"};

int livenessOf(const StoredSensor &sensor, std::int64_t now, int deadAfter)
{
    if (sensor.state == SensorState::Killed)
        return SensorDead;
    if (!sensor.keepAlive)
        return 0;
    // A heartbeat from the future tells of a clock put back, not of a live sensor.
    const bool isRecent = *sensor.keepAlive >= now - deadAfter && *sensor.keepAlive <= now + deadAfter;
    return isRecent ? SensorAlive : SensorDead;
}
} // namespace

const char *wordOf(SensorState state)
{
    return StateWords[int(state)];
}

SensorState stateOf(std::string_view word)
{
    for (const SensorState state : {SensorState::Stopped, SensorState::Killed})
        if (word == StateWords[int(state)])
            return state;
    return SensorState::Running;
}

std::unique_ptr<Records<CSensor>> recordsOf(const std::vector<StoredSensor> &sensors, int deadAfter)
{
    auto result = std::make_unique<Records<CSensor>>();
    const std::int64_t now = currentTime();
    for (const StoredSensor &stored : sensors) {
        CSensor &sensor = result->add();
        const Text name = textIn(result->arena, stored.name);
        const Text description = textIn(result->arena, stored.description);
        sensor.SensorType = stored.type;
        sensor.SensorID = name.bytes;
        sensor.LSensorID = name.length;
        sensor.Description = description.bytes;
        sensor.LDescription = description.length;
        sensor.MessageType = livenessOf(stored, now, deadAfter);
        sensor.EventTime = std::time_t(clamped(stored.lastMessage));
    }
    return result;
}
