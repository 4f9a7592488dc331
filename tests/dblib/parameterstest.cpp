// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "parameters.h"
#include "arena.h"
#include "storetesting.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace
{
std::string storedForm(const CMessageEvent &record)
{
    ParameterWriter writer;
    for (int i = 0; i < record.ParNum; ++i)
        writer.add(record.par[i]);
    return std::string(writer.finish());
}

/** What comes back from the store; its parameters are the arena's. */
struct ReadBack {
    explicit ReadBack(std::string_view stored)
    {
        ParameterReader reader;
        par = reader.read(arena, stored, ParNum);
    }
    Arena arena;
    CMessageEventParam *par = nullptr;
    int ParNum = 0;
};

bool survives(const CMessageEvent &record)
{
    const ReadBack back(storedForm(record));
    CMessageEvent view;
    view.par = back.par;
    view.ParNum = back.ParNum;
    const bool equal = sameParameters(record, view);
    view.par = nullptr;
    return equal;
}

void setMissing(CMessageEventParam &parameter)
{
    parameter.clean();
    parameter.Type = ParameterText;
}

TEST(Parameters, AllThreeTypesReadAsJson)
{
    CMessageEvent event;
    addInteger(event, "level", 5);
    addDouble(event, "gain", 0.5);
    addText(event, "unit", "mV");
    EXPECT_EQ(storedForm(event), R"({"level":5,"gain":0.5,"unit":"mV"})");
    EXPECT_TRUE(survives(event));
}

TEST(Parameters, NoneAreNothing)
{
    EXPECT_EQ(storedForm(CMessageEvent()), "");
    const ReadBack back("");
    EXPECT_EQ(back.par, nullptr);
    EXPECT_EQ(back.ParNum, 0);
    EXPECT_EQ(ReadBack("{}").par, nullptr);
}

TEST(Parameters, WriterStartsAnewAfterEachRecord)
{
    ParameterWriter writer;
    EXPECT_EQ(writer.addInteger("a", 1).finish(), R"({"a":1})");
    EXPECT_EQ(writer.finish(), "");
    EXPECT_EQ(writer.addText("b", "x").finish(), R"({"b":"x"})");
}

TEST(Parameters, EveryByteOfATextSurvives)
{
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += char(byte);
    CMessageEvent event;
    addText(event, all, all);
    addText(event, "", "");
    addText(event, "quote\"", "back\\slash\\u0041");
    EXPECT_TRUE(survives(event));
}

TEST(Parameters, ExtremeNumbersSurvive)
{
    CMessageEvent event;
    for (const int value : {0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        addInteger(event, "i", value);
    using Limits = std::numeric_limits<double>;
    for (const double value : {0.0, -0.0, 1.0, 1e20, 0.1, 1.0 / 3, -5e-324, Limits::min(), Limits::max(),
                               Limits::lowest(), Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()})
        addDouble(event, "d", value);
    EXPECT_TRUE(survives(event));
}

TEST(Parameters, AnyDoubleSurvivesBitByBit)
{
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = random();
        CMessageEvent event;
        addParameter(event, ParameterDouble, "d", &bits, sizeof bits);
        ASSERT_TRUE(survives(event)) << storedForm(event);
    }
}

TEST(Parameters, OddRecordsSurvive)
{
    CMessageEvent event;
    addInteger(event, "nameless", 1);
    CopyPtr(&event.par[0].Name, &event.par[0].LName, nullptr, 0);
    addInteger(event, "valueless", 1);
    setMissing(event.par[1]);
    const char bytes[] = "\x00\xff\x7f";
    addParameter(event, ParameterInteger, "three bytes", bytes, 3);
    addParameter(event, 9, "another type", bytes, 3);
    addParameter(event, -2147483647, "no bytes", bytes, 0);
    EXPECT_TRUE(survives(event)) << storedForm(event);
}

TEST(Parameters, ATextEndsAtItsFirstNul)
{
    CMessageEvent event;
    addParameter(event, ParameterText, "t", "ab\0cd", 6);
    addParameter(event, ParameterText, "unterminated", "abc", 2);
    const ReadBack back(storedForm(event));
    ASSERT_EQ(back.ParNum, 2);
    EXPECT_STREQ(back.par[0].Val, "ab");
    EXPECT_EQ(back.par[0].LVal, 3);
    EXPECT_STREQ(back.par[1].Val, "ab");
    EXPECT_EQ(back.par[1].LVal, 3);
}

TEST(Parameters, FormsOfOtherToolsAreRead)
{
    const ReadBack back("{ \"a\" : 1 ,\n\t\"b\" : \"\\u0041\\u00e4\\u20ac\\n\\/\" , \"c\" : 1E3, \"d\" : 3000000000 }");
    ASSERT_EQ(back.ParNum, 4);
    EXPECT_STREQ(back.par[1].Val, "A\xe4?\n/");
    double number = 0;
    std::memcpy(&number, back.par[2].Val, sizeof number);
    EXPECT_EQ(number, 1000);
    EXPECT_EQ(back.par[3].Type, ParameterDouble);
}

TEST(Parameters, WhatCannotBeReadComesAsText)
{
    for (const char *broken : {"x",
                               "{",
                               "{\"",
                               "{\"a",
                               "{\"a\"",
                               "{\"a\":",
                               "{\"a\":1",
                               "{\"a\":1,",
                               "{\"a\":1}x",
                               "{\"a\":tru}",
                               "{\"a\":\"\\",
                               "{\"a\":\"\\u12",
                               "{\"a\":\"\\u0000\"}",
                               "{\"a\":\"\\x\"}",
                               "{\"a\":{",
                               "{\"a\":{\"type\"",
                               "{\"a\":{\"type\":x}}",
                               "{\"a\":{\"bytes\":\"0\"}}",
                               "{\"a\":{\"bytes\":\"0g\"}}",
                               "{\"a\":{\"b\":1}}",
                               "{\"\\u0000",
                               "{\"\\u0000x\":1}",
                               "{1:2}",
                               "[1]",
                               "{\"a\":1 \"b\":2}",
                               "{\"a\":99999999999e9999}"}) {
        const ReadBack back(broken);
        ASSERT_EQ(back.ParNum, 1) << broken;
        EXPECT_EQ(back.par[0].Type, ParameterText);
        EXPECT_STREQ(back.par[0].Name, "params");
        EXPECT_STREQ(back.par[0].Val, broken);
        EXPECT_EQ(back.par[0].LVal, int(std::strlen(broken)) + 1);
    }
}
} // namespace
