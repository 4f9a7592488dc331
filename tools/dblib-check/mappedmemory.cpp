// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "mappedmemory.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
/** Asks the kernel to read there: it says EFAULT for what is not readable, and EINVAL, as the call is void, else. */
bool isReadable(std::uintptr_t address)
{
    // It reads eight bytes: those of one aligned word never lie on two pages.
    const std::uintptr_t word = address & ~std::uintptr_t(7);
    const int impossible = ~0;
    syscall(SYS_rt_sigprocmask, impossible, word, nullptr, 8);
    return errno != EFAULT;
}
} // namespace

std::size_t pageSize()
{
    static const std::size_t size = std::size_t(sysconf(_SC_PAGESIZE));
    return size;
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
