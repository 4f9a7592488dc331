// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
//
// unwatched PROGRAM ARGUMENT...: runs a program as a kernel does that offers no notifications of
// system calls. A process can have one listener, and here it has one already.
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stdio.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    struct sock_filter allow = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    const struct sock_fprog filter = {1, &allow};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    const long listener = syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &filter);
    // It stands as long as it is open.
    fcntl((int)listener, F_SETFD, 0);
    if (argc > 1)
        execv(argv[1], argv + 1);
    perror("unwatched");
    return 127;
}
