// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <cstring>
#include <string>

/** Gives a record's text field a copy of `text`, the NUL counted. */
inline void setText(char *&field, int &length, const char *text)
{
    CopyPtr(&field, &length, text, int(std::strlen(text)) + 1);
}

/** A value's bytes as a parameter holds them. */
template <typename Value> void setValue(CMessageEventParam &param, int type, Value value)
{
    char bytes[sizeof(Value)];
    std::memcpy(bytes, &value, sizeof(Value));
    param.Type = type;
    CopyPtr(&param.Val, &param.LVal, bytes, int(sizeof(Value)));
}

inline void setTextValue(CMessageEventParam &param, const char *text)
{
    param.Type = ParameterText;
    setText(param.Val, param.LVal, text);
}

/** Gives an event or a command `count` default parameters. */
template <typename Record> void setParameters(Record &record, int count)
{
    delete[] record.par;
    record.par = new CMessageEventParam[std::size_t(count)];
    record.ParNum = count;
}

/** What a text field holds, the NUL included where it is counted. */
inline std::string held(const char *field, int length)
{
    return field ? std::string(field, std::size_t(length)) : std::string();
}

/** `text` with its NUL, as held() gives it. */
inline std::string terminated(const char *text)
{
    return std::string(text, std::strlen(text) + 1);
}

/** An event with every field set and two parameters, level=5 and unit=mV. */
inline CMessageEvent makeEvent()
{
    CMessageEvent event;
    event.MessageType = 1;
    setText(event.SensorID, event.LSensorID, "sensor12");
    event.MessageID = 7;
    event.SensorType = 2;
    setText(event.EventName, event.LEventName, "overheat");
    event.EventTime = 1000;
    setParameters(event, 2);
    setText(event.par[0].Name, event.par[0].LName, "level");
    setValue(event.par[0], ParameterInteger, 5);
    setText(event.par[1].Name, event.par[1].LName, "unit");
    setTextValue(event.par[1], "mV");
    return event;
}

/** A command with every field set and one parameter, delay=0.5. */
inline CMessageCommand makeCommand()
{
    CMessageCommand command;
    command.MessageType = 1;
    setText(command.SensorID, command.LSensorID, "sensor12");
    command.CommandID = 8;
    command.CommandType = CommandStop;
    command.CommandTime = 2000;
    setParameters(command, 1);
    setText(command.par[0].Name, command.par[0].LName, "delay");
    setValue(command.par[0], ParameterDouble, 0.5);
    return command;
}

/** A sensor with every field set. */
inline CSensor makeSensor()
{
    CSensor sensor;
    sensor.SensorType = 3;
    setText(sensor.SensorID, sensor.LSensorID, "sensor12");
    setText(sensor.Description, sensor.LDescription, "in the cellar");
    sensor.MessageType = SensorAlive;
    sensor.EventTime = 3000;
    sensor.Status = 9;
    return sensor;
}
