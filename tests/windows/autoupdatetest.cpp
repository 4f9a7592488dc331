// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "timepresets.h"

#include <climits>
#include <gtest/gtest.h>

TEST(AutoUpdateInterval, noAutoUpdateIsOff)
{
    EXPECT_EQ(autoUpdateInterval(0), 0);
}

TEST(AutoUpdateInterval, everyEntryHasItsInterval)
{
    EXPECT_EQ(autoUpdateInterval(1), 2000);
    EXPECT_EQ(autoUpdateInterval(2), 5000);
    EXPECT_EQ(autoUpdateInterval(3), 60000);
    EXPECT_EQ(autoUpdateInterval(4), 600000);
}

TEST(AutoUpdateInterval, otherPositiveIndicesTickEverySecond)
{
    EXPECT_EQ(autoUpdateInterval(5), 1000);
    EXPECT_EQ(autoUpdateInterval(INT_MAX), 1000);
}

TEST(AutoUpdateInterval, negativeIndicesAreOff)
{
    EXPECT_EQ(autoUpdateInterval(-1), 0);
    EXPECT_EQ(autoUpdateInterval(INT_MIN), 0);
}
