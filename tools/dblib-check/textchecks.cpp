// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"
#include "translation.h"

#include <algorithm>
#include <set>

namespace
{
Outcome checkTexts(const Target &target)
{
    const Session session(target);
    std::string fault;
    std::string oddity;
    forEachKind(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        const auto answer = ask<Kind>(session.library, plain<Kind>(MostCompared, false));
        if (fault.empty() && !answer.reader.faults().empty())
            fault = std::string(Kind::Plural) + ", " + answer.reader.faults().front();
        if (oddity.empty() && !answer.reader.oddities().empty())
            oddity = std::string(Kind::Plural) + ", " + answer.reader.oddities().front();
    });
    if (!fault.empty())
        return failed(fault);
    return oddity.empty() ? passed() : warned(oddity);
}

bool haveSameNames(const std::vector<CSensor> &first, const std::vector<CSensor> &second)
{
    const auto sameName = [](const CSensor &a, const CSensor &b) {
        return b.SensorID && std::string(a.SensorID) == b.SensorID;
    };
    return std::equal(first.begin(), first.end(), second.begin(), second.end(), sameName);
}

Outcome checkSensors(const Target &target)
{
    const Session session(target);
    const auto sensors = ask<SensorKind>(session.library, {}).records;
    if (sensors.empty())
        return skipped("the store has no sensors");
    std::set<std::string> names;
    for (const CSensor &sensor : sensors) {
        if (!sensor.SensorID || !sensor.SensorID[0])
            return warned("a sensor has no name");
        if (!names.insert(sensor.SensorID).second)
            return warned("two sensors are named " + quoted(sensor.SensorID));
    }
    for (int round = 0; round < 3; ++round)
        if (!haveSameNames(sensors, ask<SensorKind>(session.library, {}).records))
            return warned("other sensors, or the same in another order, come each time");
    return passed(std::to_string(sensors.size()) + " sensors");
}
} // namespace

std::vector<Check> textChecks()
{
    return {
        {"texts",
         translatable("texts and parameters are as long as they say and end with a NUL"),
         translatable("The console reads past the text: it goes down or shows rubbish."),
         checkTexts,
         {"count", "event-last-record", "command-last-record"}},
        {"sensors",
         translatable("every sensor has a name of its own, and their order stays"),
         translatable("The operator cannot tell sensors apart, or commands the wrong one."),
         checkSensors,
         {"texts"}},
    };
}
