// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "kinds.h"

#include "MessageEventParam.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace
{
void setText(char *&text, int &length, const std::string &value)
{
    CopyPtr(&text, &length, value.c_str(), int(value.size()) + 1);
}

/** Names that differ in letter case, hold metacharacters, bytes above 127, nothing, or very much. */
std::string sampleName(const char *stem, int number)
{
    static const char *const odd[] = {"*", "+", "?", "\xC4\xD6\xDC", "\xE4\xF6\xFC", "", "A b;c=d", "*s?", "\x80\xFF"};
    const std::string base = stem + std::to_string(number % 12);
    if (number % 5 == 4)
        return std::string(number % 2 ? stem : "") + odd[number / 5 % int(std::size(odd))];
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

void setOneParameter(CMessageEventParam *&par, int &count, const std::string &text)
{
    count = 1;
    par = new CMessageEventParam[1];
    par[0].Type = ParameterText;
    setText(par[0].Name, par[0].LName, text);
    setText(par[0].Val, par[0].LVal, text);
}
} // namespace

std::string everyByte()
{
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += char(byte);
    return bytes;
}

std::vector<std::time_t> recordTimes()
{
    return {std::time_t(INT32_MIN), -86400, -1, 0, 1, 951782400, std::time_t(INT32_MAX) - 1, std::time_t(INT32_MAX)};
}

std::string upper(std::string text)
{
    for (char &c : text)
        c = c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
    return text;
}

std::string lower(std::string text)
{
    for (char &c : text)
        c = c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
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

CMessageEvent EventKind::withText(const std::string &text)
{
    Record event;
    setText(event.SensorID, event.LSensorID, text);
    setText(event.EventName, event.LEventName, text);
    setOneParameter(event.par, event.ParNum, text);
    return event;
}

CMessageCommand CommandKind::withText(const std::string &text)
{
    Record command;
    setText(command.SensorID, command.LSensorID, text);
    setOneParameter(command.par, command.ParNum, text);
    return command;
}
