// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "copyreader.h"

#include "binaryvalues.h"

namespace Postgres
{
namespace
{
constexpr std::string_view Signature("PGCOPY\n\377\r\n\0", 11);
constexpr std::size_t FlagsLength = 4;
constexpr int EndMark = -1;
constexpr std::int32_t NullLength = -1;
} // namespace

std::int32_t CopiedRow::number(int field) const
{
    return m_bytes[field].size() == sizeof(std::int32_t) ? numberAt<std::int32_t>(m_bytes[field].data()) : 0;
}

std::int64_t CopiedRow::seconds(int field) const
{
    return m_bytes[field].size() == sizeof(std::int64_t) ? secondsOf(numberAt<std::int64_t>(m_bytes[field].data())) : 0;
}

CopyReader::CopyReader(const std::string &server, const RowSink &sink)
    : m_server(server)
    , m_sink(sink)
{
}

void CopyReader::take(std::string_view message)
{
    if (!m_started)
        skipHeader(message);
    m_started = true;
    while (!message.empty() && takeRow(message)) {
    }
}

void CopyReader::skipHeader(std::string_view &message) const
{
    if (cut(message, Signature.size()) != Signature)
        throw Error(m_server, "its answer is none in binary", Error::Refused);
    cut(message, FlagsLength);
    const auto extension = numberAt<std::uint32_t>(cut(message, sizeof(std::uint32_t)).data());
    cut(message, extension);
}

bool CopyReader::takeRow(std::string_view &message)
{
    m_row.m_count = numberAt<std::int16_t>(cut(message, sizeof(std::int16_t)).data());
    if (m_row.m_count == EndMark)
        return false;
    if (m_row.m_count < 0 || m_row.m_count > CopiedRow::MostFields)
        throw Error(m_server, "its answer has another form than expected", Error::Refused);
    for (int i = 0; i < m_row.m_count; ++i) {
        const auto length = numberAt<std::int32_t>(cut(message, sizeof(std::int32_t)).data());
        m_row.m_bytes[i] = length == NullLength ? std::string_view() : cut(message, std::size_t(length));
    }
    m_sink(m_row);
    return true;
}

std::string_view CopyReader::cut(std::string_view &message, std::size_t length) const
{
    if (length > message.size())
        throw Error(m_server, "its answer ends too early", Error::Refused);
    const std::string_view piece = message.substr(0, length);
    message.remove_prefix(length);
    return piece;
}
} // namespace Postgres
