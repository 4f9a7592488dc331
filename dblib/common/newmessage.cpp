// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "newmessage.h"

#include "Messages.h"
#include "boundarytext.h"
#include "parameters.h"

namespace
{
template <class Record> std::string_view parametersOf(const Record &record, ParameterWriter &writer)
{
    writer.discard();
    for (int i = 0; record.par && i < record.ParNum; ++i)
        writer.add(record.par[i]);
    return writer.finish();
}
} // namespace

NewMessage messageOf(const CMessageEvent &event, ParameterWriter &writer)
{
    NewMessage message;
    message.series = {event.MessageType, event.SensorType, textOf(event.SensorID, event.LSensorID),
                      textOf(event.EventName, event.LEventName)};
    message.time = event.EventTime;
    message.params = parametersOf(event, writer);
    return message;
}

NewMessage messageOf(const CMessageCommand &command, ParameterWriter &writer)
{
    NewMessage message;
    message.series = {command.MessageType, command.CommandType, textOf(command.SensorID, command.LSensorID),
                      std::nullopt};
    message.time = command.CommandTime;
    message.params = parametersOf(command, writer);
    return message;
}
