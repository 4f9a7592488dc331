// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * Tells what an access to protected memory means, within a check's process:
 * guard pages are of use only when someone knows whose they are.
 */
namespace FaultHandler
{
/** What an access to this address means, a sentence; NULL when it is none of ours. For signal handlers. */
using Explanation = const char *(*)(const void *address);

/** From now on a fault that `explain` knows ends the process with its sentence as a failure. */
void add(Explanation explain);
} // namespace FaultHandler
