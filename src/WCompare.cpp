// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "WCompare.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>

namespace
{
constexpr int TextSize = 1024; // the NUL counted
constexpr int MaxParts = 100;
constexpr int PartSize = 256; // the NUL counted

/** What ends a literal part. */
enum Kind : char { AnyRun = '*', OneCharacter = '?', NonEmptyRun = '+', PatternEnd = '\0' };
constexpr char Metacharacters[] = "*?+";

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

/** What comes of trying a part somewhere, and what that costs step by step. */
struct Try {
    bool matches = false;
    int calls = 0;  ///< of the recursive step; stops at INT_MAX
    int levels = 0; ///< that the deepest of them lies below the first
};

/** Each part at each position. */
Try steps[MaxParts][TextSize];
/** Each part at each position and, until it matches, at the later ones. */
Try runs[MaxParts][TextSize + 1];

WCompareCounters counters;

bool copyText(char (&to)[TextSize], const char *from, std::size_t bound)
{
    const std::size_t length = from ? strnlen(from, std::min<std::size_t>(bound, TextSize)) : 0;
    if (length >= TextSize)
        return false;
    std::memcpy(to, from ? from : "", length);
    to[length] = '\0';
    return true;
}

/** Splits the pattern at its metacharacters; false when it is beyond the bounds. */
bool splitPattern()
{
    int part = 0;
    for (const char *start = patternText;; ++part) {
        const std::size_t length = std::strcspn(start, Metacharacters);
        if (part == MaxParts || length >= PartSize) {
            kinds[0] = PatternEnd; // no step goes beyond what is left of the split
            partCount = 1;
            return false;
        }
        std::memcpy(literals[part], start, length);
        literalLengths[part] = int(length);
        kinds[part] = Kind(start[length]);
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

int sumOf(int calls, int more)
{
    return calls > INT_MAX - more ? INT_MAX : calls + more;
}

/** Whether one metacharacter stands between two literals: the lengths decide, nothing has to be tried. */
bool isLast(int part, int remaining)
{
    return remaining == 1 && kinds[part] != PatternEnd;
}

bool settle(int part, int position)
{
    const int last = subjectLength - literalLengths[part + 1];
    const int covered = last - position - literalLengths[part];
    const Kind kind = kinds[part];
    if (kind == OneCharacter ? covered != 1 : covered < (kind == NonEmptyRun ? 1 : 0))
        return false;
    return literalStandsAt(part, position) && literalStandsAt(part + 1, last);
}

/** The recursive step, where the part behind has been tried everywhere. */
Try tryAt(int part, int position, int remaining)
{
    const Kind kind = kinds[part];
    const int next = position + literalLengths[part];
    if (remaining < 0)
        return {position == subjectLength, 1, 0};
    if (isLast(part, remaining))
        return {settle(part, position), 1, 0};
    if (!literalStandsAt(part, position))
        return {false, 1, 0};
    if (next == subjectLength)
        return {kind == AnyRun || kind == PatternEnd, 1, 0};
    if (kind == PatternEnd)
        return {false, 1, 0};
    const Try &behind =
        kind == OneCharacter ? steps[part + 1][next + 1] : runs[part + 1][kind == AnyRun ? next : next + 1];
    return {behind.matches, sumOf(behind.calls, 1), behind.levels + 1};
}

void tryEverywhere(int part, int remaining)
{
    // A run goes on behind the end of the subject for as many positions as the literal before it is long,
    // where its part fails as it does at the end.
    runs[part][subjectLength + 1] = {false, literalLengths[part - 1], 0};
    for (int position = subjectLength; position >= 0; --position) {
        const Try here = tryAt(part, position, remaining);
        const Try &later = runs[part][position + 1];
        steps[part][position] = here;
        runs[part][position] = here;
        if (!here.matches)
            runs[part][position] = {later.matches, sumOf(here.calls, later.calls), std::max(here.levels, later.levels)};
    }
}

/** Where the parts stand from one on that matches. Those that an early accept does not reach stand at the end. */
void locate(int part, int position, int remaining)
{
    std::fill(positions + part, std::end(positions), subjectLength);
    for (;; ++part, --remaining) {
        while (!steps[part][position].matches)
            ++position;
        positions[part] = position;
        position += literalLengths[part];
        if (isLast(part, remaining))
            positions[part + 1] = subjectLength - literalLengths[part + 1];
        if (isLast(part, remaining) || remaining < 0 || position == subjectLength)
            return;
        position += kinds[part] == AnyRun ? 0 : 1;
    }
}

int fail()
{
    metaCount = 0;
    return 0;
}

int compare(const char *subject, std::size_t subjectBound, const char *pattern, std::size_t patternBound)
{
    if (!copyText(subjectText, subject, subjectBound) || !copyText(patternText, pattern, patternBound))
        return fail();
    counters.depth = 1;
    counters.deepest = 1;
    subjectLength = int(std::strlen(subjectText));
    std::memcpy(unchangedSubject, subjectText, std::size_t(subjectLength) + 1);
    strlwr_win(subjectText);
    strlwr_win(patternText);
    if (!std::strpbrk(patternText, Metacharacters))
        return std::strcmp(subjectText, patternText) == 0 ? 1 : 0;
    return splitPattern() && CmpX(0, 0, metaCount) ? 1 : fail();
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
    remaining = std::clamp(remaining, -1, MaxParts); // what is beyond says the same
    const int last = part + (remaining > 0 ? remaining - 1 : 1);
    for (int behind = std::min(last, partCount - 1); behind > part; --behind)
        tryEverywhere(behind, remaining - (behind - part));
    const Try all = tryAt(part, position, remaining);
    steps[part][position] = all;
    counters.calls = sumOf(counters.calls, all.calls);
    counters.deepest = std::max(counters.deepest, counters.depth + all.levels);
    if (all.matches)
        locate(part, position, remaining);
    return all.matches ? 1 : 0;
}

int WCompare(const char *subject, const char *pattern)
{
    return compare(subject, TextSize, pattern, TextSize);
}

int WCompareNoCase(const char *subject, std::size_t subjectBound, const char *pattern, std::size_t patternBound)
{
    const int result = compare(subject, subjectBound, pattern, patternBound);
    strlwr_win(unchangedSubject);
    return result;
}

int WCompareNoCase(const char *subject, const char *pattern)
{
    return WCompareNoCase(subject, TextSize, pattern, TextSize);
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
