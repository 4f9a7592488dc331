// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "fakesource.h"

#include <cstring>

FakeLibrary *FakeLibrary::current = nullptr;

FakeLibrary::FakeLibrary()
{
    current = this;
    events.sizes = EventSizes;
    commands.sizes = CommandSizes;
    sensors.sizes = SensorSize;
    FDBGetEvents = [](int *n, CMessageEvent **records, CMessageEventRequest *request) {
        return current->events.get(n, records, request);
    };
    FDBGetCommands = [](int *n, CMessageCommand **records, CMessageCommandRequest *request) {
        return current->commands.get(n, records, request);
    };
    FDBGetSensors = [](int *n, CSensor **records) { return current->sensors.get(n, records, nullptr); };
    FInitDBSensors = [](const char *directory) {
        current->initialised.push_back(directory);
        return 0;
    };
    FDBPutCommand = [](CMessageCommand *record) {
        current->commands.put.push_back(*record);
        return 0;
    };
    FDBDeleteEvent = [](int id) {
        current->events.deleted.push_back(id);
        return 0;
    };
    FDBDeleteCommand = [](int id) {
        current->commands.deleted.push_back(id);
        return 0;
    };
}

FakeLibrary::~FakeLibrary()
{
    unsetLibrary();
    current = nullptr;
}

void unsetLibrary()
{
    FDBGetSensors = nullptr;
    FInitDBSensors = nullptr;
    FDBGetEvents = nullptr;
    FInitDBEvents = nullptr;
    FDBGetCommands = nullptr;
    FInitDBCommands = nullptr;
    FDBPutCommand = nullptr;
    FDBPutEvent = nullptr;
    FDBDeleteCommand = nullptr;
    FDBDeleteEvent = nullptr;
}

static void setText(char *&field, int &length, const char *text)
{
    CopyPtr(&field, &length, text, int(std::strlen(text)) + 1);
}

CMessageEvent event(int id, const char *sensor, const char *name, std::time_t time)
{
    CMessageEvent record;
    record.MessageID = id;
    setText(record.SensorID, record.LSensorID, sensor);
    setText(record.EventName, record.LEventName, name);
    record.EventTime = time;
    return record;
}

CMessageCommand command(int id, const char *sensor, int type, std::time_t time)
{
    CMessageCommand record;
    record.CommandID = id;
    setText(record.SensorID, record.LSensorID, sensor);
    record.CommandType = type;
    record.CommandTime = time;
    return record;
}

CSensor sensor(const char *id, const char *description, int liveness)
{
    CSensor record;
    setText(record.SensorID, record.LSensorID, id);
    setText(record.Description, record.LDescription, description);
    record.MessageType = liveness;
    return record;
}
