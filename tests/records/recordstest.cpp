// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "clock.h"
#include "recordmaking.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{
void expectSame(const CMessageEventParam &a, const CMessageEventParam &b)
{
    EXPECT_EQ(a.Type, b.Type);
    EXPECT_EQ(held(a.Name, a.LName), held(b.Name, b.LName));
    EXPECT_EQ(held(a.Val, a.LVal), held(b.Val, b.LVal));
}

template <typename Record> void expectSameParameters(const Record &a, const Record &b)
{
    ASSERT_EQ(a.ParNum, b.ParNum);
    for (int i = 0; i < a.ParNum; ++i)
        expectSame(a.par[i], b.par[i]);
}

void expectSame(const CMessageEvent &a, const CMessageEvent &b)
{
    EXPECT_EQ(a.MessageType, b.MessageType);
    EXPECT_EQ(held(a.SensorID, a.LSensorID), held(b.SensorID, b.LSensorID));
    EXPECT_EQ(a.MessageID, b.MessageID);
    EXPECT_EQ(a.SensorType, b.SensorType);
    EXPECT_EQ(held(a.EventName, a.LEventName), held(b.EventName, b.LEventName));
    EXPECT_EQ(a.EventTime, b.EventTime);
    expectSameParameters(a, b);
}

void expectSame(const CMessageCommand &a, const CMessageCommand &b)
{
    EXPECT_EQ(a.MessageType, b.MessageType);
    EXPECT_EQ(held(a.SensorID, a.LSensorID), held(b.SensorID, b.LSensorID));
    EXPECT_EQ(a.CommandID, b.CommandID);
    EXPECT_EQ(a.CommandType, b.CommandType);
    EXPECT_EQ(a.CommandTime, b.CommandTime);
    expectSameParameters(a, b);
}

void expectSame(const CSensor &a, const CSensor &b)
{
    EXPECT_EQ(a.SensorType, b.SensorType);
    EXPECT_EQ(held(a.SensorID, a.LSensorID), held(b.SensorID, b.LSensorID));
    EXPECT_EQ(held(a.Description, a.LDescription), held(b.Description, b.LDescription));
    EXPECT_EQ(a.MessageType, b.MessageType);
    EXPECT_EQ(a.EventTime, b.EventTime);
}

/** Assigns a record to itself without the compiler seeing that it does. */
template <typename Record> void assignToItself(Record &record)
{
    const Record &same = record;
    record = same;
}

std::time_t fixedClock()
{
    return 1234567;
}
} // namespace

TEST(CopyPtr, CopiesExactlyTheBytesCounted)
{
    char *text = nullptr;
    int length = 0;
    CopyPtr(&text, &length, "abc", 4);
    EXPECT_EQ(held(text, length), terminated("abc"));
    CopyPtr(&text, &length, "xyz", 2);
    EXPECT_EQ(held(text, length), "xy");
    delete[] text;
}

TEST(CopyPtr, CopiesBytesBehindANul)
{
    char *text = nullptr;
    int length = 0;
    CopyPtr(&text, &length, "a\0b", 3);
    EXPECT_EQ(held(text, length), std::string("a\0b", 3));
    delete[] text;
}

TEST(CopyPtr, LengthOfZeroOrLessYieldsNullAndZero)
{
    for (const int wanted : {0, -1, INT_MIN}) {
        char *text = nullptr;
        int length = 0;
        CopyPtr(&text, &length, "abc", 4);
        CopyPtr(&text, &length, "abc", wanted);
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(length, 0);
    }
}

TEST(CopyPtr, NullSourceCountsAsNoText)
{
    char *text = nullptr;
    int length = 0;
    CopyPtr(&text, &length, "abc", 4);
    CopyPtr(&text, &length, nullptr, 4);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(length, 0);
}

TEST(CopyPtr, SourceMayLieInTheTarget)
{
    char *text = nullptr;
    int length = 0;
    CopyPtr(&text, &length, "abcdef", 7);
    CopyPtr(&text, &length, text + 2, 3);
    EXPECT_EQ(held(text, length), "cde");
    delete[] text;
}

TEST(Records, DefaultConstructedIsAllZeros)
{
    const CMessageEventParam param;
    EXPECT_EQ(param.Type, 0);
    EXPECT_EQ(param.Name, nullptr);
    EXPECT_EQ(param.LName, 0);
    EXPECT_EQ(param.Val, nullptr);
    EXPECT_EQ(param.LVal, 0);
    const CMessageEvent event;
    expectSame(event, CMessageEvent());
    EXPECT_EQ(event.MessageType, 0);
    EXPECT_EQ(event.SensorID, nullptr);
    EXPECT_EQ(event.LSensorID, 0);
    EXPECT_EQ(event.MessageID, 0);
    EXPECT_EQ(event.SensorType, 0);
    EXPECT_EQ(event.EventName, nullptr);
    EXPECT_EQ(event.LEventName, 0);
    EXPECT_EQ(event.EventTime, 0);
    EXPECT_EQ(event.ParNum, 0);
    EXPECT_EQ(event.par, nullptr);
    const CMessageCommand command;
    EXPECT_EQ(command.MessageType, 0);
    EXPECT_EQ(command.SensorID, nullptr);
    EXPECT_EQ(command.LSensorID, 0);
    EXPECT_EQ(command.CommandID, 0);
    EXPECT_EQ(command.CommandType, 0);
    EXPECT_EQ(command.CommandTime, 0);
    EXPECT_EQ(command.ParNum, 0);
    EXPECT_EQ(command.par, nullptr);
    const CSensor sensor;
    EXPECT_EQ(sensor.SensorType, 0);
    EXPECT_EQ(sensor.SensorID, nullptr);
    EXPECT_EQ(sensor.LSensorID, 0);
    EXPECT_EQ(sensor.Description, nullptr);
    EXPECT_EQ(sensor.LDescription, 0);
    EXPECT_EQ(sensor.MessageType, 0);
    EXPECT_EQ(sensor.EventTime, 0);
    EXPECT_EQ(sensor.Status, 0);
    const CMessageKeepAlive keepAlive;
    EXPECT_EQ(keepAlive.MessageType, 0);
    EXPECT_EQ(keepAlive.SensorID, nullptr);
    EXPECT_EQ(keepAlive.LSensorID, 0);
    EXPECT_EQ(keepAlive.SensorType, 0);
    EXPECT_EQ(keepAlive.EventTime, 0);
}

TEST(Records, CopyOntoItselfChangesNothing)
{
    CMessageEvent event = makeEvent();
    const char *name = event.SensorID;
    const CMessageEventParam *par = event.par;
    assignToItself(event);
    expectSame(event, makeEvent());
    EXPECT_EQ(event.SensorID, name);
    EXPECT_EQ(event.par, par);
    assignToItself(event.par[0]);
    expectSame(event, makeEvent());

    CMessageCommand command = makeCommand();
    name = command.SensorID;
    assignToItself(command);
    expectSame(command, makeCommand());
    EXPECT_EQ(command.SensorID, name);

    CSensor sensor = makeSensor();
    name = sensor.SensorID;
    assignToItself(sensor);
    expectSame(sensor, makeSensor());
    EXPECT_EQ(sensor.SensorID, name);
    EXPECT_EQ(sensor.Status, 9);
}

TEST(Records, CopyIsDeepAndComplete)
{
    CMessageEvent event;
    {
        const CMessageEvent source = makeEvent();
        event = source;
        EXPECT_NE(event.SensorID, source.SensorID);
        EXPECT_NE(event.par, source.par);
        EXPECT_NE(event.par[0].Val, source.par[0].Val);
    }
    expectSame(event, makeEvent());
    CMessageCommand command;
    command = makeCommand();
    expectSame(command, makeCommand());
    CSensor sensor;
    sensor = makeSensor();
    expectSame(sensor, makeSensor());
    expectSame(CMessageEvent(event), event);
    expectSame(CMessageCommand(command), command);
    expectSame(CSensor(sensor), sensor);
    expectSame(CMessageEventParam(event.par[1]), event.par[1]);
}

TEST(Records, EventWithTheSameParNumKeepsItsParameterArray)
{
    CMessageEvent event;
    setParameters(event, 2);
    const CMessageEventParam *par = event.par;
    event = makeEvent();
    EXPECT_EQ(event.par, par);
    expectSame(event, makeEvent());
}

TEST(Records, CommandWithTheSameParNumKeepsItsParameterArray)
{
    CMessageCommand command;
    setParameters(command, 1);
    const CMessageEventParam *par = command.par;
    command = makeCommand();
    EXPECT_EQ(command.par, par);
    expectSame(command, makeCommand());
}

TEST(Records, EventWithADifferentParNumGetsANewParameterArray)
{
    for (const int before : {1, 3}) {
        CMessageEvent event;
        setParameters(event, before);
        setTextValue(event.par[0], "old");
        event = makeEvent();
        expectSame(event, makeEvent());
    }
}

TEST(Records, CopyOfARecordWithoutParametersDropsTheTargets)
{
    CMessageEvent event = makeEvent();
    event = CMessageEvent();
    EXPECT_EQ(event.par, nullptr);
    EXPECT_EQ(event.ParNum, 0);
    CMessageCommand command = makeCommand();
    command = CMessageCommand();
    EXPECT_EQ(command.par, nullptr);
    EXPECT_EQ(command.ParNum, 0);
}

template <typename Record> void expectParNumAsInTheSource(const Record &full)
{
    for (const int count : {5, full.ParNum, 0, -1, INT_MAX, INT_MIN}) {
        Record source;
        source.ParNum = count;
        Record target = full;
        target = source;
        EXPECT_EQ(target.par, nullptr) << count;
        EXPECT_EQ(target.ParNum, count);
    }
}

TEST(Records, ParNumIsCopiedAsItStandsAlsoWithoutPar)
{
    expectParNumAsInTheSource(makeEvent());
    expectParNumAsInTheSource(makeCommand());
}

TEST(Records, ParWithoutParNumIsCopiedAsNoParameters)
{
    for (const int count : {0, -1, INT_MIN}) {
        CMessageEvent source = makeEvent();
        source.ParNum = count;
        CMessageEvent event = makeEvent();
        event = source;
        EXPECT_EQ(event.par, nullptr);
        EXPECT_EQ(event.ParNum, count);
    }
}

TEST(Records, TargetWithAParNumButNoParGetsParameters)
{
    CMessageEvent event;
    event.ParNum = 2;
    event = makeEvent();
    expectSame(event, makeEvent());
}

TEST(Records, NullTextWithAPositiveLengthIsCopiedAsNoText)
{
    CMessageEvent source;
    source.LSensorID = 100;
    source.LEventName = -5;
    CMessageEvent event = makeEvent();
    event = source;
    EXPECT_EQ(event.SensorID, nullptr);
    EXPECT_EQ(event.LSensorID, 0);
    EXPECT_EQ(event.EventName, nullptr);
    EXPECT_EQ(event.LEventName, 0);
}

TEST(Records, TextWithANegativeLengthIsCopiedAsNoText)
{
    CSensor source = makeSensor();
    source.LSensorID = -1;
    CSensor sensor;
    sensor = source;
    EXPECT_EQ(sensor.SensorID, nullptr);
    EXPECT_EQ(sensor.LSensorID, 0);
    EXPECT_EQ(held(sensor.Description, sensor.LDescription), terminated("in the cellar"));
}

TEST(Records, CopyingASensorLeavesTheTargetsStatus)
{
    CSensor sensor;
    sensor.Status = 4;
    sensor = makeSensor();
    EXPECT_EQ(sensor.Status, 4);
    const CSensor source = makeSensor();
    EXPECT_EQ(CSensor(source).Status, 0);
}

TEST(Records, CleaningASensorLeavesItsStatus)
{
    CSensor sensor = makeSensor();
    sensor.clean();
    EXPECT_EQ(sensor.Status, 9);
    expectSame(sensor, CSensor());
    EXPECT_EQ(sensor.SensorID, nullptr);
    EXPECT_EQ(sensor.LSensorID, 0);
    EXPECT_EQ(sensor.Description, nullptr);
    EXPECT_EQ(sensor.LDescription, 0);
}

TEST(Records, CleanZeroesEveryField)
{
    CMessageEvent event = makeEvent();
    event.clean();
    expectSame(event, CMessageEvent());
    EXPECT_EQ(event.SensorID, nullptr);
    EXPECT_EQ(event.LSensorID, 0);
    EXPECT_EQ(event.EventName, nullptr);
    EXPECT_EQ(event.LEventName, 0);
    EXPECT_EQ(event.par, nullptr);
    CMessageCommand command = makeCommand();
    command.clean();
    expectSame(command, CMessageCommand());
    EXPECT_EQ(command.SensorID, nullptr);
    EXPECT_EQ(command.LSensorID, 0);
    EXPECT_EQ(command.par, nullptr);
    CMessageEventParam param;
    setText(param.Name, param.LName, "unit");
    setTextValue(param, "mV");
    param.clean();
    expectSame(param, CMessageEventParam());
    EXPECT_EQ(param.Name, nullptr);
    EXPECT_EQ(param.LName, 0);
    EXPECT_EQ(param.Val, nullptr);
    EXPECT_EQ(param.LVal, 0);
}

TEST(Records, CleanTwiceIsHarmless)
{
    CMessageEvent event = makeEvent();
    event.clean();
    event.clean();
    expectSame(event, CMessageEvent());
}

TEST(KeepAlive, CopiesEveryField)
{
    CMessageKeepAlive source;
    source.MessageType = 1;
    setText(source.SensorID, source.LSensorID, "sensor12");
    source.SensorType = 2;
    source.EventTime = 4000;
    CMessageKeepAlive target;
    setText(target.SensorID, target.LSensorID, "old");
    target = source;
    EXPECT_NE(target.SensorID, source.SensorID);
    const CMessageKeepAlive copy(source);
    for (const CMessageKeepAlive *k : {static_cast<const CMessageKeepAlive *>(&target), &copy}) {
        EXPECT_EQ(k->MessageType, 1);
        EXPECT_EQ(held(k->SensorID, k->LSensorID), terminated("sensor12"));
        EXPECT_EQ(k->SensorType, 2);
        EXPECT_EQ(k->EventTime, 4000);
        delete[] k->SensorID;
    }
    delete[] source.SensorID;
}

TEST(KeepAlive, CopyOfOneWithoutANameDropsTheTargets)
{
    CMessageKeepAlive target;
    setText(target.SensorID, target.LSensorID, "old");
    target = CMessageKeepAlive();
    EXPECT_EQ(target.SensorID, nullptr);
    EXPECT_EQ(target.LSensorID, 0);
}

TEST(KeepAlive, CopyOntoItselfChangesNothing)
{
    CMessageKeepAlive keepAlive;
    setText(keepAlive.SensorID, keepAlive.LSensorID, "sensor12");
    const char *name = keepAlive.SensorID;
    assignToItself(keepAlive);
    EXPECT_EQ(keepAlive.SensorID, name);
    EXPECT_EQ(held(keepAlive.SensorID, keepAlive.LSensorID), terminated("sensor12"));
    delete[] keepAlive.SensorID;
}

TEST(KeepAlive, CleanDoesNothing)
{
    CMessageKeepAlive keepAlive;
    keepAlive.MessageType = 1;
    setText(keepAlive.SensorID, keepAlive.LSensorID, "sensor12");
    keepAlive.clean();
    EXPECT_EQ(keepAlive.MessageType, 1);
    EXPECT_EQ(held(keepAlive.SensorID, keepAlive.LSensorID), terminated("sensor12"));
    delete[] keepAlive.SensorID;
}

TEST(AllocateStrings, OfAZeroedSensorYieldsTwoOneByteBuffers)
{
    CSensor sensor;
    sensor.AllocateStrings();
    ASSERT_NE(sensor.SensorID, nullptr);
    ASSERT_NE(sensor.Description, nullptr);
    sensor.SensorID[0] = '\0';
    sensor.Description[0] = '\0';
    EXPECT_EQ(sensor.LSensorID, 0);
    EXPECT_EQ(sensor.LDescription, 0);
}

TEST(AllocateStrings, OfASensorWithNegativeLengthsYieldsOneByteBuffers)
{
    CSensor sensor;
    sensor.LSensorID = -7;
    sensor.LDescription = INT_MIN;
    sensor.AllocateStrings();
    ASSERT_NE(sensor.SensorID, nullptr);
    ASSERT_NE(sensor.Description, nullptr);
}

TEST(AllocateStrings, GivesOneByteMoreThanTheLength)
{
    CSensor sensor = makeSensor();
    sensor.LSensorID = 20;
    sensor.LDescription = 30;
    sensor.AllocateStrings();
    std::memset(sensor.SensorID, 'x', 21);
    std::memset(sensor.Description, 'x', 31);
    EXPECT_EQ(sensor.LSensorID, 20);
    EXPECT_EQ(sensor.LDescription, 30);
    CMessageEvent event = makeEvent();
    event.LSensorID = 20;
    event.LEventName = 30;
    event.ParNum = 3;
    event.AllocateStrings();
    std::memset(event.SensorID, 'x', 21);
    std::memset(event.EventName, 'x', 31);
    ASSERT_NE(event.par, nullptr);
    EXPECT_EQ(event.ParNum, 3);
    for (int i = 0; i < 3; ++i)
        expectSame(event.par[i], CMessageEventParam());
    CMessageCommand command = makeCommand();
    command.LSensorID = 20;
    command.ParNum = 2;
    command.AllocateStrings();
    std::memset(command.SensorID, 'x', 21);
    ASSERT_NE(command.par, nullptr);
    expectSame(command.par[1], CMessageEventParam());
}

TEST(AllocateStrings, OfEventAndParameterWithZeroLengthsYieldsNulls)
{
    CMessageEvent event = makeEvent();
    event.LSensorID = 0;
    event.LEventName = -1;
    event.ParNum = 0;
    event.AllocateStrings();
    EXPECT_EQ(event.SensorID, nullptr);
    EXPECT_EQ(event.EventName, nullptr);
    EXPECT_EQ(event.par, nullptr);
    CMessageEventParam param;
    setText(param.Name, param.LName, "unit");
    setTextValue(param, "mV");
    param.LName = 0;
    param.LVal = 0;
    param.AllocateStrings();
    EXPECT_EQ(param.Name, nullptr);
    EXPECT_EQ(param.Val, nullptr);
    CMessageCommand command = makeCommand();
    command.LSensorID = 0;
    command.ParNum = -1;
    command.AllocateStrings();
    EXPECT_EQ(command.SensorID, nullptr);
    EXPECT_EQ(command.par, nullptr);
}

TEST(AllocateParameters, AllocatesTheTextsOfEachParameter)
{
    CMessageCommand command;
    setParameters(command, 2);
    CMessageEvent event;
    setParameters(event, 2);
    for (CMessageEventParam *par : {command.par, event.par}) {
        par[0].LName = 5;
        par[1].LVal = 8;
    }
    command.AllocateParameters();
    event.AllocateParameters();
    for (CMessageEventParam *par : {command.par, event.par}) {
        std::memset(par[0].Name, 'x', 6);
        EXPECT_EQ(par[0].Val, nullptr);
        EXPECT_EQ(par[1].Name, nullptr);
        std::memset(par[1].Val, 'x', 9);
    }
}

TEST(AllocateParameters, WithoutAnArrayDoesNothing)
{
    CMessageCommand command;
    command.ParNum = 3;
    command.AllocateParameters();
    EXPECT_EQ(command.par, nullptr);
    CMessageEvent event;
    event.ParNum = 3;
    event.AllocateParameters();
    EXPECT_EQ(event.par, nullptr);
}

TEST(Set, FillsACommandForSending)
{
    setClock(fixedClock);
    CMessageCommand command;
    command.Set(2, "sensor12", CommandKill);
    setClock(nullptr);
    EXPECT_EQ(command.MessageType, 2);
    EXPECT_EQ(held(command.SensorID, command.LSensorID), terminated("sensor12"));
    EXPECT_EQ(command.CommandType, 4);
    EXPECT_EQ(command.CommandTime, 1234567);
    EXPECT_EQ(command.CommandID, 0);
    EXPECT_EQ(command.ParNum, 0);
    EXPECT_EQ(command.par, nullptr);
}

TEST(Set, LeavesIdentifierAndParametersAsTheyWere)
{
    CMessageCommand command = makeCommand();
    const CMessageEventParam *par = command.par;
    command.Set(2, "other", CommandStart);
    EXPECT_EQ(command.CommandID, 8);
    EXPECT_EQ(command.ParNum, 1);
    EXPECT_EQ(command.par, par);
}

TEST(Set, TakesTheCurrentTime)
{
    const std::time_t before = std::time(nullptr);
    CMessageCommand command;
    command.Set(1, "sensor12", CommandStart);
    EXPECT_GE(command.CommandTime, before);
    EXPECT_LE(command.CommandTime, std::time(nullptr));
}

TEST(Set, TakesTheCommandsOwnName)
{
    CMessageCommand command = makeCommand();
    command.Set(1, command.SensorID, CommandStart);
    EXPECT_EQ(held(command.SensorID, command.LSensorID), terminated("sensor12"));
}

TEST(Set, NullNameLeavesNoName)
{
    CMessageCommand command = makeCommand();
    command.Set(1, nullptr, CommandStart);
    EXPECT_EQ(command.SensorID, nullptr);
    EXPECT_EQ(command.LSensorID, 0);
}

TEST(Sizes, OfTheHandshakeCarryBothRecords)
{
    EXPECT_EQ(std::size_t(EventSizes & 0xFFFF), sizeof(CMessageEvent));
    EXPECT_EQ(std::size_t(EventSizes >> 16), sizeof(CMessageEventRequest));
    EXPECT_EQ(std::size_t(CommandSizes & 0xFFFF), sizeof(CMessageCommand));
    EXPECT_EQ(std::size_t(CommandSizes >> 16), sizeof(CMessageCommandRequest));
    EXPECT_EQ(std::size_t(SensorSize), sizeof(CSensor));
}
