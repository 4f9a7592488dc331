// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "recordbytes.h"

#include "recordfields.h"

#include <algorithm>
#include <memory>
#include <new>

namespace Calls
{
namespace
{
std::uint32_t parameterCount(const CMessageEventParam *array, int count)
{
    return array && count > 0 ? std::uint32_t(count) : 0;
}

/** Adds up what the records' parameters and texts take. */
struct Measure {
    std::uint64_t parameterTotal = 0;
    std::uint64_t textTotal = 0;

    void number(int, std::int32_t) {}
    void time(std::time_t, Time) {}
    void text(const char *text, int length, std::uint32_t)
    {
        textTotal += textSize(text, length);
    }
    void parameters(const CMessageEventParam *array, int count, std::uint32_t)
    {
        const std::uint32_t wanted = parameterCount(array, count);
        parameterTotal += wanted;
        for (std::uint32_t i = 0; i < wanted; ++i)
            add(array[i]);
    }
    template <class Record> void add(const Record &record)
    {
        const Head<Record> head = {};
        Fields<Record>::visit(record, head, *this);
    }
};

/** One of the stretches that a message is written to, gathered in large pieces. */
class Stretch
{
public:
    /** From `offset` on, exactly `size` bytes. */
    Stretch(ByteSink &sink, std::uint64_t offset, std::uint64_t size)
        : m_sink(sink)
        , m_offset(offset)
        , m_left(size)
        , m_room(std::size_t(std::min<std::uint64_t>(size, LargestPiece)))
        , m_piece(new char[m_room])
    {
    }

    void put(const void *from, std::size_t size)
    {
        if (size > m_left)
            refuse();
        m_left -= size;
        if (size > m_room - m_used)
            flush();
        if (size > m_room) {
            m_sink.put(m_offset, static_cast<const char *>(from), size);
            m_offset += size;
            return;
        }
        std::memcpy(m_piece.get() + m_used, from, size);
        m_used += size;
    }
    void finish()
    {
        if (m_left > 0)
            refuse();
        flush();
    }

private:
    static constexpr std::size_t LargestPiece = 1 << 18;

    [[noreturn]] static void refuse()
    {
        throw std::runtime_error("the records changed while they were read");
    }
    void flush()
    {
        if (m_used > 0)
            m_sink.put(m_offset, m_piece.get(), m_used);
        m_offset += m_used;
        m_used = 0;
    }

    ByteSink &m_sink;
    std::uint64_t m_offset;
    std::uint64_t m_left;
    std::size_t m_room;
    std::size_t m_used = 0;
    std::unique_ptr<char[]> m_piece;
};

/** Writes records, heads and texts each to their stretch. */
struct Write {
    Stretch &heads;
    Stretch &parameterHeads;
    Stretch &texts;

    void number(int from, std::int32_t &to)
    {
        to = from;
    }
    void time(std::time_t from, Time &to)
    {
        to = toBytes(from);
    }
    void text(const char *text, int length, std::uint32_t &to)
    {
        const std::size_t size = textSize(text, length);
        to = std::uint32_t(size);
        if (size > 0)
            texts.put(text, size);
    }
    void parameters(const CMessageEventParam *array, int count, std::uint32_t &to)
    {
        to = parameterCount(array, count);
        for (std::uint32_t i = 0; i < to; ++i)
            add(array[i], parameterHeads);
    }
    template <class Record> void add(const Record &record, Stretch &to)
    {
        Head<Record> head = {};
        Fields<Record>::visit(record, head, *this);
        to.put(&head, sizeof(head));
    }
};

/** Adds up what the heads claim. */
struct Claims {
    std::uint64_t parameterTotal = 0;
    std::uint64_t textTotal = 0;

    void number(int, std::int32_t) {}
    void time(std::time_t, Time) {}
    void text(const char *, int, std::uint32_t size)
    {
        textTotal += size;
    }
    void parameters(const CMessageEventParam *, int, std::uint32_t count)
    {
        parameterTotal += count;
    }
};

template <class Record> Head<Record> headAt(std::string_view heads, std::size_t index)
{
    Head<Record> head;
    std::memcpy(&head, heads.data() + index * sizeof(head), sizeof(head));
    return head;
}

/** Adds the claims of `count` heads, which stand at `offset` and must not go beyond `most`. */
template <class Record>
void addClaims(Claims &claims, std::string_view heads, std::size_t count, std::size_t offset, const RecordsHead &most)
{
    const Record nothing;
    for (std::size_t i = 0; i < count; ++i) {
        const auto head = headAt<Record>(heads, i);
        Fields<Record>::visit(nothing, head, claims);
        if (claims.parameterTotal > most.parameters)
            throw CorruptMessage(offset + i * sizeof(head), "its parameters are not there");
        if (claims.textTotal > most.textBytes)
            throw CorruptMessage(offset + i * sizeof(head), "its texts are not there");
    }
}

/** Fills the fields of records; texts stay where they are. */
struct Lend {
    CMessageEventParam *nextParameter;
    const char *nextParameterHead;
    const char *nextText;

    void number(int &to, std::int32_t from)
    {
        to = from;
    }
    void time(std::time_t &to, Time from)
    {
        to = fromBytes(from);
    }
    void text(char *&text, int &length, std::uint32_t size)
    {
        length = int(size);
        text = size > 0 ? const_cast<char *>(nextText) : nullptr;
        nextText += size;
    }
    void parameters(CMessageEventParam *&array, int &count, std::uint32_t claimed)
    {
        count = int(claimed);
        array = claimed > 0 ? nextParameter : nullptr;
        nextParameter += claimed;
        for (std::uint32_t i = 0; i < claimed; ++i)
            add(array + i, nextParameterHead);
    }
    template <class Record> void add(Record *place, const char *&nextHead)
    {
        Head<Record> head;
        std::memcpy(&head, nextHead, sizeof(head));
        nextHead += sizeof(head);
        Fields<Record>::visit(*new (place) Record, head, *this);
    }
};
} // namespace

template <class Record>
RecordsWriter<Record>::RecordsWriter(const Record *records, std::size_t count)
    : m_records(records)
    , m_count(count)
{
    Measure measure;
    for (std::size_t i = 0; i < count; ++i)
        measure.add(records[i]);
    m_parameters = measure.parameterTotal;
    m_textBytes = measure.textTotal;
}

template <class Record> void RecordsWriter<Record>::write(ByteSink &sink, std::uint64_t offset) const
{
    const RecordsHead totals = {std::uint32_t(m_parameters), std::uint32_t(m_textBytes)};
    const std::uint64_t headBytes = sizeof(totals) + m_count * sizeof(Head<Record>);
    const std::uint64_t parameterBytes = m_parameters * sizeof(Head<CMessageEventParam>);
    Stretch heads(sink, offset, headBytes);
    Stretch parameterHeads(sink, offset + headBytes, parameterBytes);
    Stretch texts(sink, offset + headBytes + parameterBytes, m_textBytes);
    heads.put(&totals, sizeof(totals));
    Write write = {heads, parameterHeads, texts};
    for (std::uint64_t i = 0; i < m_count; ++i)
        write.add(m_records[i], heads);
    for (Stretch *stretch : {&heads, &parameterHeads, &texts})
        stretch->finish();
}

template <class Record>
RecordsReader<Record>::RecordsReader(ByteReader &bytes, std::size_t count)
    : m_count(count)
{
    const std::size_t start = bytes.offset();
    const auto totals = bytes.take<RecordsHead>("the records' head");
    m_parameters = totals.parameters;
    const std::size_t atHeads = bytes.offset();
    m_heads = bytes.take(std::uint64_t(count) * sizeof(Head<Record>), "the records");
    const std::size_t atParameters = bytes.offset();
    m_parameterHeads = bytes.take(std::uint64_t(m_parameters) * sizeof(Head<CMessageEventParam>), "the parameters");
    m_texts = bytes.take(totals.textBytes, "the texts");

    Claims claims;
    addClaims<Record>(claims, m_heads, count, atHeads, totals);
    if (claims.parameterTotal != totals.parameters)
        throw CorruptMessage(start + offsetof(RecordsHead, parameters), "more parameters than the records have");
    addClaims<CMessageEventParam>(claims, m_parameterHeads, m_parameters, atParameters, totals);
    if (claims.textTotal != totals.textBytes)
        throw CorruptMessage(start + offsetof(RecordsHead, textBytes), "more texts than the records have");
}

template <class Record> void RecordsReader<Record>::lend(Record *records, CMessageEventParam *parameters) const
{
    Lend lend = {parameters, m_parameterHeads.data(), m_texts.data()};
    const char *head = m_heads.data();
    for (std::size_t i = 0; i < m_count; ++i)
        lend.add(records + i, head);
}

template class RecordsWriter<CSensor>;
template class RecordsWriter<CMessageEvent>;
template class RecordsWriter<CMessageCommand>;
template class RecordsReader<CSensor>;
template class RecordsReader<CMessageEvent>;
template class RecordsReader<CMessageCommand>;
} // namespace Calls
