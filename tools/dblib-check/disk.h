// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * This program's fsync and fdatasync, which a loaded library shares. A copy
 * that is removed at the end need not survive a power cut, and a million
 * records that each wait for the disk would take hours.
 */
namespace Disk
{
/** Whether this process, and those that it forks, wait until the disk has what was written. They do at first. */
void wait(bool yes);
} // namespace Disk
