// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "message.h"

#include <algorithm>
#include <iterator>

namespace Calls
{
namespace
{
constexpr char Signature[] = {'o', 'b', 'r', 'm'};

struct GreetingBody {
    std::uint32_t bits;
    std::uint32_t loaded;
    std::uint32_t functions;
};
static_assert(sizeof(GreetingBody) == 12, "as stated in docs/calls-as-bytes.md");

bool fits(DBFunction function, Use use)
{
    return (use == Use::Plain) != isFetchFunction(function);
}

Subject readSubject(const MessageHead &head)
{
    if (head.function < 1 || head.function > DBFunctionCount)
        throw CorruptMessage(offsetof(MessageHead, function), "there is no function " + std::to_string(head.function));
    const auto function = DBFunction(head.function - 1);
    if (head.use < std::uint8_t(Use::Plain) || head.use > std::uint8_t(Use::Release) ||
        !fits(function, Use(head.use))) {
        throw CorruptMessage(offsetof(MessageHead, use), std::string(DBSymbols[function].key) +
                                                             " is not called for use " + std::to_string(head.use));
    }
    return {function, Use(head.use)};
}

void requireOurs(const MessageHead &head)
{
    if (!std::equal(std::begin(Signature), std::end(Signature), head.signature))
        throw CorruptMessage(0, "no message begins so");
    if (head.version != Version) {
        throw CorruptMessage(offsetof(MessageHead, version), "version " + std::to_string(head.version) +
                                                                 ", this program reads " + std::to_string(Version));
    }
    if (head.kind < std::uint8_t(Kind::Call) || head.kind > std::uint8_t(Kind::Greeting))
        throw CorruptMessage(offsetof(MessageHead, kind), "there is no kind " + std::to_string(head.kind));
    for (std::size_t i = 0; i < std::size(head.zero); ++i)
        if (head.zero[i] != 0)
            throw CorruptMessage(offsetof(MessageHead, zero) + i, "is not 0");
    if (head.size > MaxMessageSize - sizeof(MessageHead))
        throw CorruptMessage(offsetof(MessageHead, size),
                             "a body of " + std::to_string(head.size) + " bytes is too large");
}
} // namespace

bool isFetchFunction(DBFunction function)
{
    return function == DBFunctionGetSensors || function == DBFunctionGetEvents || function == DBFunctionGetCommands;
}

bool isInitFunction(DBFunction function)
{
    return function == DBFunctionInitSensors || function == DBFunctionInitEvents || function == DBFunctionInitCommands;
}

bool isPutFunction(DBFunction function)
{
    return function == DBFunctionPutCommand || function == DBFunctionPutEvent;
}

MessageHead messageHead(Kind kind, Subject subject, std::uint64_t bodySize)
{
    if (bodySize > MaxMessageSize - sizeof(MessageHead))
        throw TooLarge(bodySize);
    MessageHead head = {};
    std::copy(std::begin(Signature), std::end(Signature), head.signature);
    head.version = Version;
    head.kind = std::uint8_t(kind);
    if (kind != Kind::Greeting) {
        head.function = std::uint8_t(subject.function + 1);
        head.use = std::uint8_t(subject.use);
    }
    head.size = std::uint32_t(bodySize);
    return head;
}

std::string message(Kind kind, Subject subject, std::string_view body)
{
    std::string bytes;
    bytes.reserve(sizeof(MessageHead) + body.size());
    append(bytes, messageHead(kind, subject, body.size()));
    bytes.append(body);
    return bytes;
}

std::size_t messageSize(const MessageHead &head)
{
    requireOurs(head);
    return sizeof(MessageHead) + head.size;
}

Message readMessage(std::string_view bytes)
{
    ByteReader reader(bytes);
    const auto head = reader.take<MessageHead>("a message's head");
    requireOurs(head);
    Subject subject;
    if (Kind(head.kind) != Kind::Greeting)
        subject = readSubject(head);
    else if (head.function != 0 || head.use != 0)
        throw CorruptMessage(offsetof(MessageHead, function), "a greeting is about no function");
    const std::string_view body = reader.take(head.size, "the body");
    reader.requireEnd();
    return {Kind(head.kind), subject, ByteReader(body, sizeof(MessageHead))};
}

std::string greetingMessage(const Greeting &greeting)
{
    std::string body;
    append(body, GreetingBody{greeting.bits, greeting.loaded ? 1U : 0U, greeting.functions});
    return message(Kind::Greeting, {}, body);
}

Greeting readGreeting(std::string_view bytes)
{
    Message message = readMessage(bytes);
    if (message.kind != Kind::Greeting)
        throw CorruptMessage(offsetof(MessageHead, kind), "is no greeting");
    Greeting greeting;
    greeting.bits = message.body.take<std::uint32_t>("the word width");
    if (greeting.bits != 32 && greeting.bits != 64)
        message.body.refuse(4, "a word width of " + std::to_string(greeting.bits) + " bits");
    greeting.loaded = message.body.takeFlag("whether the library is loaded");
    greeting.functions = message.body.take<std::uint32_t>("the functions");
    if (greeting.functions >> DBFunctionCount != 0)
        message.body.refuse(4, "more functions than there are");
    message.body.requireEnd();
    return greeting;
}
} // namespace Calls
