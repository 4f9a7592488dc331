// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "channel.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/uio.h>
#include <system_error>

namespace
{
/** What every packet begins with. */
struct PacketHead {
    std::uint32_t number;
    std::uint32_t size;
};
static_assert(sizeof(PacketHead) == 8, "as stated in docs/bridge.md");

/** Room for one descriptor beside a packet. */
union Control {
    cmsghdr align;
    std::array<char, CMSG_SPACE(sizeof(int))> bytes;
};

void attach(msghdr &header, Control &control, int descriptor)
{
    header.msg_control = control.bytes.data();
    header.msg_controllen = control.bytes.size();
    cmsghdr *message = CMSG_FIRSTHDR(&header);
    message->cmsg_level = SOL_SOCKET;
    message->cmsg_type = SCM_RIGHTS;
    message->cmsg_len = CMSG_LEN(sizeof(descriptor));
    std::memcpy(CMSG_DATA(message), &descriptor, sizeof(descriptor));
}

/** Takes over every descriptor that came, so that none stays open. */
std::vector<Descriptor> descriptorsOf(msghdr &header)
{
    std::vector<Descriptor> descriptors;
    for (cmsghdr *message = CMSG_FIRSTHDR(&header); message; message = CMSG_NXTHDR(&header, message)) {
        if (message->cmsg_level != SOL_SOCKET || message->cmsg_type != SCM_RIGHTS)
            continue;
        for (std::size_t at = CMSG_LEN(0); at + sizeof(int) <= message->cmsg_len; at += sizeof(int)) {
            int number = -1;
            std::memcpy(&number, reinterpret_cast<const char *>(message) + at, sizeof(number));
            descriptors.emplace_back(number);
        }
    }
    return descriptors;
}

/** False when the call is to be made again later. */
bool succeeded(ssize_t result, const char *what)
{
    if (result >= 0)
        return true;
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
        return false;
    if (errno == EPIPE || errno == ECONNRESET)
        throw ChannelClosed(std::strerror(errno));
    throw std::system_error(errno, std::generic_category(), what);
}

Received receivedFrom(std::string_view packet, const std::vector<Descriptor> &descriptors)
{
    Calls::ByteReader reader(packet);
    const auto head = reader.take<PacketHead>("a packet's head");
    if (descriptors.empty()) {
        if (head.size != reader.left())
            throw Calls::CorruptMessage(4, "a message of " + std::to_string(head.size) + " bytes came with " +
                                               std::to_string(reader.left()));
        const std::string_view message = reader.take(head.size, "the message");
        return {head.number, std::vector<char>(message.begin(), message.end())};
    }
    if (descriptors.size() > 1 || reader.left() > 0 || head.size == 0)
        throw Calls::CorruptMessage(4, "a packet with too much beside its message");
    return {head.number, MemoryMapping(descriptors.front(), head.size)};
}
} // namespace

Received::Received(std::uint32_t number, std::vector<char> bytes)
    : m_number(number)
    , m_bytes(std::move(bytes))
{
}

Received::Received(std::uint32_t number, MemoryMapping memory)
    : m_number(number)
    , m_bytes(std::move(memory))
{
}

std::string_view Received::bytes() const
{
    if (const auto *memory = std::get_if<MemoryMapping>(&m_bytes))
        return memory->bytes();
    const auto &bytes = std::get<std::vector<char>>(m_bytes);
    return {bytes.data(), bytes.size()};
}

Channel::Channel(Descriptor socket)
    : m_socket(std::move(socket))
    , m_packet(sizeof(PacketHead) + LargestInline)
{
}

bool Channel::send(std::uint32_t number, std::string_view message)
{
    if (message.size() <= LargestInline)
        return sendPacket(number, message.size(), message, -1);
    SealedMemory memory(message.size());
    memory.put(0, message.data(), message.size());
    memory.seal();
    return send(number, memory);
}

bool Channel::send(std::uint32_t number, const SealedMemory &message)
{
    return sendPacket(number, message.size(), {}, message.descriptor());
}

bool Channel::sendPacket(std::uint32_t number, std::size_t size, std::string_view bytes, int descriptor)
{
    PacketHead head = {number, std::uint32_t(size)};
    std::array<iovec, 2> parts = {{{&head, sizeof(head)}, {const_cast<char *>(bytes.data()), bytes.size()}}};
    msghdr header = {};
    header.msg_iov = parts.data();
    header.msg_iovlen = parts.size();
    Control control = {};
    if (descriptor >= 0)
        attach(header, control, descriptor);
    return succeeded(sendmsg(m_socket.get(), &header, MSG_DONTWAIT | MSG_NOSIGNAL), "sendmsg");
}

std::optional<Received> Channel::receive()
{
    iovec part = {m_packet.data(), m_packet.size()};
    Control control = {};
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control.bytes.data();
    header.msg_controllen = control.bytes.size();
    const ssize_t size = recvmsg(m_socket.get(), &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (!succeeded(size, "recvmsg"))
        return std::nullopt;
    const std::vector<Descriptor> descriptors = descriptorsOf(header);
    if (size == 0 && descriptors.empty())
        throw ChannelClosed("the other end closed it");
    if ((header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0)
        throw Calls::CorruptMessage(std::size_t(size), "a packet is too large");
    return receivedFrom({m_packet.data(), std::size_t(size)}, descriptors);
}
