// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "recordbytes.h"

/**
 * @file
 * Each field of a record beside its place in the bytes, once: a visitor's
 * number(), time(), text() and parameters() get both, in the order in which
 * texts and parameters stand in the bytes.
 */
namespace Calls
{
template <class Record> struct Fields;

template <> struct Fields<CSensor> {
    template <class Sensor, class SensorHead, class Visitor>
    static void visit(Sensor &sensor, SensorHead &head, Visitor &visitor)
    {
        visitor.number(sensor.SensorType, head.sensorType);
        visitor.number(sensor.MessageType, head.messageType);
        visitor.time(sensor.EventTime, head.eventTime);
        visitor.text(sensor.SensorID, sensor.LSensorID, head.sensorBytes);
        visitor.text(sensor.Description, sensor.LDescription, head.descriptionBytes);
    }
};

template <> struct Fields<CMessageEvent> {
    template <class Event, class EventHead, class Visitor>
    static void visit(Event &event, EventHead &head, Visitor &visitor)
    {
        visitor.number(event.MessageType, head.messageType);
        visitor.number(event.MessageID, head.messageId);
        visitor.number(event.SensorType, head.sensorType);
        visitor.time(event.EventTime, head.eventTime);
        visitor.text(event.SensorID, event.LSensorID, head.sensorBytes);
        visitor.text(event.EventName, event.LEventName, head.nameBytes);
        visitor.parameters(event.par, event.ParNum, head.parameters);
    }
};

template <> struct Fields<CMessageCommand> {
    template <class Command, class CommandHead, class Visitor>
    static void visit(Command &command, CommandHead &head, Visitor &visitor)
    {
        visitor.number(command.MessageType, head.messageType);
        visitor.number(command.CommandID, head.commandId);
        visitor.number(command.CommandType, head.commandType);
        visitor.time(command.CommandTime, head.commandTime);
        visitor.text(command.SensorID, command.LSensorID, head.sensorBytes);
        visitor.parameters(command.par, command.ParNum, head.parameters);
    }
};

template <> struct Fields<CMessageEventParam> {
    template <class Parameter, class ParameterHead, class Visitor>
    static void visit(Parameter &parameter, ParameterHead &head, Visitor &visitor)
    {
        visitor.number(parameter.Type, head.type);
        visitor.text(parameter.Name, parameter.LName, head.nameBytes);
        visitor.text(parameter.Val, parameter.LVal, head.valueBytes);
    }
};
} // namespace Calls
