// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "MessageEventRequest.h"

#include "Messages.h"
#include "recordparts.h"

#include <tuple>

namespace
{
/** All fields but the masks. */
template <class Request> auto numbersOf(Request &r)
{
    return std::tie(r.NMax, r.TakeFirst1_Last0, r.MessageID0, r.MessageID1, r.UseMessageID0, r.UseMessageID1,
                    r.MessageType, r.UseMessageType, r.UseSensorID, r.SensorType, r.UseSensorType, r.UseEventName,
                    r.EventTime0, r.UseEventTime0, r.EventTime1, r.UseEventTime1);
}
} // namespace

CMessageEventRequest::CMessageEventRequest(const CMessageEventRequest &other)
    : CMessageEventRequest()
{
    *this = other;
}

CMessageEventRequest::~CMessageEventRequest()
{
    clean();
}

CMessageEventRequest &CMessageEventRequest::operator=(const CMessageEventRequest &other)
{
    if (this == &other)
        return *this;
    numbersOf(*this) = numbersOf(other);
    CopyPtr(&SensorID, &LSensorID, other.SensorID, other.LSensorID);
    CopyPtr(&EventName, &LEventName, other.EventName, other.LEventName);
    return *this;
}

void CMessageEventRequest::clean()
{
    std::apply([](auto &...number) { ((number = 0), ...); }, numbersOf(*this));
    NMax = 100;
    RecordParts::release(SensorID, LSensorID);
    RecordParts::release(EventName, LEventName);
}

int CMessageEventRequest::operator&(const CMessageEvent &event) const
{
    const bool excluded =
        (UseMessageID0 && event.MessageID < MessageID0) || (UseMessageID1 && event.MessageID > MessageID1) ||
        (UseMessageType && event.MessageType != MessageType) ||
        (UseSensorID && !RecordParts::matches(SensorID, LSensorID, event.SensorID, event.LSensorID)) ||
        (UseSensorType && event.SensorType != SensorType) ||
        (UseEventName && !RecordParts::matches(EventName, LEventName, event.EventName, event.LEventName)) ||
        (UseEventTime0 && event.EventTime < EventTime0) || (UseEventTime1 && event.EventTime > EventTime1);
    return excluded ? 0 : 1;
}
