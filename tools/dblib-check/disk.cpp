// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "disk.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
bool waits = true;

/** What may be asked for a descriptor that is none must fail as ever. */
int synchronise(long call, int descriptor)
{
    return waits ? int(syscall(call, descriptor)) : fcntl(descriptor, F_GETFD) < 0 ? -1 : 0;
}
} // namespace

namespace Disk
{
void wait(bool yes)
{
    waits = yes;
}
} // namespace Disk

int fsync(int descriptor)
{
    return synchronise(SYS_fsync, descriptor);
}

int fdatasync(int descriptor)
{
    return synchronise(SYS_fdatasync, descriptor);
}
