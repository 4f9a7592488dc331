// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * What people read, in their language. Texts are whole sentences; what is
 * filled in stands as %1 to %9 in them: see filling.h. The results are UTF-8
 * and live as long as the program.
 */

/**
 * Takes the language from the environment, once, at the start. Only what is read changes with it: numbers and times
 * are written, and options and files read, as before.
 */
void setLanguage();

/** Lets libraries that have catalogues of their own write them in the letters of the terminal. */
void setLetters();

/** From here on all is English: for output that programs read. */
void setEnglish();

/** The text in the language that was set, else as it is. */
const char *translated(const char *text);

/** The form of a text for `count` things. `one` and `many` are the English ones. */
const char *translatedFor(long long count, const char *one, const char *many);

/** Marks a text for the catalogues that translated() is called with later on. */
constexpr const char *translatable(const char *text)
{
    return text;
}
