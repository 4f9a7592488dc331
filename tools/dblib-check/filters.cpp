// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "kinds.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <set>
#include <type_traits>

namespace
{
/** Times that may be asked for: those that a record can have, and where they are wider the last second of 2038. */
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

unsigned char byteOf(char c)
{
    return static_cast<unsigned char>(c);
}

/** Letters beyond ASCII in the other case, as an encoding of single bytes has them. */
std::string otherCase(std::string text)
{
    for (char &c : text)
        if (byteOf(c) >= 0xC0)
            c = char(c ^ 0x20);
    return text;
}

/** The same for UTF-8: of two bytes the second one tells the case. */
std::string otherCaseUtf8(std::string text)
{
    for (std::size_t i = 1; i < text.size(); ++i)
        if (byteOf(text[i - 1]) == 0xC3 && byteOf(text[i]) >= 0x80)
            text[i] = char(text[i] ^ 0x20);
    return text;
}

/** What a name with metacharacters stands for, one of many. */
std::string filledIn(const std::string &name)
{
    std::string text;
    for (char c : name)
        text += c == '*' || c == '+' ? "abc" : c == '?' ? "q" : std::string(1, c);
    return text;
}

/** Some of the names, those with letters beyond ASCII first. */
std::vector<std::string> pickedNames(const std::set<std::string> &names, std::mt19937 &random)
{
    constexpr std::size_t most = 10;
    std::vector<std::string> picked;
    const auto isAscii = [](const std::string &name) {
        return std::all_of(name.begin(), name.end(), [](char c) { return byteOf(c) < 0x80; });
    };
    for (const std::string &name : names)
        if (!isAscii(name) && picked.size() < most / 2)
            picked.push_back(name);
    std::sample(names.begin(), names.end(), std::back_inserter(picked), most, random);
    return picked;
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
    std::set<std::string> masks = {"", "*", "?", "+", "no such name", "\xC4\xD6\xDC\xFF"};
    for (const std::string &text : pickedNames(names, random)) {
        masks.insert({text, upper(text), lower(text), otherCase(text), otherCaseUtf8(text), filledIn(text), text + "x",
                      text + "*", text.substr(0, text.size() / 2) + "*", text.substr(0, text.size() / 2), "x" + text});
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
} // namespace

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
