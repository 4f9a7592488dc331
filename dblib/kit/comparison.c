/* SPDX-FileCopyrightText: 2026 The obrim developers
   SPDX-License-Identifier: BSD-2-Clause */
#include "comparison.h"

#include <obrim/dblib.h>

#include <limits.h>
#include <string.h>

enum { MaxText = 1023, MaxMetacharacters = 99, MaxLiteral = 255 };

/** From which positions of the text the rest of the pattern may go on: some of the first, then all from one on. */
typedef struct Positions {
    unsigned char single[MaxText + 1];
    int from; ///< beyond the text's end: none
} Positions;

static unsigned char lower(char c)
{
    return (unsigned char)(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
}

static int same(const char *a, const char *b, int length)
{
    for (int i = 0; i < length; ++i)
        if (lower(a[i]) != lower(b[i]))
            return 0;
    return 1;
}

static int isMetacharacter(char c)
{
    return c == '*' || c == '?' || c == '+';
}

static int literalLength(Text pattern)
{
    int length = 0;
    while (length < pattern.length && !isMetacharacter(pattern.bytes[length]))
        ++length;
    return length;
}

/** The number of metacharacters; -1 when the pattern is beyond the bounds. */
static int countMetacharacters(Text pattern)
{
    int count = 0;
    int literal = 0;
    for (int i = 0; i < pattern.length; ++i) {
        literal = isMetacharacter(pattern.bytes[i]) ? 0 : literal + 1;
        count += isMetacharacter(pattern.bytes[i]);
        if (literal > MaxLiteral || count > MaxMetacharacters)
            return -1;
    }
    return count;
}

/** The last metacharacter with the literals on both sides: the lengths decide. */
static int settles(Text text, int position, Text pattern, int literal)
{
    const char meta = pattern.bytes[literal];
    const int last = pattern.length - literal - 1;
    const int covered = text.length - position - literal - last;
    if (meta == '?' ? covered != 1 : covered < (meta == '+'))
        return 0;
    return same(text.bytes + position, pattern.bytes, literal) &&
           same(text.bytes + text.length - last, pattern.bytes + literal + 1, last);
}

/**
 * Goes on behind the literal that stands at `position`, over its metacharacter,
 * to `next`. True when the text ends there in a `*`, which accepts whatever
 * follows it in the pattern.
 */
static int advance(Text text, int position, Text pattern, int literal, Positions *next)
{
    const int behind = position + literal;
    const char meta = pattern.bytes[literal];
    if (behind == text.length)
        return meta == '*';
    if (meta == '?')
        next->single[behind + 1] = 1;
    else if (behind + (meta == '+') < next->from)
        next->from = behind + (meta == '+');
    return 0;
}

/** One literal and its metacharacter, with others behind it, from each position. */
static int step(Text text, Text pattern, int literal, const Positions *here, Positions *next)
{
    memset(next->single, 0, (size_t)text.length + 1);
    next->from = INT_MAX;
    for (int position = 0; position + literal <= text.length; ++position) {
        if (!here->single[position] && position < here->from)
            continue;
        if (same(text.bytes + position, pattern.bytes, literal) && advance(text, position, pattern, literal, next))
            return 1;
    }
    return 0;
}

static int matchesLast(Text text, Text pattern, int literal, const Positions *here)
{
    for (int position = 0; position <= text.length; ++position)
        if ((here->single[position] || position >= here->from) && settles(text, position, pattern, literal))
            return 1;
    return 0;
}

static int matches(Text text, Text pattern, int metacharacters)
{
    Positions positions[2];
    memset(positions[0].single, 0, (size_t)text.length + 1);
    positions[0].single[0] = 1;
    positions[0].from = INT_MAX;
    for (int left = metacharacters;; --left) {
        const int literal = literalLength(pattern);
        const Positions *here = &positions[(metacharacters - left) % 2];
        if (left == 1)
            return matchesLast(text, pattern, literal, here);
        if (step(text, pattern, literal, here, &positions[(metacharacters - left + 1) % 2]))
            return 1;
        pattern.bytes += literal + 1;
        pattern.length -= literal + 1;
    }
}

Text obrimTextOf(const char *bytes, int length)
{
    const size_t most = length > 0 && length <= MaxText ? (size_t)length : MaxText + 1;
    const Text text = {bytes ? bytes : "", bytes ? (int)strnlen(bytes, most) : 0};
    return text;
}

int obrimCompareTexts(Text text, Text pattern)
{
    if (text.length > MaxText || pattern.length > MaxText)
        return 0;
    if (literalLength(pattern) == pattern.length)
        return text.length == pattern.length && same(text.bytes, pattern.bytes, text.length);
    const int metacharacters = countMetacharacters(pattern);
    return metacharacters > 0 && matches(text, pattern, metacharacters);
}

int obrimCompareNoCase(const char *text, const char *pattern)
{
    return obrimCompareTexts(obrimTextOf(text, 0), obrimTextOf(pattern, 0));
}
