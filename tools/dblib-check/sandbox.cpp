// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sandbox.h"

#include "filerule.h"
#include "processtree.h"
#include "signalname.h"
#include "systemcalls.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/seccomp.h>
#include <netinet/in.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
/** Reads memory of another process, as far as it reaches. */
std::size_t readMemory(pid_t process, std::uint64_t address, void *to, std::size_t size)
{
    const iovec local = {to, size};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): it points into the other process
    const iovec remote = {reinterpret_cast<void *>(std::uintptr_t(address)), size};
    const ssize_t got = process_vm_readv(process, &local, 1, &remote, 1, 0);
    return got > 0 ? std::size_t(got) : 0;
}

/** The text at an address, read page by page: what lies behind its NUL may not be readable. */
std::string readText(pid_t process, std::uint64_t address)
{
    std::string text;
    char piece[256];
    while (text.size() < PATH_MAX) {
        const std::size_t wanted = sizeof(piece) - std::size_t(address + text.size()) % sizeof(piece);
        const std::size_t got = readMemory(process, address + text.size(), piece, wanted);
        const std::size_t length = strnlen(piece, got);
        text.append(piece, length);
        if (got == 0 || length < got)
            break;
    }
    return text;
}

const SystemCall *callOf(const seccomp_data &data)
{
    const auto &calls =
        data.arch == AUDIT_ARCH_I386 && !foreignSystemCalls().empty() ? foreignSystemCalls() : nativeSystemCalls();
    const auto found = std::find_if(calls.begin(), calls.end(),
                                    [&](const SystemCall &call) { return call.number == std::uint32_t(data.nr); });
    return found == calls.end() ? nullptr : &*found;
}

/** One notification with what is needed to understand it. */
struct Waiting {
    const seccomp_notif &notification;
    const SystemCall &call;

    pid_t process() const
    {
        return pid_t(notification.pid);
    }
    std::uint64_t argument(int place) const
    {
        return notification.data.args[place];
    }
    std::optional<std::string> file(int directory, int path, bool follows) const
    {
        const int base = directory < 0 ? AT_FDCWD : int(argument(directory));
        return meantFile(process(), base, readText(process(), argument(path)), follows);
    }
    /** The flags of an open; creat has none, and those of openat2 lie in memory. */
    unsigned openFlags() const
    {
        if (call.flags >= 0)
            return unsigned(argument(call.flags));
        std::uint64_t flags = O_WRONLY | O_CREAT | O_TRUNC;
        if (call.directory >= 0)
            readMemory(process(), argument(2), &flags, sizeof(flags));
        return unsigned(flags);
    }
};

// Servers.

/** Services of the machine that a program speaks to without knowing. */
bool isEverydayService(const std::string &path)
{
    for (const char *place : {"/dev/log", "/run/systemd/", "/run/nscd/", "/var/run/nscd/", "/run/dbus/"})
        if (path.compare(0, std::strlen(place), place) == 0)
            return true;
    return path.empty();
}

std::string numericAddress(int family, const void *address, std::uint16_t port)
{
    constexpr std::uint16_t nameService = 53;
    char text[INET6_ADDRSTRLEN] = {};
    if (ntohs(port) == nameService || !inet_ntop(family, address, text, sizeof(text)))
        return {};
    return std::string(text) + " port " + std::to_string(ntohs(port));
}

/** The server that a socket's address names; empty for none that could hold records. */
std::string serverAt(const Waiting &waiting)
{
    std::uint64_t address = waiting.argument(waiting.call.path);
    if (waiting.call.onlyValue >= 0) {
        // The arguments of a 32-bit socket call lie in memory: descriptor, address, length.
        std::uint32_t arguments[3] = {};
        readMemory(waiting.process(), address, arguments, sizeof(arguments));
        address = arguments[1];
    }
    sockaddr_storage storage = {};
    for (const std::size_t size : {sizeof(sockaddr_un), sizeof(sockaddr_in6), sizeof(sockaddr_in)})
        if (readMemory(waiting.process(), address, &storage, size) == size)
            break;
    if (storage.ss_family == AF_UNIX) {
        const char *path = reinterpret_cast<const sockaddr_un &>(storage).sun_path;
        const std::string name(path, strnlen(path, sizeof(sockaddr_un::sun_path)));
        return isEverydayService(name) ? std::string() : name;
    }
    const auto &four = reinterpret_cast<const sockaddr_in &>(storage);
    const auto &six = reinterpret_cast<const sockaddr_in6 &>(storage);
    return storage.ss_family == AF_INET    ? numericAddress(AF_INET, &four.sin_addr, four.sin_port)
           : storage.ss_family == AF_INET6 ? numericAddress(AF_INET6, &six.sin6_addr, six.sin6_port)
                                           : std::string();
}

// Other processes.

/** Whether this is the checker or a program that it was started by. */
bool isCheckers(pid_t process)
{
    return process > 0 && descends(getpid(), process);
}

/** What a call would do to processes that are none of the library's; empty: nothing. */
std::string attackOf(const Waiting &waiting)
{
    const auto target = pid_t(std::int32_t(waiting.argument(waiting.call.path)));
    if (waiting.call.kind == CallKind::Seize)
        return isCheckers(target) ? "it tried to take hold of the checker's process" : "";
    const int number = int(waiting.argument(waiting.call.flags));
    if (number == 0)
        return {};
    if (target == -1)
        return "it tried to send " + signalName(number) + " to every process";
    return isCheckers(target < 0 ? -target : target)
               ? "it tried to send " + signalName(number) + " to the checker's process"
               : "";
}

/** What opening this file for writing means for the checker; empty: nothing. */
std::string attackThrough(const std::string &file)
{
    int process = 0;
    char rest[8] = {};
    if (std::sscanf(file.c_str(), "/proc/%d/%7s", &process, rest) != 2)
        return {};
    if (isCheckers(process))
        return "it tried to write to " + file + ", which is the checker's process";
    return std::strcmp(rest, "mem") == 0 ? "it tried to write to the memory of a process past its protection" : "";
}

// Decisions.

/** The error that a call is refused with; 0: it goes on. */
int decide(const Waiting &waiting, FileRule &rule, SandboxReport &report)
{
    const SystemCall &call = waiting.call;
    if (call.kind == CallKind::Connect) {
        const std::string server = serverAt(waiting);
        if (!server.empty())
            report.servers.insert(server);
        return server.empty() || rule.mayReachServers() ? 0 : ECONNREFUSED;
    }
    if (call.kind == CallKind::Signal || call.kind == CallKind::Seize) {
        const std::string attack = attackOf(waiting);
        if (!attack.empty())
            report.attack = attack;
        return attack.empty() ? 0 : EPERM;
    }
    const bool opens = call.kind == CallKind::Open;
    const auto file = waiting.file(call.directory, call.path, opens || call.kind == CallKind::Change);
    const std::string attack = file && opens ? attackThrough(*file) : std::string();
    if (!attack.empty()) {
        report.attack = attack;
        return EACCES;
    }
    bool allowed = !file || rule.allows(call.kind, *file, opens ? waiting.openFlags() : 0);
    if (call.kind == CallKind::Move) {
        const auto other = waiting.file(call.otherDirectory, call.otherPath, false);
        allowed = allowed && (!other || rule.allows(CallKind::Make, *other, 0));
    }
    return allowed ? 0 : EACCES;
}
} // namespace

Supervisor::Supervisor(int listener, const Sandbox &sandbox)
    : m_listener(listener)
    , m_rule(std::make_unique<FileRule>(sandbox, m_report))
{
    m_report.watched = listener >= 0;
    syscall(SYS_seccomp, SECCOMP_GET_NOTIF_SIZES, 0, &m_sizes);
}

Supervisor::~Supervisor()
{
    end();
}

void Supervisor::end()
{
    if (m_listener >= 0)
        close(m_listener);
    m_listener = -1;
}

void Supervisor::answer()
{
    // A newer kernel's structures may be longer than those that this was built with.
    std::vector<char> room(std::max<std::size_t>(m_sizes.seccomp_notif, sizeof(seccomp_notif)));
    auto *notification = reinterpret_cast<seccomp_notif *>(room.data());
    if (ioctl(m_listener, SECCOMP_IOCTL_NOTIF_RECV, notification) != 0)
        return;
    const SystemCall *call = callOf(notification->data);
    const int fault = call ? decide({*notification, *call}, *m_rule, m_report) : 0;
    std::vector<char> answerRoom(std::max<std::size_t>(m_sizes.seccomp_notif_resp, sizeof(seccomp_notif_resp)));
    auto *response = reinterpret_cast<seccomp_notif_resp *>(answerRoom.data());
    response->id = notification->id;
    response->error = -fault;
    response->flags = fault == 0 ? SECCOMP_USER_NOTIF_FLAG_CONTINUE : 0;
    ioctl(m_listener, SECCOMP_IOCTL_NOTIF_SEND, response);
}
