// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "Sensor.h"

#include "Messages.h"
#include "recordparts.h"

CSensor::CSensor(const CSensor &other)
    : CSensor()
{
    *this = other;
}

CSensor::~CSensor()
{
    clean();
}

CSensor &CSensor::operator=(const CSensor &other)
{
    if (this == &other)
        return *this;
    SensorType = other.SensorType;
    CopyPtr(&SensorID, &LSensorID, other.SensorID, other.LSensorID);
    MessageType = other.MessageType;
    EventTime = other.EventTime;
    CopyPtr(&Description, &LDescription, other.Description, other.LDescription);
    return *this;
}

void CSensor::clean()
{
    SensorType = 0;
    RecordParts::release(SensorID, LSensorID);
    RecordParts::release(Description, LDescription);
    MessageType = 0;
    EventTime = 0;
}

void CSensor::AllocateStrings()
{
    RecordParts::allocate(SensorID, LSensorID);
    RecordParts::allocate(Description, LDescription);
}
