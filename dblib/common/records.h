// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "arena.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

/**
 * A growing array of boundary records whose texts and parameters live in an
 * arena. The records are lent out to be read: their destructors never run, as
 * they would release what the arena owns.
 */
template <class Record> class Records
{
public:
    Records() = default;
    Records(const Records &) = delete;
    Records &operator=(const Records &) = delete;
    ~Records() = default;

    Arena arena;

    /** Makes room for `count` records at once; without so much memory the room grows with the records. */
    void reserve(std::size_t count) noexcept
    {
        try {
            enlarge(count);
        } catch (const std::bad_alloc &) {
            // A guess may be far too high.
        }
    }
    /** A further record, zeroed; the reference is valid until the next one. Throws std::bad_alloc. */
    Record &add()
    {
        if (m_used == m_capacity)
            enlarge(std::max<std::size_t>(64, m_capacity * 2));
        return *new (at(m_used++)) Record;
    }
    void reverse()
    {
        char swapped[sizeof(Record)];
        for (std::size_t low = 0, high = m_used; low + 1 < high; ++low) {
            --high;
            std::memcpy(swapped, at(low), sizeof(Record));
            std::memcpy(at(low), at(high), sizeof(Record));
            std::memcpy(at(high), swapped, sizeof(Record));
        }
    }
    int size() const
    {
        return int(m_used);
    }
    /** The array; NULL without a record. */
    Record *data() const
    {
        return reinterpret_cast<Record *>(m_storage.data());
    }
    const Record &operator[](int index) const
    {
        return data()[index];
    }

private:
    void *at(std::size_t index) const
    {
        return m_storage.data() + index * sizeof(Record);
    }
    /** Moves the records as bytes: no record holds a pointer into itself. */
    void enlarge(std::size_t wanted)
    {
        if (wanted <= m_capacity || wanted > std::size_t(-1) / sizeof(Record))
            throw std::bad_alloc();
        Memory larger(wanted * sizeof(Record));
        if (m_used > 0)
            std::memcpy(larger.data(), m_storage.data(), m_used * sizeof(Record));
        m_storage = std::move(larger);
        m_capacity = wanted;
    }

    Memory m_storage;
    std::size_t m_used = 0;
    std::size_t m_capacity = 0;
};
