// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "MessageEventRequest.h"

#include "Messages.h"
#include "recordparts.h"

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
    NMax = other.NMax;
    TakeFirst1_Last0 = other.TakeFirst1_Last0;
    MessageID0 = other.MessageID0;
    MessageID1 = other.MessageID1;
    UseMessageID0 = other.UseMessageID0;
    UseMessageID1 = other.UseMessageID1;
    MessageType = other.MessageType;
    UseMessageType = other.UseMessageType;
    CopyPtr(&SensorID, &LSensorID, other.SensorID, other.LSensorID);
    UseSensorID = other.UseSensorID;
    SensorType = other.SensorType;
    UseSensorType = other.UseSensorType;
    CopyPtr(&EventName, &LEventName, other.EventName, other.LEventName);
    UseEventName = other.UseEventName;
    EventTime0 = other.EventTime0;
    UseEventTime0 = other.UseEventTime0;
    EventTime1 = other.EventTime1;
    UseEventTime1 = other.UseEventTime1;
    return *this;
}

void CMessageEventRequest::clean()
{
    NMax = 100;
    TakeFirst1_Last0 = 0;
    MessageID0 = 0;
    MessageID1 = 0;
    UseMessageID0 = 0;
    UseMessageID1 = 0;
    MessageType = 0;
    UseMessageType = 0;
    RecordParts::release(SensorID);
    LSensorID = 0;
    UseSensorID = 0;
    SensorType = 0;
    UseSensorType = 0;
    RecordParts::release(EventName);
    LEventName = 0;
    UseEventName = 0;
    EventTime0 = 0;
    UseEventTime0 = 0;
    EventTime1 = 0;
    UseEventTime1 = 0;
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
