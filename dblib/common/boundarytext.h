// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstring>
#include <optional>
#include <string_view>

/** The text of a record or request, up to its first NUL or its length. No bytes are no text, as in the records' own
 * copies. */
inline std::optional<std::string_view> textOf(const char *text, int length)
{
    if (!text || length <= 0)
        return std::nullopt;
    return std::string_view(text, ::strnlen(text, std::size_t(length)));
}
