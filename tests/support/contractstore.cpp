// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "contractstore.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
std::vector<CSensor> sensorStore;
std::vector<CMessageEvent> eventStore;
std::vector<CMessageCommand> commandStore;
int nextEvent = 1;
int nextCommand = 1;

void set(char *&text, int &length, const char *value)
{
    CopyPtr(&text, &length, value, int(std::strlen(value)) + 1);
}

void setParameter(CMessageEventParam &parameter, int type, const char *name, const void *value, int size)
{
    parameter.Type = type;
    set(parameter.Name, parameter.LName, name);
    CopyPtr(&parameter.Val, &parameter.LVal, static_cast<const char *>(value), size);
}

CSensor sensor(int type, const char *name, const char *description, int liveness)
{
    CSensor result;
    result.SensorType = type;
    set(result.SensorID, result.LSensorID, name);
    if (description)
        set(result.Description, result.LDescription, description);
    result.MessageType = liveness;
    result.EventTime = 1000000000;
    return result;
}

CMessageEvent event(int id)
{
    CMessageEvent result;
    result.MessageID = id;
    result.MessageType = 1 + id % 2;
    result.SensorType = 1;
    set(result.SensorID, result.LSensorID, id % 2 ? "sensor1" : "sensor2");
    set(result.EventName, result.LEventName, "level");
    result.EventTime = 1000000000 + 60 * id;
    result.ParNum = 2;
    result.par = new CMessageEventParam[2];
    const double half = id + 0.5;
    setParameter(result.par[0], ParameterInteger, "count", &id, int(sizeof(id)));
    setParameter(result.par[1], ParameterDouble, "half", &half, int(sizeof(half)));
    return result;
}

CMessageCommand command(int id)
{
    CMessageCommand result;
    result.MessageType = 1;
    set(result.SensorID, result.LSensorID, id % 2 ? "sensor1" : "sensor2");
    result.CommandID = id;
    result.CommandType = id - 10;
    result.CommandTime = 1000000000 + 60 * id;
    return result;
}

template <class Record, class Request>
std::vector<Record> selected(const std::vector<Record> &all, const Request &request, bool ascending)
{
    std::vector<Record> result;
    std::copy_if(all.begin(), all.end(), std::back_inserter(result),
                 [&](const Record &record) { return (request & record) != 0; });
    const auto most = std::size_t(std::max(request.NMax, 0));
    if (result.size() > most) {
        const auto surplus = std::ptrdiff_t(result.size() - most);
        const auto from = request.TakeFirst1_Last0 ? result.end() - surplus : result.begin();
        result.erase(from, from + surplus);
    }
    if (!ascending)
        std::reverse(result.begin(), result.end());
    return result;
}

template <class Record> void erase(std::vector<Record> &all, int Record::*identifier, int id)
{
    const auto gone = [=](const Record &record) { return record.*identifier == id; };
    all.erase(std::remove_if(all.begin(), all.end(), gone), all.end());
}

template <class Value> std::string limit(const char *label, int use, Value value)
{
    return use ? std::string(" ") + label + std::to_string(value) : std::string();
}

template <class Request> std::string count(const Request &request)
{
    return (request.TakeFirst1_Last0 ? " first " : " last ") + std::to_string(request.NMax);
}

std::string mask(const char *label, int use, const char *value)
{
    return use ? std::string(" ") + label + ContractStore::name(value) : std::string();
}
} // namespace

namespace ContractStore
{
void fillSensors()
{
    sensorStore = {sensor(1, "sensor1", "First sensor", SensorAlive), sensor(2, "sensor2", "Second sensor", SensorDead),
                   sensor(3, "sensor3", nullptr, 0)};
}

void fillEvents()
{
    eventStore = {event(1), event(2), event(3), event(4), event(5)};
    nextEvent = 6;
}

void fillCommands()
{
    commandStore = {command(11), command(12), command(13), command(14)};
    nextCommand = 15;
}

void put(const CMessageEvent &event)
{
    eventStore.push_back(event);
    eventStore.back().MessageID = nextEvent++;
}

void put(const CMessageCommand &command)
{
    commandStore.push_back(command);
    commandStore.back().CommandID = nextCommand++;
}

void deleteEvent(int id)
{
    erase(eventStore, &CMessageEvent::MessageID, id);
}

void deleteCommand(int id)
{
    erase(commandStore, &CMessageCommand::CommandID, id);
}

const std::vector<CSensor> &sensors()
{
    return sensorStore;
}

std::vector<CMessageEvent> select(const CMessageEventRequest &request)
{
    return selected(eventStore, request, request.TakeFirst1_Last0 || request.UseMessageID0);
}

std::vector<CMessageCommand> select(const CMessageCommandRequest &request)
{
    return selected(commandStore, request, request.TakeFirst1_Last0 || request.UseCommandID0);
}

void log(const std::string &line)
{
    const char *path = std::getenv("OBRIM_CALL_LOG");
    std::FILE *file = path ? std::fopen(path, "a") : nullptr;
    if (file) {
        std::fprintf(file, "%s\n", line.c_str());
        std::fclose(file);
    }
}

std::string name(const char *bytes)
{
    return bytes ? bytes : "";
}

std::string text(const CMessageEventRequest *request)
{
    if (!request)
        return std::string();
    return count(*request) + limit("type=", request->UseMessageType, request->MessageType) +
           mask("sensor=", request->UseSensorID, request->SensorID) +
           limit("sensortype=", request->UseSensorType, request->SensorType) +
           mask("name=", request->UseEventName, request->EventName) +
           limit("id>=", request->UseMessageID0, request->MessageID0) +
           limit("id<=", request->UseMessageID1, request->MessageID1) +
           limit("time>=", request->UseEventTime0, request->EventTime0) +
           limit("time<=", request->UseEventTime1, request->EventTime1);
}

std::string text(const CMessageCommandRequest *request)
{
    if (!request)
        return std::string();
    return count(*request) + limit("type=", request->UseMessageType, request->MessageType) +
           mask("sensor=", request->UseSensorID, request->SensorID) +
           limit("command=", request->UseCommandType, request->CommandType) +
           limit("id>=", request->UseCommandID0, request->CommandID0) +
           limit("id<=", request->UseCommandID1, request->CommandID1) +
           limit("time>=", request->UseCommandTime0, request->CommandTime0) +
           limit("time<=", request->UseCommandTime1, request->CommandTime1);
}
} // namespace ContractStore
