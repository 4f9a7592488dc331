// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "dispatch.h"

#include "answer.h"
#include "channel.h"
#include "foreigncall.h"

#include <cstdio>

namespace
{
using namespace Calls;

AnswerBytes failure(Subject subject, Status status)
{
    return {answerMessage(subject, {status, -1}), nullptr};
}

const char *nameOf(Subject subject)
{
    return DBSymbols[subject.function].key;
}

/** For a function that returns nothing but its result. */
template <class Function> AnswerBytes plainAnswer(Subject subject, Function function)
{
    const auto result = attempt(nameOf(subject), function);
    if (!result)
        return failure(subject, Status::Threw);
    return {answerMessage(subject, {Status::Returned, *result}), nullptr};
}

template <class Record> AnswerBytes bytesOf(const FetchAnswer<Record> &answer)
{
    AnswerBytes bytes;
    if (answer.size() > Channel::LargestInline) {
        bytes.large = std::make_unique<SealedMemory>(answer.size());
        answer.write(*bytes.large, 0);
        bytes.large->seal();
    } else {
        bytes.small.resize(answer.size());
        MemorySink sink(bytes.small.data());
        answer.write(sink, 0);
    }
    return bytes;
}

/** The copy of what a fetch gave; without the room for it, the answer says so. */
template <class Record> AnswerBytes copyOf(Subject subject, int result, int count, const Record *array)
{
    try {
        return bytesOf(FetchAnswer<Record>(result, count, array));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %d records cannot be passed on: %s\n", nameOf(subject), count, error.what());
        return failure(subject, Status::TooLarge);
    }
}

/** Fetch, copy and release, as the console does them: the release is called once, whatever came of the fetch. */
template <class Record, class... Request>
AnswerBytes fetchAnswer(Subject subject, int (*function)(int *, Record **, Request *...), Request *...request)
{
    int n = 0;
    Record *array = nullptr;
    const auto result = attempt(nameOf(subject), [&] { return function(&n, &array, request...); });
    AnswerBytes answer = result ? copyOf(subject, *result, n, array) : failure(subject, Status::Threw);
    const auto released = attempt(nameOf(subject), [&] { return function(nullptr, &array, request...); });
    return released ? std::move(answer) : failure(subject, Status::Threw);
}

template <class Record, class... Request>
AnswerBytes fetchFunctionAnswer(Subject subject, int (*function)(int *, Record **, Request *...), Request *...request)
{
    if (!function)
        return failure(subject, Status::Missing);
    if (subject.use == Use::Query)
        return plainAnswer(subject, [&] { return function(nullptr, nullptr, static_cast<Request *>(nullptr)...); });
    // A release is part of the fetch.
    return subject.use == Use::Fetch ? fetchAnswer(subject, function, request...) : failure(subject, Status::Missing);
}

AnswerBytes initAnswer(const Call &call, InitDBSensorsFunction *function)
{
    if (!function)
        return failure(call.subject, Status::Missing);
    return plainAnswer(call.subject, [&] { return function(call.directory ? call.directory->c_str() : nullptr); });
}

template <class Record>
AnswerBytes putAnswerTo(const Call &call, int (*function)(Record *), Record *record, int Record::*identifier)
{
    if (!function)
        return failure(call.subject, Status::Missing);
    const auto result = attempt(nameOf(call.subject), [&] { return function(record); });
    if (!result)
        return failure(call.subject, Status::Threw);
    return {putAnswer(call.subject.function, *result, record ? record->*identifier : 0), nullptr};
}

AnswerBytes deleteAnswer(const Call &call, DBDeleteEventFunction *function)
{
    if (!function)
        return failure(call.subject, Status::Missing);
    return plainAnswer(call.subject, [&] { return function(call.id); });
}
} // namespace

AnswerBytes answerTo(const Calls::Call &call, const DBFunctions &functions)
{
    switch (call.subject.function) {
    case DBFunctionGetSensors:
        return fetchFunctionAnswer(call.subject, functions.getSensors);
    case DBFunctionGetEvents:
        return fetchFunctionAnswer(call.subject, functions.getEvents, call.eventRequest.get());
    case DBFunctionGetCommands:
        return fetchFunctionAnswer(call.subject, functions.getCommands, call.commandRequest.get());
    case DBFunctionInitSensors:
        return initAnswer(call, functions.initSensors);
    case DBFunctionInitEvents:
        return initAnswer(call, functions.initEvents);
    case DBFunctionInitCommands:
        return initAnswer(call, functions.initCommands);
    case DBFunctionPutCommand:
        return putAnswerTo(call, functions.putCommand, call.command.get(), &CMessageCommand::CommandID);
    case DBFunctionPutEvent:
        return putAnswerTo(call, functions.putEvent, call.event.get(), &CMessageEvent::MessageID);
    case DBFunctionDeleteCommand:
        return deleteAnswer(call, functions.deleteCommand);
    default:
        return deleteAnswer(call, functions.deleteEvent);
    }
}
