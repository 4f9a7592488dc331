// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * A program that links the target `failingallocation` gets its memory from
 * operators new and delete that count, and that fail when they are told to.
 * What other threads allocate meanwhile is neither counted nor refused.
 */
namespace FailingAllocation
{
/** Lets the allocation number `n` (from 0) fail, with `onwards` also all after it. */
void refuse(int n, bool onwards);
/** Grants everything again; true when something was refused since `refuse`. */
bool grant();
/** Counts an allocation of another allocator; true when it has to fail. */
bool failsNow();
/** Blocks that are allocated and not released. */
long live();

/** Runs `action` with its allocation number `n` failing; false when it did not need so many. */
template <typename Action> bool runFailing(int n, bool onwards, Action action)
{
    refuse(n, onwards);
    action();
    return grant();
}
} // namespace FailingAllocation
