/* SPDX-FileCopyrightText: 2026 The obrim developers
   SPDX-License-Identifier: BSD-2-Clause

   A complete DB library in C: one sensor, and records that are kept in memory,
   the first of them an event that tells of the start. */
#include <obrim/dblib.h>

#include <stdlib.h>
#include <string.h>
#include <time.h>

static time_t startTime;
/* By ascending identifier, which is never used twice, also after a delete. */
static CMessageEvent *events;
static int eventCount;
static int lastEvent;
static CMessageCommand *commands;
static int commandCount;
static int lastCommand;

/* The array with room for one record more, twice as much where it is full; NULL when memory is short. */
static void *grown(void *array, int count, size_t size)
{
    const size_t room = count > 0 ? 2 * (size_t)count : 1;
    return (count & (count - 1)) == 0 ? realloc(array, room * size) : array;
}

static int addEvent(const CMessageEvent *event)
{
    CMessageEvent *more = grown(events, eventCount, sizeof(*events));
    if (!more)
        return -1;
    events = more;
    memset(&events[eventCount], 0, sizeof(*events));
    if (obrimCopyEvent(&events[eventCount], event) != 0)
        return -1;
    events[eventCount++].MessageID = ++lastEvent;
    return 0;
}

static int addCommand(const CMessageCommand *command)
{
    CMessageCommand *more = grown(commands, commandCount, sizeof(*commands));
    if (!more)
        return -1;
    commands = more;
    memset(&commands[commandCount], 0, sizeof(*commands));
    if (obrimCopyCommand(&commands[commandCount], command) != 0)
        return -1;
    commands[commandCount++].CommandID = ++lastCommand;
    return 0;
}

/* Initialisation may come again: what is there stays. */
int FInitDBSensors(const char *configDir)
{
    (void)configDir; /* your own settings belong there */
    if (startTime == 0)
        startTime = time(NULL);
    return 0;
}

int FInitDBEvents(const char *configDir)
{
    (void)configDir;
    if (lastEvent > 0)
        return 0;
    CMessageEvent started = {.MessageType = 1, .SensorType = 1, .EventTime = startTime};
    int result = -1;
    if (obrimSetText(&started.SensorID, &started.LSensorID, "example") == 0 &&
        obrimSetText(&started.EventName, &started.LEventName, "started") == 0)
        result = addEvent(&started);
    obrimClearEvent(&started);
    return result;
}

int FInitDBCommands(const char *configDir)
{
    (void)configDir;
    return 0;
}

int FDBGetSensors(int *n, CSensor **array)
{
    if (!array)
        return SensorSize;
    if (!n) {
        obrimFreeSensors(array);
        return 0;
    }
    CSensor *sensor = obrimNewSensors(1);
    if (!sensor || obrimSetText(&sensor->SensorID, &sensor->LSensorID, "example") != 0 ||
        obrimSetText(&sensor->Description, &sensor->LDescription, "Example") != 0) {
        obrimFreeSensors(&sensor);
        return -1;
    }
    sensor->SensorType = 1;
    sensor->MessageType = SensorAlive;
    sensor->EventTime = startTime;
    *n = 1;
    *array = sensor;
    return 0;
}

/* How many are given: those that match, at most NMax. Filter first, count then. */
static int countEvents(const CMessageEventRequest *request)
{
    int matching = 0;
    for (int i = 0; i < eventCount && matching < request->NMax; ++i)
        matching += obrimSelectsEvent(request, &events[i]);
    return matching;
}

/* The first of those that match, oldest first; or the last, newest first, but where the console asks for what is new.
 */
static int copyEvents(const CMessageEventRequest *request, CMessageEvent *given, int wanted)
{
    const int first = request->TakeFirst1_Last0;
    const int reversed = !first && request->UseMessageID0;
    for (int i = 0, taken = 0; taken < wanted; ++i) {
        const CMessageEvent *event = &events[first ? i : eventCount - 1 - i];
        if (!obrimSelectsEvent(request, event))
            continue;
        if (obrimCopyEvent(&given[reversed ? wanted - 1 - taken : taken], event) != 0)
            return -1;
        ++taken;
    }
    return 0;
}

int FDBGetEvents(int *n, CMessageEvent **array, CMessageEventRequest *request)
{
    if (!array)
        return EventSizes;
    if (!n) {
        obrimFreeEvents(array);
        return 0;
    }
    const int wanted = countEvents(request);
    if (wanted == 0)
        return 0;
    CMessageEvent *given = obrimNewEvents(wanted);
    if (!given || copyEvents(request, given, wanted) != 0) {
        obrimFreeEvents(&given);
        return -1;
    }
    *n = wanted;
    *array = given;
    return 0;
}

/* How many are given: those that match, at most NMax. Filter first, count then. */
static int countCommands(const CMessageCommandRequest *request)
{
    int matching = 0;
    for (int i = 0; i < commandCount && matching < request->NMax; ++i)
        matching += obrimSelectsCommand(request, &commands[i]);
    return matching;
}

/* The first of those that match, oldest first; or the last, newest first, but where the console asks for what is new.
 */
static int copyCommands(const CMessageCommandRequest *request, CMessageCommand *given, int wanted)
{
    const int first = request->TakeFirst1_Last0;
    const int reversed = !first && request->UseCommandID0;
    for (int i = 0, taken = 0; taken < wanted; ++i) {
        const CMessageCommand *command = &commands[first ? i : commandCount - 1 - i];
        if (!obrimSelectsCommand(request, command))
            continue;
        if (obrimCopyCommand(&given[reversed ? wanted - 1 - taken : taken], command) != 0)
            return -1;
        ++taken;
    }
    return 0;
}

int FDBGetCommands(int *n, CMessageCommand **array, CMessageCommandRequest *request)
{
    if (!array)
        return CommandSizes;
    if (!n) {
        obrimFreeCommands(array);
        return 0;
    }
    const int wanted = countCommands(request);
    if (wanted == 0)
        return 0;
    CMessageCommand *given = obrimNewCommands(wanted);
    if (!given || copyCommands(request, given, wanted) != 0) {
        obrimFreeCommands(&given);
        return -1;
    }
    *n = wanted;
    *array = given;
    return 0;
}

/* The record is the console's: a copy of it is kept. */
int FDBPutCommand(CMessageCommand *command)
{
    return addCommand(command);
}

int FDBPutEvent(CMessageEvent *event)
{
    return addEvent(event);
}

int FDBDeleteCommand(int id)
{
    for (int i = 0; i < commandCount; ++i) {
        if (commands[i].CommandID == id) {
            obrimClearCommand(&commands[i]);
            --commandCount;
            memmove(&commands[i], &commands[i + 1], (size_t)(commandCount - i) * sizeof(*commands));
            return 0;
        }
    }
    return 0;
}

int FDBDeleteEvent(int id)
{
    for (int i = 0; i < eventCount; ++i) {
        if (events[i].MessageID == id) {
            obrimClearEvent(&events[i]);
            --eventCount;
            memmove(&events[i], &events[i + 1], (size_t)(eventCount - i) * sizeof(*events));
            return 0;
        }
    }
    return 0;
}
