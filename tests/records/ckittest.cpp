// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The kit in C, held against the records and the matcher that the console has.
#include "Messages.h"
#include "WCompare.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

extern "C" {
int obrimCompareNoCase(const char *text, const char *pattern);
int obrimSelectsEvent(const CMessageEventRequest *request, const CMessageEvent *event);
int obrimSelectsCommand(const CMessageCommandRequest *request, const CMessageCommand *command);
int obrimSetText(char **text, int *length, const char *value);
int obrimCopySensor(CSensor *to, const CSensor *from);
int obrimCopyEvent(CMessageEvent *to, const CMessageEvent *from);
int obrimCopyCommand(CMessageCommand *to, const CMessageCommand *from);
CSensor *obrimNewSensors(int n);
CMessageEvent *obrimNewEvents(int n);
CMessageCommand *obrimNewCommands(int n);
void obrimFreeSensors(CSensor **array);
void obrimFreeEvents(CMessageEvent **array);
void obrimFreeCommands(CMessageCommand **array);
}

namespace
{
/** Whether both matchers say the same. */
testing::AssertionResult agree(const std::string &text, const std::string &pattern)
{
    const int expected = WCompareNoCase(text.c_str(), pattern.c_str());
    const int result = obrimCompareNoCase(text.c_str(), pattern.c_str());
    if (result == expected)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << '"' << text << "\", \"" << pattern << "\": " << result << ", not "
                                       << expected;
}

/** The number of a text among all over an alphabet, shortest first. */
std::string numbered(std::size_t number, const std::string &alphabet)
{
    std::string text;
    for (; number > 0; number = (number - 1) / alphabet.size())
        text += alphabet[(number - 1) % alphabet.size()];
    return text;
}

std::string repeated(const std::string &text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

class Random
{
public:
    std::size_t number(std::size_t below)
    {
        return m_engine() % below;
    }
    std::string text(const std::string &alphabet, std::size_t most)
    {
        std::string result(number(most + 1), ' ');
        for (char &c : result)
            c = alphabet[number(alphabet.size())];
        return result;
    }

private:
    std::mt19937 m_engine{20261122};
};

TEST(CComparison, isThatOfTheConsoleOnEveryShortPair)
{
    for (std::size_t text = 0; text < 121; ++text)               // up to four of three characters
        for (std::size_t pattern = 0; pattern < 1555; ++pattern) // up to four of six
            ASSERT_TRUE(agree(numbered(text, "abA"), numbered(pattern, "abB*?+")));
}

TEST(CComparison, isThatOfTheConsoleOnRandomPairs)
{
    Random random;
    for (int i = 0; i < 200000; ++i)
        ASSERT_TRUE(agree(random.text("aaabbA\xC4\xE4", 12), random.text("aab*?+\xC4", 10)));
}

TEST(CComparison, isThatOfTheConsoleOnLongTexts)
{
    Random random;
    for (int i = 0; i < 2000; ++i) {
        const std::string text = random.text("aab", 1100);
        const auto cut = [&] { return text.substr(random.number(text.size() + 1), random.number(300)); };
        const auto meta = [&] { return std::string(1, "*?+"[random.number(3)]); };
        ASSERT_TRUE(agree(text, text.substr(0, random.number(270)) + meta() + cut() + meta() + cut()));
    }
}

TEST(CComparison, hasTheBoundsOfTheConsole)
{
    for (int length : {1022, 1023, 1024})
        for (const char *pattern : {"*", "a*"})
            EXPECT_TRUE(agree(repeated("a", length), pattern)) << length;
    for (int length : {1023, 1024})
        EXPECT_TRUE(agree(repeated("a", length), repeated("a", length))) << length;
    for (int count : {99, 100})
        EXPECT_TRUE(agree(repeated("a", count), repeated("?", count))) << count;
    for (int length : {255, 256})
        EXPECT_TRUE(agree(repeated("a", length), repeated("a", length) + "*")) << length;
    EXPECT_TRUE(agree(repeated("a", 1000), repeated("*a", 99) + "b"));
    EXPECT_EQ(obrimCompareNoCase(nullptr, nullptr), 1);
    EXPECT_EQ(obrimCompareNoCase(nullptr, "+"), 0);
}

void set(char *&text, int &length, const std::string &value)
{
    CopyPtr(&text, &length, value.c_str(), int(value.size()) + 1);
}

/** Few values, so that filters select and leave out about as often. */
int few(Random &random)
{
    return int(random.number(3));
}

TEST(CSelection, ofEventsIsThatOfTheConsole)
{
    Random random;
    int selected = 0;
    for (int i = 0; i < 50000; ++i) {
        CMessageEvent event;
        event.MessageType = few(random);
        event.MessageID = few(random);
        event.SensorType = few(random);
        event.EventTime = few(random);
        set(event.SensorID, event.LSensorID, random.text("aA*", 2));
        if (random.number(8))
            set(event.EventName, event.LEventName, random.text("aA*", 2));
        CMessageEventRequest request;
        for (int *value : {&request.MessageID0, &request.MessageID1, &request.MessageType, &request.SensorType})
            *value = few(random);
        request.EventTime0 = few(random);
        request.EventTime1 = few(random);
        for (int *use :
             {&request.UseMessageID0, &request.UseMessageID1, &request.UseMessageType, &request.UseSensorType,
              &request.UseSensorID, &request.UseEventName, &request.UseEventTime0, &request.UseEventTime1})
            *use = random.number(4) ? 0 : -1;
        if (random.number(8))
            set(request.SensorID, request.LSensorID, random.text("aA*", 2));
        set(request.EventName, request.LEventName, random.text("aA*", 2));
        request.LEventName -= int(random.number(2)); // also without its NUL
        ASSERT_EQ(obrimSelectsEvent(&request, &event), request & event);
        selected += request & event;
    }
    EXPECT_GT(selected, 5000);
    EXPECT_LT(selected, 45000);
}

TEST(CSelection, ofCommandsIsThatOfTheConsole)
{
    Random random;
    int selected = 0;
    for (int i = 0; i < 50000; ++i) {
        CMessageCommand command;
        command.MessageType = few(random);
        command.CommandID = few(random);
        command.CommandType = few(random);
        command.CommandTime = few(random);
        set(command.SensorID, command.LSensorID, random.text("aA*", 2));
        CMessageCommandRequest request;
        for (int *value : {&request.CommandID0, &request.CommandID1, &request.MessageType, &request.CommandType})
            *value = few(random);
        request.CommandTime0 = few(random);
        request.CommandTime1 = few(random);
        for (int *use :
             {&request.UseCommandID0, &request.UseCommandID1, &request.UseMessageType, &request.UseCommandType,
              &request.UseSensorID, &request.UseCommandTime0, &request.UseCommandTime1})
            *use = random.number(4) ? 0 : 2;
        if (random.number(8))
            set(request.SensorID, request.LSensorID, random.text("aA*", 2));
        ASSERT_EQ(obrimSelectsCommand(&request, &command), request & command);
        selected += request & command;
    }
    EXPECT_GT(selected, 5000);
    EXPECT_LT(selected, 45000);
}

TEST(CRecords, aCopiedEventHoldsTheSameBytesInMemoryOfItsOwn)
{
    CMessageEvent event;
    event.MessageID = 7;
    event.EventTime = -1;
    set(event.SensorID, event.LSensorID, "sensor");
    event.ParNum = 2;
    event.par = new CMessageEventParam[2];
    event.par[1].Type = ParameterText;
    set(event.par[1].Name, event.par[1].LName, "name");
    CopyPtr(&event.par[1].Val, &event.par[1].LVal, "a\0b", 4);
    CMessageEvent *array = obrimNewEvents(2);
    ASSERT_TRUE(array);
    ASSERT_EQ(obrimCopyEvent(&array[1], &event), 0);
    ASSERT_EQ(obrimCopyEvent(&array[1], &event), 0);
    EXPECT_EQ(array[1].MessageID, 7);
    EXPECT_EQ(array[1].EventTime, -1);
    EXPECT_NE(array[1].SensorID, event.SensorID);
    EXPECT_STREQ(array[1].SensorID, "sensor");
    EXPECT_EQ(array[1].LSensorID, 7);
    EXPECT_FALSE(array[1].EventName);
    ASSERT_EQ(array[1].ParNum, 2);
    EXPECT_FALSE(array[1].par[0].Name);
    EXPECT_STREQ(array[1].par[1].Name, "name");
    ASSERT_EQ(array[1].par[1].LVal, 4);
    EXPECT_EQ(std::memcmp(array[1].par[1].Val, "a\0b", 4), 0);
    obrimFreeEvents(&array);
    EXPECT_FALSE(array);
}

TEST(CRecords, aCopiedCommandAndSensorHoldTheSame)
{
    CMessageCommand command;
    command.Set(1, "sensor", CommandStop);
    CMessageCommand *commands = obrimNewCommands(1);
    ASSERT_TRUE(commands);
    ASSERT_EQ(obrimCopyCommand(commands, &command), 0);
    EXPECT_EQ(commands->CommandType, int(CommandStop));
    EXPECT_STREQ(commands->SensorID, "sensor");
    obrimFreeCommands(&commands);
    CSensor sensor;
    sensor.MessageType = SensorDead;
    set(sensor.Description, sensor.LDescription, "text");
    CSensor *sensors = obrimNewSensors(1);
    ASSERT_TRUE(sensors);
    ASSERT_EQ(obrimCopySensor(sensors, &sensor), 0);
    EXPECT_EQ(sensors->MessageType, int(SensorDead));
    EXPECT_STREQ(sensors->Description, "text");
    obrimFreeSensors(&sensors);
    EXPECT_FALSE(sensors);
}

TEST(CRecords, noArrayIsMadeForNoRecordsAndNoneIsFreed)
{
    CMessageEvent *none = obrimNewEvents(0);
    EXPECT_FALSE(none);
    EXPECT_FALSE(obrimNewCommands(-1));
    obrimFreeEvents(&none);
    EXPECT_FALSE(none);
}

TEST(CRecords, aTextIsReplacedAndTakenAway)
{
    char *text = nullptr;
    int length = 0;
    ASSERT_EQ(obrimSetText(&text, &length, "first"), 0);
    ASSERT_EQ(obrimSetText(&text, &length, "abc"), 0);
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(length, 4);
    ASSERT_EQ(obrimSetText(&text, &length, nullptr), 0);
    EXPECT_FALSE(text);
    EXPECT_EQ(length, 0);
}
} // namespace
