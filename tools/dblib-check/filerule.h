// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "sandbox.h"
#include "systemcalls.h"

#include <optional>
#include <string>
#include <sys/types.h>

/**
 * The file that a process means by a path: absolute, every link in it followed,
 * the last one only when `follows`. Nothing when a directory on the way is not
 * there, which the kernel tells the process itself.
 */
std::optional<std::string> meantFile(pid_t process, int directory, const std::string &path, bool follows);

/** Decides which files of a sandbox may be touched, and keeps account of them. */
class FileRule
{
public:
    FileRule(const Sandbox &sandbox, SandboxReport &report)
        : m_sandbox(sandbox)
        , m_report(report)
    {
    }

    /** Whether a call may go on; noted when not. `flags` are those of an open. */
    bool allows(CallKind kind, const std::string &file, unsigned flags);
    /** Whether servers may be reached: where nothing may be written outside, what they hold may not change either. */
    bool mayReachServers() const
    {
        return m_sandbox.outside != OutsideFiles::ReadOnly;
    }

private:
    bool isInside(const std::string &file) const;
    bool refuses(CallKind kind, const std::string &file, unsigned flags);
    bool refusesOpen(const std::string &file, unsigned flags);

    const Sandbox &m_sandbox;
    SandboxReport &m_report;
    std::set<std::string> m_temporary; ///< files of temporary names that the process made
};
