// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "hostprocess.h"

#include "hostprotocol.h"
#include "spawnhost.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <vector>

namespace
{
using std::chrono::milliseconds;

/** How long a process that was killed, or has closed its connection, is waited for. */
constexpr milliseconds EndPatience(1000);
/** What a host did that still runs. */
constexpr char ClosedConnection[] = "closed its connection";

/** A descriptor that can be read once the process has ended. The C library of Debian 12 has it for C only. */
int openProcess(pid_t id)
{
    return int(syscall(SYS_pidfd_open, id, 0));
}

std::string signalName(int number)
{
    const char *name = sigabbrev_np(number);
    return name ? std::string("SIG") + name : "signal " + std::to_string(number);
}

std::string endingOf(int status)
{
    if (WIFSIGNALED(status))
        return "was killed by " + signalName(WTERMSIG(status));
    if (WEXITSTATUS(status) == HostLostConnection)
        return "closed its connection";
    return "ended with exit status " + std::to_string(WEXITSTATUS(status));
}

/** Processes that were killed and had not ended yet: the system can hold one back. */
std::vector<pid_t> &unreaped()
{
    static std::vector<pid_t> processes;
    return processes;
}

void reapLateOnes()
{
    std::vector<pid_t> &late = unreaped();
    late.erase(std::remove_if(late.begin(), late.end(), [](pid_t id) { return waitpid(id, nullptr, WNOHANG) != 0; }),
               late.end());
}

std::string seconds(milliseconds time)
{
    const auto whole = std::to_string(time.count() / 1000);
    const auto rest = time.count() % 1000;
    return rest == 0 ? whole : whole + "." + std::to_string(rest / 100);
}
} // namespace

HostProcess::HostProcess(const HostTask &task, const Deadline &deadline)
    : m_owner(getpid())
{
    reapLateOnes();
    SpawnedHost host = spawnHost(task);
    m_id = host.id;
    m_channel = Channel(std::move(host.socket));
    m_process.reset(openProcess(m_id));
    try {
        if (m_process.get() < 0)
            throw std::system_error(errno, std::generic_category(), "pidfd_open");
        const Received greeting = receive(deadline);
        m_greeting = Calls::readGreeting(greeting.bytes());
    } catch (const Calls::CorruptMessage &fault) {
        end();
        throw HostFault(std::string("greets with what is no greeting (") + fault.what() + ")", false);
    } catch (...) {
        end();
        throw;
    }
}

HostProcess::~HostProcess()
{
    if (isOwn())
        end();
}

bool HostProcess::isOwn() const
{
    return m_owner == getpid();
}

std::string HostProcess::ending()
{
    if (hasEnded(milliseconds(0)))
        return end();
    pollfd channel = {m_channel.descriptor(), 0, 0};
    if (poll(&channel, 1, 0) == 0)
        return {};
    const bool ended = hasEnded(EndPatience);
    const std::string how = end();
    return ended ? how : ClosedConnection;
}

Received HostProcess::call(std::string_view message, const Deadline &deadline)
{
    ++m_call;
    send(message, deadline);
    return receive(deadline);
}

std::string HostProcess::leave(const Deadline &deadline)
{
    m_channel.close();
    if (m_id > 0)
        kill(m_id, SIGCONT); // the library may have stopped its keeper
    const bool ended = hasEnded(deadline.left());
    const std::string how = end();
    if (!ended)
        return "was killed after " + seconds(deadline.limit()) + " s";
    return how == endingOf(0) ? std::string() : how;
}

/** The channel comes first: its last message may be whole although the process has ended. */
HostProcess::Event HostProcess::wait(short events, const Deadline &deadline) const
{
    for (;;) {
        pollfd waiting[] = {{m_channel.descriptor(), events, 0}, {m_process.get(), POLLIN, 0}};
        const milliseconds left = deadline.left();
        const int ready = poll(waiting, 2, int(left.count()));
        if (ready < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "poll");
        if (ready > 0)
            return waiting[0].revents != 0 ? Event::Channel : Event::End;
        if (ready == 0 && left.count() == 0)
            return Event::TimeOut;
    }
}

bool HostProcess::hasEnded(milliseconds patience) const
{
    const Deadline deadline(patience);
    for (;;) {
        pollfd waiting = {m_process.get(), POLLIN, 0};
        const milliseconds left = deadline.left();
        const int ready = poll(&waiting, 1, int(left.count()));
        if (ready > 0)
            return true;
        if (left.count() == 0)
            return false;
    }
}

void HostProcess::send(std::string_view message, const Deadline &deadline)
{
    try {
        while (!m_channel.send(m_call, message)) {
            const Event event = wait(POLLOUT, deadline);
            if (event == Event::TimeOut)
                failTimedOut(deadline, false);
            if (event == Event::End)
                throw HostFault(end(), false);
        }
    } catch (const ChannelClosed &) {
        failClosed(deadline, false);
    }
}

Received HostProcess::receive(const Deadline &deadline)
{
    for (;;) {
        const Event event = wait(POLLIN, deadline);
        if (event == Event::TimeOut)
            failTimedOut(deadline, true);
        if (std::optional<Received> received = tryReceive(deadline))
            return std::move(*received);
        if (event == Event::End)
            throw HostFault(end(), true);
    }
}

std::optional<Received> HostProcess::tryReceive(const Deadline &deadline)
{
    try {
        std::optional<Received> received = m_channel.receive();
        if (received && received->number() != m_call)
            throw Calls::CorruptMessage(0, "the answer to another call");
        return received;
    } catch (const ChannelClosed &) {
        failClosed(deadline, true);
    } catch (const Calls::CorruptMessage &fault) {
        end();
        throw HostFault(std::string("answered rubbish (") + fault.what() + ")", true);
    }
}

void HostProcess::failClosed(const Deadline &deadline, bool wasSent)
{
    // A process that ends closes its connection first.
    const bool ended = hasEnded(std::min(EndPatience, deadline.left()));
    const std::string how = end();
    throw HostFault(ended ? how : ClosedConnection, wasSent);
}

void HostProcess::failTimedOut(const Deadline &deadline, bool wasSent)
{
    end();
    throw HostFault("was killed after " + seconds(deadline.limit()) + " s without an answer", wasSent);
}

/** Kills what is left of it, reaps it and forgets it. How it ended. */
std::string HostProcess::end()
{
    if (m_id < 0)
        return {};
    const pid_t id = std::exchange(m_id, -1);
    // A host that can ends what the library has started, too.
    kill(id, SIGTERM);
    kill(id, SIGCONT);
    if (!hasEnded(EndPatience / 2)) {
        kill(-id, SIGKILL);
        kill(id, SIGKILL);
        hasEnded(EndPatience / 2);
    }
    int status = 0;
    const pid_t reaped = waitpid(id, &status, WNOHANG);
    if (reaped == 0)
        unreaped().push_back(id);
    m_process.reset();
    m_channel.close();
    return reaped == id ? endingOf(status) : "ended";
}
