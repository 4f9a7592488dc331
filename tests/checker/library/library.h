// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

/** The ten functions under no exported name of their own: the export files give them theirs. */
namespace Functions
{
int getSensors(int *n, CSensor **sensors);
int initSensors(const char *config);
int getEvents(int *n, CMessageEvent **events, CMessageEventRequest *request);
int initEvents(const char *config);
int getCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request);
int initCommands(const char *config);
int putCommand(CMessageCommand *command);
int putEvent(CMessageEvent *event);
int deleteCommand(int id);
int deleteEvent(int id);
} // namespace Functions
