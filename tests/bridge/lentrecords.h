// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "recordbytes.h"

#include <type_traits>
#include <vector>

/** The records that a reader lends, as long as its bytes are there. Their destructors never run. */
template <class Record> class LentRecords
{
public:
    explicit LentRecords(const Calls::RecordsReader<Record> &reader)
        : m_records(reader.count())
        , m_parameters(reader.parameterCount())
    {
        reader.lend(data(), reinterpret_cast<CMessageEventParam *>(m_parameters.data()));
    }
    Record *data()
    {
        return reinterpret_cast<Record *>(m_records.data());
    }
    const Record &operator[](std::size_t index)
    {
        return data()[index];
    }

private:
    template <class Type> using Place = std::aligned_storage_t<sizeof(Type), alignof(Type)>;

    std::vector<Place<Record>> m_records;
    std::vector<Place<CMessageEventParam>> m_parameters;
};
