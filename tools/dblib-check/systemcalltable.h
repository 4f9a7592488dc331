// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * The table behind systemcalls.h. It is included once for each word width,
 * after the kernel's header that numbers the calls of that width.
 */
#include "systemcalls.h"

namespace
{
inline std::vector<SystemCall> systemCallTable()
{
    return {
#ifdef __NR_open
        {__NR_open, CallKind::Open, -1, 0, -1, -1, 1},
        {__NR_creat, CallKind::Open, -1, 0},
        {__NR_mkdir, CallKind::Make, -1, 0},
        {__NR_mknod, CallKind::Make, -1, 0},
        {__NR_symlink, CallKind::Make, -1, 1},
        {__NR_link, CallKind::Make, -1, 1},
        {__NR_unlink, CallKind::Remove, -1, 0},
        {__NR_rmdir, CallKind::Remove, -1, 0},
        {__NR_rename, CallKind::Move, -1, 0, -1, 1},
        {__NR_chmod, CallKind::Change, -1, 0},
        {__NR_chown, CallKind::Change, -1, 0},
        {__NR_lchown, CallKind::Change, -1, 0},
#endif
#ifdef __NR_chown32
        {__NR_chown32, CallKind::Change, -1, 0},
        {__NR_lchown32, CallKind::Change, -1, 0},
#endif
#ifdef __NR_truncate64
        {__NR_truncate64, CallKind::Change, -1, 0},
#endif
#ifdef __NR_socketcall
        {__NR_socketcall, CallKind::Connect, -1, 1, -1, -1, -1, 3},
#endif
#ifdef __NR_renameat
        {__NR_renameat, CallKind::Move, 0, 1, 2, 3},
#endif
        {__NR_openat, CallKind::Open, 0, 1, -1, -1, 2},
#ifdef __NR_openat2
        {__NR_openat2, CallKind::Open, 0, 1},
#endif
        {__NR_mkdirat, CallKind::Make, 0, 1},
        {__NR_mknodat, CallKind::Make, 0, 1},
        {__NR_symlinkat, CallKind::Make, 1, 2},
        {__NR_linkat, CallKind::Make, 2, 3},
        {__NR_unlinkat, CallKind::Remove, 0, 1},
        {__NR_renameat2, CallKind::Move, 0, 1, 2, 3},
        {__NR_fchmodat, CallKind::Change, 0, 1},
        {__NR_fchownat, CallKind::Change, 0, 1},
        {__NR_truncate, CallKind::Change, -1, 0},
        {__NR_connect, CallKind::Connect, -1, 1},
        {__NR_kill, CallKind::Signal, -1, 0, -1, -1, 1},
        {__NR_tkill, CallKind::Signal, -1, 0, -1, -1, 1},
        {__NR_tgkill, CallKind::Signal, -1, 0, -1, -1, 2},
        {__NR_rt_sigqueueinfo, CallKind::Signal, -1, 0, -1, -1, 1},
        {__NR_rt_tgsigqueueinfo, CallKind::Signal, -1, 0, -1, -1, 2},
#ifdef __NR_pidfd_open
        {__NR_pidfd_open, CallKind::Seize, -1, 0},
#endif
        {__NR_ptrace, CallKind::Seize, -1, 1},
        {__NR_process_vm_writev, CallKind::Seize, -1, 0},
        {__NR_prlimit64, CallKind::Seize, -1, 0},
    };
}
} // namespace
