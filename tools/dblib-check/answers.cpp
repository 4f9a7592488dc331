// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "answers.h"

#include "MessageEventParam.h"

#include <cstring>
#include <type_traits>

namespace
{
constexpr std::size_t Noted = 3;
constexpr int MostParameters = 100000;

/** No text and an empty one show the same. */
bool sameText(const char *a, int aLength, const char *b, int bLength)
{
    if (aLength <= 1 && bLength <= 1)
        return true;
    return aLength == bLength && (aLength <= 0 || std::memcmp(a, b, std::size_t(aLength)) == 0);
}

bool sameParameters(const CMessageEventParam *a, int aCount, const CMessageEventParam *b, int bCount)
{
    return std::equal(a, a + aCount, b, b + bCount,
                      [](const CMessageEventParam &left, const CMessageEventParam &right) {
                          return left.Type == right.Type && sameText(left.Name, left.LName, right.Name, right.LName) &&
                                 sameText(left.Val, left.LVal, right.Val, right.LVal);
                      });
}

/** The name beside the first comparison that failed. */
std::string firstOf(std::initializer_list<std::pair<bool, const char *>> comparisons)
{
    for (const auto &[equal, name] : comparisons)
        if (!equal)
            return name;
    return {};
}

std::vector<int> sorted(std::vector<int> ids)
{
    std::sort(ids.begin(), ids.end());
    return ids;
}

/** The least bytes that a value of a type takes. */
int leastBytes(int type)
{
    return type == ParameterInteger ? int(sizeof(int)) : type == ParameterDouble ? int(sizeof(double)) : 1;
}
} // namespace

void RecordReader::note(std::vector<std::string> &list, const std::string &text)
{
    if (list.size() < Noted)
        list.push_back("record " + std::to_string(m_number) + ": " + text);
}

void RecordReader::readText(char *&to, int &toLength, const char *from, int length, const char *name)
{
    const std::string field = name;
    if (!from || length <= 0) {
        if (length != 0)
            note(m_faults, field + " is " + (from ? "a text" : "NULL") + " of length " + std::to_string(length));
        else if (from && Heap::readable(from, 1) == 1 && *from)
            note(m_faults, field + " is a text of length 0: the console leaves it out");
        return;
    }
    const std::size_t readable = Heap::readable(from, std::size_t(length));
    const void *nul = std::memchr(from, '\0', readable);
    const std::size_t text = nul ? std::size_t(static_cast<const char *>(nul) - from) : readable;
    if (readable < std::size_t(length)) {
        note(m_faults, "L" + field + " is " + std::to_string(length) + ", the memory ends after " +
                           std::to_string(readable) + " bytes");
    } else if (from[length - 1] != '\0') {
        note(m_faults, field + " has no NUL at its end, byte " + std::to_string(length - 1));
    } else if (text + 1 < std::size_t(length)) {
        note(m_oddities, "L" + field + " is " + std::to_string(length) + " for a text of " + std::to_string(text + 1) +
                             " bytes with its NUL");
    }
    const std::string whole(from, text);
    CopyPtr(&to, &toLength, whole.c_str(), int(whole.size()) + 1);
}

void RecordReader::readParameter(CMessageEventParam &to, const CMessageEventParam &from)
{
    to.Type = from.Type;
    readText(to.Name, to.LName, from.Name, from.LName, "Name of a parameter");
    if (from.Type == ParameterText) {
        readText(to.Val, to.LVal, from.Val, from.LVal, "Val of a parameter");
        return;
    }
    if (!from.Val && from.LVal == 0)
        return;
    const std::size_t readable = from.LVal > 0 ? Heap::readable(from.Val, std::size_t(from.LVal)) : 0;
    if (from.LVal < leastBytes(from.Type) || readable < std::size_t(from.LVal)) {
        note(m_faults, "Val of a parameter of type " + std::to_string(from.Type) + " has LVal " +
                           std::to_string(from.LVal) + " and " + std::to_string(readable) + " bytes");
    }
    CopyPtr(&to.Val, &to.LVal, from.Val, int(readable));
}

void RecordReader::readParameters(CMessageEventParam *&to, int &toCount, const CMessageEventParam *from, int count)
{
    if (count < 0 || (count > 0 && !from))
        note(m_faults, "ParNum is " + std::to_string(count) + " with par " + (from ? "set" : "NULL"));
    if (count <= 0 || !from)
        return;
    const std::size_t wanted = std::size_t(std::min(count, MostParameters));
    const std::size_t readable = Heap::readable(from, wanted * sizeof(*from)) / sizeof(*from);
    if (readable < std::size_t(count)) {
        note(m_faults, "ParNum is " + std::to_string(count) + ", the memory ends after " + std::to_string(readable) +
                           " parameters");
    }
    to = readable > 0 ? new CMessageEventParam[readable] : nullptr;
    toCount = int(readable);
    for (std::size_t i = 0; i < readable; ++i)
        readParameter(to[i], from[i]);
}

CSensor RecordReader::read(const CSensor &from)
{
    ++m_number;
    CSensor to;
    to.SensorType = from.SensorType;
    readText(to.SensorID, to.LSensorID, from.SensorID, from.LSensorID, "SensorID");
    readText(to.Description, to.LDescription, from.Description, from.LDescription, "Description");
    to.MessageType = from.MessageType;
    to.EventTime = from.EventTime;
    return to;
}

CMessageEvent RecordReader::read(const CMessageEvent &from)
{
    ++m_number;
    CMessageEvent to;
    to.MessageType = from.MessageType;
    readText(to.SensorID, to.LSensorID, from.SensorID, from.LSensorID, "SensorID");
    to.MessageID = from.MessageID;
    to.SensorType = from.SensorType;
    readText(to.EventName, to.LEventName, from.EventName, from.LEventName, "EventName");
    to.EventTime = from.EventTime;
    readParameters(to.par, to.ParNum, from.par, from.ParNum);
    return to;
}

CMessageCommand RecordReader::read(const CMessageCommand &from)
{
    ++m_number;
    CMessageCommand to;
    to.MessageType = from.MessageType;
    readText(to.SensorID, to.LSensorID, from.SensorID, from.LSensorID, "SensorID");
    to.CommandID = from.CommandID;
    to.CommandType = from.CommandType;
    to.CommandTime = from.CommandTime;
    readParameters(to.par, to.ParNum, from.par, from.ParNum);
    return to;
}

std::string firstDifference(const CSensor &a, const CSensor &b)
{
    return firstOf({
        {a.SensorType == b.SensorType, "SensorType"},
        {sameText(a.SensorID, a.LSensorID, b.SensorID, b.LSensorID), "SensorID"},
        {sameText(a.Description, a.LDescription, b.Description, b.LDescription), "Description"},
        {a.MessageType == b.MessageType, "MessageType"},
        {a.EventTime == b.EventTime, "EventTime"},
    });
}

std::string firstDifference(const CMessageEvent &a, const CMessageEvent &b)
{
    return firstOf({
        {a.MessageType == b.MessageType, "MessageType"},
        {sameText(a.SensorID, a.LSensorID, b.SensorID, b.LSensorID), "SensorID"},
        {a.MessageID == b.MessageID, "MessageID"},
        {a.SensorType == b.SensorType, "SensorType"},
        {sameText(a.EventName, a.LEventName, b.EventName, b.LEventName), "EventName"},
        {a.EventTime == b.EventTime, "EventTime"},
        {sameParameters(a.par, a.ParNum, b.par, b.ParNum), "the parameters"},
    });
}

std::string firstDifference(const CMessageCommand &a, const CMessageCommand &b)
{
    return firstOf({
        {a.MessageType == b.MessageType, "MessageType"},
        {sameText(a.SensorID, a.LSensorID, b.SensorID, b.LSensorID), "SensorID"},
        {a.CommandID == b.CommandID, "CommandID"},
        {a.CommandType == b.CommandType, "CommandType"},
        {a.CommandTime == b.CommandTime, "CommandTime"},
        {sameParameters(a.par, a.ParNum, b.par, b.ParNum), "the parameters"},
    });
}

Snapshot takeSnapshot(const Library &library)
{
    Snapshot snapshot;
    if (library.has(SensorKind::Fetch)) {
        const auto answer = ask<SensorKind>(library, {});
        snapshot.results.push_back(answer.status);
        snapshot.sensors = answer.records.size();
    }
    forEachSelected(library, [&](auto kind) {
        using Kind = decltype(kind);
        constexpr int shown = 50;
        const auto answer = ask<Kind>(library, plain<Kind>(shown, true));
        snapshot.results.push_back(answer.status);
        auto &ids = std::is_same_v<Kind, EventKind> ? snapshot.events : snapshot.commands;
        ids = sorted(idsOf<Kind>(answer.records));
    });
    return snapshot;
}

std::string change(const Snapshot &before, const Snapshot &after)
{
    const auto became = [](std::size_t from, std::size_t to, const std::string &what) {
        return from == to ? "other " + what : std::to_string(from) + " " + what + " became " + std::to_string(to);
    };
    if (before.events != after.events)
        return became(before.events.size(), after.events.size(), "events");
    if (before.commands != after.commands)
        return became(before.commands.size(), after.commands.size(), "commands");
    if (before.sensors != after.sensors)
        return became(before.sensors, after.sensors, "sensors");
    return before.results == after.results ? std::string() : "the results of the fetches are others";
}

std::string listed(const std::vector<int> &ids)
{
    constexpr std::size_t shown = 4;
    std::string text;
    for (std::size_t i = 0; i < std::min(ids.size(), shown); ++i)
        text += (i > 0 ? ", " : "") + std::to_string(ids[i]);
    return ids.size() > shown ? text + " and " + std::to_string(ids.size() - shown) + " more" : text;
}
