// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Calls, answers and greetings from arbitrary bytes. What is read must be written again as it was.
#include "fuzztarget.h"

#include "../bridge/lentrecords.h"
#include "answer.h"
#include "call.h"

#include <ctime>

namespace
{
using namespace Calls;

constexpr bool TimesStay = sizeof(std::time_t) == sizeof(Time); // a 4-byte time_t takes the nearest

/** The first byte says whether the head is part of the input, too: blind changes mostly break it. */
std::string messageFrom(Input &input)
{
    const std::uint8_t choice = input.byte();
    if (choice == 0)
        return input.rest();
    const std::uint8_t function = input.byte();
    const std::string body = input.rest();
    MessageHead head = messageHead(Kind(1 + choice % 3), {DBFunction(function % DBFunctionCount), Use::Plain}, 0);
    head.size = std::uint32_t(body.size());
    if (head.function != 0)
        head.use = std::uint8_t(1 + function / DBFunctionCount % 4);
    std::string bytes;
    append(bytes, head);
    return bytes + body;
}

void checkCall(const std::string &bytes)
{
    const Call call = readCall(bytes);
    const std::string written = callBytes(call);
    require(written.size() == bytes.size(), "a call is as long as it was");
    require(!TimesStay || written == bytes, "a call is written as it was read");
}

template <class Record>
void checkRecords(const Answer &answer, const RecordsReader<Record> &reader, const std::string &bytes)
{
    require(reader.count() == std::size_t(answer.count), "there are as many records as were counted");
    LentRecords<Record> lent(reader);
    // Every text and parameter is read.
    for (std::size_t i = 0; i < reader.count(); ++i)
        const Record copy(lent[i]);
    const FetchAnswer<Record> again(answer.head.result, answer.count, lent.data());
    require(again.size() == bytes.size(), "an answer is as long as it was");
    std::string written(again.size(), '\0');
    MemorySink sink(written.data());
    again.write(sink, 0);
    require(!TimesStay || written == bytes, "an answer is written as it was read");
}

void checkAnswer(const std::string &bytes)
{
    const Answer answer = readAnswer(bytes);
    require(int(answer.sensors.has_value()) + answer.events.has_value() + answer.commands.has_value() <= 1,
            "records are of one kind");
    if (answer.sensors)
        checkRecords(answer, *answer.sensors, bytes);
    else if (answer.events)
        checkRecords(answer, *answer.events, bytes);
    else if (answer.commands)
        checkRecords(answer, *answer.commands, bytes);
    else
        require(bytes.size() <= sizeof(MessageHead) + 16, "an answer without records is short");
}

void checkGreeting(const std::string &bytes)
{
    require(greetingMessage(readGreeting(bytes)) == bytes, "a greeting is written as it was read");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const std::string bytes = messageFrom(input);
    for (const auto check : {checkCall, checkAnswer, checkGreeting}) {
        try {
            check(bytes);
        } catch (const CorruptMessage &fault) {
            require(fault.offset() <= bytes.size(), "a fault lies in the message");
        }
    }
    return 0;
}
