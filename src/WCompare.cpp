// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "WCompare.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace
{
constexpr int TextSize = 1024; // the NUL counted
constexpr int MaxParts = 100;
constexpr int PartSize = 256; // the NUL counted

/** What ends a literal part. */
enum Kind { AnyRun = 1, OneCharacter = 2, NonEmptyRun = 3, PatternEnd = 4 };

char subjectText[TextSize];
int subjectLength;
char patternText[TextSize];
char unchangedSubject[TextSize];

char literals[MaxParts][PartSize];
int literalLengths[MaxParts];
Kind kinds[MaxParts];
int partCount; ///< of the last split
int metaCount; ///< whose stretches can be read back: none after a failure

// One more than there are parts: the end of the subject closes the last stretch.
int positions[MaxParts + 1];
char stretches[MaxParts][PartSize];

/** What a part of the search costs step by step. */
struct Cost {
    int calls = 0;  ///< of the recursive step; stops at INT_MAX
    int levels = 0; ///< that the deepest of them lies below the one that asks

    void add(const Cost &other)
    {
        calls = other.calls > INT_MAX - calls ? INT_MAX : calls + other.calls;
        levels = std::max(levels, other.levels);
    }
};

/**
 * A part is known to fail at this position and at every later one. A run tries
 * the part behind it at all positions from some point on, so a failed run
 * tells of a whole tail: this keeps the search from ever trying the same part
 * at the same position twice.
 */
int failsFrom[MaxParts];
/** From failsFrom on: what trying the part at this position and every later one costs. */
Cost failedTails[MaxParts][TextSize + 1];
/** What failsFrom holds for: a part's number and the metacharacters remaining there, always the same sum. */
long long searchedFor;

WCompareCounters counters;

bool copyText(char (&to)[TextSize], const char *from)
{
    const std::size_t length = from ? strnlen(from, TextSize) : 0;
    if (length >= TextSize)
        return false;
    std::memcpy(to, from ? from : "", length);
    to[length] = '\0';
    return true;
}

Kind kindOf(char c)
{
    switch (c) {
    case '*':
        return AnyRun;
    case '?':
        return OneCharacter;
    case '+':
        return NonEmptyRun;
    default:
        return PatternEnd;
    }
}

/** Splits the pattern at its metacharacters; false when it is beyond the bounds. */
bool splitPattern()
{
    int part = 0;
    for (const char *start = patternText;; ++part) {
        const std::size_t length = std::strcspn(start, "*?+");
        if (part == MaxParts || length >= PartSize) {
            kinds[0] = PatternEnd; // no step goes beyond what is left of the split
            partCount = 1;
            return false;
        }
        std::memcpy(literals[part], start, length);
        literals[part][length] = '\0';
        literalLengths[part] = int(length);
        kinds[part] = kindOf(start[length]);
        if (kinds[part] == PatternEnd) {
            metaCount = part;
            partCount = part + 1;
            return true;
        }
        start += length + 1;
    }
}

bool literalStandsAt(int part, int position)
{
    const int length = literalLengths[part];
    return length <= subjectLength - position &&
           std::memcmp(subjectText + position, literals[part], std::size_t(length)) == 0;
}

/**
 * Nothing has been tried yet but what needs no trying: a run goes on behind the
 * end of the subject for as many positions as the literal before it is long,
 * where its part fails as it does at the end.
 */
void forgetFailures(long long partAndRemaining)
{
    searchedFor = partAndRemaining;
    for (int part = 1; part < partCount; ++part) {
        failsFrom[part] = subjectLength + 1;
        failedTails[part][subjectLength + 1] = {literalLengths[part - 1], literalLengths[part - 1] > 0 ? 1 : 0};
    }
}

bool step(int part, int position, int remaining, Cost &cost);

bool descend(int part, int position, int remaining, Cost &cost)
{
    Cost below;
    const bool matches = step(part, position, remaining, below);
    ++below.levels;
    cost.add(below);
    return matches;
}

/** One metacharacter between two literals: the lengths decide, nothing has to be tried. */
bool settle(int part, int position)
{
    const int length0 = literalLengths[part];
    const int length1 = literalLengths[part + 1];
    const int covered = subjectLength - position - length0 - length1;
    const Kind kind = kinds[part];
    const int last = subjectLength - length1;
    if (kind == OneCharacter ? covered != 1 : covered < (kind == NonEmptyRun ? 1 : 0))
        return false;
    if (!literalStandsAt(part, position) || !literalStandsAt(part + 1, last))
        return false;
    positions[part + 1] = last;
    positions[part + 2] = subjectLength;
    return true;
}

/** Tries `part` at `from` and behind it, the nearest place first. */
bool tryRun(int part, int from, int remaining, Cost &cost)
{
    Cost *const tails = failedTails[part];
    int &known = failsFrom[part];
    for (int position = from; position < known; ++position) {
        tails[position] = {};
        if (descend(part, position, remaining, tails[position])) {
            for (int tried = from; tried <= position; ++tried)
                cost.add(tails[tried]);
            return true;
        }
    }
    for (; known > from; --known)
        tails[known - 1].add(tails[known]);
    cost.add(tails[from]);
    return false;
}

/** Accepts at the end of the subject: the stretches that were not reached are empty. */
bool acceptEarly(int part)
{
    std::fill(positions + part + 1, std::end(positions), subjectLength);
    return true;
}

bool step(int part, int position, int remaining, Cost &cost)
{
    cost.calls = 1;
    positions[part] = position;
    const Kind kind = kinds[part];
    if (remaining < 0)
        return position == subjectLength;
    if (remaining == 1 && kind != PatternEnd)
        return settle(part, position);
    if (!literalStandsAt(part, position))
        return false;
    const int next = position + literalLengths[part];
    if (next == subjectLength)
        return (kind == AnyRun || kind == PatternEnd) && acceptEarly(part);
    switch (kind) {
    case OneCharacter:
        return descend(part + 1, next + 1, remaining - 1, cost);
    case AnyRun:
        return tryRun(part + 1, next, remaining - 1, cost);
    case NonEmptyRun:
        return tryRun(part + 1, next + 1, remaining - 1, cost);
    default:
        return false;
    }
}

int fail()
{
    metaCount = 0;
    return 0;
}

int compareStored()
{
    counters.depth = 1;
    counters.deepest = 1;
    strlwr_win(subjectText);
    strlwr_win(patternText);
    subjectLength = int(std::strlen(subjectText));
    if (!std::strpbrk(patternText, "*?+"))
        return std::strcmp(subjectText, patternText) == 0 ? 1 : 0;
    if (!splitPattern())
        return fail();
    forgetFailures(metaCount);
    return CmpX(0, 0, metaCount) ? 1 : fail();
}
} // namespace

void strlwr_win(char *s)
{
    for (; s && *s; ++s)
        if (*s >= 'A' && *s <= 'Z')
            *s = char(*s + ('a' - 'A'));
}

int CmpX(int part, int position, int remaining)
{
    if (searchedFor != (long long)part + remaining)
        forgetFailures((long long)part + remaining);
    Cost cost;
    const bool matches = step(part, position, remaining, cost);
    Cost all{counters.calls, 0};
    all.add(cost);
    counters.calls = all.calls;
    counters.deepest = std::max(counters.deepest, counters.depth + cost.levels);
    return matches ? 1 : 0;
}

int WCompare(const char *subject, const char *pattern)
{
    if (!copyText(subjectText, subject) || !copyText(patternText, pattern))
        return fail();
    std::memcpy(unchangedSubject, subjectText, std::strlen(subjectText) + 1);
    return compareStored();
}

int WCompareNoCase(const char *subject, const char *pattern)
{
    const int result = WCompare(subject, pattern);
    strlwr_win(unchangedSubject);
    return result;
}

void WCompare_GetParts(char (*&parts)[100][256], int *&lengths, int &n)
{
    const int end = int(std::strlen(unchangedSubject));
    for (int i = 0; i < metaCount; ++i) {
        const int from = std::min(positions[i] + literalLengths[i], end);
        const int length = std::clamp(positions[i + 1] - from, 0, PartSize - 1);
        std::memcpy(stretches[i], unchangedSubject + from, std::size_t(length));
        stretches[i][length] = '\0';
    }
    parts = &stretches;
    lengths = literalLengths;
    n = metaCount;
}

const WCompareCounters &WCompare_Counters()
{
    return counters;
}
