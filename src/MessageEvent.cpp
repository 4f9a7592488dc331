// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "MessageEvent.h"

#include "Messages.h"
#include "recordparts.h"

CMessageEvent::CMessageEvent(const CMessageEvent &other)
    : CMessageEvent()
{
    *this = other;
}

CMessageEvent::~CMessageEvent()
{
    clean();
}

CMessageEvent &CMessageEvent::operator=(const CMessageEvent &other)
{
    if (this == &other)
        return *this;
    MessageID = other.MessageID;
    MessageType = other.MessageType;
    CopyPtr(&SensorID, &LSensorID, other.SensorID, other.LSensorID);
    SensorType = other.SensorType;
    CopyPtr(&EventName, &LEventName, other.EventName, other.LEventName);
    EventTime = other.EventTime;
    RecordParts::copyParameters(par, ParNum, other.par, other.ParNum);
    return *this;
}

void CMessageEvent::clean()
{
    MessageType = 0;
    RecordParts::release(SensorID, LSensorID);
    MessageID = 0;
    SensorType = 0;
    RecordParts::release(EventName, LEventName);
    EventTime = 0;
    RecordParts::releaseParameters(par, ParNum);
}

void CMessageEvent::AllocateStrings()
{
    RecordParts::allocateIfAny(SensorID, LSensorID);
    RecordParts::allocateIfAny(EventName, LEventName);
    RecordParts::createParameters(par, ParNum);
}

void CMessageEvent::AllocateParameters()
{
    RecordParts::allocateParameterStrings(par, ParNum);
}
