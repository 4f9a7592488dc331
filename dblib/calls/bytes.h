// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

/**
 * @file
 * Numbers, times and texts as bytes, and back. docs/calls-as-bytes.md states
 * every layout in words.
 */
namespace Calls
{
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the bytes are little-endian, as every target is");

/** Bytes that no call, answer or recording can be. The message says where and why. */
class CorruptMessage : public std::runtime_error
{
public:
    CorruptMessage(std::size_t offset, const std::string &reason);

    /** Place of the fault, from the first byte of the message. */
    std::size_t offset() const
    {
        return m_offset;
    }

private:
    std::size_t m_offset;
};

/** A call or an answer that is longer than any message may be. */
class TooLarge : public std::length_error
{
public:
    explicit TooLarge(std::uint64_t size);
};

/** Seconds since the Unix epoch in two words, so that no target pads the structures that hold one. */
struct Time {
    std::uint32_t low;
    std::int32_t high;
};

Time toBytes(std::time_t time);
std::int64_t secondsOf(Time time);
/** A time that a 4-byte time_t cannot hold becomes the nearest one that it can. */
std::time_t fromBytes(Time time);

/** Takes a message apart from its beginning. What is not there is a fault, never read. */
class ByteReader
{
public:
    /** `bytes` stay the caller's. They lie at `offset` of the message that faults are told of. */
    explicit ByteReader(std::string_view bytes, std::size_t offset = 0)
        : m_bytes(bytes)
        , m_base(offset)
    {
    }

    /** The next `Value`, a number or a structure of numbers without padding; `what` names it in a fault. */
    template <class Value> Value take(const char *what)
    {
        static_assert(std::is_trivially_copyable_v<Value>, "copied as bytes");
        Value value;
        std::memcpy(&value, take(sizeof(Value), what).data(), sizeof(Value));
        return value;
    }
    /** The next `size` bytes. They live as long as those that the reader was made of. */
    std::string_view take(std::uint64_t size, const char *what);
    /** The next number, which must be 0 or 1. */
    bool takeFlag(const char *what);
    /** Throws when bytes are left. */
    void requireEnd() const;

    /** Place of the next byte in the message. */
    std::size_t offset() const
    {
        return m_base + m_at;
    }
    std::size_t left() const
    {
        return m_bytes.size() - m_at;
    }
    /** Throws CorruptMessage for the `size` bytes that were taken last. */
    [[noreturn]] void refuse(std::size_t size, const std::string &reason) const;

private:
    std::string_view m_bytes;
    std::size_t m_base;
    std::size_t m_at = 0;
};

/** Takes the bytes of a message in pieces, in any order. */
class ByteSink
{
public:
    ByteSink() = default;
    ByteSink(const ByteSink &) = delete;
    ByteSink &operator=(const ByteSink &) = delete;
    virtual ~ByteSink() = default;
    /** Puts `size` bytes at `offset`. Throws what the sink's own fault is. */
    virtual void put(std::uint64_t offset, const char *bytes, std::size_t size) = 0;
};

/** Puts the bytes into memory that is large enough and stays the caller's. */
class MemorySink : public ByteSink
{
public:
    explicit MemorySink(char *memory)
        : m_memory(memory)
    {
    }
    void put(std::uint64_t offset, const char *bytes, std::size_t size) override
    {
        std::memcpy(m_memory + offset, bytes, size);
    }

private:
    char *m_memory;
};

/** Appends `value`, a number or a structure of numbers without padding. */
template <class Value> void append(std::string &bytes, const Value &value)
{
    static_assert(std::is_trivially_copyable_v<Value>, "copied as bytes");
    char copy[sizeof(Value)];
    std::memcpy(copy, &value, sizeof(Value));
    bytes.append(copy, sizeof(Value));
}

/** Bytes that a text of a record has: none without a buffer or with a length of 0 or less. */
inline std::size_t textSize(const char *text, int length)
{
    return text && length > 0 ? std::size_t(length) : 0;
}
} // namespace Calls
