// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Copies, renders and matches records whose fields claim arbitrary things.
// Only what a buffer's length promises to be there is there.
#include "fuzztarget.h"

#include "../records/recordtext.h"
#include "Messages.h"

#include <QString>

#include <memory>

namespace
{
/** Fills a buffer and its length: none, a negative one with a NUL, no NUL, a length without a buffer, or a plain text.
 */
void fill(char *&field, int &length, Input &input)
{
    const int kind = input.byte();
    if (kind < 32) {
        length = input.integer();
        return;
    }
    const std::string content = input.bytes(std::size_t(input.byte()));
    CopyPtr(&field, &length, content.c_str(), int(content.size()) + (kind < 64 ? 0 : 1));
    if (kind < 96)
        length = std::min(length, input.integer());
    if (kind < 64 && field)
        length = std::max(length, 1);
}

void fill(CMessageEventParam &param, Input &input)
{
    param.Type = input.byte() % 8;
    fill(param.Name, param.LName, input);
    fill(param.Val, param.LVal, input);
    // Without a length a number is there whole.
    if (param.Val && param.LVal <= 0 && (param.Type == ParameterInteger || param.Type == ParameterDouble)) {
        const int claimed = param.LVal;
        CopyPtr(&param.Val, &param.LVal, "1234567", 8);
        param.LVal = claimed;
    }
}

template <typename Record> void fillParameters(Record &record, Input &input)
{
    const int count = input.byte() % 8;
    if (count < 7)
        record.par = count > 0 ? new CMessageEventParam[std::size_t(count)] : nullptr;
    for (int i = 0; record.par && i < count; ++i)
        fill(record.par[i], input);
    const int claimed = input.integer();
    record.ParNum = record.par ? std::min(claimed, count) : claimed;
}

void fill(CMessageEvent &event, Input &input)
{
    event.MessageType = input.integer();
    fill(event.SensorID, event.LSensorID, input);
    event.MessageID = input.integer();
    event.SensorType = input.integer();
    fill(event.EventName, event.LEventName, input);
    event.EventTime = input.integer();
    fillParameters(event, input);
}

void fill(CMessageCommand &command, Input &input)
{
    command.MessageType = input.integer();
    fill(command.SensorID, command.LSensorID, input);
    command.CommandID = input.integer();
    command.CommandType = input.integer();
    command.CommandTime = input.integer();
    fillParameters(command, input);
}

void fill(CSensor &sensor, Input &input)
{
    sensor.SensorType = input.integer();
    fill(sensor.SensorID, sensor.LSensorID, input);
    fill(sensor.Description, sensor.LDescription, input);
    sensor.MessageType = input.integer();
    sensor.EventTime = input.integer();
}

void fill(CMessageEventRequest &request, Input &input)
{
    request.MessageID0 = input.integer();
    request.MessageID1 = input.integer();
    request.UseMessageID0 = input.byte() % 2;
    request.UseMessageID1 = input.byte() % 2;
    fill(request.SensorID, request.LSensorID, input);
    request.UseSensorID = input.byte() % 2;
    fill(request.EventName, request.LEventName, input);
    request.UseEventName = input.byte() % 2;
    request.EventTime0 = input.integer();
    request.UseEventTime0 = input.byte() % 2;
}

void fill(CMessageCommandRequest &request, Input &input)
{
    request.CommandID0 = input.integer();
    request.CommandID1 = input.integer();
    request.UseCommandID0 = input.byte() % 2;
    request.UseCommandID1 = input.byte() % 2;
    fill(request.SensorID, request.LSensorID, input);
    request.UseSensorID = input.byte() % 2;
}

QString shown(const CMessageEvent &event)
{
    return recordText(event.SensorID, event.LSensorID) + QLatin1Char('|') +
           recordText(event.EventName, event.LEventName) + QLatin1Char('|') + event.AllParameters();
}

QString shown(const CMessageCommand &command)
{
    return recordText(command.SensorID, command.LSensorID) + QLatin1Char('|') + command.AllParameters();
}

QString shown(const CSensor &sensor)
{
    return recordText(sensor.SensorID, sensor.LSensorID) + QLatin1Char('|') +
           recordText(sensor.Description, sensor.LDescription);
}

/** Copies `record` into a new one, over `other` and over a cleaned one; all copies must show the same. */
template <typename Record> void check(const Record &record, Record &other)
{
    // Not always what the copies show: what has no length stays behind.
    shown(record);
    shown(other);
    const Record copy(record);
    const QString expected = shown(copy);
    other = record;
    require(shown(other) == expected, "an assigned record shows the same");
    other = copy;
    require(shown(other) == expected, "a record assigned again shows the same");
    other.clean();
    require(shown(other) == shown(Record()), "a cleaned record shows nothing");
    other = copy;
    require(shown(other) == expected, "a cleaned record can be assigned");
    const Record &same = other;
    other = same;
    require(shown(other) == expected, "a record assigned to itself stays");
}

template <typename Request, typename Record> void checkRequest(Input &input, const Record &record)
{
    Request request;
    fill(request, input);
    const int result = request & record;
    require(result == 0 || result == 1, "a match is 0 or 1");
    // Not always the same for copies: what has no length stays behind.
    Request copy;
    copy = request;
    const Record copied(record);
    require((Request(copy) & Record(copied)) == (copy & copied), "a copy's copy selects and is selected as well");
    copy.clean();
    require((copy & record) == 1, "a cleaned request selects everything");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    CMessageEvent event;
    CMessageEvent otherEvent;
    fill(event, input);
    fill(otherEvent, input);
    check(event, otherEvent);
    checkRequest<CMessageEventRequest>(input, event);

    CMessageCommand command;
    CMessageCommand otherCommand;
    fill(command, input);
    fill(otherCommand, input);
    check(command, otherCommand);
    checkRequest<CMessageCommandRequest>(input, command);

    CSensor sensor;
    CSensor otherSensor;
    fill(sensor, input);
    fill(otherSensor, input);
    check(sensor, otherSensor);
    return 0;
}
