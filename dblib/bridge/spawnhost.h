// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "descriptor.h"

#include <sys/types.h>

struct HostTask;

/** A host that was started, and this end of its channel. */
struct SpawnedHost {
    pid_t id;
    Descriptor socket;
};

/** Starts a host in a session of its own, with no descriptors but its channel's and the output. Throws
 * std::system_error. */
SpawnedHost spawnHost(const HostTask &task);
