// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "format.h"
#include "failure.h"
#include "outputfile.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <rapidjson/document.h>

namespace
{
void setText(char *&text, int &length, const std::string &value)
{
    CopyPtr(&text, &length, value.c_str(), int(value.size()) + 1);
}

/** An event with one parameter of each type. */
std::unique_ptr<CMessageEvent> event(const std::string &sensor, const std::string &name)
{
    auto made = std::make_unique<CMessageEvent>();
    made->MessageID = 4711;
    made->MessageType = 1;
    made->SensorType = 9;
    made->EventTime = 1795292160;
    setText(made->SensorID, made->LSensorID, sensor);
    setText(made->EventName, made->LEventName, name);
    return made;
}

void addParameters(CMessageEvent &to, int integer, double real, const std::string &text)
{
    to.ParNum = 3;
    to.par = new CMessageEventParam[3];
    const char *names[] = {"count", "level", "place"};
    for (int i = 0; i < 3; ++i) {
        to.par[i].Type = i + 1;
        setText(to.par[i].Name, to.par[i].LName, names[i]);
    }
    CopyPtr(&to.par[0].Val, &to.par[0].LVal, reinterpret_cast<const char *>(&integer), sizeof(integer));
    CopyPtr(&to.par[1].Val, &to.par[1].LVal, reinterpret_cast<const char *>(&real), sizeof(real));
    setText(to.par[2].Val, to.par[2].LVal, text);
}

template <class Record>
std::string formatted(FormatName name, const std::vector<const Record *> &records, ColourUse colour = ColourUse::Auto)
{
    return OutputFile().textOf([&](Output &output) {
        const auto format = makeFormat({name, Clock::Utc, colour}, columnsOf<Record>(), output);
        for (const Record *record : records) {
            Cells cells;
            fillCells(cells, *record);
            format->row(cells);
        }
        format->pause();
    });
}

std::string csvField(const char *bytes, bool visible = false)
{
    Cell cell;
    cell.type = Cell::Type::Text;
    cell.text = bytes ? std::string_view(bytes) : std::string_view();
    TimeWriter times(Clock::Utc);
    std::string out;
    appendCsvField(out, cell, times, visible);
    return out;
}

rapidjson::Document json(const CMessageEvent &record)
{
    rapidjson::Document document;
    const std::string line = formatted<CMessageEvent>(FormatName::Json, {&record});
    EXPECT_EQ(line.find('\n'), line.size() - 1) << "one object a line";
    document.Parse<rapidjson::kParseFullPrecisionFlag>(line.c_str());
    EXPECT_FALSE(document.HasParseError()) << line;
    return document;
}
} // namespace

TEST(Csv, FieldsAreQuotedWhereTheyMustBe)
{
    EXPECT_EQ(csvField("plain text"), "plain text");
    EXPECT_EQ(csvField("a,b"), "\"a,b\"");
    EXPECT_EQ(csvField("say \"x\""), "\"say \"\"x\"\"\"");
    EXPECT_EQ(csvField("\""), "\"\"\"\"");
    EXPECT_EQ(csvField("a\nb"), "\"a\nb\"");
    EXPECT_EQ(csvField("a\rb"), "\"a\rb\"");
    EXPECT_EQ(csvField(""), "\"\"") << "an empty text";
    EXPECT_EQ(csvField(nullptr), "") << "no text";
}

TEST(Csv, BytesAreExactAndOnATerminalVisible)
{
    EXPECT_EQ(csvField("p\xfcmp\x1b\x9b"), "p\u00fcmp\x1b\xc2\x9b");
    EXPECT_EQ(csvField("p\xfcmp\x1b,", true), "\"p\u00fcmp\\x1b,\"");
    EXPECT_EQ(csvField("tab\there", true), "tab\\x09here");
}

TEST(Csv, ALineHasAllFieldsAndEndsAsTheStandardSays)
{
    const auto one = event("boiler 7", "Level, \"high\"");
    addParameters(*one, -5, 0.5, "south; roof");
    EXPECT_EQ(formatted<CMessageEvent>(FormatName::Csv, {one.get()}),
              "id,time,message_type,sensor_type,sensor,event,parameters\r\n"
              "4711,2026-11-21T20:16:00+00:00,1,9,boiler 7,\"Level, \"\"high\"\"\",count=-5;level=0.5;place=south; "
              "roof\r\n");
    CMessageCommand command;
    command.Set(2, "x", 9);
    command.CommandTime = 0;
    EXPECT_EQ(formatted<CMessageCommand>(FormatName::Csv, {&command}),
              "id,time,message_type,command_type,command,sensor,parameters\r\n"
              "0,1970-01-01T00:00:00+00:00,2,9,,x,\r\n");
    CSensor sensor;
    sensor.MessageType = SensorDead;
    EXPECT_EQ(formatted<CSensor>(FormatName::Csv, {&sensor}),
              "sensor,sensor_type,state,message_type,last_message,description\r\n"
              ",0,dead,2,1970-01-01T00:00:00+00:00,\r\n");
}

TEST(Json, EveryFieldIsExact)
{
    const auto one = event("p\xfcmp \"7\"\n\x01\x7f\x9b\\", "");
    addParameters(*one, INT_MIN, 0.1, "\xff");
    const auto document = json(*one);
    EXPECT_EQ(document["id"].GetInt(), 4711);
    EXPECT_STREQ(document["time"].GetString(), "2026-11-21T20:16:00+00:00");
    EXPECT_EQ(document["time_seconds"].GetInt64(), 1795292160);
    EXPECT_EQ(document["message_type"].GetInt(), 1);
    EXPECT_EQ(document["sensor_type"].GetInt(), 9);
    EXPECT_STREQ(document["sensor"].GetString(), "p\u00fcmp \"7\"\n\x01\x7f\xc2\x9b\\");
    EXPECT_STREQ(document["event"].GetString(), "");
    const auto &parameters = document["parameters"];
    ASSERT_EQ(parameters.Size(), 3U);
    EXPECT_STREQ(parameters[0]["name"].GetString(), "count");
    EXPECT_EQ(parameters[0]["type"].GetInt(), 1);
    EXPECT_EQ(parameters[0]["value"].GetInt(), INT_MIN);
    EXPECT_EQ(parameters[1]["value"].GetDouble(), 0.1);
    EXPECT_STREQ(parameters[2]["value"].GetString(), "\u00ff");
}

TEST(Json, NoControlCharacterStandsInALine)
{
    std::string all;
    for (int c = 1; c < 256; ++c)
        all += char(c);
    const auto one = event(all, all);
    const std::string line = formatted<CMessageEvent>(FormatName::Json, {one.get()});
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
        const auto c = static_cast<unsigned char>(line[i]);
        EXPECT_TRUE(c >= 0x20 && c != 0x7f && !(c == 0xc2 && static_cast<unsigned char>(line[i + 1]) < 0xa0)) << i;
    }
}

TEST(Json, WhatHasNoFormInJsonIsNullOrNamed)
{
    const auto one = event("x", "y");
    addParameters(*one, 0, std::numeric_limits<double>::quiet_NaN(), "");
    EXPECT_STREQ(json(*one)["parameters"][1]["value"].GetString(), "NaN");
    const double infinity = -std::numeric_limits<double>::infinity();
    std::memcpy(one->par[1].Val, &infinity, sizeof(infinity));
    EXPECT_STREQ(json(*one)["parameters"][1]["value"].GetString(), "-Infinity");
    one->par[0].LVal = 3;
    EXPECT_TRUE(json(*one)["parameters"][0]["value"].IsNull()) << "too short for its type";
    one->par[2].Type = 77;
    EXPECT_TRUE(json(*one)["parameters"][2]["value"].IsNull());
    EXPECT_EQ(json(*one)["parameters"][2]["type"].GetInt(), 77);
    CMessageEvent bare;
    const auto document = json(bare);
    EXPECT_TRUE(document["sensor"].IsNull());
    EXPECT_EQ(document["parameters"].Size(), 0U);
}

TEST(Json, DoublesComeBackBitForBit)
{
    const auto one = event("x", "y");
    for (const double value : {0.1, 1e300, -2.5e-308, 5e-324, 1.0 / 3, 123456789.123456789, -0.0}) {
        delete[] one->par;
        addParameters(*one, 0, value, "");
        EXPECT_EQ(json(*one)["parameters"][1]["value"].GetDouble(), value);
    }
}

TEST(Short, ALineHoldsWhatPeopleReadAndNoControls)
{
    const auto one = event("a\x1b[2J\nb", "Level");
    addParameters(*one, 1, 2, "x\ty");
    EXPECT_EQ(formatted<CMessageEvent>(FormatName::Short, {one.get()}),
              "4711 2026-11-21T20:16:00+00:00 analyser a\\x1b[2J\\x0ab Level count=1;level=2;place=x\\x09y\n");
}

TEST(Table, ColumnsAreAsWideAsTheirTexts)
{
    const auto one = event("p\xfcmp", "Level");
    const auto two = event("x", "Longer name");
    two->MessageID = 5;
    two->MessageType = 12;
    EXPECT_EQ(formatted<CMessageEvent>(FormatName::Table, {one.get(), two.get()}),
              "  ID  TIME                       TYPE      SENSOR  EVENT        PARAMETERS\n"
              "4711  2026-11-21T20:16:00+00:00  analyser  p\u00fcmp    Level\n"
              "   5  2026-11-21T20:16:00+00:00  12        x       Longer name\n");
}

TEST(Table, WithoutRecordsTheHeadingStands)
{
    EXPECT_EQ(formatted<CSensor>(FormatName::Table, {}), "SENSOR  TYPE  STATE  LAST MESSAGE  DESCRIPTION\n");
}

TEST(Table, ColourIsOnlyWhereItIsWanted)
{
    CSensor sensor;
    setText(sensor.SensorID, sensor.LSensorID, "a");
    sensor.MessageType = SensorDead;
    EXPECT_EQ(formatted<CSensor>(FormatName::Table, {&sensor}).find('\x1b'), std::string::npos);
    const std::string coloured = formatted<CSensor>(FormatName::Table, {&sensor}, ColourUse::Always);
    EXPECT_NE(coloured.find("\x1b[1mSENSOR"), std::string::npos);
    EXPECT_NE(coloured.find("\x1b[31mdead\x1b[0m"), std::string::npos);
}

TEST(FitWidths, TheWidestGiveFirst)
{
    using Widths = std::vector<std::size_t>;
    EXPECT_EQ(fitWidths({5, 10, 20}, 0, 2), (Widths{5, 10, 20})) << "no bounds";
    EXPECT_EQ(fitWidths({5, 10, 20}, 39, 2), (Widths{5, 10, 20})) << "just fits";
    EXPECT_EQ(fitWidths({5, 10, 20}, 38, 2), (Widths{5, 10, 19}));
    EXPECT_EQ(fitWidths({5, 10, 20}, 24, 2), (Widths{5, 7, 8}));
    EXPECT_EQ(fitWidths({5, 10, 20}, 1, 2), (Widths{4, 4, 4})) << "no less than can be read";
    EXPECT_EQ(fitWidths({2, 3}, 1, 2), (Widths{2, 3}));
    EXPECT_EQ(fitWidths({}, 5, 2), Widths{});
    EXPECT_EQ(fitWidths({100000000, 4}, 50, 2), (Widths{44, 4})) << "in few steps";
}

TEST(FitWidths, TheSumIsTheRoomWheneverThatCanBe)
{
    for (std::size_t room = 20; room < 120; ++room) {
        const auto widths = fitWidths({7, 25, 9, 40, 33}, room, 2);
        std::size_t sum = 8;
        for (const std::size_t width : widths)
            sum += width;
        EXPECT_EQ(sum, std::min<std::size_t>(std::max<std::size_t>(room, 28), 122)) << room;
    }
}
