// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "filling.h"

#include <climits>
#include <gtest/gtest.h>

TEST(Filling, valuesStandWhereTheTextHasTheirPlaces)
{
    EXPECT_EQ(filled("%2 of %1, %2", "a", std::string("b")), "b of a, b");
    EXPECT_EQ(filled("%9%1", 1, 2, 3, 4, 5, 6, 7, 8, 9), "91");
    EXPECT_EQ(filled("nothing", "a"), "nothing");
}

TEST(Filling, whatIsNoPlaceStays)
{
    EXPECT_EQ(filled("%1 % %0 %2 %a %%1 %", 50), "50 % %0 %2 %a %50 %");
    EXPECT_EQ(filled("", 1), "");
}

TEST(Filling, aValueIsNotLookedThroughForPlaces)
{
    EXPECT_EQ(filled("%1 %2", "%2", "%1"), "%2 %1");
}

TEST(Filling, numbersAreWrittenAsInC)
{
    EXPECT_EQ(filled("%1 %2 %3", INT_MIN, LLONG_MAX, sizeof(char)), "-2147483648 9223372036854775807 1");
    EXPECT_EQ(filled("%1 %2 %3", 0.5, 1e6, 30.0), "0.5 1e+06 30");
}

TEST(Filling, aLineOfHelpIsAsWideAsItLooks)
{
    EXPECT_EQ(helpEntry("имя", 6, "one\ntwo"), "  имя   one\n        two\n");
    EXPECT_EQ(helpEntry("--timeout", 6, "one\ntwo"), "  --timeout  one\n        two\n");
}

TEST(Filling, widthsAreThoseOfCharacters)
{
    EXPECT_EQ(columnCount(""), 0U);
    EXPECT_EQ(columnCount("датчики"), 7U);
    EXPECT_EQ(padded("état", 6) + "|", "état  |");
    EXPECT_EQ(padded("состояние", 4) + "|", "состояние|");
}
