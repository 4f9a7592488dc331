// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "WCompare.h"
#include "plainwildcard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace
{
struct Parts {
    std::vector<std::string> stretches;
    std::vector<int> lengths;
};

Parts captured()
{
    char(*parts)[100][256] = nullptr;
    int *lengths = nullptr;
    int n = -1;
    WCompare_GetParts(parts, lengths, n);
    Parts result;
    for (int i = 0; i < n; ++i) {
        result.stretches.emplace_back((*parts)[i]);
        result.lengths.push_back(lengths[i]);
    }
    return result;
}

std::string repeated(const std::string &text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

/** Holds the matcher against the transcription, both with the state that the pairs before left. */
class Comparison
{
public:
    Comparison()
    {
        // A failure leaves no split: from here on both start alike.
        WCompare("a", "b*");
    }

    ::testing::AssertionResult agree(const std::string &subject, const std::string &pattern)
    {
        if (const auto result = agreeOn(subject, pattern, false); !result)
            return result;
        return agreeOn(subject, pattern, true);
    }

private:
    ::testing::AssertionResult agreeOn(const std::string &subject, const std::string &pattern, bool noCase)
    {
        const long long before = WCompare_Counters().calls;
        const int result =
            noCase ? WCompareNoCase(subject.c_str(), pattern.c_str()) : WCompare(subject.c_str(), pattern.c_str());
        const int expected = noCase ? m_plain.compareNoCase(subject.c_str(), pattern.c_str())
                                    : m_plain.compare(subject.c_str(), pattern.c_str());
        const Parts parts = captured();
        const auto failure = [&] {
            return ::testing::AssertionFailure() << '"' << subject << "\", \"" << pattern << "\": ";
        };
        if (result != expected)
            return failure() << result << ", not " << expected;
        if (parts.stretches != m_plain.stretches() || parts.lengths != m_plain.lengths()) {
            return failure() << "captured " << ::testing::PrintToString(parts.stretches) << ", not "
                             << ::testing::PrintToString(m_plain.stretches());
        }
        const WCompareCounters &counters = WCompare_Counters();
        if (counters.calls != std::min<long long>(before + m_plain.calls(), INT_MAX))
            return failure() << counters.calls - before << " calls, not " << m_plain.calls();
        if (counters.depth != 1 || counters.deepest != m_plain.deepest())
            return failure() << "depth " << counters.depth << ", deepest " << counters.deepest << ", not "
                             << m_plain.deepest();
        return ::testing::AssertionSuccess();
    }

    PlainWildcard m_plain;
};

/** Calls `action` with every text of up to `length` characters of `alphabet`. */
template <typename Action> void everyText(const std::string &alphabet, int length, std::string &text, Action &&action)
{
    action(text);
    if (length == 0)
        return;
    for (const char c : alphabet) {
        text.push_back(c);
        everyText(alphabet, length - 1, text, action);
        text.pop_back();
    }
}

/** The seed of the random tests: OBRIM_SEED when set, else a fresh one. Printed, so that a failure can be repeated. */
unsigned int printedSeed()
{
    const char *wanted = std::getenv("OBRIM_SEED");
    const unsigned int seed = wanted ? unsigned(std::strtoul(wanted, nullptr, 10)) : std::random_device()();
    std::printf("OBRIM_SEED=%u\n", seed);
    return seed;
}

class RandomTexts
{
public:
    explicit RandomTexts(unsigned int seed)
        : m_engine(seed)
    {
    }

    std::string text(const std::string &alphabet, int maxLength)
    {
        std::string result(number(maxLength + 1), ' ');
        for (char &c : result)
            c = alphabet[number(int(alphabet.size()))];
        return result;
    }

    std::string meta()
    {
        return std::string(1, "*?+"[number(3)]);
    }

    std::size_t number(int below)
    {
        return m_engine() % std::size_t(below);
    }

private:
    std::mt19937 m_engine;
};
} // namespace

TEST(Lowering, LowersOnlyAsciiLetters)
{
    std::string all;
    for (int c = 1; c < 256; ++c)
        all.push_back(char(c));
    std::string lowered = all;
    strlwr_win(lowered.data());
    for (std::size_t i = 0; i < all.size(); ++i) {
        const bool letter = all[i] >= 'A' && all[i] <= 'Z';
        EXPECT_EQ(lowered[i], letter ? char(all[i] + 32) : all[i]) << i + 1;
    }
}

TEST(Lowering, OfNullDoesNothing)
{
    strlwr_win(nullptr);
    char empty[] = "";
    strlwr_win(empty);
    EXPECT_STREQ(empty, "");
}

TEST(Wildcards, BothTextsAreLowered)
{
    EXPECT_EQ(WCompare("Sensor1", "sensor1"), 1);
    EXPECT_EQ(WCompare("sensor1", "SENSOR1"), 1);
    EXPECT_EQ(WCompareNoCase("Sensor1", "sENSOR1"), 1);
    EXPECT_EQ(WCompare("SENSOR1", "sens*"), 1);
    EXPECT_EQ(WCompare("sensor1", "SENS*"), 1);
}

TEST(Wildcards, QuestionMarkIsExactlyOneCharacter)
{
    EXPECT_EQ(WCompare("ab", "a?"), 1);
    EXPECT_EQ(WCompare("a", "a?"), 0);
    EXPECT_EQ(WCompare("abc", "a?"), 0);
}

TEST(Wildcards, StarIsAnyRunIncludingNone)
{
    EXPECT_EQ(WCompare("a", "a*"), 1);
    EXPECT_EQ(WCompare("abc", "a*"), 1);
    EXPECT_EQ(WCompare("", "*"), 1);
}

TEST(Wildcards, PlusIsARunOfAtLeastOne)
{
    EXPECT_EQ(WCompare("a", "a+"), 0);
    EXPECT_EQ(WCompare("ab", "a+"), 1);
    EXPECT_EQ(WCompare("abc", "a+"), 1);
    EXPECT_EQ(WCompare("", "+"), 0);
}

TEST(Wildcards, OneStretchIsCaptured)
{
    EXPECT_EQ(WCompare("abxcd", "ab*cd"), 1);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({"x"}));
    EXPECT_EQ(captured().lengths, std::vector<int>({2}));
}

TEST(Wildcards, StarThatMeetsTheEndAcceptsWithTwoMetacharactersAhead)
{
    EXPECT_EQ(WCompare("ab", "ab*cd*"), 1);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({"", ""}));
    EXPECT_EQ(WCompare("ab", "ab+cd*"), 0);
    EXPECT_EQ(WCompare("ab", "ab?cd*"), 0);
}

TEST(Wildcards, OneMetacharacterIsSettledByTheLengthRule)
{
    EXPECT_EQ(WCompare("ab", "ab*cd"), 0);
    EXPECT_EQ(WCompare("aba", "ab*ba"), 0);
    EXPECT_EQ(WCompare("abba", "ab*ba"), 1);
    EXPECT_EQ(WCompare("abba", "ab+ba"), 0);
    EXPECT_EQ(WCompare("abxba", "ab?ba"), 1);
    EXPECT_EQ(WCompare("xbxba", "ab?ba"), 0);
    EXPECT_EQ(WCompare("abxbx", "ab?ba"), 0);
}

TEST(Wildcards, TheSecondArgumentIsThePattern)
{
    EXPECT_EQ(WCompare("sens*", "sensor12"), 0);
    EXPECT_EQ(WCompare("sensor12", "sens*"), 1);
    EXPECT_EQ(WCompareNoCase("sens*", "sensor12"), 0);
    EXPECT_EQ(WCompareNoCase("sensor12", "sens*"), 1);
}

TEST(Wildcards, AByteAbove127IsNotLoweredAndMatchesOnlyItself)
{
    EXPECT_EQ(WCompare("\xC4", "\xC4"), 1);
    EXPECT_EQ(WCompare("\xC4", "\xE4"), 0);
    EXPECT_EQ(WCompare("a\xC4z", "a*\xC4?"), 1);
    EXPECT_EQ(WCompare("a\xC4z", "a*\xE4?"), 0);
}

TEST(Wildcards, APatternCoversTheWholeSubject)
{
    EXPECT_EQ(WCompare("sensor12", "sensor"), 0);
    EXPECT_EQ(WCompare("sensor12", "?ensor"), 0);
    EXPECT_EQ(WCompare("sensor12", "*sensor"), 0);
    EXPECT_EQ(WCompare("", ""), 1);
    EXPECT_EQ(WCompare("", "a"), 0);
}

TEST(Wildcards, TheShortestStretchIsTriedFirst)
{
    EXPECT_EQ(WCompare("xaxaxb", "x*a*b"), 1);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({"", "xax"}));
    EXPECT_EQ(WCompare("xaxaxb", "x+a*b"), 1);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({"ax", "x"}));
}

TEST(Wildcards, CapturedStretchesKeepTheirLetterCaseInOneEntryAndLoseItInTheOther)
{
    EXPECT_EQ(WCompare("abXcd", "AB*CD"), 1);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({"X"}));
    EXPECT_EQ(WCompareNoCase("abXcd", "AB*CD"), 1);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({"x"}));
}

TEST(Wildcards, AFailedMatchYieldsNoParts)
{
    EXPECT_EQ(WCompare("abxcd", "ab*cd"), 1);
    EXPECT_EQ(WCompare("abxcd", "ab*ef"), 0);
    EXPECT_EQ(captured().stretches.size(), 0u);
}

TEST(Wildcards, APatternWithoutMetacharactersLeavesTheSplitOfTheComparisonBefore)
{
    EXPECT_EQ(WCompare("abxcd", "ab*cd"), 1);
    EXPECT_EQ(WCompare("12345", "12345"), 1);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({"3"}));
    EXPECT_EQ(captured().lengths, std::vector<int>({2}));
    EXPECT_EQ(WCompare("1", "2"), 0);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({""}));
}

TEST(Wildcards, NullCountsAsEmpty)
{
    EXPECT_EQ(WCompare(nullptr, ""), 1);
    EXPECT_EQ(WCompare(nullptr, "*"), 1);
    EXPECT_EQ(WCompare(nullptr, "a"), 0);
    EXPECT_EQ(WCompare("a", nullptr), 0);
    EXPECT_EQ(WCompareNoCase(nullptr, nullptr), 1);
}

TEST(WildcardBounds, TextsOf1023BytesMatchAndLongerOnesDoNot)
{
    const std::string longest(1023, 'a');
    EXPECT_EQ(WCompare(longest.c_str(), longest.c_str()), 1);
    EXPECT_EQ(WCompare(longest.c_str(), "*"), 1);
    EXPECT_EQ(WCompareNoCase(longest.c_str(), "a*a"), 1);
    const std::string longer(1024, 'a');
    EXPECT_EQ(WCompare(longer.c_str(), longer.c_str()), 0);
    EXPECT_EQ(WCompare(longer.c_str(), "*"), 0);
    EXPECT_EQ(captured().stretches.size(), 0u);
    EXPECT_EQ(WCompareNoCase(longer.c_str(), "*"), 0);
    EXPECT_EQ(WCompare("aa", "a*"), 1);
    EXPECT_EQ(WCompare("a", longer.c_str()), 0);
    EXPECT_EQ(captured().stretches.size(), 0u);
    const std::string huge(1000000, 'a');
    EXPECT_EQ(WCompare(huge.c_str(), huge.c_str()), 0);
    EXPECT_EQ(WCompareNoCase(huge.c_str(), huge.c_str()), 0);
}

TEST(WildcardBounds, NinetyNineMetacharactersMatchAndAHundredDoNot)
{
    const std::string subject(99, 'a');
    for (const char *meta : {"*", "?", "+"}) {
        EXPECT_EQ(WCompare(subject.c_str(), repeated(meta, 99).c_str()), 1) << meta;
        EXPECT_EQ(captured().stretches.size(), 99u);
        EXPECT_EQ(WCompare((subject + "a").c_str(), repeated(meta, 100).c_str()), 0) << meta;
        EXPECT_EQ(captured().stretches.size(), 0u);
        EXPECT_EQ(WCompare(subject.c_str(), repeated(meta, 1023).c_str()), 0) << meta;
    }
}

TEST(WildcardBounds, LiteralsOf255CharactersMatchAndLongerOnesDoNot)
{
    const std::string literal(255, 'a');
    EXPECT_EQ(WCompare((literal + 'x' + literal).c_str(), (literal + '?' + literal).c_str()), 1);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({"x"}));
    EXPECT_EQ(WCompare((literal + 'a').c_str(), (literal + "a*").c_str()), 0);
    EXPECT_EQ(WCompare((literal + 'a').c_str(), ("*" + literal + 'a').c_str()), 0);
    EXPECT_EQ(captured().stretches.size(), 0u);
}

TEST(WildcardBounds, ACapturedStretchIsCutAt255Bytes)
{
    EXPECT_EQ(WCompare(("x" + std::string(900, 'a') + "b").c_str(), "x*b"), 1);
    EXPECT_EQ(captured().stretches, std::vector<std::string>({std::string(255, 'a')}));
}

TEST(WildcardBounds, TheRecursionIsAsDeepAsThePatternHasParts)
{
    WCompare(std::string(99, 'a').c_str(), repeated("?", 99).c_str());
    EXPECT_EQ(WCompare_Counters().deepest, 99);
    EXPECT_EQ(WCompare_Counters().depth, 1);
}

TEST(WildcardSteps, CallsAreNeverResetAndDepthsAreSetToOne)
{
    WCompare("abab", "?b?b");
    const int before = WCompare_Counters().calls;
    EXPECT_EQ(WCompare_Counters().deepest, 2);
    WCompare("ab", "a*");
    EXPECT_EQ(WCompare_Counters().calls, before + 1);
    EXPECT_EQ(WCompare_Counters().depth, 1);
    EXPECT_EQ(WCompare_Counters().deepest, 1);
}

TEST(WildcardSteps, ATailThatIsKnownToFailCountsAsIfItWereTriedAgain)
{
    PlainWildcard plain;
    const std::string subject(24, 'a');
    for (const char *pattern : {"+a+a+a+b", "*a+?a*aa+b", "?*aaa+a+b+", "aa*aa*aa*b?", "+aaaaaaa+aaa+b"}) {
        const long long before = WCompare_Counters().calls;
        WCompare(subject.c_str(), pattern);
        plain.compare(subject.c_str(), pattern);
        EXPECT_EQ(WCompare_Counters().calls - before, plain.calls()) << pattern;
        EXPECT_EQ(WCompare_Counters().deepest, plain.deepest()) << pattern;
    }
}

TEST(WildcardSteps, TheStepContinuesTheSplitOfTheLastComparison)
{
    ASSERT_EQ(WCompare("abxcd", "ab*c?"), 1);
    EXPECT_EQ(CmpX(0, 0, 2), 1);
    EXPECT_EQ(CmpX(1, 3, 1), 1);
    EXPECT_EQ(CmpX(1, 2, 1), 0);
    EXPECT_EQ(CmpX(2, 5, 0), 1);
    EXPECT_EQ(CmpX(2, 5, 1), 1);
    EXPECT_EQ(CmpX(2, 4, 0), 0);
    EXPECT_EQ(CmpX(2, 5, -1), 1);
    EXPECT_EQ(CmpX(2, 4, -1), 0);
    ASSERT_EQ(WCompare("ab", "a*?"), 1);
    EXPECT_EQ(CmpX(1, 1, 3), 1);
}

TEST(WildcardSteps, APartThatFailedFromOnePlaceOnIsStillTriedBeforeIt)
{
    ASSERT_EQ(WCompare("xabcd", "?*b*d"), 1);
    EXPECT_EQ(CmpX(1, 4, 2), 0);
    EXPECT_EQ(CmpX(1, 1, 2), 1);
}

TEST(WildcardSteps, NoStepGoesBeyondASplitThatFailed)
{
    for (const char *meta : {"*", "?", "+"}) {
        ASSERT_EQ(WCompare(std::string(200, 'a').c_str(), repeated(meta, 200).c_str()), 0);
        EXPECT_EQ(CmpX(0, 0, 200), 0);
        EXPECT_EQ(CmpX(0, 200, 200), 1);
    }
}

TEST(WildcardSteps, WhatFailedWithOneNumberOfMetacharactersAheadIsTriedWithAnother)
{
    ASSERT_EQ(WCompare("axb", "a+b*cd"), 0);
    EXPECT_EQ(CmpX(0, 0, 2), 0);
    EXPECT_EQ(CmpX(0, 0, 3), 1);
    EXPECT_EQ(CmpX(0, 0, 2), 0);
}

TEST(WildcardEquality, OnEveryShortPair)
{
    Comparison comparison;
    std::string subject;
    everyText("ab", 5, subject, [&](const std::string &s) {
        std::string pattern;
        everyText("ab*?+", 5, pattern, [&](const std::string &p) { ASSERT_TRUE(comparison.agree(s, p)); });
    });
}

TEST(WildcardEquality, OnAMillionRandomPairs)
{
    RandomTexts random(printedSeed());
    Comparison comparison;
    for (int i = 0; i < 1000000; ++i) {
        const std::string subject = random.text("aaabbA", 12);
        const std::string pattern = random.text("aabB*?+", 10);
        ASSERT_TRUE(comparison.agree(subject, pattern)) << "pair " << i;
    }
}

TEST(WildcardEquality, OnRandomPatternsThatFitTheirSubject)
{
    RandomTexts random(printedSeed());
    Comparison comparison;
    for (int i = 0; i < 100000; ++i) {
        const std::string subject = random.text("ab*?+", 12);
        std::string pattern;
        for (const char c : subject)
            pattern += random.number(2) ? std::string(1, c) : random.meta();
        ASSERT_TRUE(comparison.agree(subject, pattern)) << "pair " << i;
    }
}

TEST(WildcardEquality, OnLongTexts)
{
    RandomTexts random(printedSeed());
    Comparison comparison;
    for (int i = 0; i < 300; ++i) {
        const std::string subject = random.text("aab", 1023);
        const auto cut = [&] { return subject.substr(random.number(int(subject.size()) + 1), random.number(255)); };
        const std::string start = subject.substr(0, random.number(256));
        ASSERT_TRUE(comparison.agree(subject, start + random.meta() + cut() + random.meta())) << "pair " << i;
    }
}

// The last, as nothing can be counted behind it. Step by step each of these would take longer than the world is old.
TEST(WildcardSaturation, ManyRunsAgainstAThousandLettersAnswerAtOnceAndTheCallsStopAtTheLargestNumber)
{
    const std::string subject(1000, 'a');
    // The fifth star meets the end of the subject behind its letter, with another one ahead: that is a match.
    EXPECT_EQ(WCompare(subject.c_str(), "*a*a*a*a*a*b"), 1);
    EXPECT_EQ(WCompare(subject.c_str(), "+a+a+a+a+a+b"), 0);
    EXPECT_EQ(WCompare_Counters().calls, INT_MAX);
    EXPECT_EQ(WCompare_Counters().deepest, 6);
    for (const char *meta : {"*", "+", "*?", "+?"})
        WCompare(subject.c_str(), (repeated(std::string(meta) + "a", 45) + "*b").c_str());
    EXPECT_EQ(WCompare_Counters().calls, INT_MAX);
    WCompare("ab", "a*");
    EXPECT_EQ(WCompare_Counters().calls, INT_MAX);
    EXPECT_EQ(WCompare_Counters().deepest, 1);
}
