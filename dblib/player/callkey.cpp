// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "callkey.h"

namespace
{
template <class Value> void clearUnused(int &use, Value &value)
{
    use = use != 0 ? 1 : 0;
    if (!use)
        value = Value();
}

/** A mask that is turned off; its buffer stays the request's. */
void clearUnusedMask(int &use, int &length)
{
    use = use != 0 ? 1 : 0;
    if (!use)
        length = 0;
}

void clearUnused(CMessageEventRequest &request)
{
    clearUnused(request.UseMessageID0, request.MessageID0);
    clearUnused(request.UseMessageID1, request.MessageID1);
    clearUnused(request.UseMessageType, request.MessageType);
    clearUnusedMask(request.UseSensorID, request.LSensorID);
    clearUnused(request.UseSensorType, request.SensorType);
    clearUnusedMask(request.UseEventName, request.LEventName);
    clearUnused(request.UseEventTime0, request.EventTime0);
    clearUnused(request.UseEventTime1, request.EventTime1);
}

void clearUnused(CMessageCommandRequest &request)
{
    clearUnused(request.UseMessageType, request.MessageType);
    clearUnusedMask(request.UseSensorID, request.LSensorID);
    clearUnused(request.UseCommandID0, request.CommandID0);
    clearUnused(request.UseCommandID1, request.CommandID1);
    clearUnused(request.UseCommandType, request.CommandType);
    clearUnused(request.UseCommandTime0, request.CommandTime0);
    clearUnused(request.UseCommandTime1, request.CommandTime1);
}

/** Gathers what is asked for. */
class Words
{
public:
    explicit Words(const std::string &function)
        : m_text(function)
    {
    }
    void number(int use, const char *name, long long value)
    {
        if (use != 0)
            add(name, std::to_string(value));
    }
    void mask(int use, const char *name, const char *text, int length)
    {
        if (use != 0)
            add(name, std::string(text ? text : "", Calls::textSize(text, length)));
    }
    const std::string &text() const
    {
        return m_text;
    }

private:
    void add(const char *name, const std::string &value)
    {
        m_text += m_first ? " with " : ", ";
        m_first = false;
        m_text.append(name).append("=").append(value, 0, value.find('\0'));
    }

    std::string m_text;
    bool m_first = true;
};

void tell(Words &words, const CMessageEventRequest &request)
{
    words.number(1, "NMax", request.NMax);
    words.number(1, "TakeFirst1_Last0", request.TakeFirst1_Last0);
    words.number(request.UseMessageID0, "MessageID0", request.MessageID0);
    words.number(request.UseMessageID1, "MessageID1", request.MessageID1);
    words.number(request.UseMessageType, "MessageType", request.MessageType);
    words.mask(request.UseSensorID, "SensorID", request.SensorID, request.LSensorID);
    words.number(request.UseSensorType, "SensorType", request.SensorType);
    words.mask(request.UseEventName, "EventName", request.EventName, request.LEventName);
    words.number(request.UseEventTime0, "EventTime0", request.EventTime0);
    words.number(request.UseEventTime1, "EventTime1", request.EventTime1);
}

void tell(Words &words, const CMessageCommandRequest &request)
{
    words.number(1, "NMax", request.NMax);
    words.number(1, "TakeFirst1_Last0", request.TakeFirst1_Last0);
    words.number(request.UseMessageType, "MessageType", request.MessageType);
    words.mask(request.UseSensorID, "SensorID", request.SensorID, request.LSensorID);
    words.number(request.UseCommandID0, "CommandID0", request.CommandID0);
    words.number(request.UseCommandID1, "CommandID1", request.CommandID1);
    words.number(request.UseCommandType, "CommandType", request.CommandType);
    words.number(request.UseCommandTime0, "CommandTime0", request.CommandTime0);
    words.number(request.UseCommandTime1, "CommandTime1", request.CommandTime1);
}
} // namespace

std::string keyOf(Calls::Call call)
{
    if (Calls::isInitFunction(call.subject.function))
        call.directory.reset();
    if (call.eventRequest)
        clearUnused(*call.eventRequest);
    if (call.commandRequest)
        clearUnused(*call.commandRequest);
    if (call.event) {
        call.event->EventTime = 0;
        call.event->MessageID = 0;
    }
    if (call.command) {
        call.command->CommandTime = 0;
        call.command->CommandID = 0;
    }
    return Calls::callBytes(call);
}

std::string inWords(const Calls::Call &call)
{
    Words words(DBSymbols[call.subject.function].key);
    if (call.eventRequest)
        tell(words, *call.eventRequest);
    if (call.commandRequest)
        tell(words, *call.commandRequest);
    if (call.subject.function == DBFunctionDeleteCommand || call.subject.function == DBFunctionDeleteEvent)
        words.number(1, "identifier", call.id);
    return words.text();
}
