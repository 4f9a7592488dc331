// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "binaryvalues.h"

namespace
{
constexpr std::int32_t NullLength = -1;
}

namespace Postgres
{
std::int64_t secondsOf(std::int64_t timestamp)
{
    const std::int64_t whole = timestamp / MicrosecondsPerSecond;
    return whole - (timestamp % MicrosecondsPerSecond < 0 ? 1 : 0) + TimestampEpoch;
}

std::int64_t timestampOf(std::int64_t seconds)
{
    return (seconds - TimestampEpoch) * MicrosecondsPerSecond;
}

ArrayWriter::ArrayWriter(TypeNumber type, std::size_t count)
{
    appendNumber<std::int32_t>(m_bytes, count > 0 ? 1 : 0); // dimensions
    appendNumber<std::int32_t>(m_bytes, 1);                 // there may be NULLs
    appendNumber<std::int32_t>(m_bytes, std::int32_t(type));
    if (count > 0) {
        appendNumber(m_bytes, std::int32_t(count));
        appendNumber<std::int32_t>(m_bytes, 1); // the first index
    }
}

void ArrayWriter::add(std::int32_t number)
{
    appendNumber(m_bytes, std::int32_t(sizeof number));
    appendNumber(m_bytes, number);
}

void ArrayWriter::addTimestamp(std::int64_t seconds)
{
    appendNumber(m_bytes, std::int32_t(sizeof seconds));
    appendNumber(m_bytes, timestampOf(seconds));
}

void ArrayWriter::add(std::string_view bytes)
{
    appendNumber(m_bytes, std::int32_t(bytes.size()));
    m_bytes += bytes;
}

void ArrayWriter::addNull()
{
    appendNumber(m_bytes, NullLength);
}
} // namespace Postgres
