// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "channel.h"

#include "failure.h"
#include "translation.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
constexpr std::size_t Portion = 1 << 16;

/** What stands before the bytes of a frame. Both ends are the same program. */
struct Head {
    std::uint64_t size;
    char word;
};

} // namespace

Channel::Channel(int descriptor)
    : m_descriptor(descriptor)
{
}

Channel::~Channel()
{
    close(m_descriptor);
}

void Channel::send(char word, const std::string &bytes)
{
    Head head = {};
    head.size = bytes.size();
    head.word = word;
    m_out.append(reinterpret_cast<const char *>(&head), sizeof(head)).append(bytes);
    if (m_out.size() >= Portion)
        flush();
}

void Channel::flush()
{
    for (std::size_t done = 0; done < m_out.size();) {
        const ssize_t sent = ::send(m_descriptor, m_out.data() + done, m_out.size() - done, MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            break; // the other end has gone, and may have said why: receive() tells
        done += sent > 0 ? std::size_t(sent) : 0;
    }
    m_out.clear();
}

Frame Channel::receive()
{
    Head head;
    take(reinterpret_cast<char *>(&head), sizeof(head));
    Frame frame;
    frame.word = head.word;
    frame.bytes.resize(std::size_t(head.size));
    take(frame.bytes.data(), frame.bytes.size());
    return frame;
}

void Channel::take(char *bytes, std::size_t size)
{
    while (size > 0) {
        if (m_read == m_in.size()) {
            m_in.resize(Portion);
            const ssize_t got = recv(m_descriptor, m_in.data(), m_in.size(), 0);
            m_in.resize(got > 0 ? std::size_t(got) : 0);
            m_read = 0;
            if (got == 0 || (got < 0 && errno != EINTR))
                throw Failure(translated("the other process has ended"));
        }
        const std::size_t taken = std::min(size, m_in.size() - m_read);
        std::memcpy(bytes, m_in.data() + m_read, taken);
        bytes += taken;
        size -= taken;
        m_read += taken;
    }
}
