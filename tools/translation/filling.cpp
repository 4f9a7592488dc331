// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "filling.h"

#include <algorithm>
#include <cstdio>

Filling::Filling(double number)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%g", number);
    m_text = text;
}

std::string filled(std::string_view text, std::initializer_list<Filling> values)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t place =
            text[i] == '%' && i + 1 < text.size() ? std::size_t(text[i + 1] - '1') : values.size();
        if (place < values.size()) {
            result += (values.begin() + place)->text();
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::size_t columnCount(std::string_view utf8)
{
    return std::size_t(std::count_if(utf8.begin(), utf8.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

std::string padded(std::string text, std::size_t width)
{
    const std::size_t columns = columnCount(text);
    return columns < width ? std::move(text.append(width - columns, ' ')) : std::move(text);
}

std::string helpEntry(const std::string &what, std::size_t width, std::string_view meaning)
{
    constexpr std::size_t gap = 2;
    std::string text = "  " + padded(what, std::max(width, columnCount(what) + gap));
    for (const char c : meaning)
        text += c == '\n' ? "\n" + std::string(gap + width, ' ') : std::string(1, c);
    return text + "\n";
}
