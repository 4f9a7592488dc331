// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "columnscaling.h"

#include <gmock/gmock.h>
#include <numeric>
#include <string>

namespace
{
using Ints = std::vector<int>;

struct Case {
    const char *name;
    Ints widths;
    int room;
    Ints expected;
};

void PrintTo(const Case &c, std::ostream *out)
{
    *out << c.name;
}

class ColumnScalingTable : public testing::TestWithParam<Case>
{
};

TEST_P(ColumnScalingTable, fillsTheRoom)
{
    EXPECT_EQ(ColumnScaling().scaled(GetParam().widths, GetParam().room), GetParam().expected);
}

const Case Cases[] = {
    {"ThatFill", {80, 60, 60}, 200, {80, 60, 60}},
    {"ThatAreTooNarrow", {80, 60, 60}, 300, {120, 90, 90}},
    {"ThatAreTooWide", {80, 60, 60}, 100, {40, 30, 30}},
    // 33.3 and 66.7 round to 33 and 67.
    {"RoundedAtTheirEdges", {50, 50, 50}, 100, {33, 34, 33}},
    {"OneColumn", {17}, 300, {300}},
    {"NoColumns", {}, 300, {}},
    {"NoRoomLeavesThem", {80, 60}, 0, {80, 60}},
    {"NegativeRoomLeavesThem", {80, 60}, -5, {80, 60}},
    // The second one's share is less than a pixel, and the rest gives way.
    {"NoneNarrowerThanTwo", {500, 2, 498}, 100, {50, 2, 48}},
    {"HiddenOnesGrowInProportion", {99, 2, 99}, 400, {198, 4, 198}},
};

INSTANTIATE_TEST_SUITE_P(Columns, ColumnScalingTable, testing::ValuesIn(Cases),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(ColumnScalingStepByStep, addsUpNoRoundings)
{
    ColumnScaling scaling;
    Ints widths{80, 60, 7};
    for (int room = 147; room > 40; --room)
        widths = scaling.scaled(widths, room);
    for (int room = 40; room <= 1470; ++room) {
        widths = scaling.scaled(widths, room);
        EXPECT_EQ(std::accumulate(widths.begin(), widths.end(), 0), room);
    }
    EXPECT_EQ(widths, (Ints{800, 600, 70}));
}

TEST(ColumnScalingStepByStep, startsOverFromWhatSomebodyElseSet)
{
    ColumnScaling scaling;
    Ints widths = scaling.scaled({80, 60}, 70);
    EXPECT_EQ(widths, (Ints{40, 30}));
    widths[0] = 10;
    EXPECT_EQ(scaling.scaled(widths, 80), (Ints{20, 60}));
    EXPECT_EQ(scaling.scaled({20, 60, 80}, 80), (Ints{10, 30, 40}));
}
} // namespace
