// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "MessageCommandRequest.h"

#include "Messages.h"
#include "recordparts.h"

CMessageCommandRequest::CMessageCommandRequest(const CMessageCommandRequest &other)
    : CMessageCommandRequest()
{
    *this = other;
}

CMessageCommandRequest::~CMessageCommandRequest()
{
    clean();
}

CMessageCommandRequest &CMessageCommandRequest::operator=(const CMessageCommandRequest &other)
{
    if (this == &other)
        return *this;
    NMax = other.NMax;
    TakeFirst1_Last0 = other.TakeFirst1_Last0;
    MessageType = other.MessageType;
    UseMessageType = other.UseMessageType;
    CopyPtr(&SensorID, &LSensorID, other.SensorID, other.LSensorID);
    UseSensorID = other.UseSensorID;
    CommandID0 = other.CommandID0;
    CommandID1 = other.CommandID1;
    UseCommandID0 = other.UseCommandID0;
    UseCommandID1 = other.UseCommandID1;
    CommandType = other.CommandType;
    UseCommandType = other.UseCommandType;
    CommandTime0 = other.CommandTime0;
    UseCommandTime0 = other.UseCommandTime0;
    CommandTime1 = other.CommandTime1;
    UseCommandTime1 = other.UseCommandTime1;
    return *this;
}

void CMessageCommandRequest::clean()
{
    NMax = 100;
    TakeFirst1_Last0 = 0;
    MessageType = 0;
    UseMessageType = 0;
    RecordParts::release(SensorID);
    LSensorID = 0;
    UseSensorID = 0;
    CommandID0 = 0;
    CommandID1 = 0;
    UseCommandID0 = 0;
    UseCommandID1 = 0;
    CommandType = 0;
    UseCommandType = 0;
    CommandTime0 = 0;
    UseCommandTime0 = 0;
    CommandTime1 = 0;
    UseCommandTime1 = 0;
}

int CMessageCommandRequest::operator&(const CMessageCommand &command) const
{
    const bool excluded =
        (UseMessageType && command.MessageType != MessageType) ||
        (UseSensorID && !RecordParts::matches(SensorID, LSensorID, command.SensorID, command.LSensorID)) ||
        (UseCommandID0 && command.CommandID < CommandID0) || (UseCommandID1 && command.CommandID > CommandID1) ||
        (UseCommandType && command.CommandType != CommandType) ||
        (UseCommandTime0 && command.CommandTime < CommandTime0) ||
        (UseCommandTime1 && command.CommandTime > CommandTime1);
    return excluded ? 0 : 1;
}
