// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "memoryblock.h"
#include "recordbytes.h"

/** Records made of bytes that outlive them, to be lent out: their destructors never run. */
template <class Record> class LentArray
{
public:
    /** Throws std::bad_alloc. */
    explicit LentArray(const Calls::RecordsReader<Record> &reader)
        : m_records(reader.count() * sizeof(Record))
        , m_parameters(reader.parameterCount() * sizeof(CMessageEventParam))
    {
        reader.lend(data(), reinterpret_cast<CMessageEventParam *>(m_parameters.data()));
    }
    Record *data() const
    {
        return reinterpret_cast<Record *>(m_records.data());
    }

private:
    Memory m_records;
    Memory m_parameters;
};
