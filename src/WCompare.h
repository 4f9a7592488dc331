// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <cstddef>

/**
 * @file
 * Wildcard comparison without regard to ASCII letter case: `*` any run, `?`
 * one character, `+` a run of at least one; no escapes. A pattern covers the
 * whole subject. Working storage is static: not re-entrant, one thread only.
 *
 * Bounds: 1023 bytes a text, 99 metacharacters, 255 bytes between two of them.
 * Input beyond any of them does not match. A NULL text counts as empty.
 *
 * One rule is less than obvious: a `*` that meets the end of the subject with
 * two or more metacharacters ahead accepts, whatever literals follow it.
 */

/** Lowers 'A' to 'Z' in place; every other byte stays. */
void strlwr_win(char *s);

/** 1 when `pattern` matches the whole `subject`, else 0. */
int WCompare(const char *subject, const char *pattern);

/** As WCompare; the captured stretches come out in lower case. */
int WCompareNoCase(const char *subject, const char *pattern);
/** The same for texts that end with that many bytes at the latest, where no NUL comes before. */
int WCompareNoCase(const char *subject, std::size_t subjectBound, const char *pattern, std::size_t patternBound);

/**
 * The recursive step of WCompare, on the pattern that was split last: 1 when
 * literal part `part` and all behind it match from byte `position` of the
 * subject, with `remaining` metacharacters from that part on.
 *
 * `part` is at most the number of metacharacters, `position` at most the
 * length of the subject.
 */
int CmpX(int part, int position, int remaining);

/**
 * After a successful match: `parts[i]`, for i below `n`, is the stretch of the
 * subject that the i-th metacharacter covered, cut at 255 bytes; `lengths[i]`
 * is the length of the i-th literal part. Stretches behind a `*` that accepted
 * early are empty. The storage is the matcher's, valid until the next
 * comparison. After a failed match with metacharacters `n` is 0; a pattern
 * without metacharacters leaves the split of the comparison before.
 */
void WCompare_GetParts(char (*&parts)[100][256], int *&lengths, int &n);

/**
 * What comparing costs step by step, for diagnosis. The matcher tries nothing
 * twice and does less than it counts; the counts stop at the largest int.
 */
struct WCompareCounters {
    int calls = 0;   ///< calls of the recursive step since the start of the process
    int depth = 0;   ///< current depth of the recursion; 1 before and after a comparison
    int deepest = 0; ///< deepest depth of the last comparison
};
const WCompareCounters &WCompare_Counters();
