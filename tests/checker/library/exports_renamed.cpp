// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "library.h"

#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT int ReadSensors(int *n, CSensor **sensors)
{
    return Functions::getSensors(n, sensors);
}

EXPORT int OpenSensors(const char *config)
{
    return Functions::initSensors(config);
}

EXPORT int ReadEvents(int *n, CMessageEvent **events, CMessageEventRequest *request)
{
    return Functions::getEvents(n, events, request);
}

EXPORT int OpenEvents(const char *config)
{
    return Functions::initEvents(config);
}

EXPORT int ReadCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request)
{
    return Functions::getCommands(n, commands, request);
}

EXPORT int OpenCommands(const char *config)
{
    return Functions::initCommands(config);
}

EXPORT int WriteCommand(CMessageCommand *command)
{
    return Functions::putCommand(command);
}

EXPORT int WriteEvent(CMessageEvent *event)
{
    return Functions::putEvent(event);
}

EXPORT int DropCommand(int id)
{
    return Functions::deleteCommand(id);
}

EXPORT int DropEvent(int id)
{
    return Functions::deleteEvent(id);
}
