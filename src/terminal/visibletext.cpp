// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "visibletext.h"

#include <cstdio>

namespace
{
/** Bytes of the UTF-8 sequence that begins with `first`; 0 when none does. */
std::size_t sequenceLength(unsigned char first)
{
    if (first < 0x80)
        return 1;
    if (first < 0xC2)
        return 0;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
}

/** Bytes at the start of `text` that are one printable character; 0 when it begins with no such. */
std::size_t printableLength(std::string_view text)
{
    const auto at = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t length = sequenceLength(at(0));
    if (length == 0 || length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((at(i) & 0xC0) != 0x80)
            return 0;
    const bool control = at(0) < 0x20 || at(0) == 0x7F || (at(0) == 0xC2 && at(1) < 0xA0);
    return control ? 0 : length;
}
} // namespace

std::string visibleText(std::string_view text, std::string_view kept)
{
    std::string result;
    while (!text.empty()) {
        std::size_t length = printableLength(text);
        if (length == 0 && kept.find(text[0]) != kept.npos)
            length = 1;
        if (length > 0) {
            result += text.substr(0, length);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\x%02x", static_cast<unsigned char>(text[0]));
            result += escaped;
            length = 1;
        }
        text.remove_prefix(length);
    }
    return result;
}
