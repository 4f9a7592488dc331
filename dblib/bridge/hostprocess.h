// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "channel.h"
#include "deadline.h"
#include "message.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/types.h>

/** What a host is to do. */
struct HostTask {
    std::string program; ///< the host's own file
    std::string library; ///< what it loads
    std::string nameMap; ///< under which names the library exports its functions
    int megabytes = 0;   ///< of address space that it may use

    bool operator==(const HostTask &other) const
    {
        return program == other.program && library == other.library && nameMap == other.nameMap &&
               megabytes == other.megabytes;
    }
};

/** Why a host did not answer, as what it did: "was killed by SIGSEGV". It is gone. */
class HostFault : public std::runtime_error
{
public:
    /** `wasSent`: whether the host may have got the call. */
    HostFault(const std::string &what, bool wasSent)
        : std::runtime_error(what)
        , m_wasSent(wasSent)
    {
    }
    bool wasSent() const
    {
        return m_wasSent;
    }

private:
    bool m_wasSent;
};

/**
 * The process that a DB library is loaded into. The system kills it when the
 * thread that started it ends, however that happens.
 */
class HostProcess
{
public:
    /** Starts the host and waits until its library is loaded. Throws HostFault, std::system_error. */
    HostProcess(const HostTask &task, const Deadline &deadline);
    /** Kills the process, which takes all that the library started with it. */
    ~HostProcess();
    HostProcess(const HostProcess &) = delete;
    HostProcess &operator=(const HostProcess &) = delete;

    const Calls::Greeting &greeting() const
    {
        return m_greeting;
    }
    /** False in a process that was forked from the one that started the host, which is not to be touched there. */
    bool isOwn() const;
    /** How it ended although nothing was asked of it; empty while it runs. */
    std::string ending();
    /** Sends a call and waits for its answer. Throws HostFault. */
    Received call(std::string_view message, const Deadline &deadline);
    /** Lets it end as a program does; what it did instead, when it does not. */
    std::string leave(const Deadline &deadline);

private:
    enum class Event { Channel, End, TimeOut };

    Event wait(short events, const Deadline &deadline) const;
    bool hasEnded(std::chrono::milliseconds patience) const;
    void send(std::string_view message, const Deadline &deadline);
    Received receive(const Deadline &deadline);
    std::optional<Received> tryReceive(const Deadline &deadline);
    [[noreturn]] void failClosed(const Deadline &deadline, bool wasSent);
    [[noreturn]] void failTimedOut(const Deadline &deadline, bool wasSent);
    std::string end();

    Channel m_channel;
    Descriptor m_process;
    pid_t m_id = -1;
    pid_t m_owner;
    std::uint32_t m_call = 0; ///< number of the latest; the greeting has 0
    Calls::Greeting m_greeting;
};
