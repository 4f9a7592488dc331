// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <linux/seccomp.h>
#include <memory>
#include <set>
#include <string>

/**
 * @file
 * Watches the system calls of a process and of all that it starts, by the
 * kernel's seccomp notifications: each call that would change a file, reach a
 * server or touch the checker's own processes waits until the checker has
 * looked at it. A program of good will cannot write past it by accident; it is
 * no wall against one that means harm.
 */

/** What may be done to files outside of the sandbox's own directory. */
enum class OutsideFiles {
    Free,    ///< anything
    NotMade, ///< those that are there may be opened, and files made whose name goes on where that of one of them ends
    ReadOnly ///< nothing but reading
};

/** Where a process may write. */
struct Sandbox {
    std::string directory; ///< absolute, no link in it; everything below may be written. Empty: none
    OutsideFiles outside = OutsideFiles::Free;
};

/** What a watched process did or tried. */
struct SandboxReport {
    bool watched = false;          ///< false: the kernel offers no such notifications
    std::set<std::string> refused; ///< files outside that it was kept from making or writing
    std::set<std::string> made;    ///< files that it made outside, beside files that were there
    std::set<std::string> servers; ///< what it connected to
    std::string attack;            ///< what it tried to do to the checker's processes; empty: nothing
};

/** Within the process to be watched: begins it. The descriptor that Supervisor takes, or -1. */
int enterSandbox();

/** Hands a descriptor from the watched process to its parent over a socket; the receiver gets -1 when none came. */
void sendDescriptor(int socket, int descriptor);
int receiveDescriptor(int socket);

class FileRule;

/** Answers the notifications of one sandbox. Lives in the parent, which must not wait for anything else meanwhile. */
class Supervisor
{
public:
    /** Owns `listener`, which may be -1: then nothing is watched. */
    Supervisor(int listener, const Sandbox &sandbox);
    ~Supervisor();
    Supervisor(const Supervisor &) = delete;
    Supervisor &operator=(const Supervisor &) = delete;

    /** Becomes readable when a call waits; -1 when nothing is watched. */
    int descriptor() const
    {
        return m_listener;
    }
    /** Answers one call, if one waits. */
    void answer();
    /** Nobody is left to be watched. */
    void end();
    const SandboxReport &report() const
    {
        return m_report;
    }

private:
    int m_listener;
    SandboxReport m_report;
    std::unique_ptr<FileRule> m_rule;
    seccomp_notif_sizes m_sizes = {};
};
