// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <utility>

/**
 * A piece of memory, contents undefined, aligned for every type. Large ones are
 * pages of their own: they go back to the system at once, and huge pages serve
 * them where the system has some, as a million records would otherwise spend a
 * quarter of their time on page faults.
 */
class Memory
{
public:
    Memory() = default;
    /** Throws std::bad_alloc. */
    explicit Memory(std::size_t bytes);
    Memory(Memory &&other) noexcept
        : m_start(std::exchange(other.m_start, nullptr))
        , m_length(std::exchange(other.m_length, 0))
    {
    }
    Memory &operator=(Memory &&other) noexcept
    {
        std::swap(m_start, other.m_start);
        std::swap(m_length, other.m_length);
        return *this;
    }
    Memory(const Memory &) = delete;
    Memory &operator=(const Memory &) = delete;
    ~Memory();

    char *data() const
    {
        return m_start;
    }
    std::size_t size() const
    {
        return m_length;
    }

private:
    char *m_start = nullptr;
    std::size_t m_length = 0;
};
