// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "recordsum.h"

#include "parametertext.h"

#include <string_view>

namespace
{
/** FNV-1a: no adversary makes the records, and the sums of two libraries must be the same on every machine. */
class Sum
{
public:
    void add(std::string_view bytes)
    {
        for (const char byte : bytes)
            m_sum = (m_sum ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    }
    void add(std::int64_t number)
    {
        for (int shift = 0; shift < 64; shift += 8)
            m_sum = (m_sum ^ (std::uint64_t(number) >> shift & 0xff)) * 1099511628211U;
    }
    /** A missing text is another one than an empty text. */
    void addText(const char *text, int length)
    {
        const std::string_view bytes = recordBytes(text, length);
        add(text ? std::int64_t(bytes.size()) : -1);
        add(bytes);
    }
    void addParameters(const CMessageEventParam *par, int count);

    std::uint64_t value() const
    {
        return m_sum;
    }

private:
    std::uint64_t m_sum = 14695981039346656037U;
};

/** The bytes of a value that its type has. */
std::string_view valueBytes(const CMessageEventParam &parameter)
{
    if (!parameter.Val)
        return {};
    const int stated = parameter.LVal;
    switch (parameter.Type) {
    case ParameterInteger:
        return {parameter.Val, stated > 0 && stated < 4 ? std::size_t(stated) : 4};
    case ParameterDouble:
        return {parameter.Val, stated > 0 && stated < 8 ? std::size_t(stated) : 8};
    case ParameterText:
        return recordBytes(parameter.Val, stated);
    default:
        return {parameter.Val, stated > 0 ? std::size_t(stated) : 0};
    }
}

int parametersOf(const CMessageEventParam *par, int count)
{
    return par && count > 0 ? count : 0;
}

void Sum::addParameters(const CMessageEventParam *par, int count)
{
    add(std::int64_t(parametersOf(par, count)));
    for (int i = 0; i < parametersOf(par, count); ++i) {
        add(std::int64_t(par[i].Type));
        addText(par[i].Name, par[i].LName);
        const std::string_view value = valueBytes(par[i]);
        add(par[i].Val ? std::int64_t(value.size()) : -1);
        add(value);
    }
}

void setText(char *&to, int &length, const char *from, int fromLength)
{
    if (!from)
        return;
    const std::string text(recordBytes(from, fromLength));
    CopyPtr(&to, &length, text.c_str(), int(text.size()) + 1);
}

void setParameters(CMessageEventParam *&to, int &toCount, const CMessageEventParam *from, int fromCount)
{
    toCount = parametersOf(from, fromCount);
    to = toCount > 0 ? new CMessageEventParam[std::size_t(toCount)] : nullptr;
    for (int i = 0; i < toCount; ++i) {
        to[i].Type = from[i].Type;
        setText(to[i].Name, to[i].LName, from[i].Name, from[i].LName);
        const std::string value(valueBytes(from[i]));
        const int terminator = from[i].Type == ParameterText ? 1 : 0;
        if (from[i].Val)
            CopyPtr(&to[i].Val, &to[i].LVal, value.c_str(), int(value.size()) + terminator);
    }
}
} // namespace

std::uint64_t recordSum(const CMessageEvent &event)
{
    Sum sum;
    sum.add(std::int64_t(event.MessageType));
    sum.add(std::int64_t(event.SensorType));
    sum.add(std::int64_t(event.EventTime));
    sum.addText(event.SensorID, event.LSensorID);
    sum.addText(event.EventName, event.LEventName);
    sum.addParameters(event.par, event.ParNum);
    return sum.value();
}

std::uint64_t recordSum(const CMessageCommand &command)
{
    Sum sum;
    sum.add(std::int64_t(command.MessageType));
    sum.add(std::int64_t(command.CommandType));
    sum.add(std::int64_t(command.CommandTime));
    sum.addText(command.SensorID, command.LSensorID);
    sum.addParameters(command.par, command.ParNum);
    return sum.value();
}

std::uint64_t joinedSum(std::uint64_t sum, std::uint64_t next)
{
    return (sum ^ next) * 1099511628211U;
}

CMessageEvent measured(const CMessageEvent &event)
{
    CMessageEvent copy;
    copy.MessageType = event.MessageType;
    copy.SensorType = event.SensorType;
    copy.EventTime = event.EventTime;
    copy.MessageID = event.MessageID;
    setText(copy.SensorID, copy.LSensorID, event.SensorID, event.LSensorID);
    setText(copy.EventName, copy.LEventName, event.EventName, event.LEventName);
    setParameters(copy.par, copy.ParNum, event.par, event.ParNum);
    return copy;
}

CMessageCommand measured(const CMessageCommand &command)
{
    CMessageCommand copy;
    copy.MessageType = command.MessageType;
    copy.CommandType = command.CommandType;
    copy.CommandTime = command.CommandTime;
    copy.CommandID = command.CommandID;
    setText(copy.SensorID, copy.LSensorID, command.SensorID, command.LSensorID);
    setParameters(copy.par, copy.ParNum, command.par, command.ParNum);
    return copy;
}
