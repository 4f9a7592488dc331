// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "message.h"
#include "recordbytes.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/** @file The answers to the calls as bytes, and back. */
namespace Calls
{
/** What came of a call. */
enum class Status : std::uint32_t {
    Returned = 0,
    Threw = 1,   ///< an exception, which whoever called told
    Missing = 2, ///< the library has no such function
    TooLarge = 3 ///< there was no room to pass the answer on
};

/** What every answer begins with. */
struct AnswerHead {
    Status status = Status::Returned;
    std::int32_t result = 0; ///< what the function returned; -1 unless it did
};
static_assert(sizeof(AnswerHead) == 8, "as stated in docs/calls-as-bytes.md");

/** The answer to anything but a fetch or a put, and to any call that did not return. */
std::string answerMessage(Subject subject, AnswerHead head);
/** The answer to a put that returned: the record's identifier as it was left. */
std::string putAnswer(DBFunction function, int result, int id);

/** The answer to a fetch that returned. */
template <class Record> class FetchAnswer
{
public:
    /** Measures what the library gave, which stays its own. Throws TooLarge. */
    FetchAnswer(int result, int count, const Record *array);

    std::size_t size() const;
    /** Where in these bytes the texts and values of the records begin, which go to the end. */
    std::size_t textStart() const;
    /** Puts size() bytes from `offset` on. Throws as RecordsWriter::write(). */
    void write(ByteSink &sink, std::uint64_t offset) const;

private:
    int m_result;
    int m_count;
    const Record *m_array;
    RecordsWriter<Record> m_records;
};

/** An answer that was read; checked whole. */
struct Answer {
    Subject subject;
    AnswerHead head;
    int id = 0;            ///< after a put
    int count = 0;         ///< after a fetch, as the library set it
    bool hasArray = false; ///< after a fetch: whether the library gave an array
    // The records of a fetch that gave a count above 0 and an array. They read the bytes of the answer.
    std::optional<RecordsReader<CSensor>> sensors;
    std::optional<RecordsReader<CMessageEvent>> events;
    std::optional<RecordsReader<CMessageCommand>> commands;
};

/** Throws CorruptMessage, also for a message of another kind. */
Answer readAnswer(std::string_view bytes);

extern template class FetchAnswer<CSensor>;
extern template class FetchAnswer<CMessageEvent>;
extern template class FetchAnswer<CMessageCommand>;
} // namespace Calls
