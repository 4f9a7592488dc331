// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A 32-bit DB library as the ones in service are: its author never saw this
// project's headers, and compiled one file with `g++ -m32 -shared`. The records
// are therefore declared here once more, and nothing is included but the C library.
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <strings.h>

struct CMessageEventParam {
    int Type;
    char *Name;
    int LName;
    char *Val;
    int LVal;

    CMessageEventParam();
    ~CMessageEventParam();
};

struct CMessageEvent {
    int MessageType;
    char *SensorID;
    int LSensorID;
    int MessageID;
    int SensorType;
    char *EventName;
    int LEventName;
    time_t EventTime;
    int ParNum;
    CMessageEventParam *par;

    CMessageEvent();
    ~CMessageEvent();
};

struct CMessageCommand {
    int MessageType;
    char *SensorID;
    int LSensorID;
    int CommandID;
    int CommandType;
    time_t CommandTime;
    int ParNum;
    CMessageEventParam *par;

    CMessageCommand();
    ~CMessageCommand();
};

struct CSensor {
    int SensorType;
    char *SensorID;
    int LSensorID;
    char *Description;
    int LDescription;
    int MessageType;
    time_t EventTime;
    int Status;

    CSensor();
    ~CSensor();
};

struct CMessageEventRequest {
    int NMax;
    int TakeFirst1_Last0;
    int MessageID0;
    int MessageID1;
    int UseMessageID0;
    int UseMessageID1;
    int MessageType;
    int UseMessageType;
    char *SensorID;
    int LSensorID;
    int UseSensorID;
    int SensorType;
    int UseSensorType;
    char *EventName;
    int LEventName;
    int UseEventName;
    time_t EventTime0;
    int UseEventTime0;
    time_t EventTime1;
    int UseEventTime1;
};

struct CMessageCommandRequest {
    int NMax;
    int TakeFirst1_Last0;
    int MessageType;
    int UseMessageType;
    char *SensorID;
    int LSensorID;
    int UseSensorID;
    int CommandID0;
    int CommandID1;
    int UseCommandID0;
    int UseCommandID1;
    int CommandType;
    int UseCommandType;
    time_t CommandTime0;
    int UseCommandTime0;
    time_t CommandTime1;
    int UseCommandTime1;
};

// Members and helpers of its own, under the names that the console has too and
// visible to all: each side must go on using its own.
static int livingRecords = 0;

void CopyPtr(char **dst, int *dstLen, char *src, int srcLen)
{
    delete[] *dst;
    *dst = NULL;
    *dstLen = 0;
    if (srcLen > 0) {
        *dstLen = srcLen;
        *dst = new char[srcLen];
        memcpy(*dst, src, srcLen);
    }
}

CMessageEventParam::CMessageEventParam()
{
    memset(this, 0, sizeof *this);
    ++livingRecords;
}
CMessageEventParam::~CMessageEventParam()
{
    delete[] Name;
    delete[] Val;
    --livingRecords;
}
CMessageEvent::CMessageEvent()
{
    memset(this, 0, sizeof *this);
    ++livingRecords;
}
CMessageEvent::~CMessageEvent()
{
    delete[] SensorID;
    delete[] EventName;
    delete[] par;
    --livingRecords;
}
CMessageCommand::CMessageCommand()
{
    memset(this, 0, sizeof *this);
    ++livingRecords;
}
CMessageCommand::~CMessageCommand()
{
    delete[] SensorID;
    delete[] par;
    --livingRecords;
}
CSensor::CSensor()
{
    memset(this, 0, sizeof *this);
    ++livingRecords;
}
CSensor::~CSensor()
{
    delete[] SensorID;
    delete[] Description;
    --livingRecords;
}

static void setText(char **text, int *length, const char *value)
{
    CopyPtr(text, length, const_cast<char *>(value), (int)strlen(value) + 1);
}

// What it holds.
struct Stored {
    int id;
    int type;
    const char *sensor;
    int sensorType;
    const char *name;
    int time;
};
static const int Earliest = -2147483647 - 1;
static const int Latest = 2147483647;
static const Stored storedEvents[] = {{1, 1, "boiler", 1, "oldest", Earliest},
                                      {2, 2, "valve", 2, "before 1970", -1},
                                      {3, 3, "boiler", 1, "at 0", 0},
                                      {4, 1, "meter \xe9", 3, "latest", Latest}};
static const Stored storedCommands[] = {{11, 1, "boiler", 1, NULL, Earliest},
                                        {12, 1, "valve", 2, NULL, -1},
                                        {13, 1, "boiler", 3, NULL, 1000000000},
                                        {14, 1, "meter \xe9", 4, NULL, Latest}};

static void setParameters(int *count, CMessageEventParam **par)
{
    const int level = -5;
    const double ratio = 0.5;
    *count = 4;
    *par = new CMessageEventParam[4];
    static const char *const names[] = {"level", "ratio", "unit", "odd"};
    for (int i = 0; i < 4; ++i) {
        setText(&(*par)[i].Name, &(*par)[i].LName, names[i]);
        (*par)[i].Type = i + 1;
    }
    CopyPtr(&(*par)[0].Val, &(*par)[0].LVal, (char *)&level, sizeof level);
    CopyPtr(&(*par)[1].Val, &(*par)[1].LVal, (char *)&ratio, sizeof ratio);
    setText(&(*par)[2].Val, &(*par)[2].LVal, "mV");
    setText(&(*par)[3].Val, &(*par)[3].LVal, "not shown");
}

// What it was last told, for the test to read.
static char heard[2000];

extern "C" const char *ExistingLibraryHeard()
{
    return heard;
}
extern "C" int ExistingLibraryLivingRecords()
{
    return livingRecords;
}

// Every 32-bit word of a record, but for its texts, which are given as such.
static void hear(const char *what, const void *record, size_t size, const int *texts)
{
    int used = snprintf(heard, sizeof heard, "%s", what);
    for (size_t offset = 0; offset < size; offset += 4) {
        int word;
        memcpy(&word, (const char *)record + offset, 4);
        if (*texts == (int)offset) {
            used += snprintf(heard + used, sizeof heard - used, " %s", word ? (const char *)word : "-");
            ++texts;
        } else {
            used += snprintf(heard + used, sizeof heard - used, " %d", word);
        }
    }
}

static bool wanted(const Stored &stored, int useId0, int id0, int useId1, int id1, int useSensor, const char *sensor,
                   int useTime0, time_t time0, int useTime1, time_t time1)
{
    return !(useId0 && stored.id < id0) && !(useId1 && stored.id > id1) &&
           !(useSensor && strcasecmp(stored.sensor, sensor) != 0) && !(useTime0 && stored.time < time0) &&
           !(useTime1 && stored.time > time1);
}

// The last ones come newest first.
static const Stored &nth(const Stored (&all)[4], int first, int i)
{
    return all[first == 1 ? i : 3 - i];
}

int FInitDBSensors(const char *dir)
{
    snprintf(heard, sizeof heard, "sensors in %s", dir);
    return 0;
}

int FInitDBEvents(const char *dir)
{
    snprintf(heard, sizeof heard, "events in %s", dir);
    return 0;
}

int FInitDBCommands(const char *dir)
{
    snprintf(heard, sizeof heard, "commands in %s", dir);
    return 0;
}

int FDBGetSensors(int *n, CSensor **s)
{
    if (!n && !s)
        return sizeof(CSensor);
    if (!n) {
        delete[] *s;
        *s = NULL;
        return 0;
    }
    static const char *const names[] = {"boiler", "valve", "meter \xe9"};
    static const int times[] = {Earliest, -1, Latest};
    *n = 3;
    *s = new CSensor[3];
    for (int i = 0; i < 3; ++i) {
        CSensor &sensor = (*s)[i];
        sensor.SensorType = i + 1;
        setText(&sensor.SensorID, &sensor.LSensorID, names[i]);
        if (i != 1)
            setText(&sensor.Description, &sensor.LDescription, "in the hall");
        sensor.MessageType = i + 1;
        sensor.EventTime = times[i];
        sensor.Status = 77;
    }
    return 0;
}

int FDBGetEvents(int *n, CMessageEvent **e, CMessageEventRequest *r)
{
    if (!n && !e)
        return sizeof(CMessageEvent) | (sizeof(CMessageEventRequest) << 16);
    if (!n) {
        delete[] *e;
        *e = NULL;
        return 0;
    }
    static const int texts[] = {offsetof(CMessageEventRequest, SensorID), offsetof(CMessageEventRequest, EventName),
                                -1};
    hear("event request", r, sizeof *r, texts);
    *n = 0;
    *e = new CMessageEvent[4];
    for (int i = 0; i < 4 && *n < r->NMax; ++i) {
        const Stored &stored = nth(storedEvents, r->TakeFirst1_Last0, i);
        if (!wanted(stored, r->UseMessageID0, r->MessageID0, r->UseMessageID1, r->MessageID1, r->UseSensorID,
                    r->SensorID, r->UseEventTime0, r->EventTime0, r->UseEventTime1, r->EventTime1))
            continue;
        CMessageEvent &event = (*e)[(*n)++];
        event.MessageType = stored.type;
        setText(&event.SensorID, &event.LSensorID, stored.sensor);
        event.MessageID = stored.id;
        event.SensorType = stored.sensorType;
        setText(&event.EventName, &event.LEventName, stored.name);
        event.EventTime = stored.time;
        if (stored.id == 2)
            setParameters(&event.ParNum, &event.par);
    }
    return 0;
}

int FDBGetCommands(int *n, CMessageCommand **c, CMessageCommandRequest *r)
{
    if (!n && !c)
        return sizeof(CMessageCommand) | (sizeof(CMessageCommandRequest) << 16);
    if (!n) {
        delete[] *c;
        *c = NULL;
        return 0;
    }
    static const int texts[] = {offsetof(CMessageCommandRequest, SensorID), -1};
    hear("command request", r, sizeof *r, texts);
    *n = 0;
    *c = new CMessageCommand[4];
    for (int i = 0; i < 4 && *n < r->NMax; ++i) {
        const Stored &stored = nth(storedCommands, r->TakeFirst1_Last0, i);
        if (!wanted(stored, r->UseCommandID0, r->CommandID0, r->UseCommandID1, r->CommandID1, r->UseSensorID,
                    r->SensorID, r->UseCommandTime0, r->CommandTime0, r->UseCommandTime1, r->CommandTime1))
            continue;
        CMessageCommand &command = (*c)[(*n)++];
        command.MessageType = stored.type;
        setText(&command.SensorID, &command.LSensorID, stored.sensor);
        command.CommandID = stored.id;
        command.CommandType = stored.sensorType;
        command.CommandTime = stored.time;
        if (stored.id == 12)
            setParameters(&command.ParNum, &command.par);
    }
    return 0;
}

int FDBPutCommand(CMessageCommand *c)
{
    static const int texts[] = {offsetof(CMessageCommand, SensorID), -1};
    hear("put command", c, sizeof *c, texts);
    return 0;
}

int FDBPutEvent(CMessageEvent *e)
{
    static const int texts[] = {offsetof(CMessageEvent, SensorID), offsetof(CMessageEvent, EventName), -1};
    hear("put event", e, sizeof *e, texts);
    return 0;
}

int FDBDeleteCommand(int id)
{
    snprintf(heard, sizeof heard, "delete command %d", id);
    return 0;
}

int FDBDeleteEvent(int id)
{
    snprintf(heard, sizeof heard, "delete event %d", id);
    return 0;
}
