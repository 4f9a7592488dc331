// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rows.h"

#include "parametertext.h"
#include "translation.h"

const std::vector<CodeWord> SensorKinds = {{1, "analyser"}, {2, "converter"}, {3, "receiver"}};
const std::vector<CodeWord> Orders = {
    {CommandStart, "start"}, {CommandStop, "stop"}, {CommandRestart, "restart"}, {CommandKill, "kill"}};
const std::vector<CodeWord> Livenesses = {{SensorAlive, "alive"}, {SensorDead, "dead"}, {0, "unknown"}};

namespace
{
void setNumber(Cell &cell, std::int64_t value)
{
    cell.type = Cell::Type::Number;
    cell.number = value;
}

void setCode(Cell &cell, Cell::Type type, const std::vector<CodeWord> &words, int value)
{
    cell.type = type;
    cell.number = value;
    cell.words = &words;
}

void setTime(Cell &cell, std::time_t seconds)
{
    cell.type = Cell::Type::Time;
    cell.number = seconds;
}

void setText(Cell &cell, const char *bytes, int length)
{
    cell.type = Cell::Type::Text;
    cell.text = recordBytes(bytes, length);
}

void setParameters(Cell &cell, const CMessageEventParam *par, int count)
{
    cell.type = Cell::Type::Parameters;
    cell.parameters = par;
    cell.parameterCount = par && count > 0 ? count : 0;
}
} // namespace

const char *wordFor(const std::vector<CodeWord> &words, int code)
{
    for (const CodeWord &known : words)
        if (known.code == code)
            return known.word;
    return nullptr;
}

const char *Cell::word() const
{
    return wordFor(*words, int(number));
}

template <> const Columns &columnsOf<CSensor>()
{
    static const Columns columns = {
        {"sensor", translated("SENSOR"), false, true},
        {"sensor_type", translated("TYPE"), false, false},
        {"state", translated("STATE"), false, false},
        {"message_type", nullptr, true, false},
        {"last_message", translated("LAST MESSAGE"), false, false},
        {"description", translated("DESCRIPTION"), false, true},
    };
    return columns;
}

void fillCells(Cells &cells, const CSensor &sensor)
{
    setText(cells[0], sensor.SensorID, sensor.LSensorID);
    setCode(cells[1], Cell::Type::Code, SensorKinds, sensor.SensorType);
    setCode(cells[2], Cell::Type::Word, Livenesses, sensor.MessageType);
    setNumber(cells[3], sensor.MessageType);
    setTime(cells[4], sensor.EventTime);
    setText(cells[5], sensor.Description, sensor.LDescription);
}

template <> const Columns &columnsOf<CMessageEvent>()
{
    static const Columns columns = {
        {"id", translated("ID"), true, false},
        {"time", translated("TIME"), false, false},
        {"message_type", translated("TYPE"), false, false},
        {"sensor_type", nullptr, true, false},
        {"sensor", translated("SENSOR"), false, true},
        {"event", translated("EVENT"), false, true},
        {"parameters", translated("PARAMETERS"), false, true},
    };
    return columns;
}

void fillCells(Cells &cells, const CMessageEvent &event)
{
    setNumber(cells[0], event.MessageID);
    setTime(cells[1], event.EventTime);
    setCode(cells[2], Cell::Type::Code, SensorKinds, event.MessageType);
    setNumber(cells[3], event.SensorType);
    setText(cells[4], event.SensorID, event.LSensorID);
    setText(cells[5], event.EventName, event.LEventName);
    setParameters(cells[6], event.par, event.ParNum);
}

template <> const Columns &columnsOf<CMessageCommand>()
{
    static const Columns columns = {
        {"id", translated("ID"), true, false},
        {"time", translated("TIME"), false, false},
        {"message_type", nullptr, true, false},
        {"command_type", nullptr, true, false},
        {"command", translated("COMMAND"), false, false},
        {"sensor", translated("SENSOR"), false, true},
        {"parameters", translated("PARAMETERS"), false, true},
    };
    return columns;
}

void fillCells(Cells &cells, const CMessageCommand &command)
{
    setNumber(cells[0], command.CommandID);
    setTime(cells[1], command.CommandTime);
    setNumber(cells[2], command.MessageType);
    setNumber(cells[3], command.CommandType);
    setCode(cells[4], Cell::Type::Word, Orders, command.CommandType);
    setText(cells[5], command.SensorID, command.LSensorID);
    setParameters(cells[6], command.par, command.ParNum);
}
