// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <string_view>

/**
 * @file
 * Texts of records, which are Latin-1 with any bytes in them, as UTF-8; and
 * what a person typed, the other way.
 */

/** Appends the text. Control characters are passed on as they are. */
void appendUtf8(std::string &out, std::string_view latin1);

/** Appends the text with control characters made visible: it can neither move a terminal's cursor nor break a line. */
void appendVisible(std::string &out, std::string_view latin1);
std::string visible(std::string_view latin1);

/** A text in UTF-8 as Latin-1. Throws UsageError, which names the text as `what`, when it has no such form. */
std::string toLatin1(std::string_view utf8, const std::string &what);
