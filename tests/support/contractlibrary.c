/* SPDX-FileCopyrightText: 2026 The obrim developers
 * SPDX-License-Identifier: GPL-2.0-or-later
 *
 * A DB library in C: seven functions under their plain names, the records
 * declared by itself, memory from malloc. MISSING is the place of the function
 * that is left out.
 */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <time.h>

#ifndef MISSING
#define MISSING -1
#endif
#define EXPORT __attribute__((visibility("default")))

struct Sensor {
    int SensorType;
    char *SensorID;
    int LSensorID;
    char *Description;
    int LDescription;
    int MessageType;
    time_t EventTime;
    int Status;
};

struct Event {
    int MessageType;
    char *SensorID;
    int LSensorID;
    int MessageID;
    int SensorType;
    char *EventName;
    int LEventName;
    time_t EventTime;
    int ParNum;
    void *par;
};

struct Command {
    int MessageType;
    char *SensorID;
    int LSensorID;
    int CommandID;
    int CommandType;
    time_t CommandTime;
    int ParNum;
    void *par;
};

struct EventRequest {
    int NMax, TakeFirst1_Last0;
    int MessageID0, MessageID1, UseMessageID0, UseMessageID1;
    int MessageType, UseMessageType;
    char *SensorID;
    int LSensorID, UseSensorID;
    int SensorType, UseSensorType;
    char *EventName;
    int LEventName, UseEventName;
    time_t EventTime0;
    int UseEventTime0;
    time_t EventTime1;
    int UseEventTime1;
};

struct CommandRequest {
    int NMax, TakeFirst1_Last0;
    int MessageType, UseMessageType;
    char *SensorID;
    int LSensorID, UseSensorID;
    int CommandID0, CommandID1, UseCommandID0, UseCommandID1;
    int CommandType, UseCommandType;
    time_t CommandTime0;
    int UseCommandTime0;
    time_t CommandTime1;
    int UseCommandTime1;
};

EXPORT int FDBGetSensors(int *n, struct Sensor **sensors);
EXPORT int FInitDBSensors(const char *directory);
EXPORT int FDBGetEvents(int *n, struct Event **events, struct EventRequest *request);
EXPORT int FInitDBEvents(const char *directory);
EXPORT int FDBGetCommands(int *n, struct Command **commands, struct CommandRequest *request);
EXPORT int FInitDBCommands(const char *directory);
EXPORT int FDBPutCommand(struct Command *command);

#ifdef NULL_SYMBOL
__asm__(".globl _Z13FDBGetSensorsPiPP7CSensor\n.set _Z13FDBGetSensorsPiPP7CSensor, 0");
#endif
#ifdef UNRESOLVED
extern int obrimFunctionThatNobodyHas(void);
EXPORT int callsIt(void);
int callsIt(void)
{
    return obrimFunctionThatNobodyHas();
}
#endif

static void logCall(const char *function, const char *what)
{
    const char *path = getenv("OBRIM_CALL_LOG");
    FILE *file = path ? fopen(path, "a") : NULL;
    if (file) {
        fprintf(file, "%s%s%s\n", function, *what ? " " : "", what);
        fclose(file);
    }
}

/* Steps through `all` identifiers from the end that the request takes from. */
static int step(int i, int all, int takeFirst)
{
    return takeFirst ? i : all - 1 - i;
}

#if MISSING != 0
int FDBGetSensors(int *n, struct Sensor **sensors)
{
    static char name[] = "c-sensor", description[] = "Sensor of a C library";
    if (!n && !sensors) {
        logCall("FDBGetSensors", "query");
        return (int)sizeof(struct Sensor);
    }
    if (!n) {
        logCall("FDBGetSensors", "release");
        free(*sensors);
        *sensors = NULL;
        return 0;
    }
    logCall("FDBGetSensors", "fetch");
    *sensors = calloc(1, sizeof(struct Sensor));
    if (!*sensors)
        return 1;
    (*sensors)->SensorType = 1;
    (*sensors)->SensorID = name;
    (*sensors)->LSensorID = (int)sizeof(name);
    (*sensors)->Description = description;
    (*sensors)->LDescription = (int)sizeof(description);
    (*sensors)->MessageType = 1;
    *n = 1;
    return 0;
}
#endif

#if MISSING != 1
int FInitDBSensors(const char *directory)
{
    logCall("FInitDBSensors", directory);
    return 0;
}
#endif

#if MISSING != 2
static char eventSensor[] = "c-sensor", eventName[] = "level";
enum { Events = 5 };

static int eventMatches(const struct EventRequest *request, int id)
{
    return !(request->UseMessageID0 && id < request->MessageID0) &&
           !(request->UseMessageID1 && id > request->MessageID1) &&
           !(request->UseMessageType && request->MessageType != 1) &&
           !(request->UseSensorID && strcasecmp(request->SensorID, eventSensor) != 0) &&
           !(request->UseEventTime0 && id < request->EventTime0) &&
           !(request->UseEventTime1 && id > request->EventTime1);
}

int FDBGetEvents(int *n, struct Event **events, struct EventRequest *request)
{
    int i, count = 0;
    if (!n && !events && !request) {
        logCall("FDBGetEvents", "query");
        return (int)(sizeof(struct Event) | sizeof(struct EventRequest) << 16);
    }
    if (!n) {
        logCall("FDBGetEvents", "release");
        free(*events);
        *events = NULL;
        return 0;
    }
    logCall("FDBGetEvents", "fetch");
#ifdef ENDS_THREAD
    pthread_exit(NULL);
#endif
    *events = calloc(Events, sizeof(struct Event));
    if (!*events)
        return 1;
    for (i = 0; i < Events && count < request->NMax; ++i) {
        int id = 1 + step(i, Events, request->TakeFirst1_Last0);
        struct Event *event = *events + count;
        if (!eventMatches(request, id))
            continue;
        event->MessageType = 1;
        event->SensorID = eventSensor;
        event->LSensorID = (int)sizeof(eventSensor);
        event->MessageID = id;
        event->EventName = eventName;
        event->LEventName = (int)sizeof(eventName);
        event->EventTime = id;
        ++count;
    }
    *n = count;
    return 0;
}
#endif

#if MISSING != 3
int FInitDBEvents(const char *directory)
{
    logCall("FInitDBEvents", directory);
    return 0;
}
#endif

#if MISSING != 4
static char commandSensor[] = "c-sensor";
enum { Commands = 4 };

static int commandMatches(const struct CommandRequest *request, int id)
{
    return !(request->UseCommandID0 && id < request->CommandID0) &&
           !(request->UseCommandID1 && id > request->CommandID1) &&
           !(request->UseMessageType && request->MessageType != 1) &&
           !(request->UseCommandType && request->CommandType != id) &&
           !(request->UseSensorID && strcasecmp(request->SensorID, commandSensor) != 0) &&
           !(request->UseCommandTime0 && id < request->CommandTime0) &&
           !(request->UseCommandTime1 && id > request->CommandTime1);
}

int FDBGetCommands(int *n, struct Command **commands, struct CommandRequest *request)
{
    int i, count = 0;
    if (!n && !commands && !request) {
        logCall("FDBGetCommands", "query");
        return (int)(sizeof(struct Command) | sizeof(struct CommandRequest) << 16);
    }
    if (!n) {
        logCall("FDBGetCommands", "release");
        free(*commands);
        *commands = NULL;
        return 0;
    }
    logCall("FDBGetCommands", "fetch");
    *commands = calloc(Commands, sizeof(struct Command));
    if (!*commands)
        return 1;
    for (i = 0; i < Commands && count < request->NMax; ++i) {
        int id = 1 + step(i, Commands, request->TakeFirst1_Last0);
        struct Command *command = *commands + count;
        if (!commandMatches(request, id))
            continue;
        command->MessageType = 1;
        command->SensorID = commandSensor;
        command->LSensorID = (int)sizeof(commandSensor);
        command->CommandID = id;
        command->CommandType = id;
        command->CommandTime = id;
        ++count;
    }
    *n = count;
    return 0;
}
#endif

#if MISSING != 5
int FInitDBCommands(const char *directory)
{
    logCall("FInitDBCommands", directory);
    return 0;
}
#endif

#if MISSING != 6
int FDBPutCommand(struct Command *command)
{
    logCall("FDBPutCommand", command->SensorID);
    return 0;
}
#endif
