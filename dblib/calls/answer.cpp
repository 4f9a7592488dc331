// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "answer.h"

namespace Calls
{
namespace
{
/** What follows the head in the answer to a fetch. */
struct FetchHead {
    std::int32_t count;
    std::uint32_t hasArray;
};
static_assert(sizeof(FetchHead) == 8, "as stated in docs/calls-as-bytes.md");

constexpr DBFunction functionFor(const CSensor *)
{
    return DBFunctionGetSensors;
}
constexpr DBFunction functionFor(const CMessageEvent *)
{
    return DBFunctionGetEvents;
}
constexpr DBFunction functionFor(const CMessageCommand *)
{
    return DBFunctionGetCommands;
}

std::size_t recordCount(int count, bool hasArray)
{
    return hasArray && count > 0 ? std::size_t(count) : 0;
}

AnswerHead takeHead(ByteReader &body)
{
    const auto status = body.take<std::uint32_t>("what came of the call");
    if (status > std::uint32_t(Status::TooLarge))
        body.refuse(sizeof(status), "there is no status " + std::to_string(status));
    return {Status(status), body.take<std::int32_t>("the result")};
}

void takeFetch(Answer &answer, ByteReader &body)
{
    answer.count = body.take<std::int32_t>("the count");
    answer.hasArray = body.takeFlag("whether there is an array");
    const std::size_t records = recordCount(answer.count, answer.hasArray);
    if (records == 0)
        return;
    if (answer.subject.function == DBFunctionGetSensors)
        answer.sensors.emplace(body, records);
    else if (answer.subject.function == DBFunctionGetEvents)
        answer.events.emplace(body, records);
    else
        answer.commands.emplace(body, records);
}
} // namespace

std::string answerMessage(Subject subject, AnswerHead head)
{
    std::string body;
    append(body, head);
    return message(Kind::Answer, subject, body);
}

std::string putAnswer(DBFunction function, int result, int id)
{
    std::string body;
    append(body, AnswerHead{Status::Returned, result});
    append(body, std::int32_t(id));
    return message(Kind::Answer, {function, Use::Plain}, body);
}

template <class Record>
FetchAnswer<Record>::FetchAnswer(int result, int count, const Record *array)
    : m_result(result)
    , m_count(count)
    , m_array(array)
    , m_records(array, recordCount(count, array != nullptr))
{
    if (m_records.size() > MaxMessageSize - sizeof(MessageHead) - sizeof(AnswerHead) - sizeof(FetchHead))
        throw TooLarge(m_records.size());
}

template <class Record> std::size_t FetchAnswer<Record>::size() const
{
    const bool records = recordCount(m_count, m_array != nullptr) > 0;
    return sizeof(MessageHead) + sizeof(AnswerHead) + sizeof(FetchHead) + (records ? std::size_t(m_records.size()) : 0);
}

template <class Record> std::size_t FetchAnswer<Record>::textStart() const
{
    return size() - std::size_t(m_records.textSize());
}

template <class Record> void FetchAnswer<Record>::write(ByteSink &sink, std::uint64_t offset) const
{
    const Subject subject = {functionFor(m_array), Use::Fetch};
    std::string heads;
    append(heads, messageHead(Kind::Answer, subject, size() - sizeof(MessageHead)));
    append(heads, AnswerHead{Status::Returned, m_result});
    append(heads, FetchHead{m_count, m_array ? 1U : 0U});
    sink.put(offset, heads.data(), heads.size());
    if (recordCount(m_count, m_array != nullptr) > 0)
        m_records.write(sink, offset + heads.size());
}

Answer readAnswer(std::string_view bytes)
{
    Message message = readMessage(bytes);
    if (message.kind != Kind::Answer)
        throw CorruptMessage(offsetof(MessageHead, kind), "is no answer");
    Answer answer;
    answer.subject = message.subject;
    answer.head = takeHead(message.body);
    if (answer.head.status == Status::Returned) {
        if (answer.subject.use == Use::Fetch)
            takeFetch(answer, message.body);
        else if (isPutFunction(answer.subject.function))
            answer.id = message.body.take<std::int32_t>("the identifier");
    }
    message.body.requireEnd();
    return answer;
}

template class FetchAnswer<CSensor>;
template class FetchAnswer<CMessageEvent>;
template class FetchAnswer<CMessageCommand>;
} // namespace Calls
