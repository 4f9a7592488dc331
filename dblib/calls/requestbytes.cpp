// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "requestbytes.h"

#include "timebounds.h"

#include <limits>

namespace Calls
{
namespace
{
struct EventRequestHead {
    std::int32_t nMax;
    std::int32_t takeFirst;
    std::int32_t messageId0;
    std::int32_t messageId1;
    std::int32_t useMessageId0;
    std::int32_t useMessageId1;
    std::int32_t messageType;
    std::int32_t useMessageType;
    std::uint32_t sensorBytes;
    std::int32_t useSensor;
    std::int32_t sensorType;
    std::int32_t useSensorType;
    std::uint32_t nameBytes;
    std::int32_t useName;
    Time eventTime0;
    std::int32_t useEventTime0;
    Time eventTime1;
    std::int32_t useEventTime1;
};
static_assert(sizeof(EventRequestHead) == 80, "as stated in docs/calls-as-bytes.md");

struct CommandRequestHead {
    std::int32_t nMax;
    std::int32_t takeFirst;
    std::int32_t messageType;
    std::int32_t useMessageType;
    std::uint32_t sensorBytes;
    std::int32_t useSensor;
    std::int32_t commandId0;
    std::int32_t commandId1;
    std::int32_t useCommandId0;
    std::int32_t useCommandId1;
    std::int32_t commandType;
    std::int32_t useCommandType;
    Time commandTime0;
    std::int32_t useCommandTime0;
    Time commandTime1;
    std::int32_t useCommandTime1;
};
static_assert(sizeof(CommandRequestHead) == 72, "as stated in docs/calls-as-bytes.md");

void appendMask(std::string &bytes, const char *mask, int length)
{
    if (const std::size_t size = textSize(mask, length))
        bytes.append(mask, size);
}

/** The bounds as this program's times hold them. */
TimeBounds ownBounds(Time first, std::int32_t usesFirst, Time last, std::int32_t usesLast)
{
    using Limits = std::numeric_limits<std::time_t>;
    return within(Limits::min(), Limits::max(), {secondsOf(first), usesFirst, secondsOf(last), usesLast});
}

void takeMask(ByteReader &bytes, std::uint32_t size, char *&mask, int &length)
{
    const std::string_view text = bytes.take(size, "a mask");
    CopyPtr(&mask, &length, text.data(), int(text.size()));
}
} // namespace

void appendRequest(std::string &bytes, const CMessageEventRequest &request)
{
    EventRequestHead head = {};
    head.nMax = request.NMax;
    head.takeFirst = request.TakeFirst1_Last0;
    head.messageId0 = request.MessageID0;
    head.messageId1 = request.MessageID1;
    head.useMessageId0 = request.UseMessageID0;
    head.useMessageId1 = request.UseMessageID1;
    head.messageType = request.MessageType;
    head.useMessageType = request.UseMessageType;
    head.sensorBytes = std::uint32_t(textSize(request.SensorID, request.LSensorID));
    head.useSensor = request.UseSensorID;
    head.sensorType = request.SensorType;
    head.useSensorType = request.UseSensorType;
    head.nameBytes = std::uint32_t(textSize(request.EventName, request.LEventName));
    head.useName = request.UseEventName;
    head.eventTime0 = toBytes(request.EventTime0);
    head.useEventTime0 = request.UseEventTime0;
    head.eventTime1 = toBytes(request.EventTime1);
    head.useEventTime1 = request.UseEventTime1;
    append(bytes, head);
    appendMask(bytes, request.SensorID, request.LSensorID);
    appendMask(bytes, request.EventName, request.LEventName);
}

void appendRequest(std::string &bytes, const CMessageCommandRequest &request)
{
    CommandRequestHead head = {};
    head.nMax = request.NMax;
    head.takeFirst = request.TakeFirst1_Last0;
    head.messageType = request.MessageType;
    head.useMessageType = request.UseMessageType;
    head.sensorBytes = std::uint32_t(textSize(request.SensorID, request.LSensorID));
    head.useSensor = request.UseSensorID;
    head.commandId0 = request.CommandID0;
    head.commandId1 = request.CommandID1;
    head.useCommandId0 = request.UseCommandID0;
    head.useCommandId1 = request.UseCommandID1;
    head.commandType = request.CommandType;
    head.useCommandType = request.UseCommandType;
    head.commandTime0 = toBytes(request.CommandTime0);
    head.useCommandTime0 = request.UseCommandTime0;
    head.commandTime1 = toBytes(request.CommandTime1);
    head.useCommandTime1 = request.UseCommandTime1;
    append(bytes, head);
    appendMask(bytes, request.SensorID, request.LSensorID);
}

void takeRequest(ByteReader &bytes, CMessageEventRequest &request)
{
    const auto head = bytes.take<EventRequestHead>("a request for events");
    request.NMax = head.nMax;
    request.TakeFirst1_Last0 = head.takeFirst;
    request.MessageID0 = head.messageId0;
    request.MessageID1 = head.messageId1;
    request.UseMessageID0 = head.useMessageId0;
    request.UseMessageID1 = head.useMessageId1;
    request.MessageType = head.messageType;
    request.UseMessageType = head.useMessageType;
    request.UseSensorID = head.useSensor;
    request.SensorType = head.sensorType;
    request.UseSensorType = head.useSensorType;
    request.UseEventName = head.useName;
    const TimeBounds bounds = ownBounds(head.eventTime0, head.useEventTime0, head.eventTime1, head.useEventTime1);
    request.EventTime0 = std::time_t(bounds.first);
    request.UseEventTime0 = bounds.usesFirst;
    request.EventTime1 = std::time_t(bounds.last);
    request.UseEventTime1 = bounds.usesLast;
    takeMask(bytes, head.sensorBytes, request.SensorID, request.LSensorID);
    takeMask(bytes, head.nameBytes, request.EventName, request.LEventName);
}

void takeRequest(ByteReader &bytes, CMessageCommandRequest &request)
{
    const auto head = bytes.take<CommandRequestHead>("a request for commands");
    request.NMax = head.nMax;
    request.TakeFirst1_Last0 = head.takeFirst;
    request.MessageType = head.messageType;
    request.UseMessageType = head.useMessageType;
    request.UseSensorID = head.useSensor;
    request.CommandID0 = head.commandId0;
    request.CommandID1 = head.commandId1;
    request.UseCommandID0 = head.useCommandId0;
    request.UseCommandID1 = head.useCommandId1;
    request.CommandType = head.commandType;
    request.UseCommandType = head.useCommandType;
    const TimeBounds bounds =
        ownBounds(head.commandTime0, head.useCommandTime0, head.commandTime1, head.useCommandTime1);
    request.CommandTime0 = std::time_t(bounds.first);
    request.UseCommandTime0 = bounds.usesFirst;
    request.CommandTime1 = std::time_t(bounds.last);
    request.UseCommandTime1 = bounds.usesLast;
    takeMask(bytes, head.sensorBytes, request.SensorID, request.LSensorID);
}
} // namespace Calls
