// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdio>
#include <memory>
#include <string>

/**
 * @file
 * Reader for the console's own text files: key=value lines, whole
 * (the function-name map) or in blocks between braces (the test data).
 *
 * A line whose first byte is '%' is a comment, an empty one is skipped. A line
 * of more than 511 bytes counts as several. A file ends for the reader behind
 * the line in which it passes MaxConfigFileSize. Nothing here depends on the
 * locale.
 */

/** Bytes of a file that are read: no file that somebody put there holds a window up for long. */
constexpr long MaxConfigFileSize = 64L * 1024 * 1024;

/** Bytes in a line buffer, the NUL counted. */
constexpr int ConfigLineSize = 512;
/** Lines that GetDefs stores: its `lines` must hold as many. */
constexpr int MaxDefLines = 40;
/** Lines that GetConfigBlock stores: its `lines` must hold as many. */
constexpr int MaxBlockLines = 20;

/** A file that std::fclose closes with its owner. */
using OwnedFile = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

/**
 * Opens a regular file for reading, never blocking. The caller closes it with
 * fclose. NULL when it cannot be opened, for the reason in errno, or is a
 * directory, a pipe or a device, which leaves errno as it was.
 */
std::FILE *openRegularFile(const char *path);

/**
 * Trims a line in place: cuts it at the first line feed, then removes trailing
 * spaces (tabs and carriage returns stay). 1 when anything is left, else 0;
 * 0 for NULL.
 */
int clear_string_end_with_bells(char *str);

/**
 * Reads a file's lines without leading white space; stops at MaxDefLines.
 * `n` becomes the number stored and the result 0; without a file the result
 * is -1 and `n` stays.
 */
int GetDefs(std::FILE *f, char lines[][ConfigLineSize], int &n);

/**
 * Reads the lines up to the next one that begins with a closing brace; one
 * that begins with an opening brace is dropped. Lines after the first
 * MaxBlockLines are read and dropped. 1 when a closing line came, 0 when the
 * file ended before; `n` is the number stored either way. `f` must not be NULL.
 */
int GetConfigBlock(std::FILE *f, char lines[][ConfigLineSize], int &n);

/**
 * Looks up the first of `n` lines that reads key=value, the key in any letter
 * case. A value in double quotes comes without them. False, and an empty
 * `value`, when no line has the key.
 */
bool findConfigValue(const char lines[][ConfigLineSize], int n, const char *key, std::string &value);
