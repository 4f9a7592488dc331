/* SPDX-FileCopyrightText: 2026 The obrim developers
   SPDX-License-Identifier: BSD-2-Clause */
#include "comparison.h"

#include <obrim/dblib.h>

/** A NULL mask selects everything. */
static int maskSelects(const char *mask, int maskLength, const char *name, int nameLength)
{
    return !mask || obrimCompareTexts(obrimTextOf(mask, maskLength), obrimTextOf(name, nameLength));
}

int obrimSelectsEvent(const CMessageEventRequest *request, const CMessageEvent *event)
{
    return (!request->UseMessageID0 || event->MessageID >= request->MessageID0) &&
           (!request->UseMessageID1 || event->MessageID <= request->MessageID1) &&
           (!request->UseMessageType || event->MessageType == request->MessageType) &&
           (!request->UseSensorType || event->SensorType == request->SensorType) &&
           (!request->UseEventTime0 || event->EventTime >= request->EventTime0) &&
           (!request->UseEventTime1 || event->EventTime <= request->EventTime1) &&
           (!request->UseSensorID ||
            maskSelects(request->SensorID, request->LSensorID, event->SensorID, event->LSensorID)) &&
           (!request->UseEventName ||
            maskSelects(request->EventName, request->LEventName, event->EventName, event->LEventName));
}

int obrimSelectsCommand(const CMessageCommandRequest *request, const CMessageCommand *command)
{
    return (!request->UseCommandID0 || command->CommandID >= request->CommandID0) &&
           (!request->UseCommandID1 || command->CommandID <= request->CommandID1) &&
           (!request->UseMessageType || command->MessageType == request->MessageType) &&
           (!request->UseCommandType || command->CommandType == request->CommandType) &&
           (!request->UseCommandTime0 || command->CommandTime >= request->CommandTime0) &&
           (!request->UseCommandTime1 || command->CommandTime <= request->CommandTime1) &&
           (!request->UseSensorID ||
            maskSelects(request->SensorID, request->LSensorID, command->SensorID, command->LSensorID));
}
