// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "MessageKeepAlive.h"

#include "Messages.h"

CMessageKeepAlive::CMessageKeepAlive(const CMessageKeepAlive &other)
    : CMessageKeepAlive()
{
    *this = other;
}

CMessageKeepAlive::~CMessageKeepAlive()
{
    clean();
}

CMessageKeepAlive &CMessageKeepAlive::operator=(const CMessageKeepAlive &other)
{
    if (this == &other)
        return *this;
    MessageType = other.MessageType;
    CopyPtr(&SensorID, &LSensorID, other.SensorID, other.LSensorID);
    SensorType = other.SensorType;
    EventTime = other.EventTime;
    return *this;
}

void CMessageKeepAlive::clean() {}
