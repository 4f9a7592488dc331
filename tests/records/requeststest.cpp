// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "recordmaking.h"

#include <gtest/gtest.h>

#include <climits>
#include <ctime>
#include <string>
#include <vector>

namespace
{
CMessageEvent eventNamed(const char *sensor, const char *name = "overheat")
{
    CMessageEvent event = makeEvent();
    setText(event.SensorID, event.LSensorID, sensor);
    setText(event.EventName, event.LEventName, name);
    return event;
}

CMessageCommand commandFor(const char *sensor)
{
    CMessageCommand command = makeCommand();
    setText(command.SensorID, command.LSensorID, sensor);
    return command;
}

CMessageEventRequest eventMask(const char *mask)
{
    CMessageEventRequest request;
    setText(request.SensorID, request.LSensorID, mask);
    request.UseSensorID = 1;
    return request;
}

CMessageCommandRequest commandMask(const char *mask)
{
    CMessageCommandRequest request;
    setText(request.SensorID, request.LSensorID, mask);
    request.UseSensorID = 1;
    return request;
}

CMessageEventRequest fullEventRequest()
{
    CMessageEventRequest r;
    r.NMax = 1;
    r.TakeFirst1_Last0 = 2;
    r.MessageID0 = 3;
    r.MessageID1 = 4;
    r.UseMessageID0 = 5;
    r.UseMessageID1 = 6;
    r.MessageType = 7;
    r.UseMessageType = 8;
    setText(r.SensorID, r.LSensorID, "mask");
    r.UseSensorID = 9;
    r.SensorType = 10;
    r.UseSensorType = 11;
    setText(r.EventName, r.LEventName, "name");
    r.UseEventName = 12;
    r.EventTime0 = 13;
    r.UseEventTime0 = 14;
    r.EventTime1 = 15;
    r.UseEventTime1 = 16;
    return r;
}

CMessageCommandRequest fullCommandRequest()
{
    CMessageCommandRequest r;
    r.NMax = 1;
    r.TakeFirst1_Last0 = 2;
    r.MessageType = 3;
    r.UseMessageType = 4;
    setText(r.SensorID, r.LSensorID, "mask");
    r.UseSensorID = 5;
    r.CommandID0 = 6;
    r.CommandID1 = 7;
    r.UseCommandID0 = 8;
    r.UseCommandID1 = 9;
    r.CommandType = 10;
    r.UseCommandType = 11;
    r.CommandTime0 = 12;
    r.UseCommandTime0 = 13;
    r.CommandTime1 = 14;
    r.UseCommandTime1 = 15;
    return r;
}

/** Each of its filters would exclude makeEvent(), were it on. */
CMessageEventRequest eventRequestOfNothing()
{
    CMessageEventRequest request;
    request.NMax = -1;
    request.TakeFirst1_Last0 = 77;
    request.MessageID0 = INT_MAX;
    request.MessageID1 = INT_MIN;
    request.MessageType = 99;
    setText(request.SensorID, request.LSensorID, "nobody");
    request.SensorType = 99;
    setText(request.EventName, request.LEventName, "nothing");
    request.EventTime0 = INT_MAX;
    request.EventTime1 = INT_MIN;
    return request;
}

/** The same for makeCommand(). */
CMessageCommandRequest commandRequestOfNothing()
{
    CMessageCommandRequest request;
    request.NMax = -1;
    request.TakeFirst1_Last0 = 77;
    request.MessageType = 99;
    setText(request.SensorID, request.LSensorID, "nobody");
    request.CommandID0 = INT_MAX;
    request.CommandID1 = INT_MIN;
    request.CommandType = 99;
    request.CommandTime0 = INT_MAX;
    request.CommandTime1 = INT_MIN;
    return request;
}

/** Switches one filter on at a time: alone it must exclude the record. */
template <typename Request, typename Record>
void expectOnWheneverNotZero(Request request, const Record &record, const std::vector<int Request::*> &switches)
{
    for (std::size_t i = 0; i < switches.size(); ++i) {
        for (const int on : {1, 2, -1, INT_MIN}) {
            request.*switches[i] = on;
            EXPECT_EQ(request & record, 0) << "switch " << i << " is " << on;
        }
        request.*switches[i] = 0;
        EXPECT_EQ(request & record, 1) << "switch " << i;
    }
}

std::string show(const CMessageEventRequest &r)
{
    std::string text;
    for (const long long number :
         {(long long)(r.NMax), (long long)(r.TakeFirst1_Last0), (long long)(r.MessageID0), (long long)(r.MessageID1),
          (long long)(r.UseMessageID0), (long long)(r.UseMessageID1), (long long)(r.MessageType),
          (long long)(r.UseMessageType), (long long)(r.LSensorID), (long long)(r.UseSensorID),
          (long long)(r.SensorType), (long long)(r.UseSensorType), (long long)(r.LEventName),
          (long long)(r.UseEventName), (long long)(r.EventTime0), (long long)(r.UseEventTime0),
          (long long)(r.EventTime1), (long long)(r.UseEventTime1)})
        text += std::to_string(number) + ' ';
    return text + (r.SensorID ? r.SensorID : "NULL") + ' ' + (r.EventName ? r.EventName : "NULL");
}

std::string show(const CMessageCommandRequest &r)
{
    std::string text;
    for (const long long number :
         {(long long)(r.NMax), (long long)(r.TakeFirst1_Last0), (long long)(r.MessageType),
          (long long)(r.UseMessageType), (long long)(r.LSensorID), (long long)(r.UseSensorID),
          (long long)(r.CommandID0), (long long)(r.CommandID1), (long long)(r.UseCommandID0),
          (long long)(r.UseCommandID1), (long long)(r.CommandType), (long long)(r.UseCommandType),
          (long long)(r.CommandTime0), (long long)(r.UseCommandTime0), (long long)(r.CommandTime1),
          (long long)(r.UseCommandTime1)})
        text += std::to_string(number) + ' ';
    return text + (r.SensorID ? r.SensorID : "NULL");
}
} // namespace

TEST(EventRequest, FreshlyConstructedHasEveryFieldZeroAndMatchesEveryRecord)
{
    const CMessageEventRequest request;
    EXPECT_EQ(show(request), "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 NULL NULL");
    EXPECT_EQ(request & makeEvent(), 1);
    EXPECT_EQ(request & CMessageEvent(), 1);
}

TEST(EventRequest, FreshFromCleanAsksForAHundredAndMatchesEveryRecord)
{
    CMessageEventRequest request = fullEventRequest();
    request.clean();
    EXPECT_EQ(show(request), "100 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 NULL NULL");
    EXPECT_EQ(request & makeEvent(), 1);
    EXPECT_EQ(request & CMessageEvent(), 1);
}

TEST(EventRequest, CopyTakesEveryFieldAndItsOwnMasks)
{
    CMessageEventRequest request;
    {
        const CMessageEventRequest source = fullEventRequest();
        request = source;
        EXPECT_NE(request.SensorID, source.SensorID);
        EXPECT_NE(request.EventName, source.EventName);
    }
    EXPECT_EQ(show(request), "1 2 3 4 5 6 7 8 5 9 10 11 5 12 13 14 15 16 mask name");
    EXPECT_EQ(show(CMessageEventRequest(request)), show(request));
}

TEST(EventRequest, AssignedToItselfKeepsItsMasks)
{
    CMessageEventRequest request = fullEventRequest();
    const char *mask = request.SensorID;
    const CMessageEventRequest &same = request;
    request = same;
    EXPECT_EQ(request.SensorID, mask);
    EXPECT_EQ(show(request), show(fullEventRequest()));
}

TEST(EventRequest, BothIdentifiersSevenMatchOnlySeven)
{
    CMessageEventRequest request;
    request.MessageID0 = 7;
    request.MessageID1 = 7;
    request.UseMessageID0 = 1;
    request.UseMessageID1 = 1;
    CMessageEvent event;
    for (const int id : {INT_MIN, -7, 0, 6, 7, 8, INT_MAX}) {
        event.MessageID = id;
        EXPECT_EQ(request & event, id == 7 ? 1 : 0) << id;
    }
}

TEST(EventRequest, EachIdentifierBoundCountsAlone)
{
    CMessageEventRequest low;
    low.MessageID0 = -3;
    low.UseMessageID0 = -1;
    CMessageEventRequest high;
    high.MessageID1 = -3;
    high.UseMessageID1 = 2;
    CMessageEvent event;
    for (const int id : {INT_MIN, -4, -3, -2, INT_MAX}) {
        event.MessageID = id;
        EXPECT_EQ(low & event, id >= -3 ? 1 : 0) << id;
        EXPECT_EQ(high & event, id <= -3 ? 1 : 0) << id;
    }
}

TEST(EventRequest, TimeRangeIsInclusiveAtBothEnds)
{
    CMessageEventRequest request;
    request.EventTime0 = -10;
    request.EventTime1 = 20;
    request.UseEventTime0 = 1;
    request.UseEventTime1 = 1;
    CMessageEvent event;
    for (const int time : {INT_MIN, -11, -10, 0, 20, 21, INT_MAX}) {
        event.EventTime = time;
        EXPECT_EQ(request & event, time >= -10 && time <= 20 ? 1 : 0) << time;
    }
}

TEST(EventRequest, TypesAreComparedExactly)
{
    CMessageEventRequest request;
    request.MessageType = 1;
    request.UseMessageType = 1;
    EXPECT_EQ(request & makeEvent(), 1);
    request.MessageType = 2;
    EXPECT_EQ(request & makeEvent(), 0);
    request.UseMessageType = 0;
    request.SensorType = 2;
    request.UseSensorType = 1;
    EXPECT_EQ(request & makeEvent(), 1);
    request.SensorType = -2;
    EXPECT_EQ(request & makeEvent(), 0);
}

TEST(EventRequest, ASwitchOffMakesItsValueIrrelevant)
{
    EXPECT_EQ(eventRequestOfNothing() & makeEvent(), 1);
}

TEST(EventRequest, ASwitchIsOnWheneverItIsNotZero)
{
    using Request = CMessageEventRequest;
    expectOnWheneverNotZero(eventRequestOfNothing(), makeEvent(),
                            {&Request::UseMessageID0, &Request::UseMessageID1, &Request::UseMessageType,
                             &Request::UseSensorID, &Request::UseSensorType, &Request::UseEventName,
                             &Request::UseEventTime0, &Request::UseEventTime1});
}

TEST(EventRequest, MaskMatchesInAnyLetterCase)
{
    EXPECT_EQ(eventMask("SENSOR12") & eventNamed("sensor12"), 1);
    EXPECT_EQ(eventMask("sensor12") & eventNamed("SENSOR12"), 1);
    EXPECT_EQ(eventMask("sensor1") & eventNamed("sensor12"), 0);
}

TEST(EventRequest, TheRecordsTextIsThePattern)
{
    EXPECT_EQ(eventMask("sens*") & eventNamed("sensor12"), 0);
    EXPECT_EQ(eventMask("sensor12") & eventNamed("sens*"), 1);
    CMessageEventRequest request;
    setText(request.EventName, request.LEventName, "overheat");
    request.UseEventName = 1;
    EXPECT_EQ(request & eventNamed("a", "over+"), 1);
    setText(request.EventName, request.LEventName, "over+");
    EXPECT_EQ(request & eventNamed("a", "overheat"), 0);
}

TEST(EventRequest, NullMaskMatchesEverything)
{
    CMessageEventRequest request;
    request.UseSensorID = 1;
    request.UseEventName = 1;
    EXPECT_EQ(request & makeEvent(), 1);
    EXPECT_EQ(request & CMessageEvent(), 1);
    request.LSensorID = 5;
    EXPECT_EQ(request & makeEvent(), 1);
}

TEST(EventRequest, MaskWithoutALengthIsAMaskAndItsCopyIsNone)
{
    CMessageEventRequest request = eventMask("SENSOR12");
    CMessageEventRequest ofNobody = eventMask("nobody");
    for (const int length : {0, -1, INT_MIN}) {
        request.LSensorID = length;
        EXPECT_EQ(request & makeEvent(), 1);
        ofNobody.LSensorID = length;
        EXPECT_EQ(ofNobody & makeEvent(), 0);
        EXPECT_EQ(CMessageEventRequest(ofNobody) & makeEvent(), 1);
    }
}

TEST(EventRequest, RecordTextWithoutALengthEndsAtItsNul)
{
    CMessageEvent event = eventNamed("sens*", "over+");
    CMessageEventRequest request = eventMask("sensor12");
    setText(request.EventName, request.LEventName, "overheat");
    request.UseEventName = 1;
    for (const int length : {0, -1, INT_MIN}) {
        event.LSensorID = event.LEventName = length;
        EXPECT_EQ(request & event, 1);
        EXPECT_EQ(eventMask("nobody") & event, 0);
    }
}

TEST(EventRequest, NullRecordTextCountsAsEmpty)
{
    EXPECT_EQ(eventMask("sensor12") & CMessageEvent(), 0);
    EXPECT_EQ(eventMask("") & CMessageEvent(), 1);
}

TEST(EventRequest, TextsAreNotReadPastTheirLengths)
{
    CMessageEventRequest request;
    CopyPtr(&request.SensorID, &request.LSensorID, "SENSOR12", 8);
    request.UseSensorID = 1;
    CMessageEvent event;
    CopyPtr(&event.SensorID, &event.LSensorID, "sensor12", 8);
    EXPECT_EQ(request & event, 1);
    event.LSensorID = 6;
    EXPECT_EQ(request & event, 0);
}

TEST(EventRequest, UnterminatedTextsMatchUpToTheMatchersBounds)
{
    const std::string text(1025, 'a');
    for (const int length : {1023, 1024, 1025}) {
        CMessageEventRequest request;
        CopyPtr(&request.SensorID, &request.LSensorID, text.data(), length);
        request.UseSensorID = 1;
        EXPECT_EQ(request & eventNamed("*"), length <= 1023 ? 1 : 0) << length;
    }
}

TEST(EventRequest, TextsBeyondTheMatchersBoundsDoNotMatch)
{
    const std::string longName(5000, 'a');
    EXPECT_EQ(eventMask(longName.c_str()) & eventNamed(longName.c_str()), 0);
    EXPECT_EQ(eventMask(longName.c_str()) & eventNamed("*"), 0);
}

TEST(EventRequest, OneFailingFilterIsEnough)
{
    CMessageEventRequest request = eventMask("sensor12");
    request.UseMessageID0 = 1;
    request.MessageID0 = 7;
    EXPECT_EQ(request & makeEvent(), 1);
    request.MessageID0 = 8;
    EXPECT_EQ(request & makeEvent(), 0);
}

TEST(CommandRequest, FreshlyConstructedHasEveryFieldZeroAndMatchesEveryRecord)
{
    const CMessageCommandRequest request;
    EXPECT_EQ(show(request), "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 NULL");
    EXPECT_EQ(request & makeCommand(), 1);
    EXPECT_EQ(request & CMessageCommand(), 1);
}

TEST(CommandRequest, FreshFromCleanAsksForAHundredAndMatchesEveryRecord)
{
    CMessageCommandRequest request = fullCommandRequest();
    request.clean();
    EXPECT_EQ(show(request), "100 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 NULL");
    EXPECT_EQ(request & makeCommand(), 1);
    EXPECT_EQ(request & CMessageCommand(), 1);
}

TEST(CommandRequest, CopyTakesEveryFieldAndItsOwnMask)
{
    CMessageCommandRequest request;
    {
        const CMessageCommandRequest source = fullCommandRequest();
        request = source;
        EXPECT_NE(request.SensorID, source.SensorID);
    }
    EXPECT_EQ(show(request), "1 2 3 4 5 5 6 7 8 9 10 11 12 13 14 15 mask");
    EXPECT_EQ(show(CMessageCommandRequest(request)), show(request));
}

TEST(CommandRequest, AssignedToItselfKeepsItsMask)
{
    CMessageCommandRequest request = fullCommandRequest();
    const char *mask = request.SensorID;
    const CMessageCommandRequest &same = request;
    request = same;
    EXPECT_EQ(request.SensorID, mask);
    EXPECT_EQ(show(request), show(fullCommandRequest()));
}

TEST(CommandRequest, IdentifierAndTimeRangesAreInclusive)
{
    CMessageCommandRequest ids;
    ids.CommandID0 = -10;
    ids.CommandID1 = 20;
    ids.UseCommandID0 = 1;
    ids.UseCommandID1 = 1;
    CMessageCommandRequest times;
    times.CommandTime0 = -10;
    times.CommandTime1 = 20;
    times.UseCommandTime0 = 1;
    times.UseCommandTime1 = 1;
    CMessageCommand command;
    for (const int value : {INT_MIN, -11, -10, 0, 20, 21, INT_MAX}) {
        command.CommandID = value;
        command.CommandTime = value;
        EXPECT_EQ(ids & command, value >= -10 && value <= 20 ? 1 : 0) << value;
        EXPECT_EQ(times & command, value >= -10 && value <= 20 ? 1 : 0) << value;
    }
}

TEST(CommandRequest, TypesAreComparedExactly)
{
    CMessageCommandRequest request;
    request.MessageType = 1;
    request.UseMessageType = 1;
    EXPECT_EQ(request & makeCommand(), 1);
    request.MessageType = 2;
    EXPECT_EQ(request & makeCommand(), 0);
    request.UseMessageType = 0;
    request.CommandType = CommandStop;
    request.UseCommandType = 1;
    EXPECT_EQ(request & makeCommand(), 1);
    request.CommandType = CommandStart;
    EXPECT_EQ(request & makeCommand(), 0);
}

TEST(CommandRequest, ASwitchOffMakesItsValueIrrelevant)
{
    EXPECT_EQ(commandRequestOfNothing() & makeCommand(), 1);
}

TEST(CommandRequest, ASwitchIsOnWheneverItIsNotZero)
{
    using Request = CMessageCommandRequest;
    expectOnWheneverNotZero(commandRequestOfNothing(), makeCommand(),
                            {&Request::UseMessageType, &Request::UseSensorID, &Request::UseCommandID0,
                             &Request::UseCommandID1, &Request::UseCommandType, &Request::UseCommandTime0,
                             &Request::UseCommandTime1});
}

TEST(CommandRequest, MaskMatchesInAnyLetterCaseAndTheRecordsTextIsThePattern)
{
    EXPECT_EQ(commandMask("SENSOR12") & commandFor("sensor12"), 1);
    EXPECT_EQ(commandMask("sens*") & commandFor("sensor12"), 0);
    EXPECT_EQ(commandMask("sensor12") & commandFor("sens*"), 1);
}

TEST(CommandRequest, NullMaskMatchesEverythingAndNullRecordTextCountsAsEmpty)
{
    CMessageCommandRequest request;
    request.UseSensorID = 1;
    EXPECT_EQ(request & makeCommand(), 1);
    EXPECT_EQ(commandMask("sensor12") & CMessageCommand(), 0);
    EXPECT_EQ(commandMask("") & CMessageCommand(), 1);
}

TEST(CommandRequest, TextsWithoutALengthEndAtTheirNul)
{
    CMessageCommand command = commandFor("sens*");
    CMessageCommandRequest request = commandMask("sensor12");
    CMessageCommandRequest ofNobody = commandMask("nobody");
    for (const int length : {0, -1, INT_MIN}) {
        command.LSensorID = request.LSensorID = ofNobody.LSensorID = length;
        EXPECT_EQ(request & command, 1);
        EXPECT_EQ(ofNobody & command, 0);
    }
}
