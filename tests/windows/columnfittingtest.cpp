// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "columnfitting.h"

#include <climits>
#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace
{
using Ints = std::vector<int>;

struct FittingCase {
    const char *name;
    int listWidth;
    Ints textWidths;
    std::string visible; ///< a column a letter: v visible, h hidden
    Ints widths;
};

void PrintTo(const FittingCase &c, std::ostream *out)
{
    *out << c.name;
}

std::vector<FittedColumn> columnsOf(const FittingCase &c)
{
    std::vector<FittedColumn> columns(c.textWidths.size());
    for (size_t i = 0; i < columns.size(); ++i) {
        columns[i].textWidth = c.textWidths[i];
        columns[i].visible = c.visible[i] == 'v';
    }
    return columns;
}

Ints widthsOf(const std::vector<FittedColumn> &columns)
{
    Ints widths;
    for (const FittedColumn &column : columns)
        widths.push_back(column.width);
    return widths;
}

class ColumnFitting : public testing::TestWithParam<FittingCase>
{
};

TEST_P(ColumnFitting, givesTheWidthsWorkedOutByHand)
{
    auto columns = columnsOf(GetParam());
    EXPECT_TRUE(fitColumns(GetParam().listWidth, columns));
    EXPECT_EQ(widthsOf(columns), GetParam().widths);
}

// clang-format off
const FittingCase Cases[] = {
    // Shares: 400/3 = 133 is more than any text needs.
    {"EverythingFits", 400, {50, 80, 60}, "vvv", {50, 80, 60}},
    {"EmptyList", 300, {3, 3, 3}, "vvv", {3, 3, 3}},
    // 388/3 = 129 fixes 53 and 63; 388 - 116 is left.
    {"OneVeryLongColumn", 388, {53, 903, 63}, "vvv", {53, 272, 63}},
    {"OneEndlessColumn", 300, {INT_MAX, 10, 10}, "vvv", {280, 10, 10}},
    {"NothingFits", 300, {200, 200, 200}, "vvv", {100, 100, 100}},
    {"TruncationLeavesPixels", 302, {200, 200, 200}, "vvv", {100, 100, 100}},
    // 301/3 = 100 fixes 50; 251/2 = 125, one pixel stays over.
    {"TruncationAfterAFixedColumn", 301, {50, 500, 500}, "vvv", {50, 125, 125}},
    // (300 - 2)/2.
    {"MiddleHidden", 300, {200, 500, 200}, "vhv", {149, 2, 149}},
    // (200 - 2)/2 = 99 fixes 50; 200 - 52 is left.
    {"FirstHidden", 200, {999, 50, 999}, "hvv", {2, 50, 148}},
    {"HiddenTextCountsNothing", 200, {50, 9000, 60}, "vhv", {50, 2, 60}},
    {"OneVisibleFits", 300, {40, 70, 70}, "vhh", {40, 2, 2}},
    {"OneVisibleTooLong", 300, {900, 70, 70}, "vhh", {296, 2, 2}},
    // 300/3 = 100 fixes 20 only: 100 is not more than 100. Then 280/2 = 140
    // fixes 100, and 180 is left.
    {"ShareEqualToTheTextDoesNotFix", 300, {100, 20, 500}, "vvv", {100, 20, 180}},
    // 300/3 = 100 fixes 99; 201/2 = 100.
    {"TextOneBelowTheShare", 300, {99, 100, 100}, "vvv", {99, 100, 100}},
    // 600/6 = 100 fixes 30; 570/5 = 114 fixes 110; 460/4 = 115 fixes no more.
    {"SecondPassFixesMore", 600, {30, 110, 130, 160, 400, 700}, "vvvvvv", {30, 110, 115, 115, 115, 115}},
    // 100 fixes 10; 590/5 = 118 fixes 100; 490/4 = 122 fixes 118; 372/3 = 124
    // fixes 122. A fifth pass would fix 124 at 250/2 = 125; there is none.
    {"NoFifthPass", 600, {10, 100, 118, 122, 124, 500}, "vvvvvv", {10, 100, 118, 122, 125, 125}},
    // 300/6 = 50 fixes 30 and 40; 230/4 = 57.
    {"SixColumns", 300, {30, 90, 40, 120, 170, 250}, "vvvvvv", {30, 57, 40, 57, 57, 57}},
    // (100 - 18)/1.
    {"NineOfTenHidden", 100, {9, 9, 9, 9, 9, 9, 9, 9, 9, 200}, "hhhhhhhhhv", {2, 2, 2, 2, 2, 2, 2, 2, 2, 82}},
    {"SingleColumnFits", 100, {40}, "v", {40}},
    {"SingleColumnTooLong", 100, {400}, "v", {100}},
    {"NoWidthAtAll", 0, {30, 30, 30}, "vvv", {0, 0, 0}},
    {"FewerPixelsThanColumns", 2, {30, 30, 30}, "vvv", {0, 0, 0}},
    // (4 - 4)/1.
    {"HiddenColumnsTakeAll", 4, {30, 30, 30}, "hvh", {2, 0, 2}},
    // (3 - 4)/1.
    {"ListNarrowerThanFixedColumns", 3, {30, 30, 30}, "vhh", {-1, 2, 2}},
    // (1 - 6)/3 = -5/3, towards zero.
    {"NegativeShareTruncatesTowardsZero", 1, {30, 30, 30, 30, 30, 30}, "vvvhhh", {-1, -1, -1, 2, 2, 2}},
    // (0 - 10)/1.
    {"NegativeShare", 0, {30, 30, 30, 30, 30, 30}, "vhhhhh", {-10, 2, 2, 2, 2, 2}},
    {"WidestListThereIs", INT_MAX, {INT_MAX, INT_MAX}, "vv", {INT_MAX / 2, INT_MAX / 2}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Table, ColumnFitting, testing::ValuesIn(Cases),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(ColumnFittingWithoutVisibleColumns, touchesNothing)
{
    std::vector<FittedColumn> columns(3);
    for (FittedColumn &column : columns) {
        column.visible = false;
        column.width = 77;
    }
    EXPECT_FALSE(fitColumns(300, columns));
    EXPECT_EQ(widthsOf(columns), (Ints{77, 77, 77}));
}

TEST(ColumnFittingWithoutVisibleColumns, noColumnsAtAll)
{
    std::vector<FittedColumn> columns;
    EXPECT_FALSE(fitColumns(300, columns));
}

TEST(ColumnFittingPass, shareThatFallsBelowAFixedColumnLeavesItFixedAtTheShare)
{
    std::vector<FittedColumn> columns(2);
    columns[0].textWidth = 50;
    columns[1].textWidth = 500;

    FixedColumns fixed = fitPass(columns, 80);
    EXPECT_EQ(fixed.count, 1);
    EXPECT_EQ(fixed.width, 50);

    fixed = fitPass(columns, 40);
    EXPECT_EQ(fixed.count, 1);
    EXPECT_EQ(fixed.width, 40);
    EXPECT_TRUE(columns[0].fixed);
    EXPECT_EQ(widthsOf(columns), (Ints{40, 40}));
}

TEST(ColumnFittingPass, fixedColumnKeepsItsTextAtALargerShare)
{
    std::vector<FittedColumn> columns(2);
    columns[0].textWidth = 50;
    columns[1].textWidth = 500;
    fitPass(columns, 80);
    const FixedColumns fixed = fitPass(columns, 300);
    EXPECT_EQ(fixed.count, 1);
    EXPECT_EQ(widthsOf(columns), (Ints{50, 300}));
}

TEST(ColumnFittingPass, hiddenColumnIsCountedAndKeepsItsWidth)
{
    std::vector<FittedColumn> columns(2);
    columns[0].visible = false;
    columns[0].fixed = true;
    columns[0].width = HiddenColumnWidth;
    columns[1].textWidth = 30;
    const FixedColumns fixed = fitPass(columns, 100);
    EXPECT_EQ(fixed.count, 2);
    EXPECT_EQ(fixed.width, 32);
}
} // namespace
