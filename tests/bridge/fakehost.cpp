// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * A host that breaks the agreement with the bridge in one way, which the file
 * name of its "library" tells.
 */
#include "answer.h"
#include "call.h"
#include "channel.h"
#include "hostprotocol.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>
#include <vector>

namespace
{
using namespace Calls;

/** Sends a packet as it stands, with descriptors beside it. */
void sendRaw(const std::string &bytes, const std::vector<int> &descriptors = {})
{
    iovec part = {const_cast<char *>(bytes.data()), bytes.size()};
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(4 * sizeof(int))] = {};
    if (!descriptors.empty()) {
        header.msg_control = control;
        header.msg_controllen = CMSG_SPACE(descriptors.size() * sizeof(int));
        cmsghdr *message = CMSG_FIRSTHDR(&header);
        message->cmsg_level = SOL_SOCKET;
        message->cmsg_type = SCM_RIGHTS;
        message->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
        std::memcpy(CMSG_DATA(message), descriptors.data(), descriptors.size() * sizeof(int));
    }
    sendmsg(HostDescriptor, &header, MSG_NOSIGNAL);
}

std::string packet(std::uint32_t number, std::uint32_t size, const std::string &message = {})
{
    std::string bytes;
    append(bytes, number);
    append(bytes, size);
    return bytes + message;
}

void send(std::uint32_t number, const std::string &message)
{
    sendRaw(packet(number, std::uint32_t(message.size()), message));
}

std::string eventsAnswer(int count)
{
    std::vector<CMessageEvent> events(static_cast<std::size_t>(count));
    const FetchAnswer<CMessageEvent> answer(0, count, events.data());
    std::string bytes(answer.size(), '\0');
    MemorySink sink(bytes.data());
    answer.write(sink, 0);
    return bytes;
}

/** A memory file with `message` in it. */
int memoryWith(const std::string &message, bool sealed)
{
    const int memory = memfd_create("fakehost", MFD_ALLOW_SEALING);
    (void)!write(memory, message.data(), message.size());
    if (sealed)
        fcntl(memory, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    return memory;
}

[[noreturn]] void sleepOn()
{
    for (;;)
        pause();
}

/** Sends until nobody takes it any more. */
[[noreturn]] void flood(std::uint32_t number)
{
    for (;;)
        send(number, queryCall(DBFunctionGetEvents));
}

/** Answers a fetch in the wrong way. */
void misbehave(const std::string &way, std::uint32_t number)
{
    const std::string good = eventsAnswer(3);
    const auto size = std::uint32_t(good.size());
    if (way == "flood")
        flood(number + 1);
    if (way == "rubbish")
        send(number, std::string(300, 'x'));
    if (way == "empty-packet")
        sendRaw("x");
    if (way == "other-answer")
        send(number, answerMessage({DBFunctionInitEvents, Use::Plain}, {}));
    if (way == "other-call")
        send(number + 7, good);
    if (way == "cut")
        send(number, good.substr(0, good.size() - 1));
    if (way == "lies") {
        std::string lies = good;
        lies[24] = 100; // the count
        send(number, lies);
    }
    if (way == "size-of-another")
        sendRaw(packet(number, size + 1, good));
    if (way == "unsealed")
        sendRaw(packet(number, size), {memoryWith(good, false)});
    if (way == "short-memory")
        sendRaw(packet(number, size + 4096), {memoryWith(good, true)});
    if (way == "rubbish-memory")
        sendRaw(packet(number, 5000), {memoryWith(std::string(5000, 'x'), true)});
    if (way == "no-memory")
        sendRaw(packet(number, size), {open("/dev/zero", O_RDONLY)});
    if (way == "many-descriptors")
        sendRaw(packet(number, size), {memoryWith(good, true), memoryWith(good, true), 0, 1});
    if (way == "descriptor-and-message")
        sendRaw(packet(number, size, good), {memoryWith(good, true)});
    if (way == "huge-packet")
        send(number, std::string(Channel::LargestInline + 4096, 'x'));
    if (way == "closes") {
        close(HostDescriptor);
        sleepOn();
    }
}

void greet(const std::string &way)
{
    if (way == "no-greeting")
        std::exit(5);
    if (way == "silent")
        sleepOn();
    if (way == "rubbish-greeting")
        send(0, "hello");
    if (way == "answer-for-greeting")
        send(0, answerMessage({DBFunctionInitEvents, Use::Plain}, {}));
    if (way == "wrong-version") {
        std::string greeting = greetingMessage({64, true, 0x3ff});
        greeting[4] = 9;
        send(0, greeting);
    }
    send(0, greetingMessage({sizeof(void *) * 8, true, 0x3ff}));
    if (way == "unasked")
        flood(0);
}

void answer(const std::string &way, const Received &received)
{
    const Call call = readCall(received.bytes());
    if (call.subject.use == Use::Fetch)
        misbehave(way, received.number());
    else if (call.subject.use == Use::Query)
        send(received.number(), answerMessage(call.subject, {Status::Returned, EventSizes}));
    else
        send(received.number(), answerMessage(call.subject, {Status::Returned, 0}));
}
} // namespace

int main(int, char **argv)
{
    const std::string library = argv[3];
    const std::string way = library.substr(library.rfind('/') + 1);
    std::signal(SIGPIPE, SIG_IGN);
    greet(way);
    Channel channel{Descriptor(HostDescriptor)};
    try {
        for (;;) {
            pollfd waiting = {HostDescriptor, POLLIN, 0};
            poll(&waiting, 1, -1);
            if (const auto received = channel.receive())
                answer(way, *received);
        }
    } catch (const std::exception &) {
        return 0;
    }
}
