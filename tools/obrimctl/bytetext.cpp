// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "bytetext.h"

#include "failure.h"
#include "filling.h"
#include "translation.h"
#include "visibletext.h"

#include <algorithm>

namespace
{
void appendCharacter(std::string &out, unsigned char c)
{
    out += char(0xc0 | c >> 6);
    out += char(0x80 | (c & 0x3f));
}
} // namespace

void appendUtf8(std::string &out, std::string_view latin1)
{
    // Nearly all texts are ASCII, which needs no look at each byte's form.
    auto from = latin1.begin();
    while (from != latin1.end()) {
        const auto to = std::find_if(from, latin1.end(), [](char c) { return static_cast<signed char>(c) < 0; });
        out.append(from, to);
        from = to;
        if (from != latin1.end())
            appendCharacter(out, static_cast<unsigned char>(*from++));
    }
}

void appendVisible(std::string &out, std::string_view latin1)
{
    std::string utf8;
    appendUtf8(utf8, latin1);
    out += visibleText(utf8);
}

std::string visible(std::string_view latin1)
{
    std::string text;
    appendVisible(text, latin1);
    return text;
}

std::string toLatin1(std::string_view utf8, const std::string &what)
{
    std::string text;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto first = static_cast<unsigned char>(utf8[i]);
        const unsigned char second = i + 1 < utf8.size() ? static_cast<unsigned char>(utf8[i + 1]) : '\0';
        if (first < 0x80) {
            text += char(first);
        } else if ((first == 0xc2 || first == 0xc3) && second >= 0x80 && second < 0xc0) {
            text += char(first << 6 | (second & 0x3f));
            ++i;
        } else {
            throw UsageError(
                filled(translated("%1 '%2' has a letter that no record can have: they are kept in Latin-1"), what,
                       visibleText(utf8)));
        }
    }
    return text;
}
