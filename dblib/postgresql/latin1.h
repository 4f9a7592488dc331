// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <string_view>

/**
 * @file
 * The console's texts are Latin-1, one byte a character; those in the database
 * are UTF-8. Bytes 0x80 to 0x9f are the control characters U+0080 to U+009F. A
 * character that Latin-1 has no byte for becomes '?', as does each byte of what
 * is no UTF-8.
 */
namespace Postgres
{
/** `text` in UTF-8: itself when it is ASCII, else made in `buffer`. */
std::string_view utf8From(std::string_view text, std::string &buffer);
/** `text` in Latin-1: itself when it is ASCII, else made in `buffer`. */
std::string_view latin1From(std::string_view text, std::string &buffer);
} // namespace Postgres
