// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "store.h"

#include "MessageEventParam.h"
#include "WCompare.h"
#include "fault.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>

int &idOf(CMessageEvent &event)
{
    return event.MessageID;
}

int &idOf(CMessageCommand &command)
{
    return command.CommandID;
}

namespace
{
void set(char *&text, int &length, const std::string &value)
{
    CopyPtr(&text, &length, value.c_str(), int(value.size()) + 1);
}

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
        set(par.Name, par.LName, "par" + std::to_string(p));
        const double level = i * 0.25;
        if (p == 0)
            CopyPtr(&par.Val, &par.LVal, reinterpret_cast<const char *>(&i), int(sizeof(i)));
        else if (p == 1)
            CopyPtr(&par.Val, &par.LVal, reinterpret_cast<const char *>(&level), int(sizeof(level)));
        else
            set(par.Val, par.LVal, "text " + std::to_string(i));
    }
}

CSensor sensor(int i)
{
    CSensor result;
    result.SensorType = i % 3;
    set(result.SensorID, result.LSensorID, "sensor" + std::to_string(fault("sensor-twice") ? i / 2 : i));
    if (fault("sensor-nameless") && i == 3)
        set(result.SensorID, result.LSensorID, "");
    set(result.Description, result.LDescription, "sensor number " + std::to_string(i));
    result.MessageType = i % 3;
    result.EventTime = someTime(i);
    return result;
}

CMessageEvent event(int i)
{
    CMessageEvent result;
    result.MessageType = i % 5;
    result.SensorType = i % 3 + 10;
    set(result.SensorID, result.LSensorID, sensorName(i));
    set(result.EventName, result.LEventName, eventName(i));
    result.EventTime = someTime(i);
    addParameters(result, i);
    return result;
}

CMessageCommand command(int i)
{
    CMessageCommand result;
    result.MessageType = i % 5;
    result.CommandType = 1 + i % 4;
    set(result.SensorID, result.LSensorID, sensorName(i));
    result.CommandTime = someTime(i);
    addParameters(result, i);
    return result;
}

template <class Record> void add(Shelf<Record> &shelf, const Record &record)
{
    shelf.records.push_back(record);
    idOf(shelf.records.back()) = shelf.nextId++;
}

Store filled()
{
    Store result;
    for (int i = 0; i < 10; ++i)
        result.sensors.push_back(sensor(i));
    for (int i = 0; i < 60; ++i)
        add(result.events, event(i));
    for (int i = 0; i < 40; ++i)
        add(result.commands, command(i));
    if (fault("same-identifier"))
        result.events.records[2].MessageID = result.events.records[1].MessageID;
    if (fault("command-same-identifier"))
        result.commands.records[2].CommandID = result.commands.records[1].CommandID;
    return result;
}

// Matching, and the ways to get it wrong.

bool nameMatches(const char *mask, const char *name)
{
    return WCompareNoCase(mask, name ? name : "") != 0;
}

bool swappedMatches(const char *mask, const char *name)
{
    return WCompareNoCase(name ? name : "", mask) != 0;
}

std::string lower(const char *text)
{
    std::string result = text ? text : "";
    strlwr_win(result.data());
    return result;
}

/** Compares without wildcards but with letter case. */
bool exactMatches(const char *mask, const char *name)
{
    const std::string text = name ? name : "";
    return nameMatches(mask, name) && (lower(mask) != lower(name) || text == mask);
}

CMessageEventRequest misread(const CMessageEventRequest &given)
{
    CMessageEventRequest r(given);
    r.MessageID0 += fault("event-id0") && r.MessageID0 < INT_MAX;
    r.MessageID1 -= fault("event-id1") && r.MessageID1 > INT_MIN;
    r.EventTime0 += fault("event-time0");
    r.EventTime1 -= fault("event-time1");
    if (fault("switch-ignored") && r.MessageID1 != 0)
        r.UseMessageID1 = 1;
    if (fault("negative-time") && r.EventTime1 < 0)
        r.UseEventTime1 = 0;
    if (fault("time-cut"))
        r.EventTime0 = std::int32_t(r.EventTime0);
    if (fault("sensor-type-ignored"))
        r.UseSensorType = 0;
    return r;
}

CMessageCommandRequest misread(const CMessageCommandRequest &given)
{
    CMessageCommandRequest r(given);
    r.CommandID0 += fault("command-id0") && r.CommandID0 < INT_MAX;
    r.CommandID1 -= fault("command-id1") && r.CommandID1 > INT_MIN;
    r.CommandTime0 += fault("command-time0");
    r.CommandTime1 -= fault("command-time1");
    if (fault("command-switch-ignored") && r.CommandID1 != 0)
        r.UseCommandID1 = 1;
    if (fault("command-type-ignored"))
        r.UseCommandType = 0;
    return r;
}

bool matches(const CMessageEventRequest &given, const CMessageEvent &record)
{
    CMessageEventRequest r(given);
    if (fault("types-swapped") && r.UseMessageType) {
        r.UseMessageType = 0;
        if (r.MessageType != record.SensorType)
            return false;
    }
    if (r.UseSensorID && r.SensorID && (fault("event-mask-swapped") || fault("mask-letter-case"))) {
        r.UseSensorID = 0;
        if (!(fault("event-mask-swapped") ? swappedMatches : exactMatches)(r.SensorID, record.SensorID))
            return false;
    }
    if (r.UseEventName && r.EventName && fault("name-mask-swapped")) {
        r.UseEventName = 0;
        if (!swappedMatches(r.EventName, record.EventName))
            return false;
    }
    return (r & record) != 0;
}

bool matches(const CMessageCommandRequest &given, const CMessageCommand &record)
{
    CMessageCommandRequest r(given);
    if (r.UseSensorID && r.SensorID && fault("command-mask-swapped")) {
        r.UseSensorID = 0;
        if (!swappedMatches(r.SensorID, record.SensorID))
            return false;
    }
    return (r & record) != 0;
}

int lowestWanted(const CMessageEventRequest &request)
{
    return request.UseMessageID0;
}

int lowestWanted(const CMessageCommandRequest &request)
{
    return request.UseCommandID0;
}

template <class Record, class Request>
std::vector<const Record *> selectFrom(const Shelf<Record> &shelf, const Request &given)
{
    const Request request = misread(given);
    std::vector<const Record *> found;
    for (const Record &record : shelf.records)
        if (matches(request, record))
            found.push_back(&record);
    std::size_t wanted = std::size_t(std::max(request.NMax, 0));
    if (fault("nmax-ignored") || (fault("nmax-negative") && request.NMax < 0))
        wanted = found.size();
    if (fault("count-short") && found.size() > wanted && wanted > 1)
        --wanted;
    const bool first = (request.TakeFirst1_Last0 != 0) != fault("ends-swapped");
    if (found.size() > wanted) {
        const auto surplus = std::ptrdiff_t(found.size() - wanted);
        first ? found.erase(found.end() - surplus, found.end()) : found.erase(found.begin(), found.begin() + surplus);
    }
    const bool lowest = lowestWanted(request) && !fault("order-with-lowest");
    if (!request.TakeFirst1_Last0 && !lowest && !fault("order-ascending"))
        std::reverse(found.begin(), found.end());
    if (fault("order-random")) {
        static std::mt19937 random(7);
        std::shuffle(found.begin(), found.end(), random);
    }
    return found;
}

// The log.

std::string hex(const char *text)
{
    std::string result = "-";
    char code[4];
    for (; text && *text; ++text) {
        std::snprintf(code, sizeof(code), "%02X", unsigned(static_cast<unsigned char>(*text)));
        result += code;
    }
    return result;
}

std::string unhex(const char *code)
{
    std::string result;
    unsigned byte = 0;
    for (++code; std::sscanf(code, "%2x", &byte) == 1; code += 2)
        result += char(byte);
    return result;
}

void writeLog(const std::string &line)
{
    if (std::FILE *file = store().log.empty() ? nullptr : std::fopen(store().log.c_str(), "a")) {
        std::fputs(line.c_str(), file);
        std::fclose(file);
    }
}

template <class Record> void dropFrom(Shelf<Record> &shelf, int id)
{
    const auto hit = [id](Record &record) {
        return idOf(record) == id || (fault("delete-neighbour") && idOf(record) - 1 == id);
    };
    auto &records = shelf.records;
    const auto kept = std::remove_if(records.begin(), records.end(), hit);
    const bool none = kept == records.end();
    records.erase(kept, records.end());
    if (none && fault("delete-unknown") && !records.empty())
        records.pop_back();
    if (fault("reused-identifier") && !records.empty())
        shelf.nextId = idOf(records.back()) + 1;
}

void readLine(const char *line)
{
    static char sensorText[16384];
    static char nameText[16384];
    CMessageEvent event;
    long long time = 0;
    int id = 0;
    Shelf<CMessageEvent> &shelf = store().events;
    if (std::sscanf(line, "P %d %d %d %lld %16383s %16383s", &id, &event.MessageType, &event.SensorType, &time,
                    sensorText, nameText) == 6) {
        event.EventTime = std::time_t(time);
        set(event.SensorID, event.LSensorID, unhex(sensorText));
        set(event.EventName, event.LEventName, unhex(nameText));
        shelf.nextId = id;
        add(shelf, event);
    } else if (std::sscanf(line, "D %d", &id) == 1) {
        dropFrom(shelf, id);
    }
}
} // namespace

Store &store()
{
    static Store whole = filled();
    return whole;
}

void openLog(const std::string &path)
{
    if (!store().log.empty())
        return;
    if (std::FILE *file = std::fopen(path.c_str(), "r")) {
        static char line[65536];
        while (std::fgets(line, sizeof(line), file))
            readLine(line);
        std::fclose(file);
    }
    if (fault("reused-after-restart"))
        store().events.nextId = store().events.records.back().MessageID + 1;
    store().log = path;
}

std::vector<const CMessageEvent *> select(const CMessageEventRequest &request)
{
    return selectFrom(store().events, request);
}

std::vector<const CMessageCommand *> select(const CMessageCommandRequest &request)
{
    return selectFrom(store().commands, request);
}

int put(const CMessageEvent &event)
{
    if (fault("put-ignored"))
        return 0;
    if (fault("put-refused"))
        return -5;
    add(store().events, event);
    CMessageEvent &stored = store().events.records.back();
    if (fault("parameter-lost") && stored.ParNum > 2)
        stored.ParNum = 2;
    if (fault("text-cut") && stored.LSensorID > 256)
        set(stored.SensorID, stored.LSensorID, std::string(stored.SensorID, 255));
    if (fault("bytes-lost") && stored.EventName) {
        std::replace_if(
            stored.EventName, stored.EventName + std::strlen(stored.EventName), [](char c) { return c < 0; }, '?');
    }
    writeLog("P " + std::to_string(stored.MessageID) + " " + std::to_string(stored.MessageType) + " " +
             std::to_string(stored.SensorType) + " " + std::to_string(stored.EventTime) + " " + hex(stored.SensorID) +
             " " + hex(stored.EventName) + "\n");
    return 0;
}

int put(const CMessageCommand &command)
{
    add(store().commands, command);
    CMessageCommand &stored = store().commands.records.back();
    if (fault("command-time-lost"))
        stored.CommandTime = 0;
    if (fault("command-text-cut") && stored.LSensorID > 256)
        set(stored.SensorID, stored.LSensorID, std::string(stored.SensorID, 255));
    return 0;
}

void removeEvent(int id)
{
    if (!fault("delete-ignored")) {
        dropFrom(store().events, id);
        writeLog("D " + std::to_string(id) + "\n");
    }
}

void removeCommand(int id)
{
    dropFrom(store().commands, id);
}
