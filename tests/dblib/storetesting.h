// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** @file What the tests of the store share: folders, records and their comparison. */

#include "Messages.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

/** A folder of its own, gone at the end. */
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "obrim-store-XXXXXX").string();
        m_folder = ::mkdtemp(pattern.data());
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    const std::string &path() const
    {
        return m_folder;
    }
    std::string file(const std::string &name) const
    {
        return m_folder + "/" + name;
    }

private:
    std::string m_folder;
};

/** Sets an owned text. */
inline void setText(char *&text, int &length, std::string_view value)
{
    const std::string terminated(value);
    CopyPtr(&text, &length, terminated.c_str(), int(terminated.size()) + 1);
}

inline CMessageEvent makeEvent(std::string_view sensor, std::string_view name, std::int64_t time, int kind = 1)
{
    CMessageEvent event;
    event.MessageType = kind;
    event.SensorType = kind;
    event.EventTime = std::time_t(time);
    setText(event.SensorID, event.LSensorID, sensor);
    setText(event.EventName, event.LEventName, name);
    return event;
}

inline CMessageCommand makeCommand(std::string_view sensor, int command, std::int64_t time)
{
    CMessageCommand result;
    result.MessageType = 1;
    result.CommandType = command;
    result.CommandTime = std::time_t(time);
    setText(result.SensorID, result.LSensorID, sensor);
    return result;
}

/** Appends a parameter whose value is `size` bytes at `value`. */
template <class Record>
void addParameter(Record &record, int type, std::string_view name, const void *value, std::size_t size)
{
    auto *grown = new CMessageEventParam[std::size_t(record.ParNum) + 1];
    for (int i = 0; i < record.ParNum; ++i)
        grown[i] = record.par[i];
    delete[] record.par;
    record.par = grown;
    CMessageEventParam &added = record.par[record.ParNum++];
    added.Type = type;
    setText(added.Name, added.LName, name);
    CopyPtr(&added.Val, &added.LVal, static_cast<const char *>(value), int(size));
}

template <class Record> void addInteger(Record &record, std::string_view name, int value)
{
    addParameter(record, ParameterInteger, name, &value, sizeof value);
}

template <class Record> void addDouble(Record &record, std::string_view name, double value)
{
    addParameter(record, ParameterDouble, name, &value, sizeof value);
}

template <class Record> void addText(Record &record, std::string_view name, const std::string &value)
{
    addParameter(record, ParameterText, name, value.c_str(), value.size() + 1);
}

inline bool sameBytes(const char *a, int lengthA, const char *b, int lengthB)
{
    return !a == !b && lengthA == lengthB && (!a || std::memcmp(a, b, std::size_t(lengthA)) == 0);
}

template <class Record> bool sameParameters(const Record &a, const Record &b)
{
    if (a.ParNum != b.ParNum)
        return false;
    for (int i = 0; i < a.ParNum; ++i) {
        const CMessageEventParam &p = a.par[i];
        const CMessageEventParam &q = b.par[i];
        if (p.Type != q.Type || !sameBytes(p.Name, p.LName, q.Name, q.LName) ||
            !sameBytes(p.Val, p.LVal, q.Val, q.LVal))
            return false;
    }
    return true;
}

/** Equality of all that is stored; the identifier is the store's. */
inline bool same(const CMessageEvent &a, const CMessageEvent &b)
{
    return a.MessageType == b.MessageType && a.SensorType == b.SensorType && a.EventTime == b.EventTime &&
           sameBytes(a.SensorID, a.LSensorID, b.SensorID, b.LSensorID) &&
           sameBytes(a.EventName, a.LEventName, b.EventName, b.LEventName) && sameParameters(a, b);
}

inline bool same(const CMessageCommand &a, const CMessageCommand &b)
{
    return a.MessageType == b.MessageType && a.CommandType == b.CommandType && a.CommandTime == b.CommandTime &&
           sameBytes(a.SensorID, a.LSensorID, b.SensorID, b.LSensorID) && sameParameters(a, b);
}

inline CMessageEventRequest eventsWanted(int count, bool first = false)
{
    CMessageEventRequest request;
    request.NMax = count;
    request.TakeFirst1_Last0 = first ? 1 : 0;
    return request;
}

inline CMessageCommandRequest commandsWanted(int count, bool first = false)
{
    CMessageCommandRequest request;
    request.NMax = count;
    request.TakeFirst1_Last0 = first ? 1 : 0;
    return request;
}

inline int identifierOf(const CMessageEvent &event)
{
    return event.MessageID;
}

inline int identifierOf(const CMessageCommand &command)
{
    return command.CommandID;
}

/** The identifiers of an answer, in its order. */
template <class Answer> std::vector<int> ids(const Answer &answer)
{
    std::vector<int> result;
    for (int i = 0; i < answer.size(); ++i)
        result.push_back(identifierOf(answer[i]));
    return result;
}
