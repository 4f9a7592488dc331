// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "library.h"

#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT int readSensors(int *n, CSensor **sensors)
{
    return Functions::getSensors(n, sensors);
}

EXPORT int openSensors(const char *config)
{
    return Functions::initSensors(config);
}

EXPORT int readEvents(int *n, CMessageEvent **events, CMessageEventRequest *request)
{
    return Functions::getEvents(n, events, request);
}

EXPORT int openEvents(const char *config)
{
    return Functions::initEvents(config);
}

EXPORT int readCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request)
{
    return Functions::getCommands(n, commands, request);
}

EXPORT int openCommands(const char *config)
{
    return Functions::initCommands(config);
}

EXPORT int writeCommand(CMessageCommand *command)
{
    return Functions::putCommand(command);
}

EXPORT int writeEvent(CMessageEvent *event)
{
    return Functions::putEvent(event);
}

EXPORT int dropCommand(int id)
{
    return Functions::deleteCommand(id);
}

EXPORT int dropEvent(int id)
{
    return Functions::deleteEvent(id);
}
