// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "heap.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
// Of the sanitizer's interface; not every compiler that has it installs its headers.
extern "C" {
std::size_t __sanitizer_get_current_allocated_bytes();
void *__asan_region_is_poisoned(void *begin, std::size_t size);
}
#endif

namespace
{
std::size_t pageSize()
{
    static const std::size_t size = std::size_t(sysconf(_SC_PAGESIZE));
    return size;
}

/** Asks the kernel to read there: it says EFAULT for what is not readable, and EINVAL, as the call is void, else. */
bool isReadable(std::uintptr_t address)
{
    // It reads eight bytes: those of one aligned word never lie on two pages.
    const std::uintptr_t word = address & ~std::uintptr_t(7);
    const int impossible = ~0;
    syscall(SYS_rt_sigprocmask, impossible, word, nullptr, 8);
    return errno != EFAULT;
}

std::size_t mappedBytes(const void *p, std::size_t size)
{
    const int before = errno;
    const auto begin = reinterpret_cast<std::uintptr_t>(p);
    std::size_t good = 0;
    while (good < size && isReadable(begin + good)) {
        const std::uintptr_t page = (begin + good) & ~(pageSize() - 1);
        good = std::min(size, std::size_t(page + pageSize() - begin));
    }
    errno = before;
    return good;
}
} // namespace

Heap::Faults Heap::Faults::operator-(const Faults &earlier) const
{
    return {overruns - earlier.overruns, doubleFrees - earlier.doubleFrees, wildFrees - earlier.wildFrees};
}

bool Heap::Faults::any() const
{
    return overruns + doubleFrees + wildFrees > 0;
}

std::string Heap::Faults::text() const
{
    std::string text;
    const auto tell = [&text](unsigned count, const char *what) {
        if (count > 0)
            text += (text.empty() ? "" : "; ") + std::to_string(count) + " times " + what;
    };
    tell(overruns, "written past the end of a block of its own");
    tell(doubleFrees, "freed what was free already");
    tell(wildFrees, "freed what was never allocated");
    return text;
}

#ifdef __SANITIZE_ADDRESS__

Heap::Faults Heap::faults()
{
    return {};
}

void Heap::keepFewFreed() {}

void Heap::fence(bool)
{
    // The sanitizer has fences of its own.
}

bool Heap::isFence(const void *)
{
    return false;
}

std::size_t Heap::liveBytes()
{
    return __sanitizer_get_current_allocated_bytes();
}

std::optional<std::size_t> Heap::bytesFrom(const void *)
{
    return std::nullopt;
}

std::size_t Heap::readable(const void *p, std::size_t size)
{
    const std::size_t mapped = p ? mappedBytes(p, size) : 0;
    const void *poisoned = mapped > 0 ? __asan_region_is_poisoned(const_cast<void *>(p), mapped) : nullptr;
    return poisoned ? std::size_t(static_cast<const char *>(poisoned) - static_cast<const char *>(p)) : mapped;
}

#else

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
std::atomic<unsigned> wildFrees{0};

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

/** Reserved pages, all of them closed but those of live fenced blocks. Their addresses are never given twice. */
struct FencedRoom {
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

FencedRoom fenced;

std::size_t roundedUp(std::size_t size, std::size_t unit)
{
    return (size + unit - 1) / unit * unit;
}

/** As the alignment of a block leaves them, fenced blocks have less room behind them to be marked. */
std::size_t tailSizeOf(const void *block, std::size_t size)
{
    return fenced.holds(block) ? roundedUp(size, alignof(Header)) - size : TailSize;
}

/** A block that ends where a closed page begins; NULL when there is no room. */
void *allocateFenced(std::size_t size)
{
    const std::size_t ending = roundedUp(size, alignof(Header));
    const std::size_t pages = roundedUp(sizeof(Header) + ending, pageSize());
    const std::size_t offset = fenced.used.fetch_add(pages + pageSize());
    if (offset > FencedRoom::Size - pages - pageSize()) {
        fenced.open = false;
        return nullptr;
    }
    char *raw = fenced.begin + offset;
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
    if (fenced.open && size <= FencedRoom::LargestBlock && alignment <= alignof(Header)) {
        if (void *block = allocateFenced(size))
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

/**
 * Blocks that were freed lately. They are kept from being used again, so that
 * a second free and a use afterwards meet the marks of a freed block.
 */
class Quarantine
{
public:
    void take(void *raw, std::size_t size)
    {
        while (m_lock.test_and_set(std::memory_order_acquire)) {
        }
        m_bytes += size;
        while (m_count >= m_most || (m_bytes > m_mostBytes && m_count > 0)) {
            const Entry &oldest = m_entries[m_first];
            m_first = (m_first + 1) % Places;
            --m_count;
            m_bytes -= oldest.size;
            __libc_free(oldest.raw);
        }
        m_entries[(m_first + m_count++) % Places] = {raw, size};
        m_lock.clear(std::memory_order_release);
    }
    void keepFew()
    {
        m_most = Places / 16;
        m_mostBytes = MaxBytes / 32;
    }

private:
    struct Entry {
        void *raw;
        std::size_t size;
    };
    static constexpr std::size_t Places = 8192;
    static constexpr std::size_t MaxBytes = 4 << 20;
    std::atomic<std::size_t> m_most{Places};
    std::atomic<std::size_t> m_mostBytes{MaxBytes};
    Entry m_entries[Places] = {};
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    std::size_t m_bytes = 0;
    std::atomic_flag m_lock = ATOMIC_FLAG_INIT;
};

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
    const bool closed = fenced.holds(block) && mappedBytes(header, sizeof(Header)) < sizeof(Header);
    if (closed || header->mark == marked(FreedMark, block)) {
        ++doubleFrees;
        return;
    }
    if (header->mark != marked(LiveMark, block)) {
        ++wildFrees;
        return;
    }
    if (!tailIsWhole(block, header->size))
        ++overruns;
    live -= header->size;
    if (fenced.holds(block)) {
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
    return {overruns, doubleFrees, wildFrees};
}

void Heap::keepFewFreed()
{
    quarantine.keepFew();
}

void Heap::fence(bool yes)
{
    if (yes && !fenced.begin) {
        void *room = mmap(nullptr, FencedRoom::Size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        fenced.begin = room == MAP_FAILED ? nullptr : static_cast<char *>(room);
    }
    fenced.open = yes && fenced.begin;
}

bool Heap::isFence(const void *address)
{
    return fenced.holds(address);
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
