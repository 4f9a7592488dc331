// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "call.h"

#include "recordbytes.h"
#include "requestbytes.h"

#include <vector>

namespace Calls
{
namespace
{
std::string callMessage(DBFunction function, Use use, const std::string &body = {})
{
    return message(Kind::Call, {function, use}, body);
}

void appendFlag(std::string &bytes, bool flag)
{
    append(bytes, std::uint32_t(flag ? 1 : 0));
}

template <class Request> std::string fetchMessage(DBFunction function, const Request *request)
{
    std::string body;
    appendFlag(body, request != nullptr);
    if (request)
        appendRequest(body, *request);
    return callMessage(function, Use::Fetch, body);
}

template <class Record> std::string putMessage(DBFunction function, const Record *record)
{
    std::string body;
    appendFlag(body, record != nullptr);
    if (record) {
        const RecordsWriter<Record> writer(record, 1);
        const std::size_t before = body.size();
        if (writer.size() > MaxMessageSize)
            throw TooLarge(writer.size());
        body.resize(before + std::size_t(writer.size()));
        MemorySink sink(body.data());
        writer.write(sink, before);
    }
    return callMessage(function, Use::Plain, body);
}

template <class Request> std::unique_ptr<Request> takeRequest(ByteReader &body)
{
    if (!body.takeFlag("whether a request is given"))
        return nullptr;
    auto request = std::make_unique<Request>();
    Calls::takeRequest(body, *request);
    return request;
}

template <class Record> std::unique_ptr<Record> takeRecord(ByteReader &body)
{
    if (!body.takeFlag("whether a record is given"))
        return nullptr;
    const RecordsReader<Record> reader(body, 1);
    // Lent records must not be destroyed.
    std::vector<std::aligned_storage_t<sizeof(CMessageEventParam), alignof(CMessageEventParam)>> parameters(
        reader.parameterCount());
    std::aligned_storage_t<sizeof(Record), alignof(Record)> place;
    auto *lent = reinterpret_cast<Record *>(&place);
    reader.lend(lent, reinterpret_cast<CMessageEventParam *>(parameters.data()));
    return std::make_unique<Record>(*lent);
}

std::unique_ptr<std::string> takeDirectory(ByteReader &body)
{
    if (!body.takeFlag("whether a directory is given"))
        return nullptr;
    const auto size = body.take<std::uint32_t>("a directory's length");
    const std::string_view text = body.take(size, "a directory");
    if (text.find('\0') != std::string_view::npos)
        body.refuse(text.size(), "a directory has a NUL inside");
    return std::make_unique<std::string>(text);
}

void takeFetch(Call &call, ByteReader &body)
{
    if (call.subject.function == DBFunctionGetEvents)
        call.eventRequest = takeRequest<CMessageEventRequest>(body);
    else if (call.subject.function == DBFunctionGetCommands)
        call.commandRequest = takeRequest<CMessageCommandRequest>(body);
}

void takePlain(Call &call, ByteReader &body)
{
    if (isInitFunction(call.subject.function))
        call.directory = takeDirectory(body);
    else if (call.subject.function == DBFunctionPutEvent)
        call.event = takeRecord<CMessageEvent>(body);
    else if (call.subject.function == DBFunctionPutCommand)
        call.command = takeRecord<CMessageCommand>(body);
    else
        call.id = body.take<std::int32_t>("an identifier");
}
} // namespace

std::string initCall(DBFunction function, const char *directory)
{
    std::string body;
    appendFlag(body, directory != nullptr);
    if (directory) {
        const std::string_view text = directory;
        append(body, std::uint32_t(text.size()));
        body.append(text);
    }
    return callMessage(function, Use::Plain, body);
}

std::string queryCall(DBFunction function)
{
    return callMessage(function, Use::Query);
}

std::string releaseCall(DBFunction function)
{
    return callMessage(function, Use::Release);
}

std::string fetchCall()
{
    return callMessage(DBFunctionGetSensors, Use::Fetch);
}

std::string fetchCall(const CMessageEventRequest *request)
{
    return fetchMessage(DBFunctionGetEvents, request);
}

std::string fetchCall(const CMessageCommandRequest *request)
{
    return fetchMessage(DBFunctionGetCommands, request);
}

std::string putCall(const CMessageEvent *record)
{
    return putMessage(DBFunctionPutEvent, record);
}

std::string putCall(const CMessageCommand *record)
{
    return putMessage(DBFunctionPutCommand, record);
}

std::string deleteCall(DBFunction function, int id)
{
    std::string body;
    append(body, std::int32_t(id));
    return callMessage(function, Use::Plain, body);
}

Call readCall(std::string_view bytes)
{
    Message message = readMessage(bytes);
    if (message.kind != Kind::Call)
        throw CorruptMessage(offsetof(MessageHead, kind), "is no call");
    Call call;
    call.subject = message.subject;
    if (call.subject.use == Use::Fetch)
        takeFetch(call, message.body);
    else if (call.subject.use == Use::Plain)
        takePlain(call, message.body);
    message.body.requireEnd();
    return call;
}

std::string callBytes(const Call &call)
{
    const auto [function, use] = call.subject;
    if (use == Use::Query || use == Use::Release)
        return callMessage(function, use);
    switch (function) {
    case DBFunctionGetSensors:
        return fetchCall();
    case DBFunctionGetEvents:
        return fetchCall(call.eventRequest.get());
    case DBFunctionGetCommands:
        return fetchCall(call.commandRequest.get());
    case DBFunctionPutCommand:
        return putCall(call.command.get());
    case DBFunctionPutEvent:
        return putCall(call.event.get());
    case DBFunctionDeleteCommand:
    case DBFunctionDeleteEvent:
        return deleteCall(function, call.id);
    default:
        return initCall(function, call.directory ? call.directory->c_str() : nullptr);
    }
}
} // namespace Calls
