// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#ifndef OBRIM_DBLIB_SQLITE_MEMORY_H
#define OBRIM_DBLIB_SQLITE_MEMORY_H

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
        : start(std::exchange(other.start, nullptr))
        , length(std::exchange(other.length, 0))
    {
    }
    Memory &operator=(Memory &&other) noexcept
    {
        std::swap(start, other.start);
        std::swap(length, other.length);
        return *this;
    }
    Memory(const Memory &) = delete;
    Memory &operator=(const Memory &) = delete;
    ~Memory();

    char *data() const
    {
        return start;
    }
    std::size_t size() const
    {
        return length;
    }

private:
    char *start = nullptr;
    std::size_t length = 0;
};

#endif
