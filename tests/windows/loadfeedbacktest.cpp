// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "loadfeedback.h"

#include <climits>
#include <gtest/gtest.h>

TEST(PointerWaitsAtOnce, aFirstLoadMayTakeLong)
{
    EXPECT_TRUE(pointerWaitsAtOnce(0, {}));
    EXPECT_TRUE(pointerWaitsAtOnce(100, {}));
}

TEST(PointerWaitsAtOnce, afterAnyLoadItGoesByWhatThatTookAndAsked)
{
    const struct {
        int asked;
        LastLoad last;
        bool waits;
    } cases[] = {
        {100, {100, 0}, false},
        {100, {100, 299}, false},
        {100, {100, 300}, true},
        {100, {1000000, 5000}, true},
        {99999, {100, 1}, false},
        {100000, {100, 1}, true},
        {1000000, {999999, 1}, true},
        // As many took no time: there are not so many.
        {1000000, {1000000, 1}, false},
        {100000, {1000000, 1}, false},
        {INT_MAX, {INT_MAX, 1}, false},
        {-1, {0, 0}, false},
        {0, {INT_MIN, 0}, false},
    };
    for (const auto &one : cases)
        EXPECT_EQ(pointerWaitsAtOnce(one.asked, one.last), one.waits)
            << one.asked << " after " << one.last.asked << " in " << one.last.milliseconds << " ms";
}

TEST(ProgressIsDue, aShortLoadTellsNothing)
{
    EXPECT_FALSE(progressIsDue(0, 0));
    EXPECT_FALSE(progressIsDue(299, 299));
}

TEST(ProgressIsDue, aLongOneTellsTenTimesASecond)
{
    EXPECT_TRUE(progressIsDue(300, 300));
    EXPECT_FALSE(progressIsDue(399, 99));
    EXPECT_TRUE(progressIsDue(400, 100));
    EXPECT_TRUE(progressIsDue(INT_MAX, INT_MAX));
}
