// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "kinds.h"

#include "MessageEventParam.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <set>
#include <type_traits>

namespace
{
/** Times that a record can have, at the ends and before 1970: 32 bits, on every machine. */
std::vector<std::time_t> recordTimes()
{
    return {std::time_t(INT32_MIN), -86400, -1, 0, 1, 951782400, std::time_t(INT32_MAX) - 1, std::time_t(INT32_MAX)};
}

/** Times that may be asked for: those, and where they are wider the last second of 2038. */
std::vector<std::time_t> edgeTimes()
{
    std::vector<std::time_t> times = recordTimes();
    if constexpr (sizeof(std::time_t) > 4)
        times.push_back(std::time_t(2177452799));
    return times;
}

std::vector<int> edgeNumbers()
{
    return {INT_MIN, INT_MIN + 1, -2, -1, 0, 1, 2, INT_MAX - 1, INT_MAX};
}

/** Some of `present`, each with its neighbours, and all of `edges`. */
template <class Value>
std::vector<Value> worthAsking(std::vector<Value> present, std::vector<Value> edges, std::mt19937 &random)
{
    std::sort(present.begin(), present.end());
    present.erase(std::unique(present.begin(), present.end()), present.end());
    std::vector<Value> picked;
    if (!present.empty()) {
        picked = {present.front(), present.back(), present[present.size() / 2]};
        std::sample(present.begin(), present.end(), std::back_inserter(picked), 8, random);
    }
    std::set<Value> values(edges.begin(), edges.end());
    for (Value value : picked) {
        values.insert(value);
        if (value > std::numeric_limits<Value>::min())
            values.insert(value - 1);
        if (value < std::numeric_limits<Value>::max())
            values.insert(value + 1);
    }
    return {values.begin(), values.end()};
}

template <class Record, class Value>
std::vector<Value> valuesOf(const std::vector<Record> &records, Value Record::*field)
{
    std::vector<Value> values;
    for (const Record &record : records)
        values.push_back(record.*field);
    return values;
}

template <class Request, class Value>
Filter<Request> numberFilter(typename Filter<Request>::Group group, const char *name, Value Request::*field,
                             int Request::*use, const std::vector<Value> &values)
{
    Filter<Request> filter = {group, name, {}};
    for (Value value : values) {
        filter.terms.push_back({std::string(name) + "=" + std::to_string(value), [=](Request &request) {
                                    request.*field = value;
                                    request.*use = 1;
                                }});
    }
    return filter;
}

std::string upper(std::string text)
{
    for (char &c : text)
        c = c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
    return text;
}

/**
 * Masks as an operator may type them. Metacharacters count where they stand in
 * a record's name, so a name with them is asked for by what it stands for.
 */
template <class Record>
std::vector<std::string> masksFor(const std::vector<Record> &records, char *Record::*name, std::mt19937 &random)
{
    std::set<std::string> names;
    for (const Record &record : records)
        names.insert(record.*name ? record.*name : "");
    std::vector<std::string> picked;
    std::sample(names.begin(), names.end(), std::back_inserter(picked), 10, random);
    std::set<std::string> masks = {"", "*", "?", "+", "no such name", "\xC4\xD6\xDC\xFF"};
    for (const std::string &text : picked) {
        masks.insert({text, upper(text), text + "x", text + "*", text.substr(0, text.size() / 2) + "*",
                      text.substr(0, text.size() / 2), "x" + text});
        std::string filled;
        for (char c : text)
            filled += c == '*' || c == '+' ? "abc" : c == '?' ? "q" : std::string(1, c);
        masks.insert(filled);
    }
    return {masks.begin(), masks.end()};
}

template <class Request>
Filter<Request> maskFilter(typename Filter<Request>::Group group, const char *name, char *Request::*field,
                           int Request::*length, int Request::*use, const std::vector<std::string> &masks)
{
    Filter<Request> filter = {group, name, {}};
    for (const std::string &mask : masks) {
        filter.terms.push_back({std::string(name) + "=" + quoted(mask.c_str()), [=](Request &request) {
                                    CopyPtr(&(request.*field), &(request.*length), mask.c_str(), int(mask.size()) + 1);
                                    request.*use = 1;
                                }});
    }
    return filter;
}

template <class Request> std::string endOf(const Request &request)
{
    return std::string(request.TakeFirst1_Last0 ? "first " : "last ") + std::to_string(request.NMax);
}

template <class Value> void tell(std::string &text, const char *name, int use, Value value)
{
    if (use)
        text += std::string(", ") + name + "=" + std::to_string(value);
}

void tellMask(std::string &text, const char *name, int use, const char *mask)
{
    if (use)
        text += std::string(", ") + name + "=" + (mask ? quoted(mask) : "NULL");
}

void setText(char *&text, int &length, const std::string &value)
{
    CopyPtr(&text, &length, value.c_str(), int(value.size()) + 1);
}

/** Names that differ in letter case, hold metacharacters, bytes above 127, nothing, or very much. */
std::string sampleName(const char *stem, int number)
{
    static const char *const odd[] = {"*", "+", "?", "\xC4\xD6\xDC", "", "A b;c=d", "*s?", "\x80\xFF"};
    const std::string base = stem + std::to_string(number % 12);
    if (number % 5 == 4)
        return std::string(number % 2 ? stem : "") + odd[number / 5 % 8];
    return number % 7 == 6 ? upper(base) : number % 41 == 40 ? base + std::string(200, 'l') : base;
}

std::time_t sampleTime(int number, std::mt19937 &random)
{
    if (number % 10 == 9) {
        const std::vector<std::time_t> edges = recordTimes();
        return edges[std::size_t(number) / 10 % edges.size()];
    }
    return std::time_t(1600000000) + std::time_t(number) * 30 + std::time_t(random() % 3);
}

void sampleParameters(CMessageEventParam *&par, int &count, int number)
{
    count = number % 4;
    par = count > 0 ? new CMessageEventParam[std::size_t(count)] : nullptr;
    for (int i = 0; i < count; ++i) {
        par[i].Type = i + 1;
        setText(par[i].Name, par[i].LName, "par" + std::to_string(i));
        const double level = number * 0.5;
        if (par[i].Type == ParameterInteger)
            CopyPtr(&par[i].Val, &par[i].LVal, reinterpret_cast<const char *>(&number), int(sizeof(number)));
        else if (par[i].Type == ParameterDouble)
            CopyPtr(&par[i].Val, &par[i].LVal, reinterpret_cast<const char *>(&level), int(sizeof(level)));
        else
            setText(par[i].Val, par[i].LVal, "value \xB5" + std::to_string(number));
    }
}
} // namespace

std::string quoted(const char *text)
{
    constexpr std::size_t longest = 60;
    std::string result = "\"";
    for (const char *c = text; *c; ++c) {
        if (result.size() > longest) {
            result += "...";
            break;
        }
        if (*c >= ' ' && *c <= '~') {
            result += *c;
        } else {
            char code[8];
            std::snprintf(code, sizeof(code), "\\x%02X", unsigned(static_cast<unsigned char>(*c)));
            result += code;
        }
    }
    return result + "\"";
}

void EventKind::setLowest(Request &request, int lowest)
{
    request.MessageID0 = lowest;
    request.UseMessageID0 = 1;
}

void EventKind::setHighest(Request &request, int highest)
{
    request.MessageID1 = highest;
    request.UseMessageID1 = 1;
}

void EventKind::bound(Request &request, int highest)
{
    setHighest(request, request.UseMessageID1 ? std::min(request.MessageID1, highest) : highest);
}

std::vector<Filter<CMessageEventRequest>> EventKind::filters(const std::vector<Record> &records, std::mt19937 &random)
{
    using F = Filter<Request>;
    const auto ids = worthAsking(valuesOf(records, &Record::MessageID), edgeNumbers(), random);
    const auto times = worthAsking(valuesOf(records, &Record::EventTime), edgeTimes(), random);
    const auto types = worthAsking(valuesOf(records, &Record::MessageType), edgeNumbers(), random);
    const auto sensorTypes = worthAsking(valuesOf(records, &Record::SensorType), edgeNumbers(), random);
    return {
        numberFilter(F::Identifier, "MessageID0", &Request::MessageID0, &Request::UseMessageID0, ids),
        numberFilter(F::Identifier, "MessageID1", &Request::MessageID1, &Request::UseMessageID1, ids),
        numberFilter(F::Type, "MessageType", &Request::MessageType, &Request::UseMessageType, types),
        maskFilter(F::SensorMask, "SensorID", &Request::SensorID, &Request::LSensorID, &Request::UseSensorID,
                   masksFor(records, &Record::SensorID, random)),
        numberFilter(F::Type, "SensorType", &Request::SensorType, &Request::UseSensorType, sensorTypes),
        maskFilter(F::NameMask, "EventName", &Request::EventName, &Request::LEventName, &Request::UseEventName,
                   masksFor(records, &Record::EventName, random)),
        numberFilter(F::Time, "EventTime0", &Request::EventTime0, &Request::UseEventTime0, times),
        numberFilter(F::Time, "EventTime1", &Request::EventTime1, &Request::UseEventTime1, times),
    };
}

void EventKind::switchOff(Request &r)
{
    for (int *use : {&r.UseMessageID0, &r.UseMessageID1, &r.UseMessageType, &r.UseSensorID, &r.UseSensorType,
                     &r.UseEventName, &r.UseEventTime0, &r.UseEventTime1})
        *use = 0;
}

std::vector<char * CMessageEventRequest::*> EventKind::masks()
{
    return {&Request::SensorID, &Request::EventName};
}

std::string EventKind::describe(const Request &r)
{
    std::string text = endOf(r) + " events";
    tell(text, "MessageID0", r.UseMessageID0, r.MessageID0);
    tell(text, "MessageID1", r.UseMessageID1, r.MessageID1);
    tell(text, "MessageType", r.UseMessageType, r.MessageType);
    tellMask(text, "SensorID", r.UseSensorID, r.SensorID);
    tell(text, "SensorType", r.UseSensorType, r.SensorType);
    tellMask(text, "EventName", r.UseEventName, r.EventName);
    tell(text, "EventTime0", r.UseEventTime0, r.EventTime0);
    tell(text, "EventTime1", r.UseEventTime1, r.EventTime1);
    return text;
}

CMessageEvent EventKind::sample(int number, std::mt19937 &random)
{
    Record event;
    event.MessageType = number % 6 - 1;
    event.SensorType = number % 4;
    event.EventTime = sampleTime(number, random);
    setText(event.SensorID, event.LSensorID, sampleName("sensor", number));
    setText(event.EventName, event.LEventName, sampleName("Event", number * 7 + 3));
    sampleParameters(event.par, event.ParNum, number);
    return event;
}

void CommandKind::setLowest(Request &request, int lowest)
{
    request.CommandID0 = lowest;
    request.UseCommandID0 = 1;
}

void CommandKind::setHighest(Request &request, int highest)
{
    request.CommandID1 = highest;
    request.UseCommandID1 = 1;
}

void CommandKind::bound(Request &request, int highest)
{
    setHighest(request, request.UseCommandID1 ? std::min(request.CommandID1, highest) : highest);
}

std::vector<Filter<CMessageCommandRequest>> CommandKind::filters(const std::vector<Record> &records,
                                                                 std::mt19937 &random)
{
    using F = Filter<Request>;
    const auto ids = worthAsking(valuesOf(records, &Record::CommandID), edgeNumbers(), random);
    const auto times = worthAsking(valuesOf(records, &Record::CommandTime), edgeTimes(), random);
    const auto types = worthAsking(valuesOf(records, &Record::MessageType), edgeNumbers(), random);
    const auto orders = worthAsking(valuesOf(records, &Record::CommandType), edgeNumbers(), random);
    return {
        numberFilter(F::Type, "MessageType", &Request::MessageType, &Request::UseMessageType, types),
        maskFilter(F::SensorMask, "SensorID", &Request::SensorID, &Request::LSensorID, &Request::UseSensorID,
                   masksFor(records, &Record::SensorID, random)),
        numberFilter(F::Identifier, "CommandID0", &Request::CommandID0, &Request::UseCommandID0, ids),
        numberFilter(F::Identifier, "CommandID1", &Request::CommandID1, &Request::UseCommandID1, ids),
        numberFilter(F::Type, "CommandType", &Request::CommandType, &Request::UseCommandType, orders),
        numberFilter(F::Time, "CommandTime0", &Request::CommandTime0, &Request::UseCommandTime0, times),
        numberFilter(F::Time, "CommandTime1", &Request::CommandTime1, &Request::UseCommandTime1, times),
    };
}

void CommandKind::switchOff(Request &r)
{
    for (int *use : {&r.UseMessageType, &r.UseSensorID, &r.UseCommandID0, &r.UseCommandID1, &r.UseCommandType,
                     &r.UseCommandTime0, &r.UseCommandTime1})
        *use = 0;
}

std::vector<char * CMessageCommandRequest::*> CommandKind::masks()
{
    return {&Request::SensorID};
}

std::string CommandKind::describe(const Request &r)
{
    std::string text = endOf(r) + " commands";
    tell(text, "MessageType", r.UseMessageType, r.MessageType);
    tellMask(text, "SensorID", r.UseSensorID, r.SensorID);
    tell(text, "CommandID0", r.UseCommandID0, r.CommandID0);
    tell(text, "CommandID1", r.UseCommandID1, r.CommandID1);
    tell(text, "CommandType", r.UseCommandType, r.CommandType);
    tell(text, "CommandTime0", r.UseCommandTime0, r.CommandTime0);
    tell(text, "CommandTime1", r.UseCommandTime1, r.CommandTime1);
    return text;
}

CMessageCommand CommandKind::sample(int number, std::mt19937 &random)
{
    Record command;
    command.MessageType = number % 6 - 1;
    command.CommandType = 1 + number % 4;
    command.CommandTime = sampleTime(number, random);
    setText(command.SensorID, command.LSensorID, sampleName("sensor", number));
    sampleParameters(command.par, command.ParNum, number);
    return command;
}
