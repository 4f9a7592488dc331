// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "kinds.h"

#include <algorithm>
#include <cstdio>

namespace
{
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

const std::vector<int CMessageEventRequest::*> &EventKind::switches()
{
    static const std::vector<int Request::*> all = {
        &Request::UseMessageID0, &Request::UseMessageID1, &Request::UseMessageType, &Request::UseSensorID,
        &Request::UseSensorType, &Request::UseEventName,  &Request::UseEventTime0,  &Request::UseEventTime1};
    return all;
}

const std::vector<char * CMessageEventRequest::*> &EventKind::masks()
{
    static const std::vector<char *Request::*> all = {&Request::SensorID, &Request::EventName};
    return all;
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

const std::vector<int CMessageCommandRequest::*> &CommandKind::switches()
{
    static const std::vector<int Request::*> all = {
        &Request::UseMessageType, &Request::UseSensorID,     &Request::UseCommandID0,  &Request::UseCommandID1,
        &Request::UseCommandType, &Request::UseCommandTime0, &Request::UseCommandTime1};
    return all;
}

const std::vector<char * CMessageCommandRequest::*> &CommandKind::masks()
{
    static const std::vector<char *Request::*> all = {&Request::SensorID};
    return all;
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
