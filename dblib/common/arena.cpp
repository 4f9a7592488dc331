// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "arena.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr std::size_t LargestBlock = 4 << 20;
/** Readers may look at whole vectors of this many bytes, beyond a text's end. */
constexpr std::size_t VectorSize = 16;
} // namespace

char *Arena::copy(std::string_view text)
{
    char *given = static_cast<char *>(allocate(text.size() + 1));
    std::memcpy(given, text.data() ? text.data() : "", text.size());
    given[text.size()] = '\0';
    return given;
}

void *Arena::allocateInNewBlock(std::size_t size)
{
    m_blocks.emplace_back(std::max((size + VectorSize - 1) / VectorSize * VectorSize, m_blockSize));
    m_blockSize = std::min(m_blockSize * 2, LargestBlock);
    m_next = m_blocks.back().data();
    m_end = m_next + m_blocks.back().size();
    return take(size);
}
