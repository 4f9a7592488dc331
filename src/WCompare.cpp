// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "WCompare.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace
{
constexpr int TextSize = 1024; // the NUL counted
constexpr int PartCount = 100;
constexpr int PartSize = 256; // the NUL counted

/** What ends a literal part. */
enum Kind { AnyRun = 1, OneCharacter = 2, NonEmptyRun = 3, PatternEnd = 4 };

char subjectText[TextSize];
int subjectLength;
char patternText[TextSize];
char unchangedSubject[TextSize];

char literals[PartCount][PartSize];
int literalLengths[PartCount];
Kind kinds[PartCount];
int metaCount;

// One more than there are parts: the end of the subject closes the last stretch.
int positions[PartCount + 1];
char stretches[PartCount][PartSize];

/**
 * A part is known to fail at this position and at every later one. A run tries
 * the part behind it at all positions from some point on, so a failed run
 * tells of a whole tail: this one number a part keeps the search from ever
 * trying the same part at the same position twice.
 */
int failsFrom[PartCount];

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
        if (part == PartCount || length >= PartSize)
            return false;
        std::memcpy(literals[part], start, length);
        literals[part][length] = '\0';
        literalLengths[part] = int(length);
        kinds[part] = kindOf(start[length]);
        if (kinds[part] == PatternEnd) {
            metaCount = part;
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

/** Whether a part can match nothing, as it must at the end of the subject. */
bool matchesNothing(int part, int remaining)
{
    if (literalLengths[part] > 0 || kinds[part] == OneCharacter || kinds[part] == NonEmptyRun)
        return false;
    return kinds[part] == PatternEnd || remaining > 1 || literalLengths[part + 1] == 0;
}

int descend(int part, int position, int remaining)
{
    // Spares the step that cannot succeed: each part takes as many steps as the subject has bytes, not one more.
    if (position == subjectLength && !matchesNothing(part, remaining))
        return 0;
    counters.deepest = std::max(counters.deepest, ++counters.depth);
    const int result = CmpX(part, position, remaining);
    --counters.depth;
    return result;
}

/** One metacharacter between two literals: the lengths decide, nothing has to be tried. */
int settle(int part, int position)
{
    const int length0 = literalLengths[part];
    const int length1 = literalLengths[part + 1];
    const int covered = subjectLength - position - length0 - length1;
    const Kind kind = kinds[part];
    const int last = subjectLength - length1;
    if (kind == OneCharacter ? covered != 1 : covered < (kind == NonEmptyRun ? 1 : 0))
        return 0;
    if (!literalStandsAt(part, position) || !literalStandsAt(part + 1, last))
        return 0;
    positions[part + 1] = last;
    positions[part + 2] = subjectLength;
    return 1;
}

/** Tries `part` at `from` and behind it, the nearest place first. */
int tryRun(int part, int from, int remaining)
{
    const int end = std::min(failsFrom[part], subjectLength + 1);
    for (int position = from; position < end; ++position)
        if (descend(part, position, remaining))
            return 1;
    failsFrom[part] = std::min(failsFrom[part], from);
    return 0;
}

/** Accepts at the end of the subject: the stretches that were not reached are empty. */
int acceptEarly(int part)
{
    std::fill(positions + part + 1, positions + metaCount + 2, subjectLength);
    return 1;
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
    std::fill(failsFrom, failsFrom + metaCount + 1, TextSize);
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
    ++counters.calls;
    positions[part] = position;
    const Kind kind = kinds[part];
    if (remaining < 0)
        return position == subjectLength ? 1 : 0;
    if (remaining == 1 && kind != PatternEnd)
        return settle(part, position);
    if (!literalStandsAt(part, position))
        return 0;
    const int next = position + literalLengths[part];
    if (next == subjectLength)
        return kind == AnyRun || kind == PatternEnd ? acceptEarly(part) : 0;
    switch (kind) {
    case OneCharacter:
        return descend(part + 1, next + 1, remaining - 1);
    case AnyRun:
        return tryRun(part + 1, next, remaining - 1);
    case NonEmptyRun:
        return tryRun(part + 1, next + 1, remaining - 1);
    default:
        return 0;
    }
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
