// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#ifndef OBRIM_DBLIB_SQLITE_ARENA_H
#define OBRIM_DBLIB_SQLITE_ARENA_H

#include "Memory.h"

#include <cstddef>
#include <string_view>
#include <vector>

/**
 * Memory that is given out in small pieces and released as a whole: a million
 * records with their texts would otherwise be ten million allocations.
 */
class Arena
{
public:
    Arena() = default;
    Arena(const Arena &) = delete;
    Arena &operator=(const Arena &) = delete;
    ~Arena() = default;

    /** `size` bytes, contents undefined, for any type of at most pointer or double alignment. Throws std::bad_alloc. */
    void *allocate(std::size_t size)
    {
        const std::size_t rounded = (size + Alignment - 1) & ~(Alignment - 1);
        return rounded <= std::size_t(end - next) ? take(rounded) : allocateInNewBlock(rounded);
    }
    /** A copy of `text` with a NUL behind it. */
    char *copy(std::string_view text);

private:
    static constexpr std::size_t Alignment = 8;

    void *take(std::size_t size)
    {
        char *given = next;
        next += size;
        return given;
    }
    void *allocateInNewBlock(std::size_t size);

    std::vector<Memory> blocks;
    std::size_t blockSize = 4096;
    char *next = nullptr;
    char *end = nullptr;
};

#endif
