// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "storetesting.h"

#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

inline sockaddr_un socketAddress(const std::string &folder)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = folder + "/.s.PGSQL.5432";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

/** A socket at which a server seems to listen, in `folder`; the descriptor is the caller's. */
inline int listenAt(const std::string &folder)
{
    const sockaddr_un address = socketAddress(folder);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(descriptor, 16) != 0)
        throw std::runtime_error(address.sun_path);
    return descriptor;
}

/** A connection to the server in `folder`; the descriptor is the caller's. */
inline int connectAt(const std::string &folder)
{
    const sockaddr_un address = socketAddress(folder);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        throw std::runtime_error(address.sun_path);
    return descriptor;
}

/** Takes connections and never says a word, as a machine that hangs. */
class SilentServer
{
public:
    SilentServer()
        : m_descriptor(listenAt(m_folder.path()))
    {
    }
    SilentServer(const SilentServer &) = delete;
    SilentServer &operator=(const SilentServer &) = delete;
    ~SilentServer()
    {
        ::close(m_descriptor);
    }
    const std::string &folder() const
    {
        return m_folder.path();
    }

private:
    TemporaryFolder m_folder;
    int m_descriptor;
};
