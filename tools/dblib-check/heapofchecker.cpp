// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#ifndef __SANITIZE_ADDRESS__
#include "heap.h"
#include "mappedmemory.h"
#include "quarantine.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <sys/mman.h>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *p);
}

namespace
{
/** Stands before each block. */
struct alignas(16) Header {
    std::uintptr_t mark; ///< LiveMark or FreedMark, mixed with the block's address
    std::size_t size;    ///< bytes asked for
    void *raw;           ///< what the C library gave
};

constexpr std::uintptr_t LiveMark = std::uintptr_t(0x9D3A71C5E84F62B1u);
constexpr std::uintptr_t FreedMark = std::uintptr_t(0x51E7B29F0C6D84A3u);
constexpr std::size_t TailSize = 16;
constexpr unsigned char TailByte = 0xA7;
constexpr unsigned char FreshByte = 0xCD;
constexpr unsigned char FreedByte = 0xDD;
constexpr std::size_t FillLimit = 4096;

std::atomic<std::size_t> live{0};
std::atomic<unsigned> overruns{0};
std::atomic<unsigned> doubleFrees{0};
std::atomic<unsigned> invalidFrees{0};

Header *headerOf(const void *block)
{
    return const_cast<Header *>(static_cast<const Header *>(block)) - 1;
}

std::uintptr_t marked(std::uintptr_t mark, const void *block)
{
    return mark ^ reinterpret_cast<std::uintptr_t>(block);
}

unsigned char *tailOf(void *block, std::size_t size)
{
    return static_cast<unsigned char *>(block) + size;
}

/** Reserved pages, none of them accessible but those of live guarded blocks. Their addresses are never given twice. */
struct GuardedRoom {
    static constexpr std::size_t Size = std::size_t(128) << 20;
    static constexpr std::size_t LargestBlock = 1 << 20;

    char *begin = nullptr;
    std::atomic<std::size_t> used{0};
    std::atomic<bool> open{false};

    bool holds(const void *p) const
    {
        const char *place = static_cast<const char *>(p);
        return begin && place >= begin && place < begin + Size;
    }
};

GuardedRoom guarded;

std::size_t roundedUp(std::size_t size, std::size_t unit)
{
    return (size + unit - 1) / unit * unit;
}

/** As the alignment of a block leaves them, guarded blocks have less room behind them to be marked. */
std::size_t tailSizeOf(const void *block, std::size_t size)
{
    return guarded.holds(block) ? roundedUp(size, alignof(Header)) - size : TailSize;
}

/** A block that ends right before a guard page; NULL when there is no room. */
void *allocateGuarded(std::size_t size)
{
    const std::size_t ending = roundedUp(size, alignof(Header));
    const std::size_t pages = roundedUp(sizeof(Header) + ending, pageSize());
    const std::size_t offset = guarded.used.fetch_add(pages + pageSize());
    if (offset > GuardedRoom::Size - pages - pageSize()) {
        guarded.open = false;
        return nullptr;
    }
    char *raw = guarded.begin + offset;
    if (mprotect(raw, pages, PROT_READ | PROT_WRITE) != 0)
        return nullptr;
    char *block = raw + pages - ending;
    *headerOf(block) = {marked(LiveMark, block), size, raw};
    std::memset(block, FreshByte, std::min(size, FillLimit));
    std::memset(tailOf(block, size), TailByte, ending - size);
    live += size;
    return block;
}

void *allocate(std::size_t size, std::size_t alignment)
{
    if (guarded.open && size <= GuardedRoom::LargestBlock && alignment <= alignof(Header)) {
        if (void *block = allocateGuarded(size))
            return block;
    }
    const std::size_t lead = std::max(sizeof(Header), alignment);
    if (size > SIZE_MAX - lead - TailSize) {
        errno = ENOMEM;
        return nullptr;
    }
    const std::size_t whole = lead + size + TailSize;
    void *raw = alignment > alignof(Header) ? __libc_memalign(alignment, whole) : __libc_malloc(whole);
    if (!raw)
        return nullptr;
    void *block = static_cast<char *>(raw) + lead;
    *headerOf(block) = {marked(LiveMark, block), size, raw};
    std::memset(block, FreshByte, std::min(size, FillLimit));
    std::memset(tailOf(block, size), TailByte, TailSize);
    live += size;
    return block;
}

Quarantine quarantine;

bool tailIsWhole(void *block, std::size_t size)
{
    const unsigned char *tail = tailOf(block, size);
    return std::all_of(tail, tail + tailSizeOf(block, size), [](unsigned char byte) { return byte == TailByte; });
}

void release(void *block)
{
    if (!block)
        return;
    Header *header = headerOf(block);
    const bool closed = guarded.holds(block) && mappedBytes(header, sizeof(Header)) < sizeof(Header);
    if (closed || header->mark == marked(FreedMark, block)) {
        ++doubleFrees;
        return;
    }
    if (header->mark != marked(LiveMark, block)) {
        ++invalidFrees;
        return;
    }
    if (!tailIsWhole(block, header->size))
        ++overruns;
    live -= header->size;
    if (guarded.holds(block)) {
        mprotect(
            header->raw,
            roundedUp(std::size_t(tailOf(block, header->size) - static_cast<unsigned char *>(header->raw)), pageSize()),
            PROT_NONE);
        return;
    }
    header->mark = marked(FreedMark, block);
    std::memset(block, FreedByte, std::min(header->size, FillLimit));
    quarantine.take(header->raw, header->size + sizeof(Header));
}

/** The header of a block that begins at `p`; NULL when none does. Never faults. */
const Header *knownHeader(const void *p)
{
    const Header *header = headerOf(p);
    if (mappedBytes(header, sizeof(Header)) < sizeof(Header))
        return nullptr;
    const bool known = header->mark == marked(LiveMark, p) || header->mark == marked(FreedMark, p);
    return known ? header : nullptr;
}
} // namespace

extern "C" {
void *malloc(std::size_t size)
{
    return allocate(size, alignof(Header));
}

void free(void *p)
{
    release(p);
}

void *calloc(std::size_t count, std::size_t size)
{
    std::size_t whole = 0;
    if (__builtin_mul_overflow(count, size, &whole)) {
        errno = ENOMEM;
        return nullptr;
    }
    void *block = allocate(whole, alignof(Header));
    return block ? std::memset(block, 0, whole) : nullptr;
}

void *realloc(void *old, std::size_t size)
{
    if (!old)
        return malloc(size);
    if (size == 0) {
        release(old);
        return nullptr;
    }
    void *block = malloc(size);
    const bool known = headerOf(old)->mark == marked(LiveMark, old);
    if (block && known)
        std::memcpy(block, old, std::min(size, headerOf(old)->size));
    if (block)
        release(old);
    return block;
}

void *reallocarray(void *old, std::size_t count, std::size_t size)
{
    std::size_t whole = 0;
    if (__builtin_mul_overflow(count, size, &whole)) {
        errno = ENOMEM;
        return nullptr;
    }
    return realloc(old, whole);
}

void *memalign(std::size_t alignment, std::size_t size)
{
    return allocate(size, std::max(alignment, alignof(Header)));
}

void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void **result, std::size_t alignment, std::size_t size)
{
    void *block = memalign(alignment, size);
    if (!block)
        return ENOMEM;
    *result = block;
    return 0;
}

void *valloc(std::size_t size)
{
    return memalign(pageSize(), size);
}

void *pvalloc(std::size_t size)
{
    return valloc((size + pageSize() - 1) & ~(pageSize() - 1));
}

std::size_t malloc_usable_size(void *p)
{
    return p ? headerOf(p)->size : 0;
}
}

Heap::Faults Heap::faults()
{
    return {overruns, doubleFrees, invalidFrees};
}

void Heap::keepFewFreed()
{
    quarantine.keepFew();
}

void Heap::guard(bool yes)
{
    if (yes && !guarded.begin) {
        void *room = mmap(nullptr, GuardedRoom::Size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        guarded.begin = room == MAP_FAILED ? nullptr : static_cast<char *>(room);
    }
    guarded.open = yes && guarded.begin;
}

bool Heap::isGuard(const void *address)
{
    return guarded.holds(address);
}

std::size_t Heap::liveBytes()
{
    return live;
}

std::optional<std::size_t> Heap::bytesFrom(const void *p)
{
    // An array made by new[] of objects with destructors begins behind its count.
    for (std::size_t cookie : {std::size_t(0), sizeof(std::size_t), 2 * sizeof(std::size_t)}) {
        const char *block = static_cast<const char *>(p) - cookie;
        const Header *header = knownHeader(block);
        if (header) {
            const bool freed = header->mark == marked(FreedMark, block);
            return freed || header->size < cookie ? 0 : header->size - cookie;
        }
    }
    return std::nullopt;
}

std::size_t Heap::readable(const void *p, std::size_t size)
{
    if (!p || size == 0)
        return 0;
    const std::optional<std::size_t> known = bytesFrom(p);
    return known ? std::min(size, *known) : mappedBytes(p, size);
}
#endif
