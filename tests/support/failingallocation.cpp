// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "failingallocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace
{
/** More than any test needs: some systems promise what they do not have. */
constexpr std::size_t Largest = std::size_t(1) << 30;

// Each thread by itself: a toolkit may have threads of its own at work.
thread_local bool armed = false;
thread_local bool fromThenOn = false;
thread_local int allocationsLeft = 0;
thread_local bool refused = false;
thread_local long blocks = 0;

} // namespace

namespace FailingAllocation
{
bool failsNow()
{
    if (!armed)
        return false;
    if (allocationsLeft > 0) {
        --allocationsLeft;
        return false;
    }
    refused = true;
    armed = fromThenOn;
    return true;
}

void refuse(int n, bool onwards)
{
    armed = true;
    fromThenOn = onwards;
    allocationsLeft = n;
    refused = false;
}

bool grant()
{
    armed = false;
    return refused;
}

long live()
{
    return blocks;
}
} // namespace FailingAllocation

void *operator new(std::size_t size)
{
    void *block = size > Largest || FailingAllocation::failsNow() ? nullptr : std::malloc(size > 0 ? size : 1);
    if (!block)
        throw std::bad_alloc();
    ++blocks;
    return block;
}

void *operator new[](std::size_t size)
{
    return operator new(size);
}

// Replaced too: valgrind puts its own in the place of the library's.
void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    try {
        return operator new(size);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void operator delete(void *block) noexcept
{
    blocks -= block ? 1 : 0;
    std::free(block);
}

void operator delete[](void *block) noexcept
{
    operator delete(block);
}

void operator delete(void *block, std::size_t) noexcept
{
    operator delete(block);
}

void operator delete[](void *block, std::size_t) noexcept
{
    operator delete(block);
}
