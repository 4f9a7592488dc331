// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file The ten calls and their answers as bytes and back; corrupt bytes. */
#include "answer.h"
#include "call.h"
#include "lentrecords.h"
#include "recordmaking.h"
#include "timebounds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <limits>

namespace
{
using namespace Calls;
using testing::HasSubstr;

/** The bytes of an answer to a fetch. */
template <class Record> std::string fetchAnswer(int result, int count, const Record *array)
{
    const FetchAnswer<Record> answer(result, count, array);
    std::string bytes(answer.size(), '\0');
    MemorySink sink(bytes.data());
    answer.write(sink, 0);
    return bytes;
}

/** The fault that reading `bytes` tells. */
template <class Read> std::string faultOf(Read read, const std::string &bytes)
{
    try {
        read(bytes);
    } catch (const CorruptMessage &fault) {
        EXPECT_LE(fault.offset(), bytes.size());
        return fault.what();
    }
    return {};
}

std::string answerFault(const std::string &bytes)
{
    return faultOf(readAnswer, bytes);
}
std::string callFault(const std::string &bytes)
{
    return faultOf(readCall, bytes);
}

/** Replaces the 32-bit number at `offset`. */
std::string with(std::string bytes, std::size_t offset, std::uint32_t number)
{
    std::memcpy(bytes.data() + offset, &number, sizeof(number));
    return bytes;
}

std::string hexadecimal(const std::string &bytes)
{
    std::string text;
    for (const char byte : bytes) {
        std::array<char, 4> digits;
        std::snprintf(digits.data(), digits.size(), "%02x", unsigned(static_cast<unsigned char>(byte)));
        text += digits.data();
    }
    return text;
}

CMessageEventRequest eventRequest()
{
    CMessageEventRequest request;
    request.NMax = 1;
    request.TakeFirst1_Last0 = 2;
    request.MessageID0 = 3;
    request.MessageID1 = -4;
    request.UseMessageID0 = 5;
    request.UseMessageID1 = 6;
    request.MessageType = 7;
    request.UseMessageType = 8;
    setText(request.SensorID, request.LSensorID, "boiler");
    request.UseSensorID = 9;
    request.SensorType = 10;
    request.UseSensorType = 11;
    setText(request.EventName, request.LEventName, "at*");
    request.UseEventName = 12;
    request.EventTime0 = INT_MIN;
    request.UseEventTime0 = 13;
    request.EventTime1 = INT_MAX;
    request.UseEventTime1 = 14;
    return request;
}

TEST(Calls, AnInitialisationBringsTheDirectory)
{
    for (const DBFunction function : {DBFunctionInitSensors, DBFunctionInitEvents, DBFunctionInitCommands}) {
        const Call call = readCall(initCall(function, "/srv/pl\xe4nt/../Config"));
        EXPECT_EQ(call.subject, (Subject{function, Use::Plain}));
        ASSERT_TRUE(call.directory);
        EXPECT_EQ(*call.directory, "/srv/pl\xe4nt/../Config");
        EXPECT_FALSE(readCall(initCall(function, nullptr)).directory);
    }
}

TEST(Calls, QueriesAndReleasesBringNothing)
{
    for (const DBFunction function : {DBFunctionGetSensors, DBFunctionGetEvents, DBFunctionGetCommands}) {
        EXPECT_EQ(readCall(queryCall(function)).subject, (Subject{function, Use::Query}));
        EXPECT_EQ(readCall(releaseCall(function)).subject, (Subject{function, Use::Release}));
    }
    EXPECT_EQ(readCall(fetchCall()).subject, (Subject{DBFunctionGetSensors, Use::Fetch}));
}

TEST(Calls, ARequestForEventsArrivesFieldByField)
{
    const CMessageEventRequest request = eventRequest();
    const Call call = readCall(fetchCall(&request));
    EXPECT_EQ(call.subject, (Subject{DBFunctionGetEvents, Use::Fetch}));
    ASSERT_TRUE(call.eventRequest);
    const CMessageEventRequest &got = *call.eventRequest;
    EXPECT_EQ(got.NMax, 1);
    EXPECT_EQ(got.TakeFirst1_Last0, 2);
    EXPECT_EQ(got.MessageID0, 3);
    EXPECT_EQ(got.MessageID1, -4);
    EXPECT_EQ(got.UseMessageID0, 5);
    EXPECT_EQ(got.UseMessageID1, 6);
    EXPECT_EQ(got.MessageType, 7);
    EXPECT_EQ(got.UseMessageType, 8);
    EXPECT_EQ(held(got.SensorID, got.LSensorID), terminated("boiler"));
    EXPECT_EQ(got.UseSensorID, 9);
    EXPECT_EQ(got.SensorType, 10);
    EXPECT_EQ(got.UseSensorType, 11);
    EXPECT_EQ(held(got.EventName, got.LEventName), terminated("at*"));
    EXPECT_EQ(got.UseEventName, 12);
    EXPECT_EQ(got.EventTime0, INT_MIN);
    EXPECT_EQ(got.UseEventTime0, 13);
    EXPECT_EQ(got.EventTime1, INT_MAX);
    EXPECT_EQ(got.UseEventTime1, 14);
}

TEST(Calls, ARequestForCommandsArrivesFieldByField)
{
    CMessageCommandRequest request;
    request.NMax = 1;
    request.TakeFirst1_Last0 = 2;
    request.MessageType = 3;
    request.UseMessageType = 4;
    setText(request.SensorID, request.LSensorID, "boiler");
    request.UseSensorID = 5;
    request.CommandID0 = 6;
    request.CommandID1 = -7;
    request.UseCommandID0 = 8;
    request.UseCommandID1 = 9;
    request.CommandType = 10;
    request.UseCommandType = 11;
    request.CommandTime0 = -1;
    request.UseCommandTime0 = 12;
    request.CommandTime1 = INT_MAX;
    request.UseCommandTime1 = 13;
    const Call call = readCall(fetchCall(&request));
    EXPECT_EQ(call.subject, (Subject{DBFunctionGetCommands, Use::Fetch}));
    ASSERT_TRUE(call.commandRequest);
    const CMessageCommandRequest &got = *call.commandRequest;
    EXPECT_EQ(got.NMax, 1);
    EXPECT_EQ(got.TakeFirst1_Last0, 2);
    EXPECT_EQ(got.MessageType, 3);
    EXPECT_EQ(got.UseMessageType, 4);
    EXPECT_EQ(held(got.SensorID, got.LSensorID), terminated("boiler"));
    EXPECT_EQ(got.UseSensorID, 5);
    EXPECT_EQ(got.CommandID0, 6);
    EXPECT_EQ(got.CommandID1, -7);
    EXPECT_EQ(got.UseCommandID0, 8);
    EXPECT_EQ(got.UseCommandID1, 9);
    EXPECT_EQ(got.CommandType, 10);
    EXPECT_EQ(got.UseCommandType, 11);
    EXPECT_EQ(got.CommandTime0, -1);
    EXPECT_EQ(got.UseCommandTime0, 12);
    EXPECT_EQ(got.CommandTime1, INT_MAX);
    EXPECT_EQ(got.UseCommandTime1, 13);
}

TEST(Calls, WithoutARequestNoneArrives)
{
    EXPECT_FALSE(readCall(fetchCall(static_cast<CMessageEventRequest *>(nullptr))).eventRequest);
    EXPECT_FALSE(readCall(fetchCall(static_cast<CMessageCommandRequest *>(nullptr))).commandRequest);
    EXPECT_FALSE(readCall(putCall(static_cast<CMessageEvent *>(nullptr))).event);
    EXPECT_FALSE(readCall(putCall(static_cast<CMessageCommand *>(nullptr))).command);
}

TEST(Calls, AMaskOfNoBytesArrivesAsNone)
{
    CMessageEventRequest request;
    char empty[] = "";
    request.SensorID = empty;
    request.LEventName = 40;
    const Call call = readCall(fetchCall(&request));
    request.SensorID = nullptr;
    EXPECT_EQ(call.eventRequest->SensorID, nullptr);
    EXPECT_EQ(call.eventRequest->EventName, nullptr);
    EXPECT_EQ(call.eventRequest->LEventName, 0);
}

void expectTheMadeEvent(const CMessageEvent &event)
{
    EXPECT_EQ(event.MessageType, 1);
    EXPECT_EQ(held(event.SensorID, event.LSensorID), terminated("sensor12"));
    EXPECT_EQ(event.MessageID, 7);
    EXPECT_EQ(event.SensorType, 2);
    EXPECT_EQ(held(event.EventName, event.LEventName), terminated("overheat"));
    EXPECT_EQ(event.EventTime, 1000);
    ASSERT_EQ(event.ParNum, 2);
    EXPECT_EQ(event.par[0].Type, ParameterInteger);
    EXPECT_EQ(held(event.par[0].Name, event.par[0].LName), terminated("level"));
    EXPECT_EQ(held(event.par[0].Val, event.par[0].LVal), std::string("\5\0\0\0", 4));
    EXPECT_EQ(event.par[1].Type, ParameterText);
    EXPECT_EQ(held(event.par[1].Name, event.par[1].LName), terminated("unit"));
    EXPECT_EQ(held(event.par[1].Val, event.par[1].LVal), terminated("mV"));
}

void expectTheMadeCommand(const CMessageCommand &command)
{
    EXPECT_EQ(command.MessageType, 1);
    EXPECT_EQ(held(command.SensorID, command.LSensorID), terminated("sensor12"));
    EXPECT_EQ(command.CommandID, 8);
    EXPECT_EQ(command.CommandType, CommandStop);
    EXPECT_EQ(command.CommandTime, 2000);
    ASSERT_EQ(command.ParNum, 1);
    EXPECT_EQ(command.par[0].Type, ParameterDouble);
    EXPECT_EQ(held(command.par[0].Name, command.par[0].LName), terminated("delay"));
    EXPECT_EQ(command.par[0].LVal, 8);
}

TEST(Calls, PutRecordsArriveFieldByField)
{
    const CMessageEvent event = makeEvent();
    const Call putEvent = readCall(putCall(&event));
    EXPECT_EQ(putEvent.subject, (Subject{DBFunctionPutEvent, Use::Plain}));
    ASSERT_TRUE(putEvent.event);
    expectTheMadeEvent(*putEvent.event);

    const CMessageCommand command = makeCommand();
    const Call putCommand = readCall(putCall(&command));
    EXPECT_EQ(putCommand.subject, (Subject{DBFunctionPutCommand, Use::Plain}));
    ASSERT_TRUE(putCommand.command);
    expectTheMadeCommand(*putCommand.command);
}

TEST(Calls, DeletesBringTheIdentifier)
{
    for (const DBFunction function : {DBFunctionDeleteEvent, DBFunctionDeleteCommand}) {
        for (const int id : {0, 7, INT_MIN, INT_MAX}) {
            const Call call = readCall(deleteCall(function, id));
            EXPECT_EQ(call.subject, (Subject{function, Use::Plain}));
            EXPECT_EQ(call.id, id);
        }
    }
}

TEST(Calls, ACallThatWasReadHasTheSameBytes)
{
    const CMessageEventRequest request = eventRequest();
    const CMessageEvent event = makeEvent();
    const CMessageCommand command = makeCommand();
    for (const std::string &bytes :
         {initCall(DBFunctionInitEvents, "/a"), queryCall(DBFunctionGetCommands), releaseCall(DBFunctionGetSensors),
          fetchCall(), fetchCall(&request), fetchCall(static_cast<CMessageCommandRequest *>(nullptr)), putCall(&event),
          putCall(&command), deleteCall(DBFunctionDeleteEvent, -3)})
        EXPECT_EQ(callBytes(readCall(bytes)), bytes);
}

// The bytes themselves are a contract: between two programs, and with recordings of years ago.

TEST(Calls, TheBytesOfACallAreThoseOfThePage)
{
    EXPECT_EQ(hexadecimal(deleteCall(DBFunctionDeleteEvent, 7)), "6f62726d"
                                                                 "0100010a"
                                                                 "01000000"
                                                                 "04000000"
                                                                 "07000000");
    EXPECT_EQ(hexadecimal(initCall(DBFunctionInitSensors, "/a")), "6f62726d"
                                                                  "01000102"
                                                                  "01000000"
                                                                  "0a000000"
                                                                  "01000000"
                                                                  "02000000"
                                                                  "2f61");
}

TEST(Calls, TheBytesOfARequestAreThoseOfThePage)
{
    const CMessageEventRequest request = eventRequest();
    EXPECT_EQ(hexadecimal(fetchCall(&request)), "6f62726d" // obrm
                                                "01000103" // version 1, call, FDBGetEvents
                                                "03000000" // fetch
                                                "5f000000"
                                                "01000000" // a request is given
                                                "01000000"
                                                "02000000"
                                                "03000000"
                                                "fcffffff"
                                                "05000000"
                                                "06000000"
                                                "07000000"
                                                "08000000"
                                                "07000000" // bytes of the sensor's mask
                                                "09000000"
                                                "0a000000"
                                                "0b000000"
                                                "04000000" // bytes of the name's mask
                                                "0c000000"
                                                "00000080ffffffff"
                                                "0d000000"
                                                "ffffff7f00000000"
                                                "0e000000"
                                                "626f696c657200"
                                                "61742a00");
}

TEST(Calls, TheBytesOfAnAnswerAreThoseOfThePage)
{
    const CMessageEvent event = makeEvent();
    EXPECT_EQ(hexadecimal(fetchAnswer(0, 1, &event)), "6f62726d" // obrm
                                                      "01000203" // version 1, answer, FDBGetEvents
                                                      "03000000" // fetch
                                                      "74000000"
                                                      "00000000" // returned
                                                      "00000000" // 0
                                                      "01000000" // one record
                                                      "01000000" // an array
                                                      "02000000" // parameters
                                                      "24000000" // bytes of texts
                                                      "01000000"
                                                      "07000000"
                                                      "02000000"
                                                      "e803000000000000"
                                                      "09000000"
                                                      "09000000"
                                                      "02000000"
                                                      "01000000"
                                                      "06000000"
                                                      "04000000"
                                                      "03000000"
                                                      "05000000"
                                                      "03000000"
                                                      "73656e736f72313200"
                                                      "6f7665726865617400"
                                                      "6c6576656c00"
                                                      "05000000"
                                                      "756e697400"
                                                      "6d5600");
}

TEST(Answers, ResultsArrive)
{
    for (const Subject subject : {Subject{DBFunctionInitEvents, Use::Plain}, Subject{DBFunctionGetEvents, Use::Query},
                                  Subject{DBFunctionDeleteEvent, Use::Plain}}) {
        for (const int result : {0, 5242920, -1, INT_MIN}) {
            const Answer answer = readAnswer(answerMessage(subject, {Status::Returned, result}));
            EXPECT_EQ(answer.subject, subject);
            EXPECT_EQ(answer.head.status, Status::Returned);
            EXPECT_EQ(answer.head.result, result);
        }
    }
}

TEST(Answers, WhatDidNotReturnBringsNoRecords)
{
    for (const Status status : {Status::Threw, Status::Missing, Status::TooLarge}) {
        for (const Subject subject :
             {Subject{DBFunctionGetEvents, Use::Fetch}, Subject{DBFunctionPutEvent, Use::Plain}}) {
            const Answer answer = readAnswer(answerMessage(subject, {status, -1}));
            EXPECT_EQ(answer.head.status, status);
            EXPECT_EQ(answer.head.result, -1);
            EXPECT_FALSE(answer.events);
        }
    }
}

TEST(Answers, APutBringsTheIdentifier)
{
    const Answer answer = readAnswer(putAnswer(DBFunctionPutCommand, 3, 41));
    EXPECT_EQ(answer.head.result, 3);
    EXPECT_EQ(answer.id, 41);
}

TEST(Answers, RecordsArriveFieldByField)
{
    const std::array<CMessageEvent, 3> events = {makeEvent(), CMessageEvent(), makeEvent()};
    const std::string bytes = fetchAnswer(5, 3, events.data());
    const Answer answer = readAnswer(bytes);
    EXPECT_EQ(answer.head.result, 5);
    EXPECT_EQ(answer.count, 3);
    ASSERT_TRUE(answer.events);
    EXPECT_EQ(answer.events->count(), 3U);
    EXPECT_EQ(answer.events->parameterCount(), 4U);
    LentRecords<CMessageEvent> lent(*answer.events);
    expectTheMadeEvent(lent[0]);
    EXPECT_EQ(lent[1].SensorID, nullptr);
    EXPECT_EQ(lent[1].par, nullptr);
    expectTheMadeEvent(lent[2]);

    const CMessageCommand command = makeCommand();
    const std::string commandBytes = fetchAnswer(0, 1, &command);
    const Answer commands = readAnswer(commandBytes);
    ASSERT_TRUE(commands.commands);
    LentRecords<CMessageCommand> lentCommands(*commands.commands);
    expectTheMadeCommand(lentCommands[0]);

    const CSensor sensor = makeSensor();
    const std::string sensorBytes = fetchAnswer(0, 1, &sensor);
    const Answer sensors = readAnswer(sensorBytes);
    ASSERT_TRUE(sensors.sensors);
    LentRecords<CSensor> lentSensors(*sensors.sensors);
    EXPECT_EQ(lentSensors[0].SensorType, 3);
    EXPECT_EQ(held(lentSensors[0].SensorID, lentSensors[0].LSensorID), terminated("sensor12"));
    EXPECT_EQ(held(lentSensors[0].Description, lentSensors[0].LDescription), terminated("in the cellar"));
    EXPECT_EQ(lentSensors[0].MessageType, SensorAlive);
    EXPECT_EQ(lentSensors[0].EventTime, 3000);
    EXPECT_EQ(lentSensors[0].Status, 0);
}

TEST(Answers, CountAndArrayArriveAsTheLibraryLeftThem)
{
    const CMessageEvent event = makeEvent();
    const struct {
        int count;
        const CMessageEvent *array;
    } cases[] = {{0, nullptr}, {3, nullptr}, {INT_MAX, nullptr}, {-1, &event}, {0, &event}};
    for (const auto &each : cases) {
        const std::string bytes = fetchAnswer(0, each.count, each.array);
        const Answer answer = readAnswer(bytes);
        EXPECT_EQ(answer.count, each.count);
        EXPECT_EQ(answer.hasArray, each.array != nullptr);
        EXPECT_FALSE(answer.events);
    }
}

TEST(Answers, TextsAndParametersThatAreNotThereArriveAsNone)
{
    CMessageEvent event = makeEvent();
    event.LSensorID = -5;
    CopyPtr(&event.EventName, &event.LEventName, nullptr, 0);
    event.LEventName = 40;
    event.ParNum = -1;
    const std::string bytes = fetchAnswer(0, 1, &event);
    const Answer answer = readAnswer(bytes);
    LentRecords<CMessageEvent> lent(*answer.events);
    EXPECT_EQ(lent[0].SensorID, nullptr);
    EXPECT_EQ(lent[0].LSensorID, 0);
    EXPECT_EQ(lent[0].EventName, nullptr);
    EXPECT_EQ(lent[0].LEventName, 0);
    EXPECT_EQ(lent[0].par, nullptr);
    EXPECT_EQ(lent[0].ParNum, 0);
    event.ParNum = 2;
}

TEST(Answers, ATextLargerThanThePiecesOfAMessageArrives)
{
    std::array<CMessageEvent, 3> events;
    const std::string large(3000000, 'x');
    for (CMessageEvent &event : events)
        setText(event.EventName, event.LEventName, large.c_str());
    const std::string bytes = fetchAnswer(0, 3, events.data());
    const Answer answer = readAnswer(bytes);
    LentRecords<CMessageEvent> lent(*answer.events);
    for (std::size_t i = 0; i < events.size(); ++i)
        EXPECT_EQ(held(lent[i].EventName, lent[i].LEventName), terminated(large.c_str()));
}

TEST(Answers, TimesOfEveryWidthArriveOrBecomeTheNearest)
{
    constexpr auto least = std::int64_t(std::numeric_limits<std::time_t>::min());
    constexpr auto most = std::int64_t(std::numeric_limits<std::time_t>::max());
    for (const std::int64_t seconds :
         {std::int64_t(0), std::int64_t(-1), std::int64_t(INT_MAX) + 1, std::int64_t(INT_MIN) - 1,
          std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        const Time time = {std::uint32_t(std::uint64_t(seconds)), std::int32_t(seconds >> 32)};
        EXPECT_EQ(std::int64_t(fromBytes(time)), std::clamp(seconds, least, most));
    }
    for (const std::time_t time : {std::numeric_limits<std::time_t>::min(), std::time_t(-1), std::time_t(INT_MAX),
                                   std::numeric_limits<std::time_t>::max()})
        EXPECT_EQ(fromBytes(toBytes(time)), time);
}

TEST(Requests, BoundsOfTimesArriveAsThisProgramHoldsThem)
{
    constexpr auto beyond = std::int64_t(INT_MAX) + 1;
    constexpr auto least = std::int64_t(std::numeric_limits<std::time_t>::min());
    constexpr auto most = std::int64_t(std::numeric_limits<std::time_t>::max());
    const TimeBounds expected = within(least, most, {beyond, 1, 0, 0});
    const CMessageEventRequest events;
    // The first bound and its switch, as docs/calls-as-bytes.md places them.
    const Call event = readCall(with(with(with(fetchCall(&events), 76, 0x80000000), 80, 0), 84, 1));
    EXPECT_EQ((TimeBounds{event.eventRequest->EventTime0, event.eventRequest->UseEventTime0,
                          event.eventRequest->EventTime1, event.eventRequest->UseEventTime1}),
              expected);
    const CMessageCommandRequest commands;
    const Call command = readCall(with(with(with(fetchCall(&commands), 68, 0x80000000), 72, 0), 76, 1));
    EXPECT_EQ((TimeBounds{command.commandRequest->CommandTime0, command.commandRequest->UseCommandTime0,
                          command.commandRequest->CommandTime1, command.commandRequest->UseCommandTime1}),
              expected);
}

TEST(Answers, WhatNoMessageCanHoldIsRefusedBeforeItIsRead)
{
    // The lengths are lies: the bytes are measured, not touched.
    std::array<CMessageEvent, 2> events;
    for (CMessageEvent &event : events) {
        setText(event.SensorID, event.LSensorID, "x");
        event.LSensorID = INT_MAX;
    }
    EXPECT_THROW(FetchAnswer<CMessageEvent>(0, 2, events.data()), TooLarge);
    EXPECT_THROW(putCall(events.data()), TooLarge);
}

TEST(Answers, RecordsThatGrowWhileTheyAreWrittenOverrunNothing)
{
    CMessageEvent event = makeEvent();
    const FetchAnswer<CMessageEvent> answer(0, 1, &event);
    std::string bytes(answer.size(), '\0');
    MemorySink sink(bytes.data());
    setText(event.SensorID, event.LSensorID, "a longer name than before");
    EXPECT_THROW(answer.write(sink, 0), std::runtime_error);
    setText(event.SensorID, event.LSensorID, "short");
    EXPECT_THROW(answer.write(sink, 0), std::runtime_error);
}

TEST(Greetings, Arrive)
{
    const Greeting greeting = readGreeting(greetingMessage({32, true, 0x7f}));
    EXPECT_EQ(greeting.bits, 32U);
    EXPECT_TRUE(greeting.loaded);
    EXPECT_TRUE(greeting.has(DBFunctionPutCommand));
    EXPECT_FALSE(greeting.has(DBFunctionPutEvent));
}

TEST(Corruption, EveryShortenedMessageIsRefused)
{
    const CMessageEventRequest request = eventRequest();
    const CMessageEvent event = makeEvent();
    const std::array<CMessageEvent, 2> events = {event, event};
    for (const std::string &bytes : {initCall(DBFunctionInitEvents, "/a"), fetchCall(&request), putCall(&event),
                                     deleteCall(DBFunctionDeleteEvent, 1), fetchAnswer(0, 2, events.data()),
                                     putAnswer(DBFunctionPutEvent, 0, 1), greetingMessage({64, true, 1})}) {
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            const std::string cut = bytes.substr(0, size);
            EXPECT_NE(callFault(cut), "");
            EXPECT_NE(answerFault(cut), "");
            EXPECT_NE(faultOf(readGreeting, cut), "");
            if (size < sizeof(MessageHead))
                continue;
            // The head tells the truth of what is left.
            const std::string honest = with(cut, 12, std::uint32_t(size - sizeof(MessageHead)));
            EXPECT_NE(callFault(honest), "");
            EXPECT_NE(answerFault(honest), "");
        }
    }
}

TEST(Corruption, TheFaultIsToldWithItsPlace)
{
    const std::string call = deleteCall(DBFunctionDeleteEvent, 7);
    EXPECT_EQ(callFault(""), "byte 0: 16 bytes are needed for a message's head, 0 are left");
    EXPECT_EQ(callFault('x' + call.substr(1)), "byte 0: no message begins so");
    EXPECT_EQ(callFault(call.substr(0, 4) + '\2' + call.substr(5)), "byte 4: version 2, this program reads 1");
    EXPECT_EQ(callFault(call.substr(0, 6) + '\4' + call.substr(7)), "byte 6: there is no kind 4");
    EXPECT_EQ(callFault(call.substr(0, 6) + '\2' + call.substr(7)), "byte 6: is no call");
    EXPECT_EQ(callFault(call.substr(0, 7) + '\13' + call.substr(8)), "byte 7: there is no function 11");
    EXPECT_EQ(callFault(call.substr(0, 7) + std::string(1, '\0') + call.substr(8)), "byte 7: there is no function 0");
    EXPECT_EQ(callFault(call.substr(0, 8) + '\3' + call.substr(9)), "byte 8: FDBDeleteEvent is not called for use 3");
    EXPECT_EQ(callFault(call.substr(0, 10) + '\1' + call.substr(11)), "byte 10: is not 0");
    EXPECT_EQ(callFault(with(call, 12, 0x80000000)), "byte 12: a body of 2147483648 bytes is too large");
    EXPECT_EQ(callFault(with(call, 12, 9)), "byte 16: 9 bytes are needed for the body, 4 are left");
    EXPECT_EQ(callFault(call + "more"), "byte 20: 4 bytes too many");
    EXPECT_EQ(callFault(with(initCall(DBFunctionInitEvents, "/a"), 16, 2)),
              "byte 16: whether a directory is given is 2, not 0 or 1");
    EXPECT_EQ(callFault(with(initCall(DBFunctionInitEvents, "four"), 24, 0x00626161)),
              "byte 24: a directory has a NUL inside");
    EXPECT_EQ(answerFault(with(answerMessage({DBFunctionInitEvents, Use::Plain}, {}), 16, 4)),
              "byte 16: there is no status 4");
    EXPECT_EQ(faultOf(readGreeting, with(greetingMessage({64, true, 0}), 16, 48)), "byte 16: a word width of 48 bits");
    EXPECT_EQ(faultOf(readGreeting, with(greetingMessage({64, true, 0}), 24, 0x400)),
              "byte 24: more functions than there are");
}

TEST(Corruption, RecordsThatClaimWhatIsNotThereAreRefused)
{
    const std::array<CMessageEvent, 2> events = {makeEvent(), makeEvent()};
    const std::string bytes = fetchAnswer(0, 2, events.data());
    constexpr std::size_t count = 24;
    constexpr std::size_t parameters = 32;
    constexpr std::size_t texts = 36;
    constexpr std::size_t first = 40;
    constexpr std::size_t second = first + sizeof(Head<CMessageEvent>);
    constexpr std::size_t firstParameter = second + sizeof(Head<CMessageEvent>);
    EXPECT_THAT(answerFault(with(bytes, count, INT_MAX)),
                HasSubstr("byte 40: 68719476704 bytes are needed for the records, 184 are left"));
    EXPECT_THAT(answerFault(with(bytes, parameters, 0xffffffff)),
                HasSubstr("byte 104: 51539607540 bytes are needed for the parameters"));
    EXPECT_THAT(answerFault(with(bytes, texts, 0xffffffff)),
                HasSubstr("byte 152: 4294967295 bytes are needed for the texts"));
    EXPECT_EQ(answerFault(with(bytes, first + 28, 5)), "byte 40: its parameters are not there");
    EXPECT_EQ(answerFault(with(bytes, second + 28, 3)), "byte 72: its parameters are not there");
    EXPECT_EQ(answerFault(with(bytes, second + 28, 1)), "byte 32: more parameters than the records have");
    EXPECT_EQ(answerFault(with(bytes, second + 20, 0xfffffff7)), "byte 72: its texts are not there");
    EXPECT_EQ(answerFault(with(bytes, firstParameter + 4, 73)), "byte 104: its texts are not there");
    EXPECT_EQ(answerFault(with(bytes, firstParameter + 4, 5)), "byte 36: more texts than the records have");
}

TEST(Corruption, NoByteThatIsAnotherLetsAReaderGoAstray)
{
    const CMessageEvent event = makeEvent();
    const CMessageEventRequest request = eventRequest();
    for (const std::string &whole : {fetchAnswer(0, 1, &event), fetchCall(&request), putCall(&event)}) {
        for (std::size_t i = 0; i < whole.size(); ++i) {
            for (int change = 1; change < 256; ++change) {
                std::string bytes = whole;
                bytes[i] = char(bytes[i] ^ change);
                callFault(bytes);
                try {
                    const Answer answer = readAnswer(bytes);
                    if (answer.events)
                        const CMessageEvent copy(LentRecords<CMessageEvent>(*answer.events)[0]);
                } catch (const CorruptMessage &) {
                }
            }
        }
    }
}
} // namespace
