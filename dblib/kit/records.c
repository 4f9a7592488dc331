/* SPDX-FileCopyrightText: 2026 The obrim developers
   SPDX-License-Identifier: BSD-2-Clause */
#include <obrim/dblib.h>

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

int obrimSetBytes(char **bytes, int *length, const void *value, int size)
{
    char *copy = NULL;
    const int taken = value && size > 0 ? size : 0;
    if (taken > 0) {
        copy = malloc((size_t)taken);
        if (!copy)
            return -1;
        memcpy(copy, value, (size_t)taken);
    }
    free(*bytes);
    *bytes = copy;
    *length = taken;
    return 0;
}

int obrimSetText(char **text, int *length, const char *value)
{
    return obrimSetBytes(text, length, value, value ? (int)strlen(value) + 1 : 0);
}

static void clearParameters(CMessageEventParam **par, int *count)
{
    for (int i = 0; *par && i < *count; ++i) {
        free((*par)[i].Name);
        free((*par)[i].Val);
    }
    free(*par);
    *par = NULL;
    *count = 0;
}

void obrimClearSensor(CSensor *sensor)
{
    free(sensor->SensorID);
    free(sensor->Description);
    memset(sensor, 0, sizeof(*sensor));
}

void obrimClearEvent(CMessageEvent *event)
{
    free(event->SensorID);
    free(event->EventName);
    clearParameters(&event->par, &event->ParNum);
    memset(event, 0, sizeof(*event));
}

void obrimClearCommand(CMessageCommand *command)
{
    free(command->SensorID);
    clearParameters(&command->par, &command->ParNum);
    memset(command, 0, sizeof(*command));
}

/** Into a record without parameters. */
static int copyParameters(CMessageEventParam **to, int *toCount, const CMessageEventParam *from, int count)
{
    if (!from || count <= 0)
        return 0;
    *to = calloc((size_t)count, sizeof(**to));
    if (!*to)
        return -1;
    *toCount = count;
    for (int i = 0; i < count; ++i) {
        CMessageEventParam *copy = &(*to)[i];
        copy->Type = from[i].Type;
        if (obrimSetBytes(&copy->Name, &copy->LName, from[i].Name, from[i].LName) != 0 ||
            obrimSetBytes(&copy->Val, &copy->LVal, from[i].Val, from[i].LVal) != 0)
            return -1;
    }
    return 0;
}

int obrimCopySensor(CSensor *to, const CSensor *from)
{
    CSensor copy = {.SensorType = from->SensorType, .MessageType = from->MessageType, .EventTime = from->EventTime};
    const int failed = obrimSetBytes(&copy.SensorID, &copy.LSensorID, from->SensorID, from->LSensorID) != 0 ||
                       obrimSetBytes(&copy.Description, &copy.LDescription, from->Description, from->LDescription) != 0;
    if (failed)
        obrimClearSensor(&copy);
    obrimClearSensor(to);
    *to = copy;
    return failed ? -1 : 0;
}

int obrimCopyEvent(CMessageEvent *to, const CMessageEvent *from)
{
    CMessageEvent copy = {.MessageType = from->MessageType,
                          .MessageID = from->MessageID,
                          .SensorType = from->SensorType,
                          .EventTime = from->EventTime};
    const int failed = obrimSetBytes(&copy.SensorID, &copy.LSensorID, from->SensorID, from->LSensorID) != 0 ||
                       obrimSetBytes(&copy.EventName, &copy.LEventName, from->EventName, from->LEventName) != 0 ||
                       copyParameters(&copy.par, &copy.ParNum, from->par, from->ParNum) != 0;
    if (failed)
        obrimClearEvent(&copy);
    obrimClearEvent(to);
    *to = copy;
    return failed ? -1 : 0;
}

int obrimCopyCommand(CMessageCommand *to, const CMessageCommand *from)
{
    CMessageCommand copy = {.MessageType = from->MessageType,
                            .CommandID = from->CommandID,
                            .CommandType = from->CommandType,
                            .CommandTime = from->CommandTime};
    const int failed = obrimSetBytes(&copy.SensorID, &copy.LSensorID, from->SensorID, from->LSensorID) != 0 ||
                       copyParameters(&copy.par, &copy.ParNum, from->par, from->ParNum) != 0;
    if (failed)
        obrimClearCommand(&copy);
    obrimClearCommand(to);
    *to = copy;
    return failed ? -1 : 0;
}

/** Stands before the first record of an array: the release is not told how many there are. */
typedef union ArrayHead {
    int count;
    max_align_t alignment;
} ArrayHead;

static void *newArray(int n, size_t size)
{
    if (n <= 0 || (size_t)n > (SIZE_MAX - sizeof(ArrayHead)) / size)
        return NULL;
    ArrayHead *head = calloc(1, sizeof(*head) + (size_t)n * size);
    if (!head)
        return NULL;
    head->count = n;
    return head + 1;
}

static ArrayHead *headOf(void *array)
{
    return (ArrayHead *)array - 1;
}

CSensor *obrimNewSensors(int n)
{
    return newArray(n, sizeof(CSensor));
}

CMessageEvent *obrimNewEvents(int n)
{
    return newArray(n, sizeof(CMessageEvent));
}

CMessageCommand *obrimNewCommands(int n)
{
    return newArray(n, sizeof(CMessageCommand));
}

void obrimFreeSensors(CSensor **array)
{
    if (!*array)
        return;
    for (int i = 0; i < headOf(*array)->count; ++i)
        obrimClearSensor(&(*array)[i]);
    free(headOf(*array));
    *array = NULL;
}

void obrimFreeEvents(CMessageEvent **array)
{
    if (!*array)
        return;
    for (int i = 0; i < headOf(*array)->count; ++i)
        obrimClearEvent(&(*array)[i]);
    free(headOf(*array));
    *array = NULL;
}

void obrimFreeCommands(CMessageCommand **array)
{
    if (!*array)
        return;
    for (int i = 0; i < headOf(*array)->count; ++i)
        obrimClearCommand(&(*array)[i]);
    free(headOf(*array));
    *array = NULL;
}
