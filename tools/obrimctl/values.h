// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "format.h"
#include "paging.h"
#include "rows.h"
#include "timetext.h"

#include <optional>
#include <string>

/**
 * @file
 * The values of options. Each function takes the option's name for its message
 * and throws UsageError when the text is no such value.
 */

/** Throws: the option cannot be `text`, as `expected` says. */
[[noreturn]] void refuse(const std::string &option, const std::string &text, const std::string &expected);

/** A number of records; nothing for "all". */
std::optional<int> readLimit(const std::string &text);
/** A whole number in a range. */
int readInteger(const std::string &option, const std::string &text, int least, int most);
/** Seconds, a fraction too. */
double readSeconds(const std::string &option, const std::string &text, double least, double most);
/** A number, or one of the words that stand for one. */
int readCode(const std::string &option, const std::string &text, const std::vector<CodeWord> &words);
/** A..B, A.., ..B or A alone. */
IdRange readIds(const std::string &text);
std::time_t readTime(const std::string &option, const std::string &text, std::time_t now, Clock clock);
/** A pattern, as Latin-1. */
std::string readMask(const std::string &option, const std::string &text);
/** Of --output, for lists. */
FormatName readFormat(const std::string &text);
/** Of --color. */
ColourUse readColour(const std::string &text);
