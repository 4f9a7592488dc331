// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "memoryblock.h"

#include <cstdint>
#include <limits>
#include <new>
#include <sys/mman.h>

namespace
{
/** Size and alignment of a huge page on every processor that the console runs on; a wrong guess costs speed only. */
constexpr std::size_t HugePage = std::size_t(2) << 20;

bool isLarge(std::size_t bytes)
{
    return bytes >= HugePage;
}

/** Pages that begin at a multiple of a huge page; what was mapped around them goes back. NULL on failure. */
char *mapPages(std::size_t bytes)
{
    if (bytes > std::numeric_limits<std::size_t>::max() - HugePage)
        return nullptr;
    void *mapped = ::mmap(nullptr, bytes + HugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        return nullptr;
    const std::size_t before = (HugePage - reinterpret_cast<std::uintptr_t>(mapped) % HugePage) % HugePage;
    char *start = static_cast<char *>(mapped) + before;
    if (before > 0)
        ::munmap(mapped, before);
    ::munmap(start + bytes, HugePage - before);
    ::madvise(start, bytes, MADV_HUGEPAGE);
    return start;
}

constexpr std::size_t PageSize = 4096;

std::size_t wholePages(std::size_t bytes)
{
    return (bytes + PageSize - 1) / PageSize * PageSize;
}
} // namespace

Memory::Memory(std::size_t bytes)
    : m_length(isLarge(bytes) ? wholePages(bytes) : bytes)
{
    m_start = isLarge(bytes) ? mapPages(m_length) : static_cast<char *>(::operator new(m_length));
    if (!m_start)
        throw std::bad_alloc();
}

Memory::~Memory()
{
    if (isLarge(m_length))
        ::munmap(m_start, m_length);
    else
        ::operator delete(m_start);
}
