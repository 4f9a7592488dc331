// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "bytes.h"

#include <algorithm>
#include <limits>

namespace Calls
{
CorruptMessage::CorruptMessage(std::size_t offset, const std::string &reason)
    : std::runtime_error("byte " + std::to_string(offset) + ": " + reason)
    , m_offset(offset)
{
}

TooLarge::TooLarge(std::uint64_t size)
    : std::length_error("a message of " + std::to_string(size) + " bytes is too large")
{
}

Time toBytes(std::time_t time)
{
    const auto seconds = std::int64_t(time);
    return {std::uint32_t(std::uint64_t(seconds)), std::int32_t(seconds >> 32)};
}

std::int64_t secondsOf(Time time)
{
    return std::int64_t(std::uint64_t(std::uint32_t(time.high)) << 32 | time.low);
}

std::time_t fromBytes(Time time)
{
    constexpr auto least = std::int64_t(std::numeric_limits<std::time_t>::min());
    constexpr auto most = std::int64_t(std::numeric_limits<std::time_t>::max());
    return std::time_t(std::clamp(secondsOf(time), least, most));
}

std::string_view ByteReader::take(std::uint64_t size, const char *what)
{
    if (size > left()) {
        throw CorruptMessage(offset(), std::to_string(size) + " bytes are needed for " + what + ", " +
                                           std::to_string(left()) + " are left");
    }
    const std::string_view taken = m_bytes.substr(m_at, std::size_t(size));
    m_at += taken.size();
    return taken;
}

bool ByteReader::takeFlag(const char *what)
{
    const auto flag = take<std::uint32_t>(what);
    if (flag > 1)
        refuse(sizeof(flag), std::string(what) + " is " + std::to_string(flag) + ", not 0 or 1");
    return flag == 1;
}

void ByteReader::requireEnd() const
{
    if (left() > 0)
        throw CorruptMessage(offset(), std::to_string(left()) + " bytes too many");
}

void ByteReader::refuse(std::size_t size, const std::string &reason) const
{
    throw CorruptMessage(offset() - size, reason);
}
} // namespace Calls
