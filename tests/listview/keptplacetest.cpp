// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "keptplace.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace
{
/** Rows that come, or go for a negative count; `rows` are there before. */
struct Change {
    int first;
    int count;
};

struct Case {
    const char *name;
    KeptPlace::Sight sight;
    int rows;
    std::vector<Change> changes;
    int moved;
    bool toEnd;
};

void PrintTo(const Case &c, std::ostream *out)
{
    *out << c.name;
}

class KeptPlaceTable : public testing::TestWithParam<Case>
{
};

TEST_P(KeptPlaceTable, isWhereItBelongs)
{
    const Case &c = GetParam();
    KeptPlace place;
    int rows = c.rows;
    for (const Change &change : c.changes) {
        rows += change.count;
        if (change.count > 0)
            place.insert(c.sight, change.first, change.count, rows);
        else
            place.remove(c.sight, change.first, -change.count);
    }
    EXPECT_EQ(place.moved(), c.moved);
    EXPECT_EQ(place.toEnd(), c.toEnd);
    place.clear();
    EXPECT_EQ(place.moved(), 0);
    EXPECT_FALSE(place.toEnd());
}

constexpr KeptPlace::Sight Top{0, true, false};
constexpr KeptPlace::Sight Middle{500, false, false};
constexpr KeptPlace::Sight End{980, false, true};
constexpr KeptPlace::Sight AllInSight{0, true, true};

const Case Cases[] = {
    {"NothingHappens", Middle, 1000, {}, 0, false},
    {"AtTheTopItStays", Top, 1000, {{0, 50}, {700, 3}}, 0, false},
    {"InTheMiddleRowsBelowMoveNothing", Middle, 1000, {{1000, 50}, {501, 1}}, 0, false},
    {"InTheMiddleRowsAboveMoveIt", Middle, 1000, {{0, 30}}, 30, false},
    {"RowsRightAboveTheTopRowMoveIt", Middle, 1000, {{500, 2}}, 2, false},
    {"RunsFromTheLastToTheFirst", Middle, 1000, {{1000, 1}, {510, 1}, {490, 1}, {10, 2}}, 3, false},
    {"RunsFromTheFirstToTheLast", Middle, 1000, {{10, 2}, {492, 1}, {503, 4}, {520, 1}}, 7, false},
    {"RowsAboveGo", Middle, 1000, {{3, -1}}, -1, false},
    {"RowsBelowGo", Middle, 1000, {{500, -1}, {900, -5}}, 0, false},
    {"RowsRoundTheTopRowGo", Middle, 1000, {{490, -20}}, -10, false},
    {"RowsComeAndGo", Middle, 1000, {{0, 30}, {5, -10}}, 20, false},
    {"AtTheEndItFollows", End, 1000, {{1000, 50}}, 0, true},
    {"AtTheEndRowsAboveMoveIt", End, 1000, {{3, 50}}, 50, false},
    {"AtTheEndBothEndIt", End, 1000, {{1000, 5}, {3, 50}}, 50, true},
    {"AShortListShowsItsEnd", AllInSight, 3, {{3, 200}}, 0, true},
    {"AShortListStaysAtItsTop", AllInSight, 3, {{0, 200}}, 0, false},
};

INSTANTIATE_TEST_SUITE_P(Rows, KeptPlaceTable, testing::ValuesIn(Cases),
                         [](const auto &test) { return std::string(test.param.name); });
} // namespace
