// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "memoryblock.h"

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
        return rounded <= std::size_t(m_end - m_next) ? take(rounded) : allocateInNewBlock(rounded);
    }
    /** A copy of `text` with a NUL behind it. */
    char *copy(std::string_view text);

private:
    static constexpr std::size_t Alignment = 8;

    void *take(std::size_t size)
    {
        char *given = m_next;
        m_next += size;
        return given;
    }
    void *allocateInNewBlock(std::size_t size);

    std::vector<Memory> m_blocks;
    std::size_t m_blockSize = 4096;
    char *m_next = nullptr;
    char *m_end = nullptr;
};
