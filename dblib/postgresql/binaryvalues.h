// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * Values as PostgreSQL's protocol carries them in binary: numbers in network
 * order, times as microseconds since 2000, arrays with a header of their own.
 */

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Postgres
{
/** Numbers of types in pg_type, the same in every database. */
enum TypeNumber : unsigned {
    Int8 = 20,
    Int4 = 23,
    Text = 25,
    Json = 114,
    JsonArray = 199,
    Int4Array = 1007,
    TextArray = 1009,
    Timestamp = 1184,
    TimestampArray = 1185,
    Uuid = 2950
};

constexpr std::int64_t MicrosecondsPerSecond = 1000000;
/** 2000-01-01 in seconds since 1970. */
constexpr std::int64_t TimestampEpoch = 946684800;

/** Reads `Number` from bytes in network order, of which there have to be enough. */
template <class Number> Number numberAt(const char *bytes)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return Number(value);
}

template <class Number> void appendNumber(std::string &to, Number number)
{
    for (std::size_t i = sizeof(Number); i > 0; --i)
        to += char(std::uint64_t(number) >> (8 * (i - 1)));
}

/** Seconds since 1970 of a timestamp, rounded down; infinite ones lie beyond every other. */
std::int64_t secondsOf(std::int64_t timestamp);
std::int64_t timestampOf(std::int64_t seconds);

/** An array of one dimension that is being written. */
class ArrayWriter
{
public:
    ArrayWriter(TypeNumber type, std::size_t count);
    void add(std::int32_t number);
    void addTimestamp(std::int64_t seconds);
    void add(std::string_view bytes);
    void addNull();
    const std::string &bytes() const
    {
        return m_bytes;
    }

private:
    std::string m_bytes;
};
} // namespace Postgres
