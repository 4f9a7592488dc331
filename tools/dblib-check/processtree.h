// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <sys/types.h>
#include <vector>

/** The parent of a process; 0 when there is no such process. */
pid_t parentOf(pid_t process);

/** Whether `process` is `ancestor` or comes from it. */
bool descends(pid_t process, pid_t ancestor);

/** The children of a process, those among them that have ended and wait to be reaped, too. */
std::vector<pid_t> childrenOf(pid_t parent);
