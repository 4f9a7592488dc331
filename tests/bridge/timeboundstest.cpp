// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file What becomes of a request's times in a program whose times are narrower. */
#include "timebounds.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace
{
using namespace Calls;

constexpr auto Beyond = std::int64_t(INT_MAX) + 1;
constexpr auto Before = std::int64_t(INT_MIN) - 1;

struct BoundsCase {
    const char *name;
    TimeBounds asked;
    TimeBounds taken; ///< by a program whose times have 4 bytes
};

class BoundsOf32Bits : public testing::TestWithParam<BoundsCase>
{
protected:
    static bool areMetBy(const TimeBounds &bounds, std::int64_t time)
    {
        return (bounds.usesFirst == 0 || time >= bounds.first) && (bounds.usesLast == 0 || time <= bounds.last);
    }
};

TEST_P(BoundsOf32Bits, AreMetByTheSameTimes)
{
    const auto &[name, asked, taken] = GetParam();
    const TimeBounds got = within(INT_MIN, INT_MAX, asked);
    EXPECT_EQ(got, taken) << got.first << ' ' << got.usesFirst << ' ' << got.last << ' ' << got.usesLast;
    for (const std::int64_t time : {std::int64_t(INT_MIN), std::int64_t(INT_MIN) + 1, std::int64_t(-1), std::int64_t(0),
                                    std::int64_t(1), std::int64_t(INT_MAX) - 1, std::int64_t(INT_MAX)})
        EXPECT_EQ(areMetBy(got, time), areMetBy(asked, time)) << time;
}

INSTANTIATE_TEST_SUITE_P(
    Calls, BoundsOf32Bits,
    testing::Values(BoundsCase{"none", {0, 0, 0, 0}, {0, 0, 0, 0}},
                    BoundsCase{"within", {-5, 1, 7, -3}, {-5, 1, 7, -3}},
                    BoundsCase{"theEnds", {INT_MIN, 1, INT_MAX, 1}, {INT_MIN, 1, INT_MAX, 1}},
                    BoundsCase{"reversed", {7, 1, -5, 1}, {7, 1, -5, 1}},
                    BoundsCase{"switchedOff", {Beyond, 0, Before, 0}, {INT_MAX, 0, INT_MIN, 0}},
                    BoundsCase{"beginsAtTheLastSecond", {INT_MAX, 1, 0, 0}, {INT_MAX, 1, 0, 0}},
                    BoundsCase{"beginsBeyond", {Beyond, 2, 0, 0}, {INT_MAX, 2, INT_MAX - 1, 1}},
                    BoundsCase{"beginsBefore", {Before, 1, 0, 0}, {INT_MIN, 1, 0, 0}},
                    BoundsCase{"endsAtTheFirstSecond", {0, 0, INT_MIN, 1}, {0, 0, INT_MIN, 1}},
                    BoundsCase{"endsBefore", {0, 0, Before, 2}, {INT_MIN + 1, 1, INT_MIN, 2}},
                    BoundsCase{"endsBeyond", {0, 0, Beyond, 1}, {0, 0, INT_MAX, 1}},
                    BoundsCase{"spansAll", {Before, 1, Beyond, 1}, {INT_MIN, 1, INT_MAX, 1}},
                    BoundsCase{"reversedAroundAll", {Beyond, 1, Before, 1}, {INT_MAX, 1, INT_MAX - 1, 1}},
                    BoundsCase{"whollyBeyond", {Beyond, 1, Beyond + 9, 1}, {INT_MAX, 1, INT_MAX - 1, 1}},
                    BoundsCase{"whollyBefore", {Before - 9, 1, Before, 1}, {INT_MIN + 1, 1, INT_MIN, 1}},
                    BoundsCase{"reversedBeyond", {Beyond, 1, 0, 1}, {INT_MAX, 1, INT_MAX - 1, 1}},
                    BoundsCase{"reversedBefore", {0, 1, Before, 1}, {INT_MIN + 1, 1, INT_MIN, 1}},
                    BoundsCase{"endsBeforeWithABeginSwitchedOff", {Beyond, 0, Before, 1}, {INT_MIN + 1, 1, INT_MIN, 1}},
                    BoundsCase{
                        "beginsBeyondWithAnEndSwitchedOff", {Beyond, 1, Before, 0}, {INT_MAX, 1, INT_MAX - 1, 1}},
                    BoundsCase{"theFarthest", {INT64_MIN, 1, INT64_MAX, 1}, {INT_MIN, 1, INT_MAX, 1}}),
    [](const auto &instance) { return std::string(instance.param.name); });

TEST(BoundsOf64Bits, AreTakenAsTheyAre)
{
    for (const TimeBounds &bounds :
         {TimeBounds{Beyond, 1, Before, 1}, TimeBounds{Beyond, 0, 0, 1}, TimeBounds{INT64_MAX, 1, INT64_MIN, 1}})
        EXPECT_EQ(within(INT64_MIN, INT64_MAX, bounds), bounds);
}
} // namespace
