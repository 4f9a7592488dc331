// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sandbox.h"
#include "systemcalls.h"

#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
#ifdef __x86_64__
constexpr std::uint32_t NativeArchitecture = AUDIT_ARCH_X86_64;
constexpr std::uint32_t ForeignArchitecture = AUDIT_ARCH_I386;
#else
constexpr std::uint32_t NativeArchitecture = AUDIT_ARCH_I386;
constexpr std::uint32_t ForeignArchitecture = 0;
#endif

/** Flags of an open that can change anything; without one it is none of ours. */
constexpr std::uint32_t WritingFlags = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC;

using Program = std::vector<sock_filter>;

sock_filter load(std::size_t offset)
{
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, std::uint32_t(offset));
}

/** The lower half of an argument: flags and socket calls have no more. */
sock_filter loadArgument(int place)
{
    return load(offsetof(seccomp_data, args) + std::size_t(place) * sizeof(std::uint64_t));
}

sock_filter jump(int condition, std::uint32_t value, std::uint8_t yes, std::uint8_t no)
{
    return BPF_JUMP(std::uint16_t(BPF_JMP | BPF_K | condition), value, yes, no);
}

sock_filter leave(std::uint32_t action)
{
    return BPF_STMT(BPF_RET | BPF_K, action);
}

/** What becomes of the call that the accumulator holds the number of, when it is this one. */
void appendCall(Program &program, const SystemCall &call)
{
    const bool opens = call.kind == CallKind::Open && call.flags >= 0;
    if (!opens && call.onlyValue < 0) {
        program.insert(program.end(), {jump(BPF_JEQ, call.number, 0, 1), leave(SECCOMP_RET_USER_NOTIF)});
        return;
    }
    const sock_filter test =
        opens ? jump(BPF_JSET, WritingFlags, 0, 1) : jump(BPF_JEQ, std::uint32_t(call.onlyValue), 0, 1);
    program.insert(program.end(), {jump(BPF_JEQ, call.number, 0, 4), loadArgument(opens ? call.flags : 0), test,
                                   leave(SECCOMP_RET_USER_NOTIF), leave(SECCOMP_RET_ALLOW)});
}

void appendArchitecture(Program &program, std::uint32_t architecture, const std::vector<SystemCall> &calls)
{
    Program block = {load(offsetof(seccomp_data, nr))};
    for (const SystemCall &call : calls)
        appendCall(block, call);
    block.push_back(leave(SECCOMP_RET_ALLOW));
    program.push_back(load(offsetof(seccomp_data, arch)));
    program.push_back(jump(BPF_JEQ, architecture, 1, 0));
    program.push_back(BPF_STMT(BPF_JMP | BPF_JA, std::uint32_t(block.size())));
    // One by one: GCC 14 sees an overflow in the insertion of a range, where there is none.
    for (const sock_filter &instruction : block)
        program.push_back(instruction);
}

Program filterProgram()
{
    Program program;
    appendArchitecture(program, NativeArchitecture, nativeSystemCalls());
    if (!foreignSystemCalls().empty())
        appendArchitecture(program, ForeignArchitecture, foreignSystemCalls());
    program.push_back(leave(SECCOMP_RET_ALLOW));
    return program;
}

/** A message with room for one descriptor beside its one byte. */
struct DescriptorMessage {
    char byte = 0;
    iovec data = {&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr header = {};

    DescriptorMessage()
    {
        header.msg_iov = &data;
        header.msg_iovlen = 1;
        header.msg_control = control;
        header.msg_controllen = sizeof(control);
    }
};
} // namespace

int enterSandbox()
{
    Program program = filterProgram();
    const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return -1;
    return int(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &filter));
}

void sendDescriptor(int socket, int descriptor)
{
    DescriptorMessage message;
    cmsghdr *control = CMSG_FIRSTHDR(&message.header);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(control), &descriptor, sizeof(int));
    sendmsg(socket, &message.header, MSG_NOSIGNAL);
}

int receiveDescriptor(int socket)
{
    DescriptorMessage message;
    int descriptor = -1;
    const bool came = recvmsg(socket, &message.header, MSG_CMSG_CLOEXEC) > 0;
    const cmsghdr *control = came ? CMSG_FIRSTHDR(&message.header) : nullptr;
    if (control && control->cmsg_type == SCM_RIGHTS)
        std::memcpy(&descriptor, CMSG_DATA(control), sizeof(int));
    return descriptor;
}
