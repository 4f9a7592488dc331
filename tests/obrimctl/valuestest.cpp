// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "values.h"
#include "bytetext.h"
#include "failure.h"
#include "recordfilter.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>

namespace
{
/** What a reader says of a text that it refuses. */
std::string refusal(const std::function<void()> &read)
{
    try {
        read();
    } catch (const UsageError &error) {
        return error.what();
    }
    return "taken";
}

std::string idsText(const char *text)
{
    const IdRange ids = readIds(text);
    return std::to_string(ids.low) + ".." + std::to_string(ids.high);
}
} // namespace

TEST(Values, ALimitIsANumberOrAll)
{
    EXPECT_EQ(readLimit("0"), 0);
    EXPECT_EQ(readLimit("2147483647"), INT_MAX);
    EXPECT_EQ(readLimit("all"), std::nullopt);
    for (const char *text : {"", "-1", "ALL", "1x", " 1", "2147483648", "1e3"}) {
        EXPECT_EQ(refusal([&] { readLimit(text); }),
                  std::string("-n cannot be '") + text + "': a number of records or 'all' is expected");
    }
}

TEST(Values, IdentifiersAreOneOrARange)
{
    EXPECT_EQ(idsText("7"), "7..7");
    EXPECT_EQ(idsText("5..9"), "5..9");
    EXPECT_EQ(idsText("5.."), "5..2147483647");
    EXPECT_EQ(idsText("..9"), "-2147483648..9");
    EXPECT_EQ(idsText("-5..-3"), "-5..-3");
    for (const char *text : {"", "..", "9..5", "x", "5...9", "5..9..", "2147483648", "1,2", "5 ..9"})
        EXPECT_EQ(refusal([&] { readIds(text); }).rfind("--id cannot be '" + std::string(text) + "': ", 0), 0U) << text;
}

TEST(Values, CodesAreWordsOrNumbers)
{
    EXPECT_EQ(readCode("-t", "receiver", SensorKinds), 3);
    EXPECT_EQ(readCode("-t", "-17", SensorKinds), -17);
    EXPECT_EQ(readCode("-t", "dead", Livenesses), SensorDead);
    EXPECT_EQ(refusal([] { readCode("--type", "Kill", Orders); }),
              "--type cannot be 'Kill': start, stop, restart, kill, or a number is expected");
    EXPECT_EQ(refusal([] { readCode("--message-type", "", {}); }),
              "--message-type cannot be '': or a number is expected");
}

TEST(Values, SecondsLieInARange)
{
    EXPECT_EQ(readSeconds("--wait", "2.5", 0, 10), 2.5);
    EXPECT_EQ(readSeconds("--wait", "0", 0, 10), 0);
    for (const char *text : {"", "-1", "nan", "inf", "1s", "11", "1e99"}) {
        EXPECT_EQ(refusal([&] { readSeconds("--wait", text, 0, 10); }),
                  std::string("--wait cannot be '") + text + "': seconds from 0 to 10 are expected");
    }
}

TEST(Values, WholeNumbersLieInARange)
{
    EXPECT_EQ(readInteger("an identifier", "-5", INT_MIN, INT_MAX), -5);
    EXPECT_EQ(refusal([] { readInteger("an identifier", "5.", 0, 9); }),
              "an identifier cannot be '5.': a whole number from 0 to 9 is expected");
}

TEST(Values, AMaskIsLatin1WithinTheMatchersBounds)
{
    EXPECT_EQ(readMask("--sensor", "p\u00fcmp*"), "p\xfcmp*");
    EXPECT_EQ(readMask("--sensor", ""), "");
    EXPECT_EQ(readMask("--sensor", std::string(1023, 'x')).size(), 1023U);
    EXPECT_EQ(refusal([] { readMask("--sensor", std::string(1024, 'x')); }),
              "the mask of --sensor has 1024 characters, and more than 1023 match nothing");
    EXPECT_EQ(refusal([] { readMask("--sensor", std::string(100, '?')); }),
              "the mask of --sensor has 100 wildcards, and more than 99 match nothing");
    EXPECT_EQ(readMask("--sensor", std::string(99, '?')).size(), 99U);
    EXPECT_EQ(refusal([] { readMask("--event", "*" + std::string(256, 'x')); }),
              "the mask of --event has 256 characters in a row without a wildcard, and more than 255 match nothing");
    EXPECT_EQ(refusal([] { readMask("--event", "\u4e2d"); }),
              "--event '\u4e2d' has a letter that no record can have: they are kept in Latin-1");
    EXPECT_EQ(refusal([] { readMask("--event", "a\xff\x1b"); }),
              "--event 'a\\xff\\x1b' has a letter that no record can have: they are kept in Latin-1");
    EXPECT_EQ(refusal([] { readMask("--event", "\xc3"); }),
              "--event '\\xc3' has a letter that no record can have: they are kept in Latin-1");
}

TEST(ByteText, EveryByteOfLatin1BecomesACharacterAndComesBack)
{
    std::string all;
    for (int c = 1; c < 256; ++c)
        all += char(c);
    std::string utf8;
    appendUtf8(utf8, all);
    EXPECT_EQ(utf8.size(), 127U + 128 * 2);
    EXPECT_EQ(toLatin1(utf8, "text"), all);
}

TEST(ByteText, ControlCharactersAreVisibleAndTheRestIsUtf8)
{
    EXPECT_EQ(visible("p\xfcmp\x1b[2J\n\x9b"), "p\u00fcmp\\x1b[2J\\x0a\\xc2\\x9b");
}
