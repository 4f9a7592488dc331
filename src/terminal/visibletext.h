// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <string_view>

/**
 * A text as it may be shown on a terminal: control characters, and bytes that
 * are not UTF-8, stand as "\x1b". Whatever a library or the name of a file
 * holds, no terminal obeys it. Control characters of `kept` stay as they are.
 */
std::string visibleText(std::string_view text, std::string_view kept = {});
