// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "library.h"

#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT int FDBGetSensors(int *n, CSensor **sensors)
{
    return Functions::getSensors(n, sensors);
}

EXPORT int FInitDBSensors(const char *config)
{
    return Functions::initSensors(config);
}

EXPORT int FDBGetEvents(int *n, CMessageEvent **events, CMessageEventRequest *request)
{
    return Functions::getEvents(n, events, request);
}

EXPORT int FInitDBEvents(const char *config)
{
    return Functions::initEvents(config);
}

EXPORT int FDBGetCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request)
{
    return Functions::getCommands(n, commands, request);
}

EXPORT int FInitDBCommands(const char *config)
{
    return Functions::initCommands(config);
}

EXPORT int FDBPutCommand(CMessageCommand *command)
{
    return Functions::putCommand(command);
}
