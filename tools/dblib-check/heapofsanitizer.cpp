// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#ifdef __SANITIZE_ADDRESS__
#include "heap.h"
#include "mappedmemory.h"

// Of the sanitizer's interface; not every compiler that has it installs its headers.
extern "C" {
std::size_t __sanitizer_get_current_allocated_bytes();
void *__asan_region_is_poisoned(void *begin, std::size_t size);
}

Heap::Faults Heap::faults()
{
    return {};
}

void Heap::keepFewFreed() {}

void Heap::guard(bool)
{
    // The sanitizer has guards of its own.
}

bool Heap::isGuard(const void *)
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
#endif
