// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "MessageCommand.h"

#include "Messages.h"
#include "clock.h"
#include "recordparts.h"

#include <cstring>

CMessageCommand::CMessageCommand(const CMessageCommand &other)
    : CMessageCommand()
{
    *this = other;
}

CMessageCommand::~CMessageCommand()
{
    clean();
}

CMessageCommand &CMessageCommand::operator=(const CMessageCommand &other)
{
    if (this == &other)
        return *this;
    MessageType = other.MessageType;
    CopyPtr(&SensorID, &LSensorID, other.SensorID, other.LSensorID);
    CommandType = other.CommandType;
    CommandTime = other.CommandTime;
    CommandID = other.CommandID;
    RecordParts::copyParameters(par, ParNum, other.par, other.ParNum);
    return *this;
}

void CMessageCommand::clean()
{
    MessageType = 0;
    RecordParts::release(SensorID, LSensorID);
    CommandID = 0;
    CommandType = 0;
    CommandTime = 0;
    RecordParts::releaseParameters(par, ParNum);
}

void CMessageCommand::Set(int messageType, const char *sensorId, int commandType)
{
    MessageType = messageType;
    CopyPtr(&SensorID, &LSensorID, sensorId, sensorId ? int(std::strlen(sensorId)) + 1 : 0);
    CommandType = commandType;
    CommandTime = currentTime();
}

void CMessageCommand::AllocateStrings()
{
    RecordParts::allocateIfAny(SensorID, LSensorID);
    RecordParts::createParameters(par, ParNum);
}

void CMessageCommand::AllocateParameters()
{
    RecordParts::allocateParameterStrings(par, ParNum);
}
