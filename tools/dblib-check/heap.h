// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>

/**
 * @file
 * The heap of this program, which a loaded library shares: it notices writes
 * past a block, blocks freed twice and frees of what was never allocated, and
 * goes on, so that one fault does not hide the verdicts of other checks.
 *
 * In an AddressSanitizer build the sanitizer's heap stands instead; it ends
 * the process at the first such fault.
 */
namespace Heap
{
/** How often each fault was noticed. */
struct Faults {
    unsigned overruns = 0;
    unsigned doubleFrees = 0;
    unsigned invalidFrees = 0;

    Faults operator-(const Faults &earlier) const;
    bool any() const;
    /** What they are, in a sentence. */
    std::string text() const;
};

/** The faults noticed so far. */
Faults faults();

/** The faults that `act` brings. */
template <class Act> Faults faultsOf(Act act)
{
    const Faults before = faults();
    act();
    return faults() - before;
}

/**
 * From now on, or no longer: each new block ends right before a page that
 * cannot be touched, and its own pages cannot be touched once it is freed. Slow,
 * and only for so many blocks as room was reserved for; the others are as ever.
 */
void guard(bool yes);

/** Whether touching this address can only mean that a guarded block was overrun or used after it was freed. */
bool isGuard(const void *address);

/**
 * From now on only the latest freed blocks are kept for what is freed or used
 * after its end. For very long work: memory that is soon used again is twice as
 * quick, as it is still in the processor's cache.
 */
void keepFewFreed();

/** Bytes in live blocks. */
std::size_t liveBytes();

/** Bytes from `p` to the end of its block; nothing when no block is known to begin there. 0 in a freed block. */
std::optional<std::size_t> bytesFrom(const void *p);

/**
 * How many of the `size` bytes at `p` may be read: not past its block, and not
 * past readable memory where the block is unknown. Never faults.
 */
std::size_t readable(const void *p, std::size_t size);
} // namespace Heap
