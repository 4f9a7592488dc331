/* SPDX-FileCopyrightText: 2026 The obrim developers
   SPDX-License-Identifier: BSD-2-Clause */
#pragma once

/**
 * @file
 * The wildcard comparison over texts whose end is known. Not part of what is
 * installed.
 */

typedef struct Text {
    const char *bytes;
    int length;
} Text;

/** A text of a record: it ends at its NUL, or after `length` bytes where that is above 0. NULL is empty. */
Text obrimTextOf(const char *bytes, int length);

/** As obrimCompareNoCase. */
int obrimCompareTexts(Text text, Text pattern);
