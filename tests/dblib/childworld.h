// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** @file Tests in a child process that may spoil its own world: its file systems, its limits, its rights. */

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

/** What a child reports when this machine does not let it set the stage. */
constexpr int NotPossible = 77;

/** Runs `body` in a child; the child's expectations count as this test's. */
inline void inChild(const std::function<void()> &body)
{
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        body();
        std::fflush(nullptr);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == NotPossible)
        GTEST_SKIP() << "this machine does not allow it";
    EXPECT_EQ(status, 0);
}

/** In a child: file systems mounted from here on are its own. */
inline void ownMounts()
{
    const bool alone = ::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
    if (!alone || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        ::_exit(NotPossible);
}
