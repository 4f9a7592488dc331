// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <sys/types.h>

/**
 * Makes two processes of this one. It returns in the child, which the library
 * is to work in. The parent is its keeper: it takes in every process that the
 * library sets free, kills them all once the child has ended, and ends as the
 * child has ended. It does so as well on SIGTERM, and when `starter`, its own
 * parent, ends.
 */
void leaveToKeeper(pid_t starter);
