// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * SQLite on memory and files that fail when they are told to: a program that
 * links this has them from its start on, for the libraries that it loads too.
 * SQLite's allocations count as those of failingallocation.h. Not for more than
 * one thread.
 */
#include <functional>

namespace FailingFiles
{
/** Lets the file operation number `n` (from 0) fail, with `onwards` also all after it. */
void refuse(int n, bool onwards);
/** Lets everything succeed again; true when something was refused or interrupted. */
bool grant();

/** Lets `interruption` happen right before the file operation number `n` (from 0); its own operations do not count. */
void interrupt(int n, std::function<void()> interruption);

/** Runs `action` with its file operation number `n` failing; false when it did not need so many. */
template <typename Action> bool runFailing(int n, bool onwards, Action action)
{
    refuse(n, onwards);
    action();
    return grant();
}
} // namespace FailingFiles
