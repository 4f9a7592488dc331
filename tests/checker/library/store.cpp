// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "store.h"

#include "MessageEventParam.h"
#include "fault.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

int &idOf(CMessageEvent &event)
{
    return event.MessageID;
}

int &idOf(CMessageCommand &command)
{
    return command.CommandID;
}

int idOf(const CMessageEvent &event)
{
    return event.MessageID;
}

int idOf(const CMessageCommand &command)
{
    return command.CommandID;
}

void setText(char *&text, int &length, const std::string &value)
{
    CopyPtr(&text, &length, value.c_str(), int(value.size()) + 1);
}

namespace
{
std::string sensorName(int i)
{
    static const char *const names[] = {"Sensor1", "sensor2", "s?nsor3", "sens*", "+", "\xC4lpha", "SENSOR1", "Pump a"};
    return names[i % 8];
}

std::string eventName(int i)
{
    static const char *const names[] = {"Alarm", "alarm", "Al*", "?larm", "Level", "L+", "\xDC", "level low"};
    return names[i * 5 % 8];
}

std::time_t someTime(int i)
{
    static const std::time_t odd[] = {-86400, -1, 0, std::time_t(INT32_MAX), std::time_t(INT32_MIN)};
    return i % 9 == 8 ? odd[i / 9 % 5] : std::time_t(1600000000 + i * 60);
}

template <class Record> void addParameters(Record &record, int i)
{
    record.ParNum = i % 4;
    record.par = record.ParNum > 0 ? new CMessageEventParam[std::size_t(record.ParNum)] : nullptr;
    for (int p = 0; p < record.ParNum; ++p) {
        CMessageEventParam &par = record.par[p];
        par.Type = p + 1;
        setText(par.Name, par.LName, "par" + std::to_string(p));
        const double level = i * 0.25;
        if (p == 0)
            CopyPtr(&par.Val, &par.LVal, reinterpret_cast<const char *>(&i), int(sizeof(i)));
        else if (p == 1)
            CopyPtr(&par.Val, &par.LVal, reinterpret_cast<const char *>(&level), int(sizeof(level)));
        else
            setText(par.Val, par.LVal, "text " + std::to_string(i));
    }
}

CSensor sensor(int i)
{
    CSensor result;
    result.SensorType = i % 3;
    setText(result.SensorID, result.LSensorID, "sensor" + std::to_string(fault("sensor-twice") ? i / 2 : i));
    if (fault("sensor-nameless") && i == 3)
        setText(result.SensorID, result.LSensorID, "");
    setText(result.Description, result.LDescription, "sensor number " + std::to_string(i));
    result.MessageType = i % 3;
    result.EventTime = someTime(i);
    return result;
}

CMessageEvent event(int i)
{
    CMessageEvent result;
    result.MessageType = i % 5;
    result.SensorType = i % 3 + 10;
    setText(result.SensorID, result.LSensorID, sensorName(i));
    setText(result.EventName, result.LEventName, eventName(i));
    result.EventTime = someTime(i);
    addParameters(result, i);
    return result;
}

CMessageCommand command(int i)
{
    CMessageCommand result;
    result.MessageType = i % 5;
    result.CommandType = 1 + i % 4;
    setText(result.SensorID, result.LSensorID, sensorName(i));
    result.CommandTime = someTime(i);
    addParameters(result, i);
    return result;
}

/** The identifier after this one. Some builds have odd ways, which are all as good as another while they grow. */
int nextId(int id)
{
    constexpr int prime = 7919;
    return fault("ids-sparse")       ? id + 1000
           : fault("ids-descending") ? id - 1
           : fault("ids-random")     ? (id * 31 + prime) % 1000003
                                     : id + 1;
}

template <class Record> void addTo(Table<Record> &table, Record record)
{
    idOf(record) = table.nextId;
    table.nextId = nextId(table.nextId);
    table.records.push_back(record);
}

Store filled()
{
    Store result;
    if (fault("ids-negative"))
        result.events.nextId = result.commands.nextId = -1000000;
    for (int i = 0; i < 10; ++i)
        result.sensors.push_back(sensor(i));
    for (int i = 0; i < 60; ++i)
        addTo(result.events, event(i));
    for (int i = 0; i < 40; ++i)
        addTo(result.commands, command(i));
    if (fault("same-identifier"))
        result.events.records[2].MessageID = result.events.records[1].MessageID;
    if (fault("command-same-identifier"))
        result.commands.records[2].CommandID = result.commands.records[1].CommandID;
    return result;
}

/** Some faults are those of one kind. */
template <class Record> constexpr bool IsEvent = std::is_same_v<Record, CMessageEvent>;

template <class Record> std::time_t timeOf(const Record &record)
{
    if constexpr (IsEvent<Record>)
        return record.EventTime;
    else
        return record.CommandTime;
}

/** Whether this build deletes a record when it is asked to delete the one with identifier `id`. */
template <class Record> bool isHit(const Record &record, int id, const Record *asked)
{
    if (fault("delete-neighbour") && idOf(record) - 1 == id)
        return true;
    if (fault("delete-same-time") && IsEvent<Record> && asked && timeOf(record) == timeOf(*asked))
        return true;
    return idOf(record) == id;
}

template <class Record> const Record *withId(const Table<Record> &table, int id)
{
    const auto found = std::find_if(table.records.begin(), table.records.end(),
                                    [id](const Record &record) { return idOf(record) == id; });
    return found == table.records.end() ? nullptr : &*found;
}

/** The first record of the same time as the one that is asked for. */
template <class Record> int firstOfItsTime(const Table<Record> &table, int id)
{
    const Record *asked = withId(table, id);
    for (const Record &record : table.records)
        if (asked && timeOf(record) == timeOf(*asked))
            return idOf(record);
    return id;
}

template <class Record> void removeFrom(Table<Record> &table, int given)
{
    const int id = fault("delete-first-of-time") && IsEvent<Record> ? firstOfItsTime(table, given) : given;
    const Record *found = withId(table, id);
    const Record asked = found ? *found : Record();
    auto &records = table.records;
    const auto gone = std::remove_if(records.begin(), records.end(),
                                     [&](const Record &record) { return isHit(record, id, found ? &asked : nullptr); });
    records.erase(gone, records.end());
    if (!found && fault("delete-unknown") && !records.empty())
        records.pop_back();
    if (fault("reused-identifier") && !records.empty())
        table.nextId = idOf(records.back()) + 1;
}
} // namespace

Store &store()
{
    static Store whole = filled();
    return whole;
}

void add(CMessageEvent event)
{
    addTo(store().events, std::move(event));
}

void add(CMessageCommand command)
{
    addTo(store().commands, std::move(command));
}

int put(const CMessageEvent &event)
{
    if (fault("put-ignored"))
        return 0;
    if (fault("put-refused"))
        return -5;
    add(event);
    CMessageEvent &stored = store().events.records.back();
    if (fault("parameter-lost") && stored.ParNum > 2)
        stored.ParNum = 2;
    if (fault("text-cut") && stored.LSensorID > 256)
        setText(stored.SensorID, stored.LSensorID, std::string(stored.SensorID, 255));
    if (fault("bytes-lost") && stored.EventName) {
        std::replace_if(
            stored.EventName, stored.EventName + std::strlen(stored.EventName), [](char c) { return c < 0; }, '?');
    }
    logPut(stored);
    return 0;
}

int put(const CMessageCommand &command)
{
    add(command);
    CMessageCommand &stored = store().commands.records.back();
    if (fault("command-time-lost"))
        stored.CommandTime = 0;
    if (fault("command-text-cut") && stored.LSensorID > 256)
        setText(stored.SensorID, stored.LSensorID, std::string(stored.SensorID, 255));
    logPut(stored);
    return 0;
}

void removeEvent(int id)
{
    if (fault("delete-ignored"))
        return;
    const bool falls = fault("delete-falls-through") && !withId(store().events, id);
    removeFrom(store().events, id);
    if (fault("delete-takes-command") || falls)
        removeFrom(store().commands, id);
    logRemoval('e', id);
}

void removeCommand(int id)
{
    removeFrom(store().commands, id);
    if (fault("delete-takes-event"))
        removeFrom(store().events, id);
    logRemoval('c', id);
}
