/* SPDX-FileCopyrightText: 2026 The obrim developers
   SPDX-License-Identifier: BSD-2-Clause */
#pragma once

/**
 * @file
 * All that a DB library needs, in C11 or C++: the records and requests, the
 * ten functions, and, for C, what helps to keep and select records. In C++ it
 * is Messages.h with the ten functions declared.
 *
 * Offsets and sizes are asserted for the target that is being built.
 */

#ifdef __cplusplus
#include <Messages.h>
#else
#include "recordcodes.h"

#include <time.h>

/** One named, typed parameter of an event or a command. */
typedef struct CMessageEventParam {
    int Type;   ///< a ParameterType
    char *Name; ///< NUL-terminated name
    int LName;  ///< bytes in Name, the NUL counted
    char *Val;  ///< a 4-byte int, an 8-byte double, or NUL-terminated text; unaligned
    int LVal;   ///< bytes in Val
} CMessageEventParam;

/** One event that a sensor reported. */
typedef struct CMessageEvent {
    int MessageType;         ///< kind of message, compared exactly by filters
    char *SensorID;          ///< name of the sensor that raised the event
    int LSensorID;           ///< bytes in SensorID, the NUL counted
    int MessageID;           ///< identifier in the store
    int SensorType;          ///< kind of the sensor
    char *EventName;         ///< name of the event
    int LEventName;          ///< bytes in EventName, the NUL counted
    time_t EventTime;        ///< seconds since the Unix epoch
    int ParNum;              ///< entries in par
    CMessageEventParam *par; ///< the parameters, or NULL
} CMessageEvent;

/** One command that was issued to a sensor. */
typedef struct CMessageCommand {
    int MessageType;         ///< kind of message
    char *SensorID;          ///< name of the target sensor
    int LSensorID;           ///< bytes in SensorID, the NUL counted
    int CommandID;           ///< identifier in the store
    int CommandType;         ///< a CommandCode
    time_t CommandTime;      ///< time of issue, seconds since the Unix epoch
    int ParNum;              ///< entries in par
    CMessageEventParam *par; ///< the parameters, or NULL
} CMessageCommand;

/** One monitored sensor. */
typedef struct CSensor {
    int SensorType;    ///< kind of the sensor
    char *SensorID;    ///< name of the sensor
    int LSensorID;     ///< bytes in SensorID, the NUL counted
    char *Description; ///< free text
    int LDescription;  ///< bytes in Description, the NUL counted
    int MessageType;   ///< a SensorLiveness; any other value: unknown
    time_t EventTime;  ///< time of the last message, seconds since the Unix epoch
    int Status;        ///< reserved: the console does not read it
} CSensor;

/** A sensor's keep-alive message. The console never creates one. */
typedef struct CMessageKeepAlive {
    int MessageType;
    char *SensorID;
    int LSensorID; ///< bytes in SensorID, the NUL counted
    int SensorType;
    time_t EventTime; ///< seconds since the Unix epoch
} CMessageKeepAlive;

/** Selects events: each value counts only when its `Use...` switch is not 0. */
typedef struct CMessageEventRequest {
    int NMax;             ///< most records wanted; 0 or less: none
    int TakeFirst1_Last0; ///< 1: the first (oldest) NMax, 0: the last (newest)
    int MessageID0;       ///< lowest identifier accepted
    int MessageID1;       ///< highest identifier accepted
    int UseMessageID0;
    int UseMessageID1;
    int MessageType; ///< kind of message required
    int UseMessageType;
    char *SensorID; ///< mask for the sensor's name
    int LSensorID;  ///< bytes in SensorID, the NUL counted
    int UseSensorID;
    int SensorType; ///< kind of sensor required
    int UseSensorType;
    char *EventName; ///< mask for the event's name
    int LEventName;  ///< bytes in EventName, the NUL counted
    int UseEventName;
    time_t EventTime0; ///< earliest time accepted
    int UseEventTime0;
    time_t EventTime1; ///< latest time accepted
    int UseEventTime1;
} CMessageEventRequest;

/** Selects commands: each value counts only when its `Use...` switch is not 0. */
typedef struct CMessageCommandRequest {
    int NMax;             ///< most records wanted; 0 or less: none
    int TakeFirst1_Last0; ///< 1: the first (oldest) NMax, 0: the last (newest)
    int MessageType;      ///< kind of message required
    int UseMessageType;
    char *SensorID; ///< mask for the sensor's name
    int LSensorID;  ///< bytes in SensorID, the NUL counted
    int UseSensorID;
    int CommandID0; ///< lowest identifier accepted
    int CommandID1; ///< highest identifier accepted
    int UseCommandID0;
    int UseCommandID1;
    int CommandType; ///< order required
    int UseCommandType;
    time_t CommandTime0; ///< earliest time accepted
    int UseCommandTime0;
    time_t CommandTime1; ///< latest time accepted
    int UseCommandTime1;
} CMessageCommandRequest;

/** What the size queries must return. */
enum {
    SensorSize = sizeof(CSensor),
    EventSizes = sizeof(CMessageEvent) | (sizeof(CMessageEventRequest) << 16),
    CommandSizes = sizeof(CMessageCommand) | (sizeof(CMessageCommandRequest) << 16)
};
#endif

#include "recordlayout.h"

/*
 * The ten functions of a DB library. docs/db-library.md states for each what
 * must hold before, what comes back, and who owns it and for how long. They
 * are seen also where all else is built with hidden visibility.
 */
#define OBRIM_EXPORT __attribute__((visibility("default")))

OBRIM_EXPORT int FInitDBSensors(const char *configDir);
OBRIM_EXPORT int FInitDBEvents(const char *configDir);
OBRIM_EXPORT int FInitDBCommands(const char *configDir);
OBRIM_EXPORT int FDBGetSensors(int *n, CSensor **sensors);
OBRIM_EXPORT int FDBGetEvents(int *n, CMessageEvent **events, CMessageEventRequest *request);
OBRIM_EXPORT int FDBGetCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request);
OBRIM_EXPORT int FDBPutCommand(CMessageCommand *command);
OBRIM_EXPORT int FDBPutEvent(CMessageEvent *event);
OBRIM_EXPORT int FDBDeleteCommand(int id);
OBRIM_EXPORT int FDBDeleteEvent(int id);

#ifndef __cplusplus
/*
 * For C, in the library Obrim::DBC. C++ has the records' own members,
 * CopyPtr and WCompareNoCase instead. All of it may be called from several
 * threads at a time.
 */

/**
 * Whether `pattern` covers the whole of `text`, without regard to ASCII letter
 * case: `*` stands for any run of bytes, `?` for one, `+` for at least one; all
 * other bytes for themselves. A NULL text counts as empty.
 *
 * The request's mask is the text, the record's name the pattern.
 *
 * Bounds: 1023 bytes a text, 99 metacharacters, 255 bytes between two of them;
 * 0 for what is beyond any of them.
 */
int obrimCompareNoCase(const char *text, const char *pattern);

/** Whether the record passes every filter that is switched on. NMax and TakeFirst1_Last0 take no part. */
int obrimSelectsEvent(const CMessageEventRequest *request, const CMessageEvent *event);
int obrimSelectsCommand(const CMessageCommandRequest *request, const CMessageCommand *command);

/**
 * Replaces an owned text by a copy of `value`, with its NUL counted in
 * `length`; by none where `value` is NULL. 0, or -1 when memory is short: the
 * text is then as before.
 */
int obrimSetText(char **text, int *length, const char *value);

/** The same for `size` bytes, such as the value of a parameter; none when `size` is 0 or less. */
int obrimSetBytes(char **bytes, int *length, const void *value, int size);

/**
 * Makes `to` a deep copy of `from`; what `to` owned is freed. 0, or -1 when
 * memory is short: `to` is then empty. Texts and parameters are of malloc and
 * belong to the record.
 */
int obrimCopySensor(CSensor *to, const CSensor *from);
int obrimCopyEvent(CMessageEvent *to, const CMessageEvent *from);
int obrimCopyCommand(CMessageCommand *to, const CMessageCommand *from);

/** Frees what the record owns and leaves it empty. */
void obrimClearSensor(CSensor *sensor);
void obrimClearEvent(CMessageEvent *event);
void obrimClearCommand(CMessageCommand *command);

/**
 * An array of `n` empty records to be given to the console, which knows its own
 * length. NULL when memory is short, or when `n` is 0 or less.
 */
CSensor *obrimNewSensors(int n);
CMessageEvent *obrimNewEvents(int n);
CMessageCommand *obrimNewCommands(int n);

/** Frees such an array with all that its records own, and sets `*array` to NULL. NULL in it is no array. */
void obrimFreeSensors(CSensor **array);
void obrimFreeEvents(CMessageEvent **array);
void obrimFreeCommands(CMessageCommand **array);
#endif
