// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "bytes.h"

#include <cstddef>
#include <cstdint>

/**
 * @file
 * An array of records as bytes: fixed heads, then the heads of all parameters,
 * then all texts and values, each kind in the order of the records, so that a
 * million records are written and read in the order of the memory.
 *
 * Texts and parameters are passed on as the console takes them: a NULL pointer
 * and a length of 0 or less both mean none. CSensor::Status, which the console
 * never reads, is left out.
 */
namespace Calls
{
/** A record's fields as they lie in the bytes. */
template <class Record> struct Head;

template <> struct Head<CSensor> {
    std::int32_t sensorType;
    std::int32_t messageType;
    Time eventTime;
    std::uint32_t sensorBytes;
    std::uint32_t descriptionBytes;
};
template <> struct Head<CMessageEvent> {
    std::int32_t messageType;
    std::int32_t messageId;
    std::int32_t sensorType;
    Time eventTime;
    std::uint32_t sensorBytes;
    std::uint32_t nameBytes;
    std::uint32_t parameters;
};
template <> struct Head<CMessageCommand> {
    std::int32_t messageType;
    std::int32_t commandId;
    std::int32_t commandType;
    Time commandTime;
    std::uint32_t sensorBytes;
    std::uint32_t parameters;
};
template <> struct Head<CMessageEventParam> {
    std::int32_t type;
    std::uint32_t nameBytes;
    std::uint32_t valueBytes;
};
static_assert(sizeof(Head<CSensor>) == 24, "as stated in docs/calls-as-bytes.md");
static_assert(sizeof(Head<CMessageEvent>) == 32, "as stated in docs/calls-as-bytes.md");
static_assert(sizeof(Head<CMessageCommand>) == 28, "as stated in docs/calls-as-bytes.md");
static_assert(sizeof(Head<CMessageEventParam>) == 12, "as stated in docs/calls-as-bytes.md");

/** What stands before the heads. */
struct RecordsHead {
    std::uint32_t parameters; ///< of all records together
    std::uint32_t textBytes;  ///< of all texts and values together
};
static_assert(sizeof(RecordsHead) == 8, "as stated in docs/calls-as-bytes.md");

/** Writes an array of records, which must not change meanwhile. */
template <class Record> class RecordsWriter
{
public:
    /** Measures `count` records, which stay the caller's. */
    RecordsWriter(const Record *records, std::size_t count);

    std::uint64_t size() const
    {
        return sizeof(RecordsHead) + m_count * sizeof(Head<Record>) + m_parameters * sizeof(Head<CMessageEventParam>) +
               m_textBytes;
    }
    /** Of the texts and values, with which the bytes end. */
    std::uint64_t textSize() const
    {
        return m_textBytes;
    }
    /**
     * Puts size() bytes, fewer than MaxMessageSize, from `offset` on. Throws
     * what the sink throws, and std::runtime_error when the records were
     * changed since they were measured.
     */
    void write(ByteSink &sink, std::uint64_t offset) const;

private:
    const Record *m_records;
    std::uint64_t m_count;
    std::uint64_t m_parameters = 0;
    std::uint64_t m_textBytes = 0;
};

/** An array of records in bytes that were found to be whole. */
template <class Record> class RecordsReader
{
public:
    /** Takes the bytes of `count` records. They are checked whole, and read again by lend(). Throws CorruptMessage. */
    RecordsReader(ByteReader &bytes, std::size_t count);

    std::size_t count() const
    {
        return m_count;
    }
    /** Of all records together. */
    std::size_t parameterCount() const
    {
        return m_parameters;
    }
    /**
     * Makes count() records at `records` and parameterCount() parameters at
     * `parameters`, memory that needs no content before. Their texts lie in the
     * bytes, so no record's destructor may run. A text ends with a NUL only if
     * its length counts one.
     */
    void lend(Record *records, CMessageEventParam *parameters) const;

private:
    std::size_t m_count;
    std::size_t m_parameters = 0;
    std::string_view m_heads;
    std::string_view m_parameterHeads;
    std::string_view m_texts;
};

extern template class RecordsWriter<CSensor>;
extern template class RecordsWriter<CMessageEvent>;
extern template class RecordsWriter<CMessageCommand>;
extern template class RecordsReader<CSensor>;
extern template class RecordsReader<CMessageEvent>;
extern template class RecordsReader<CMessageCommand>;
} // namespace Calls
