// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "selection.h"

#include "Messages.h"

#include <cstring>

namespace
{
std::optional<std::string> maskOf(int used, const char *mask, int length)
{
    // A mask that is switched on but missing lets everything pass; one without a length ends at its NUL.
    if (!used || !mask)
        return std::nullopt;
    return length > 0 ? std::string(mask, ::strnlen(mask, std::size_t(length))) : std::string(mask);
}

template <class Value> std::optional<int> valueOf(int used, Value value)
{
    return used ? std::optional<int>(value) : std::nullopt;
}

void setTimes(Selection &selection, int use0, std::int64_t time0, int use1, std::int64_t time1)
{
    selection.anyTime = !use0 && !use1;
    selection.timeLow = use0 ? time0 : selection.timeLow;
    selection.timeHigh = use1 ? time1 : selection.timeHigh;
}
} // namespace

Selection selectionOf(const CMessageEventRequest &request)
{
    Selection selection;
    selection.count = request.NMax;
    selection.first = request.TakeFirst1_Last0 != 0;
    selection.idLow = request.UseMessageID0 ? request.MessageID0 : INT_MIN;
    selection.idHigh = request.UseMessageID1 ? request.MessageID1 : INT_MAX;
    setTimes(selection, request.UseEventTime0, request.EventTime0, request.UseEventTime1, request.EventTime1);
    selection.series.messageType = valueOf(request.UseMessageType, request.MessageType);
    selection.series.kind = valueOf(request.UseSensorType, request.SensorType);
    selection.series.sensorMask = maskOf(request.UseSensorID, request.SensorID, request.LSensorID);
    selection.series.nameMask = maskOf(request.UseEventName, request.EventName, request.LEventName);
    return selection;
}

Selection selectionOf(const CMessageCommandRequest &request)
{
    Selection selection;
    selection.count = request.NMax;
    selection.first = request.TakeFirst1_Last0 != 0;
    selection.idLow = request.UseCommandID0 ? request.CommandID0 : INT_MIN;
    selection.idHigh = request.UseCommandID1 ? request.CommandID1 : INT_MAX;
    setTimes(selection, request.UseCommandTime0, request.CommandTime0, request.UseCommandTime1, request.CommandTime1);
    selection.series.messageType = valueOf(request.UseMessageType, request.MessageType);
    selection.series.kind = valueOf(request.UseCommandType, request.CommandType);
    selection.series.sensorMask = maskOf(request.UseSensorID, request.SensorID, request.LSensorID);
    return selection;
}
