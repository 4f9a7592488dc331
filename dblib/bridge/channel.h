// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "descriptor.h"
#include "sealedmemory.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <variant>
#include <vector>

/** The other end is gone. */
class ChannelClosed : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** A message that came through a channel: its number, its bytes, and what holds them. */
class Received
{
public:
    Received(std::uint32_t number, std::vector<char> bytes);
    Received(std::uint32_t number, MemoryMapping memory);

    std::uint32_t number() const
    {
        return m_number;
    }
    /** As long as this lives; they stay where they are when it is moved. */
    std::string_view bytes() const;

private:
    std::uint32_t m_number;
    std::variant<std::vector<char>, MemoryMapping> m_bytes;
};

/**
 * One end of a socket pair (SOCK_SEQPACKET) that carries whole messages, each
 * with the number of the call that it belongs to. A packet is 4 bytes of
 * number, 4 bytes of the message's size, and the message; one of more than
 * LargestInline bytes comes as a descriptor of sealed memory in its place.
 *
 * Nothing here waits: whoever owns the channel polls descriptor().
 */
class Channel
{
public:
    static constexpr std::size_t LargestInline = 1 << 16;

    Channel() = default;
    explicit Channel(Descriptor socket);

    void close()
    {
        m_socket.reset();
    }
    int descriptor() const
    {
        return m_socket.get();
    }

    /** False when there is no room yet. Throws ChannelClosed, and std::system_error. */
    bool send(std::uint32_t number, std::string_view message);
    bool send(std::uint32_t number, const SealedMemory &message);

    /**
     * The next message; nothing when none is there yet. Throws ChannelClosed,
     * Calls::CorruptMessage when what came is no packet, and std::system_error.
     */
    std::optional<Received> receive();

private:
    bool sendPacket(std::uint32_t number, std::size_t size, std::string_view bytes, int descriptor);

    Descriptor m_socket;
    std::vector<char> m_packet; ///< room for the largest
};
