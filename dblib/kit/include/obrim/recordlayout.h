/* SPDX-FileCopyrightText: 2026 The obrim developers
   SPDX-License-Identifier: BSD-2-Clause */
#pragma once

#ifdef __cplusplus
#include <cstddef>
#include <ctime>
#else
#include <assert.h>
#include <stddef.h>
#include <time.h>
#endif

/**
 * @file
 * Asserts the layouts of docs/record-layout.md for the target that is being
 * built, in C and in C++. Included where the records are declared: by
 * obrim/dblib.h, and by Messages.cpp, so that no build can go without.
 */

static_assert(sizeof(int) == 4, "fields are 32-bit");
static_assert(sizeof(double) == 8, "floating point parameters are 8-byte doubles");
static_assert(sizeof(time_t) == sizeof(void *), "times follow the pointer width");

/** One of the two documented values: for 4-byte and for 8-byte pointers and times. */
#if __SIZEOF_POINTER__ == 4
#define OBRIM_AT(with4, with8) (with4)
#else
#define OBRIM_AT(with4, with8) (with8)
#endif
#define OBRIM_SIZE(record, with4, with8) static_assert(sizeof(record) == OBRIM_AT(with4, with8), #record)
#define OBRIM_FIELD(record, field, with4, with8)                                                                       \
    static_assert(offsetof(record, field) == OBRIM_AT(with4, with8), #record "::" #field)

OBRIM_SIZE(CMessageEventParam, 20, 40);
OBRIM_FIELD(CMessageEventParam, Type, 0, 0);
OBRIM_FIELD(CMessageEventParam, Name, 4, 8);
OBRIM_FIELD(CMessageEventParam, LName, 8, 16);
OBRIM_FIELD(CMessageEventParam, Val, 12, 24);
OBRIM_FIELD(CMessageEventParam, LVal, 16, 32);

OBRIM_SIZE(CMessageEvent, 40, 72);
OBRIM_FIELD(CMessageEvent, MessageType, 0, 0);
OBRIM_FIELD(CMessageEvent, SensorID, 4, 8);
OBRIM_FIELD(CMessageEvent, LSensorID, 8, 16);
OBRIM_FIELD(CMessageEvent, MessageID, 12, 20);
OBRIM_FIELD(CMessageEvent, SensorType, 16, 24);
OBRIM_FIELD(CMessageEvent, EventName, 20, 32);
OBRIM_FIELD(CMessageEvent, LEventName, 24, 40);
OBRIM_FIELD(CMessageEvent, EventTime, 28, 48);
OBRIM_FIELD(CMessageEvent, ParNum, 32, 56);
OBRIM_FIELD(CMessageEvent, par, 36, 64);

OBRIM_SIZE(CMessageCommand, 32, 56);
OBRIM_FIELD(CMessageCommand, MessageType, 0, 0);
OBRIM_FIELD(CMessageCommand, SensorID, 4, 8);
OBRIM_FIELD(CMessageCommand, LSensorID, 8, 16);
OBRIM_FIELD(CMessageCommand, CommandID, 12, 20);
OBRIM_FIELD(CMessageCommand, CommandType, 16, 24);
OBRIM_FIELD(CMessageCommand, CommandTime, 20, 32);
OBRIM_FIELD(CMessageCommand, ParNum, 24, 40);
OBRIM_FIELD(CMessageCommand, par, 28, 48);

OBRIM_SIZE(CSensor, 32, 56);
OBRIM_FIELD(CSensor, SensorType, 0, 0);
OBRIM_FIELD(CSensor, SensorID, 4, 8);
OBRIM_FIELD(CSensor, LSensorID, 8, 16);
OBRIM_FIELD(CSensor, Description, 12, 24);
OBRIM_FIELD(CSensor, LDescription, 16, 32);
OBRIM_FIELD(CSensor, MessageType, 20, 36);
OBRIM_FIELD(CSensor, EventTime, 24, 40);
OBRIM_FIELD(CSensor, Status, 28, 48);

OBRIM_SIZE(CMessageKeepAlive, 20, 32);
OBRIM_FIELD(CMessageKeepAlive, MessageType, 0, 0);
OBRIM_FIELD(CMessageKeepAlive, SensorID, 4, 8);
OBRIM_FIELD(CMessageKeepAlive, LSensorID, 8, 16);
OBRIM_FIELD(CMessageKeepAlive, SensorType, 12, 20);
OBRIM_FIELD(CMessageKeepAlive, EventTime, 16, 24);

OBRIM_SIZE(CMessageEventRequest, 80, 104);
OBRIM_FIELD(CMessageEventRequest, NMax, 0, 0);
OBRIM_FIELD(CMessageEventRequest, TakeFirst1_Last0, 4, 4);
OBRIM_FIELD(CMessageEventRequest, MessageID0, 8, 8);
OBRIM_FIELD(CMessageEventRequest, MessageID1, 12, 12);
OBRIM_FIELD(CMessageEventRequest, UseMessageID0, 16, 16);
OBRIM_FIELD(CMessageEventRequest, UseMessageID1, 20, 20);
OBRIM_FIELD(CMessageEventRequest, MessageType, 24, 24);
OBRIM_FIELD(CMessageEventRequest, UseMessageType, 28, 28);
OBRIM_FIELD(CMessageEventRequest, SensorID, 32, 32);
OBRIM_FIELD(CMessageEventRequest, LSensorID, 36, 40);
OBRIM_FIELD(CMessageEventRequest, UseSensorID, 40, 44);
OBRIM_FIELD(CMessageEventRequest, SensorType, 44, 48);
OBRIM_FIELD(CMessageEventRequest, UseSensorType, 48, 52);
OBRIM_FIELD(CMessageEventRequest, EventName, 52, 56);
OBRIM_FIELD(CMessageEventRequest, LEventName, 56, 64);
OBRIM_FIELD(CMessageEventRequest, UseEventName, 60, 68);
OBRIM_FIELD(CMessageEventRequest, EventTime0, 64, 72);
OBRIM_FIELD(CMessageEventRequest, UseEventTime0, 68, 80);
OBRIM_FIELD(CMessageEventRequest, EventTime1, 72, 88);
OBRIM_FIELD(CMessageEventRequest, UseEventTime1, 76, 96);

OBRIM_SIZE(CMessageCommandRequest, 68, 88);
OBRIM_FIELD(CMessageCommandRequest, NMax, 0, 0);
OBRIM_FIELD(CMessageCommandRequest, TakeFirst1_Last0, 4, 4);
OBRIM_FIELD(CMessageCommandRequest, MessageType, 8, 8);
OBRIM_FIELD(CMessageCommandRequest, UseMessageType, 12, 12);
OBRIM_FIELD(CMessageCommandRequest, SensorID, 16, 16);
OBRIM_FIELD(CMessageCommandRequest, LSensorID, 20, 24);
OBRIM_FIELD(CMessageCommandRequest, UseSensorID, 24, 28);
OBRIM_FIELD(CMessageCommandRequest, CommandID0, 28, 32);
OBRIM_FIELD(CMessageCommandRequest, CommandID1, 32, 36);
OBRIM_FIELD(CMessageCommandRequest, UseCommandID0, 36, 40);
OBRIM_FIELD(CMessageCommandRequest, UseCommandID1, 40, 44);
OBRIM_FIELD(CMessageCommandRequest, CommandType, 44, 48);
OBRIM_FIELD(CMessageCommandRequest, UseCommandType, 48, 52);
OBRIM_FIELD(CMessageCommandRequest, CommandTime0, 52, 56);
OBRIM_FIELD(CMessageCommandRequest, UseCommandTime0, 56, 64);
OBRIM_FIELD(CMessageCommandRequest, CommandTime1, 60, 72);
OBRIM_FIELD(CMessageCommandRequest, UseCommandTime1, 64, 80);

#undef OBRIM_AT
#undef OBRIM_SIZE
#undef OBRIM_FIELD
