// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "breakingproxy.h"

#include "silentserver.h"

#include <algorithm>
#include <poll.h>
#include <vector>

namespace
{
/** How soon the end is noticed, in milliseconds. */
constexpr int Tick = 20;

bool contains(const std::string &bytes, const std::string &words)
{
    return bytes.find(words) != std::string::npos;
}
} // namespace

BreakingProxy::BreakingProxy(std::string host)
    : m_server(std::move(host))
    , m_listener(listenAt(m_folder.path()))
    , m_thread([this] { serve(); })
{
}

BreakingProxy::~BreakingProxy()
{
    m_ends = true;
    m_thread.join();
    ::close(m_listener);
}

void BreakingProxy::breakAt(const std::string &words, int times, Fate fate)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_words = words;
    m_times = times;
    m_fate = fate;
}

bool BreakingProxy::isFatal(const std::string &sent)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_times == 0 || !contains(sent, m_words))
        return false;
    --m_times;
    return true;
}

/** False when the connection has ended. */
bool BreakingProxy::pass(Link &link, bool fromClient)
{
    std::string bytes(1 << 16, '\0');
    const ssize_t got = ::recv(fromClient ? link.client : link.server, bytes.data(), bytes.size(), 0);
    if (got <= 0)
        return false;
    bytes.resize(std::size_t(got));
    if (fromClient) {
        link.isBroken = link.isBroken || isFatal(bytes);
    } else if (link.isBroken) {
        // The server is ready for the next statement: it has done this one.
        const bool isWhole = contains(bytes, std::string("Z\0\0\0\5", 5));
        m_broken += isWhole ? 1 : 0;
        return !isWhole || m_fate == Late;
    }
    return ::send(fromClient ? link.server : link.client, bytes.data(), bytes.size(), MSG_NOSIGNAL) == got;
}

void BreakingProxy::serve()
{
    std::vector<Link> links;
    while (!m_ends) {
        std::vector<pollfd> sockets = {{m_listener, POLLIN, 0}};
        for (const Link &link : links)
            for (const int socket : {link.client, link.server})
                sockets.push_back({socket, POLLIN, 0});
        ::poll(sockets.data(), sockets.size(), Tick);
        for (std::size_t i = links.size(); i-- > 0;) {
            const bool goesOn = (!sockets[2 * i + 1].revents || pass(links[i], true)) &&
                                (!sockets[2 * i + 2].revents || pass(links[i], false));
            if (!goesOn) {
                ::close(links[i].client);
                ::close(links[i].server);
                links.erase(links.begin() + std::ptrdiff_t(i));
            }
        }
        if (sockets[0].revents)
            links.push_back({::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC), connectAt(m_server), false});
    }
    for (const Link &link : links) {
        ::close(link.client);
        ::close(link.server);
    }
}
