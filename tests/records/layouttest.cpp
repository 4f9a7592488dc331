// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Holds docs/record-layout.md against the records as they are compiled here.
#include "Messages.h"
#include <obrim/recordlayout.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace
{
struct Field {
    std::string name;
    std::size_t offset;
    std::size_t width;
};
bool operator==(const Field &a, const Field &b)
{
    return a.name == b.name && a.offset == b.offset && a.width == b.width;
}
std::ostream &operator<<(std::ostream &out, const Field &field)
{
    return out << field.name << " at " << field.offset << ", " << field.width << " bytes";
}

struct Layout {
    std::size_t size = 0;
    std::vector<Field> fields;
};
using Layouts = std::map<std::string, Layout>;

/** The page's tables, for 4-byte or for 8-byte pointers and times. */
Layouts documented(bool with8)
{
    const std::regex heading("## `(\\w+)`: .*, (\\d+) / (\\d+) bytes");
    const std::regex row("\\| (\\d+) \\| (\\d+) \\| (\\d+) \\| (\\d+) \\| `(\\w+)` \\|.*");
    Layouts layouts;
    std::string record;
    std::ifstream page(OBRIM_LAYOUT_PAGE);
    for (std::string line; std::getline(page, line);) {
        std::smatch match;
        if (std::regex_match(line, match, heading)) {
            record = match[1];
            layouts[record].size = std::stoul(match[with8 ? 3 : 2]);
        } else if (std::regex_match(line, match, row)) {
            layouts[record].fields.push_back(
                {match[5], std::stoul(match[with8 ? 3 : 1]), std::stoul(match[with8 ? 4 : 2])});
        }
    }
    return layouts;
}

struct CompiledField {
    const char *record;
    std::size_t size;
    Field field;
};
#define FIELD(record, name)                                                                                            \
    {                                                                                                                  \
        #record, sizeof(record),                                                                                       \
        {                                                                                                              \
            #name, offsetof(record, name), sizeof(record::name)                                                        \
        }                                                                                                              \
    }
const CompiledField CompiledFields[] = {
    FIELD(CMessageEventParam, Type),
    FIELD(CMessageEventParam, Name),
    FIELD(CMessageEventParam, LName),
    FIELD(CMessageEventParam, Val),
    FIELD(CMessageEventParam, LVal),
    FIELD(CMessageEvent, MessageType),
    FIELD(CMessageEvent, SensorID),
    FIELD(CMessageEvent, LSensorID),
    FIELD(CMessageEvent, MessageID),
    FIELD(CMessageEvent, SensorType),
    FIELD(CMessageEvent, EventName),
    FIELD(CMessageEvent, LEventName),
    FIELD(CMessageEvent, EventTime),
    FIELD(CMessageEvent, ParNum),
    FIELD(CMessageEvent, par),
    FIELD(CMessageCommand, MessageType),
    FIELD(CMessageCommand, SensorID),
    FIELD(CMessageCommand, LSensorID),
    FIELD(CMessageCommand, CommandID),
    FIELD(CMessageCommand, CommandType),
    FIELD(CMessageCommand, CommandTime),
    FIELD(CMessageCommand, ParNum),
    FIELD(CMessageCommand, par),
    FIELD(CSensor, SensorType),
    FIELD(CSensor, SensorID),
    FIELD(CSensor, LSensorID),
    FIELD(CSensor, Description),
    FIELD(CSensor, LDescription),
    FIELD(CSensor, MessageType),
    FIELD(CSensor, EventTime),
    FIELD(CSensor, Status),
    FIELD(CMessageKeepAlive, MessageType),
    FIELD(CMessageKeepAlive, SensorID),
    FIELD(CMessageKeepAlive, LSensorID),
    FIELD(CMessageKeepAlive, SensorType),
    FIELD(CMessageKeepAlive, EventTime),
    FIELD(CMessageEventRequest, NMax),
    FIELD(CMessageEventRequest, TakeFirst1_Last0),
    FIELD(CMessageEventRequest, MessageID0),
    FIELD(CMessageEventRequest, MessageID1),
    FIELD(CMessageEventRequest, UseMessageID0),
    FIELD(CMessageEventRequest, UseMessageID1),
    FIELD(CMessageEventRequest, MessageType),
    FIELD(CMessageEventRequest, UseMessageType),
    FIELD(CMessageEventRequest, SensorID),
    FIELD(CMessageEventRequest, LSensorID),
    FIELD(CMessageEventRequest, UseSensorID),
    FIELD(CMessageEventRequest, SensorType),
    FIELD(CMessageEventRequest, UseSensorType),
    FIELD(CMessageEventRequest, EventName),
    FIELD(CMessageEventRequest, LEventName),
    FIELD(CMessageEventRequest, UseEventName),
    FIELD(CMessageEventRequest, EventTime0),
    FIELD(CMessageEventRequest, UseEventTime0),
    FIELD(CMessageEventRequest, EventTime1),
    FIELD(CMessageEventRequest, UseEventTime1),
    FIELD(CMessageCommandRequest, NMax),
    FIELD(CMessageCommandRequest, TakeFirst1_Last0),
    FIELD(CMessageCommandRequest, MessageType),
    FIELD(CMessageCommandRequest, UseMessageType),
    FIELD(CMessageCommandRequest, SensorID),
    FIELD(CMessageCommandRequest, LSensorID),
    FIELD(CMessageCommandRequest, UseSensorID),
    FIELD(CMessageCommandRequest, CommandID0),
    FIELD(CMessageCommandRequest, CommandID1),
    FIELD(CMessageCommandRequest, UseCommandID0),
    FIELD(CMessageCommandRequest, UseCommandID1),
    FIELD(CMessageCommandRequest, CommandType),
    FIELD(CMessageCommandRequest, UseCommandType),
    FIELD(CMessageCommandRequest, CommandTime0),
    FIELD(CMessageCommandRequest, UseCommandTime0),
    FIELD(CMessageCommandRequest, CommandTime1),
    FIELD(CMessageCommandRequest, UseCommandTime1),
};
#undef FIELD

Layouts compiled()
{
    Layouts layouts;
    for (const CompiledField &entry : CompiledFields) {
        layouts[entry.record].size = entry.size;
        layouts[entry.record].fields.push_back(entry.field);
    }
    return layouts;
}
} // namespace

TEST(Layout, ThePageStatesTheRecordsAsCompiled)
{
    const Layouts page = documented(sizeof(void *) == 8);
    const Layouts records = compiled();
    ASSERT_EQ(page.size(), records.size());
    for (const auto &[name, layout] : records) {
        ASSERT_EQ(page.count(name), 1u) << name;
        EXPECT_EQ(page.at(name).size, layout.size) << name;
        EXPECT_EQ(page.at(name).fields, layout.fields) << name;
    }
}

TEST(Layout, NothingIsPaddedWithFourBytePointers)
{
    const Layouts page = documented(false);
    ASSERT_EQ(page.size(), 7u);
    for (const auto &[name, layout] : page) {
        std::size_t end = 0;
        for (const Field &field : layout.fields) {
            EXPECT_EQ(field.offset, end) << name << "::" << field.name;
            EXPECT_EQ(field.width, 4u) << name << "::" << field.name;
            end += field.width;
        }
        EXPECT_EQ(layout.size, end) << name;
    }
}

TEST(Layout, EveryFieldLiesWithinItsRecordAndBehindTheOneBefore)
{
    const Layouts page = documented(true);
    ASSERT_EQ(page.size(), 7u);
    for (const auto &[name, layout] : page) {
        std::size_t end = 0;
        for (const Field &field : layout.fields) {
            EXPECT_GE(field.offset, end) << name << "::" << field.name;
            EXPECT_EQ(field.offset % field.width, 0u) << name << "::" << field.name;
            end = field.offset + field.width;
        }
        EXPECT_GE(layout.size, end) << name;
        EXPECT_LT(layout.size - end, 8u) << name;
    }
}
