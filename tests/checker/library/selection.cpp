// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "selection.h"

#include "WCompare.h"
#include "fault.h"
#include "store.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

namespace
{
// Matching, and the ways to get it wrong.

std::string nameOf(const char *text)
{
    return text ? text : "";
}

bool nameMatches(const char *mask, const char *name)
{
    return WCompareNoCase(mask, nameOf(name).c_str()) != 0;
}

bool swappedMatches(const char *mask, const char *name)
{
    return WCompareNoCase(nameOf(name).c_str(), mask) != 0;
}

std::string lower(const char *text)
{
    std::string result = nameOf(text);
    strlwr_win(result.data());
    return result;
}

/** Compares without wildcards but with letter case. */
bool exactMatches(const char *mask, const char *name)
{
    return nameMatches(mask, name) && (lower(mask) != lower(name) || nameOf(name) == mask);
}

/** With the letters of Latin-1 lowered, too. */
std::string lowerLatin(const char *text)
{
    std::string result = lower(text);
    for (char &c : result)
        if (static_cast<unsigned char>(c) >= 0xC0 && static_cast<unsigned char>(c) <= 0xDE)
            c = char(c + 0x20);
    return result;
}

bool foldedMatches(const char *mask, const char *name)
{
    return nameMatches(lowerLatin(mask).c_str(), lowerLatin(name).c_str());
}

bool halfFoldedMatches(const char *mask, const char *name)
{
    return nameMatches(lowerLatin(mask).c_str(), name);
}

using Matcher = bool (*)(const char *mask, const char *name);

/** How this build compares sensor names of events; NULL for the right way. */
Matcher eventSensorMatcher()
{
    return fault("event-mask-swapped") ? swappedMatches
           : fault("mask-letter-case") ? exactMatches
           : fault("mask-folds-latin") ? foldedMatches
           : fault("mask-folds-asked") ? halfFoldedMatches
                                       : nullptr;
}

Matcher eventNameMatcher()
{
    return fault("name-mask-swapped") ? swappedMatches : fault("name-mask-folds-latin") ? foldedMatches : nullptr;
}

Matcher commandSensorMatcher()
{
    return fault("command-mask-swapped") ? swappedMatches : fault("command-mask-folds-latin") ? foldedMatches : nullptr;
}

/** Reads switches otherwise than as "not 0". */
void misreadSwitch(int &use)
{
    if (fault("switch-is-one"))
        use = use == 1;
    if (fault("switch-positive"))
        use = use > 0;
    if (fault("switch-low-byte"))
        use = use & 0xFF;
}

CMessageEventRequest misread(const CMessageEventRequest &given)
{
    CMessageEventRequest r(given);
    r.MessageID0 += fault("event-id0") && r.MessageID0 < INT_MAX;
    r.MessageID1 -= fault("event-id1") && r.MessageID1 > INT_MIN;
    r.EventTime0 += fault("event-time0");
    r.EventTime1 -= fault("event-time1");
    if (fault("switch-ignored") && r.MessageID1 != 0)
        r.UseMessageID1 = 1;
    if (fault("negative-time") && r.EventTime1 < 0)
        r.UseEventTime1 = 0;
    if (fault("time-cut"))
        r.EventTime0 = std::int32_t(r.EventTime0);
    if (fault("sensor-type-ignored"))
        r.UseSensorType = 0;
    for (int *use : {&r.UseMessageID0, &r.UseMessageID1, &r.UseMessageType, &r.UseSensorID, &r.UseSensorType,
                     &r.UseEventName, &r.UseEventTime0, &r.UseEventTime1})
        misreadSwitch(*use);
    return r;
}

CMessageCommandRequest misread(const CMessageCommandRequest &given)
{
    CMessageCommandRequest r(given);
    r.CommandID0 += fault("command-id0") && r.CommandID0 < INT_MAX;
    r.CommandID1 -= fault("command-id1") && r.CommandID1 > INT_MIN;
    r.CommandTime0 += fault("command-time0");
    r.CommandTime1 -= fault("command-time1");
    if (fault("command-switch-ignored") && r.CommandID1 != 0)
        r.UseCommandID1 = 1;
    if (fault("command-type-ignored"))
        r.UseCommandType = 0;
    if (fault("command-switch-is-one"))
        r.UseCommandTime0 = r.UseCommandTime0 == 1;
    return r;
}

bool matches(const CMessageEventRequest &given, const CMessageEvent &record)
{
    CMessageEventRequest r(given);
    if (fault("types-swapped") && r.UseMessageType) {
        r.UseMessageType = 0;
        if (r.MessageType != record.SensorType)
            return false;
    }
    const Matcher sensor = eventSensorMatcher();
    if (sensor && r.UseSensorID && r.SensorID) {
        r.UseSensorID = 0;
        if (!sensor(r.SensorID, record.SensorID))
            return false;
    }
    const Matcher name = eventNameMatcher();
    if (name && r.UseEventName && r.EventName) {
        r.UseEventName = 0;
        if (!name(r.EventName, record.EventName))
            return false;
    }
    return (r & record) != 0;
}

bool matches(const CMessageCommandRequest &given, const CMessageCommand &record)
{
    CMessageCommandRequest r(given);
    const Matcher sensor = commandSensorMatcher();
    if (sensor && r.UseSensorID && r.SensorID) {
        r.UseSensorID = 0;
        if (!sensor(r.SensorID, record.SensorID))
            return false;
    }
    return (r & record) != 0;
}

// The limit, and the ways to get it wrong.

int lowestWanted(const CMessageEventRequest &request)
{
    return request.UseMessageID0;
}

int lowestWanted(const CMessageCommandRequest &request)
{
    return request.UseCommandID0;
}

/** Whether a filter is used whose presence switches this build's limit off. */
bool isUnlimited(const CMessageEventRequest &r)
{
    return (fault("limit-off-with-mask") && r.UseSensorID) ||
           (fault("limit-off-with-two") && r.UseMessageType && r.UseEventTime1);
}

bool isUnlimited(const CMessageCommandRequest &r)
{
    return fault("command-limit-off-with-mask") && r.UseSensorID;
}

/** The request without the filters that this build applies only after its limit. */
CMessageEventRequest beforeLimit(const CMessageEventRequest &given)
{
    CMessageEventRequest r(given);
    if (fault("limit-before-mask"))
        r.UseSensorID = 0;
    if (fault("limit-before-name-mask"))
        r.UseEventName = 0;
    if (fault("limit-before-type"))
        r.UseMessageType = 0;
    if (fault("limit-before-sensor-type"))
        r.UseSensorType = 0;
    if (fault("limit-before-time"))
        r.UseEventTime0 = r.UseEventTime1 = 0;
    if (fault("limit-before-identifier"))
        r.UseMessageID0 = r.UseMessageID1 = 0;
    return r;
}

CMessageCommandRequest beforeLimit(const CMessageCommandRequest &given)
{
    CMessageCommandRequest r(given);
    if (fault("command-limit-before-mask"))
        r.UseSensorID = 0;
    if (fault("command-limit-before-type"))
        r.UseCommandType = 0;
    if (fault("command-limit-before-time"))
        r.UseCommandTime0 = r.UseCommandTime1 = 0;
    if (fault("command-limit-before-identifier"))
        r.UseCommandID0 = r.UseCommandID1 = 0;
    return r;
}

std::time_t timeOf(const CMessageEvent &event)
{
    return event.EventTime;
}

std::time_t timeOf(const CMessageCommand &command)
{
    return command.CommandTime;
}

template <class Record, class Request> void cut(std::vector<const Record *> &found, const Request &request)
{
    std::size_t wanted = std::size_t(std::max(request.NMax, 0));
    if (fault("nmax-ignored") || (fault("nmax-negative") && request.NMax < 0) || isUnlimited(request))
        wanted = found.size();
    if (fault("count-short") && found.size() > wanted && wanted > 1)
        --wanted;
    const bool first = (request.TakeFirst1_Last0 != 0) != fault("ends-swapped");
    if (found.size() <= wanted)
        return;
    const auto surplus = std::ptrdiff_t(found.size() - wanted);
    first ? found.erase(found.end() - surplus, found.end()) : found.erase(found.begin(), found.begin() + surplus);
}

template <class Record, class Request>
std::vector<const Record *> selectFrom(const Table<Record> &table, const Request &given)
{
    const Request request = misread(given);
    static const bool limitsEarly = std::strstr(FaultName, "limit-before") != nullptr;
    const Request early = limitsEarly ? beforeLimit(request) : request;
    std::vector<const Record *> found;
    for (const Record &record : table.records)
        if (matches(early, record))
            found.push_back(&record);
    const auto earlier = [](const Record *a, const Record *b) { return timeOf(*a) < timeOf(*b); };
    const auto lower = [](const Record *a, const Record *b) { return idOf(*a) < idOf(*b); };
    if (fault("takes-by-time"))
        std::stable_sort(found.begin(), found.end(), earlier);
    else
        std::sort(found.begin(), found.end(), lower);
    cut(found, request);
    const auto excluded = [&](const Record *record) { return !matches(request, *record); };
    if (limitsEarly)
        found.erase(std::remove_if(found.begin(), found.end(), excluded), found.end());
    const bool lowest = lowestWanted(request) && !fault("order-with-lowest");
    if (!request.TakeFirst1_Last0 && !lowest && !fault("order-ascending"))
        std::reverse(found.begin(), found.end());
    if (fault("order-random")) {
        static std::mt19937 random(7);
        std::shuffle(found.begin(), found.end(), random);
    }
    return found;
}
} // namespace

std::vector<const CMessageEvent *> select(const CMessageEventRequest &request)
{
    return selectFrom(store().events, request);
}

std::vector<const CMessageCommand *> select(const CMessageCommandRequest &request)
{
    return selectFrom(store().commands, request);
}
