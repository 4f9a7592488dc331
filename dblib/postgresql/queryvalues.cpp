// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "binaryvalues.h"
#include "connection.h"
#include "latin1.h"

#include <cstdlib>
#include <libpq-fe.h>

namespace Postgres
{
Parameters &Parameters::addBytes(unsigned type, std::optional<std::string> bytes)
{
    m_all.push_back({type, std::move(bytes)});
    return *this;
}

Parameters &Parameters::add(std::int32_t number)
{
    std::string bytes;
    appendNumber(bytes, number);
    return addBytes(Int4, std::move(bytes));
}

Parameters &Parameters::addLong(std::int64_t number)
{
    std::string bytes;
    appendNumber(bytes, number);
    return addBytes(Int8, std::move(bytes));
}

Parameters &Parameters::addTimestamp(std::int64_t seconds)
{
    std::string bytes;
    appendNumber(bytes, timestampOf(seconds));
    return addBytes(Timestamp, std::move(bytes));
}

Parameters &Parameters::addText(std::optional<std::string_view> text)
{
    std::string buffer;
    return addBytes(Text, text ? std::optional<std::string>(utf8From(*text, buffer)) : std::nullopt);
}

Parameters &Parameters::addTexts(const std::vector<std::string> &texts)
{
    ArrayWriter array(Text, texts.size());
    std::string buffer;
    for (const std::string &text : texts)
        array.add(utf8From(text, buffer));
    return addBytes(TextArray, array.bytes());
}

Parameters &Parameters::append(const Parameters &others)
{
    m_all.insert(m_all.end(), others.m_all.begin(), others.m_all.end());
    return *this;
}

std::string Parameters::bytes() const
{
    std::string all;
    for (const Parameter &parameter : m_all) {
        appendNumber(all, parameter.bytes ? std::int32_t(parameter.bytes->size()) : -1);
        all += parameter.bytes.value_or("");
    }
    return all;
}

void Result::Closer::operator()(pg_result *result) const
{
    PQclear(result);
}

Result::Result(pg_result *taken)
    : m_result(taken)
{
}

int Result::rows() const
{
    return PQntuples(m_result.get());
}

bool Result::isNull(int row, int column) const
{
    return PQgetisnull(m_result.get(), row, column) == 1;
}

std::int32_t Result::number(int row, int column) const
{
    return PQgetlength(m_result.get(), row, column) == int(sizeof(std::int32_t))
               ? numberAt<std::int32_t>(PQgetvalue(m_result.get(), row, column))
               : 0;
}

std::string_view Result::text(int row, int column) const
{
    return {PQgetvalue(m_result.get(), row, column), std::size_t(PQgetlength(m_result.get(), row, column))};
}

int Result::changes() const
{
    return std::atoi(PQcmdTuples(m_result.get()));
}
} // namespace Postgres
