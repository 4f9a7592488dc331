// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bytes.h"
#include "dbsymbols.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/** @file What every message begins with: who says what about which of the ten functions. */
namespace Calls
{
/** Of the layouts. A reader takes its own version only. */
constexpr std::uint16_t Version = 1;

/** Most bytes of a message, so that a 32-bit program can hold every one. */
constexpr std::uint32_t MaxMessageSize = 0x7fffffff;

enum class Kind : std::uint8_t { Call = 1, Answer = 2, Greeting = 3 };

/** What a function is called for. */
enum class Use : std::uint8_t {
    Plain = 1, ///< initialise, put, delete
    Query = 2, ///< the size query of a fetch function
    Fetch = 3,
    Release = 4
};

/** Which call. */
struct Subject {
    DBFunction function = DBFunctionGetSensors;
    Use use = Use::Query;

    bool operator==(const Subject &other) const
    {
        return function == other.function && use == other.use;
    }
};

bool isFetchFunction(DBFunction function);
bool isInitFunction(DBFunction function);
bool isPutFunction(DBFunction function);

/** The first bytes of a message as they lie there; `size` bytes follow. */
struct MessageHead {
    char signature[4];
    std::uint16_t version;
    std::uint8_t kind;
    std::uint8_t function; ///< a DBFunction + 1; 0 in a greeting
    std::uint8_t use;      ///< 0 in a greeting
    std::uint8_t zero[3];
    std::uint32_t size;
};
static_assert(sizeof(MessageHead) == 16, "as stated in docs/calls-as-bytes.md");

/** The head of a message whose body has `bodySize` bytes. Throws TooLarge. */
MessageHead messageHead(Kind kind, Subject subject, std::uint64_t bodySize);

/** A whole message. Throws TooLarge. */
std::string message(Kind kind, Subject subject, std::string_view body);

/** A message taken apart; `body` stands at its first byte and reads the caller's bytes. */
struct Message {
    Kind kind;
    Subject subject; ///< of a call or an answer
    ByteReader body;
};

/** Takes a whole message apart: its head, and that nothing is missing or too much. Throws CorruptMessage. */
Message readMessage(std::string_view bytes);

/** The length of the message that begins with `head`. Throws CorruptMessage when none does. */
std::size_t messageSize(const MessageHead &head);

/** What a process that answers calls says of itself before the first one. */
struct Greeting {
    std::uint32_t bits = 0;      ///< of its pointers and times, 32 or 64
    bool loaded = false;         ///< whether the library could be loaded
    std::uint32_t functions = 0; ///< bit N: it has the function N of DBFunction

    bool has(DBFunction function) const
    {
        return (functions >> function & 1U) != 0;
    }
};

std::string greetingMessage(const Greeting &greeting);
/** Throws CorruptMessage, also for a message of another kind. */
Greeting readGreeting(std::string_view bytes);
} // namespace Calls
