// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rowmemory.h"

#include <cstdint>
#include <cstdlib>
#include <malloc.h>
#include <new>

// A released row is out of bounds, though its slab is still in use.
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(start, size) (static_cast<void>(start), static_cast<void>(size))
#define ASAN_UNPOISON_MEMORY_REGION(start, size) (static_cast<void>(start), static_cast<void>(size))
#endif

namespace
{
// A slab begins at a multiple of this, so that a row's address tells its slab.
constexpr std::size_t Alignment = std::size_t(1) << 15;

// Leaves the room that the allocator takes for itself: slabs then lie side by side.
constexpr std::size_t UsualSize = Alignment - 64;

std::size_t roundedUp(std::size_t bytes)
{
    constexpr std::size_t step = 8;
    return (bytes + step - 1) / step * step;
}
} // namespace

struct RowMemory::Slab {
    std::size_t used;  ///< bytes, this header included
    std::size_t size;  ///< bytes, this header included
    std::size_t holds; ///< rows in use, and one more while it is open

    static Slab *create(std::size_t size)
    {
        void *memory = nullptr;
        if (::posix_memalign(&memory, Alignment, size) != 0)
            throw std::bad_alloc();
        return new (memory) Slab{roundedUp(sizeof(Slab)), size, 1};
    }

    /** The slab that holds a row. */
    static Slab *of(void *row)
    {
        auto *const byte = static_cast<char *>(row);
        return reinterpret_cast<Slab *>(byte - reinterpret_cast<std::uintptr_t>(row) % Alignment);
    }

    void *take(std::size_t bytes)
    {
        void *const row = reinterpret_cast<char *>(this) + used;
        used += bytes;
        ++holds;
        return row;
    }

    void letGo()
    {
        if (--holds > 0)
            return;
        ASAN_UNPOISON_MEMORY_REGION(this, size);
        std::free(this);
    }
};

RowMemory::~RowMemory()
{
    if (m_open)
        m_open->letGo();
}

void *RowMemory::allocate(std::size_t bytes)
{
    if (bytes > SIZE_MAX / 2)
        throw std::bad_alloc();
    const std::size_t rounded = roundedUp(bytes);
    const std::size_t header = roundedUp(sizeof(Slab));
    // A very long row has a slab of its own; the open one goes on.
    if (rounded > (UsualSize - header) / 4) {
        Slab *const own = Slab::create(header + rounded);
        void *const row = own->take(rounded);
        own->letGo();
        return row;
    }
    if (!m_open || m_open->size - m_open->used < rounded) {
        Slab *const fresh = Slab::create(UsualSize);
        if (m_open)
            m_open->letGo();
        m_open = fresh;
    }
    return m_open->take(rounded);
}

void RowMemory::release(void *row, std::size_t bytes) noexcept
{
    Slab *const slab = Slab::of(row);
    ASAN_POISON_MEMORY_REGION(row, bytes);
    slab->letGo();
}

void RowMemory::returnSpare() noexcept
{
    ::malloc_trim(0);
}
