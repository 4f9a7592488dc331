// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

/**
 * @file
 * What the records do alike with the buffers and arrays that they own. Not
 * part of the boundary: only the records' own sources include it.
 */
struct CMessageEventParam;

namespace RecordParts
{
/** Releases an owned buffer and zeroes pointer and length. */
void release(char *&text, int &length);
/** Gives `text` a fresh buffer of `length` + 1 bytes, contents undefined. */
void allocate(char *&text, int length);
/** The same, but NULL for a length of 0 or less. */
void allocateIfAny(char *&text, int length);

/** Destroys the parameter array and zeroes pointer and count. */
void releaseParameters(CMessageEventParam *&par, int &count);
/** Replaces the parameter array by `count` default parameters, NULL for 0 or less. */
void createParameters(CMessageEventParam *&par, int count);
/**
 * Deep copy of a parameter array. The target's array is kept when both counts
 * agree. The count is taken over as it stands, also where there is no array.
 */
void copyParameters(CMessageEventParam *&par, int &count, const CMessageEventParam *from, int fromCount);
/** Calls AllocateStrings of each parameter; does nothing without an array. */
void allocateParameterStrings(CMessageEventParam *par, int count);

/**
 * Whether a request's mask selects a record's text: WCompareNoCase(mask, text).
 * Neither is read past its length; with a length of 0 or less it ends at its NUL. A NULL mask selects
 * everything, a NULL text is empty.
 */
bool matches(const char *mask, int maskLength, const char *text, int textLength);
} // namespace RecordParts
