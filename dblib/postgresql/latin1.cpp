// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "latin1.h"

#include <cstdint>
#include <cstring>

namespace
{
bool isAscii(std::string_view text)
{
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::uint64_t seen = 0;
    std::size_t at = 0;
    for (; at + sizeof seen <= text.size(); at += sizeof seen) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + at, sizeof word);
        seen |= word;
    }
    for (; at < text.size(); ++at)
        seen |= static_cast<unsigned char>(text[at]);
    return (seen & highBits) == 0;
}

bool isContinuation(unsigned char byte)
{
    return (byte & 0xc0) == 0x80;
}

/** How many bytes a character has that begins so; 0 for none. */
std::size_t lengthFrom(unsigned char lead)
{
    return lead < 0x80 ? 1 : lead < 0xc2 ? 0 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : lead < 0xf5 ? 4 : 0;
}

/** How many bytes the character at the beginning of a text has; 0 when there is none. */
std::size_t characterLength(std::string_view text)
{
    const std::size_t length = lengthFrom(static_cast<unsigned char>(text.front()));
    if (length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if (!isContinuation(static_cast<unsigned char>(text[i])))
            return 0;
    return length;
}

/** The byte for a character of so many bytes. */
char byteOf(const char *character, std::size_t length)
{
    const auto lead = static_cast<unsigned char>(*character);
    if (length == 1)
        return *character;
    return length == 2 && lead <= 0xc3 ? char(lead << 6 | (character[1] & 0x3f)) : '?';
}
} // namespace

namespace Postgres
{
std::string_view utf8From(std::string_view text, std::string &buffer)
{
    if (isAscii(text))
        return text;
    buffer.clear();
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            buffer += c;
        } else {
            buffer += char(0xc0 | byte >> 6);
            buffer += char(0x80 | (byte & 0x3f));
        }
    }
    return buffer;
}

std::string_view latin1From(std::string_view text, std::string &buffer)
{
    if (isAscii(text))
        return text;
    buffer.clear();
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        buffer += length > 0 ? byteOf(text.data(), length) : '?';
        text.remove_prefix(length > 0 ? length : 1);
    }
    return buffer;
}
} // namespace Postgres
