// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
//
// A complete DB library: two sensors whose records are kept in memory, the
// first of them an event that tells of the start. Each command that the console
// issues is carried out at once, which is reported as an event.
#include <obrim/dblib.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>
#include <vector>

namespace
{
std::vector<CSensor> sensors;
std::vector<CMessageEvent> events;     // by ascending identifier
std::vector<CMessageCommand> commands; // by ascending identifier
int lastEvent = 0;                     // identifiers are never used twice, also after a delete
int lastCommand = 0;

// The console takes no exception well: it can only drop what the call was for.
template <class Work> int guarded(Work work)
{
    try {
        work();
        return 0;
    } catch (...) {
        return -1;
    }
}

void setText(char *&text, int &length, const char *value)
{
    CopyPtr(&text, &length, value, int(std::strlen(value)) + 1); // the NUL is counted
}

void addSensor(int type, const char *name, const char *description)
{
    CSensor sensor;
    sensor.SensorType = type;
    setText(sensor.SensorID, sensor.LSensorID, name);
    setText(sensor.Description, sensor.LDescription, description);
    sensor.MessageType = SensorAlive;
    sensor.EventTime = std::time(nullptr);
    sensors.push_back(sensor);
}

// What a sensor reports, without parameters. The console's "Type" goes by the kind of message.
CMessageEvent report(const CSensor &sensor, const char *name)
{
    CMessageEvent event;
    event.MessageType = sensor.SensorType;
    event.SensorType = sensor.SensorType;
    setText(event.SensorID, event.LSensorID, sensor.SensorID);
    setText(event.EventName, event.LEventName, name);
    event.EventTime = std::time(nullptr);
    return event;
}

void setParameter(CMessageEvent &event, const char *name, int value)
{
    event.ParNum = 1;
    event.par = new CMessageEventParam[1];
    event.par[0].Type = ParameterInteger;
    setText(event.par[0].Name, event.par[0].LName, name);
    CopyPtr(&event.par[0].Val, &event.par[0].LVal, reinterpret_cast<const char *>(&value), int(sizeof(value)));
}

void addEvent(const CMessageEvent &event)
{
    events.push_back(event);
    events.back().MessageID = ++lastEvent;
}

// Gives out copies of `chosen`. The console copies them again and then calls for their release.
template <class Record> void give(const std::vector<const Record *> &chosen, int *n, Record **array)
{
    std::unique_ptr<Record[]> records(chosen.empty() ? nullptr : new Record[chosen.size()]);
    for (std::size_t i = 0; i < chosen.size(); ++i)
        records[i] = *chosen[i];
    *n = int(chosen.size());
    *array = records.release();
}

// The first or last NMax of the matching records: oldest first for "first", newest first for "last", and
// ascending where the console asks for what is new since a given identifier.
template <class Record, class Request>
void giveMatching(const std::vector<Record> &all, const Request &request, bool ascending, int *n, Record **array)
{
    const int most = request.NMax > 0 ? request.NMax : 0;
    std::vector<const Record *> chosen;
    for (std::size_t i = 0; i < all.size() && int(chosen.size()) < most; ++i) {
        const Record &record = all[request.TakeFirst1_Last0 ? i : all.size() - 1 - i];
        if (request & record)
            chosen.push_back(&record);
    }
    if (ascending && !request.TakeFirst1_Last0)
        std::reverse(chosen.begin(), chosen.end());
    give(chosen, n, array);
}

template <class Record> int release(Record **array)
{
    delete[] *array;
    *array = nullptr;
    return 0;
}

template <class Record> void erase(std::vector<Record> &all, int Record::*identifier, int id)
{
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].*identifier == id) {
            all.erase(all.begin() + std::ptrdiff_t(i));
            return;
        }
    }
}
} // namespace

int FInitDBSensors(const char *)
{
    return guarded([] {
        if (!sensors.empty())
            return; // initialisation may come again: what is there stays
        addSensor(1, "analyser", "Analyses nothing in particular");
        addSensor(3, "receiver", "Receives what there is");
    });
}

int FInitDBEvents(const char *)
{
    return guarded([] {
        if (lastEvent == 0)
            addEvent(report(sensors.at(0), "started"));
    });
}

int FInitDBCommands(const char *)
{
    return 0;
}

int FDBGetSensors(int *n, CSensor **array)
{
    if (!array)
        return SensorSize;
    if (!n)
        return release(array);
    return guarded([=] {
        std::vector<const CSensor *> chosen;
        chosen.reserve(sensors.size());
        for (const CSensor &sensor : sensors)
            chosen.push_back(&sensor);
        give(chosen, n, array);
    });
}

int FDBGetEvents(int *n, CMessageEvent **array, CMessageEventRequest *request)
{
    if (!array)
        return EventSizes;
    if (!n)
        return release(array);
    return guarded([=] { giveMatching(events, *request, request->UseMessageID0 != 0, n, array); });
}

int FDBGetCommands(int *n, CMessageCommand **array, CMessageCommandRequest *request)
{
    if (!array)
        return CommandSizes;
    if (!n)
        return release(array);
    return guarded([=] { giveMatching(commands, *request, request->UseCommandID0 != 0, n, array); });
}

int FDBPutCommand(CMessageCommand *command)
{
    return guarded([=] {
        commands.push_back(*command);
        commands.back().CommandID = ++lastCommand;
        for (CSensor &sensor : sensors) {
            if (command->SensorID && std::strcmp(sensor.SensorID, command->SensorID) == 0) {
                sensor.MessageType = command->CommandType == CommandKill ? SensorDead : SensorAlive;
                CMessageEvent done = report(sensor, "command");
                setParameter(done, "order", command->CommandType);
                addEvent(done);
            }
        }
    });
}

int FDBPutEvent(CMessageEvent *event)
{
    return guarded([=] { addEvent(*event); });
}

int FDBDeleteCommand(int id)
{
    return guarded([=] { erase(commands, &CMessageCommand::CommandID, id); });
}

int FDBDeleteEvent(int id)
{
    return guarded([=] { erase(events, &CMessageEvent::MessageID, id); });
}
