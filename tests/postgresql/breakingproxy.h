// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "storetesting.h"

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

/**
 * Stands between a program and its server, and breaks the connection at the one
 * moment at which neither knows what the other has: the server has done what it
 * was sent, and its answer is on the way.
 */
class BreakingProxy
{
public:
    /** `host`: the folder of the server's socket. */
    explicit BreakingProxy(std::string host);
    BreakingProxy(const BreakingProxy &) = delete;
    BreakingProxy &operator=(const BreakingProxy &) = delete;
    ~BreakingProxy();

    /** The folder of its own socket. */
    const std::string &host() const
    {
        return m_folder.path();
    }
    /** What happens to the answer to what contains `words`, the next `times` times. */
    enum Fate {
        Lost, ///< it does not arrive, and the connection ends
        Late  ///< it does not arrive, and the connection stays
    };
    void breakAt(const std::string &words, int times, Fate fate = Lost);
    /** How many answers did not arrive. */
    int broken() const
    {
        return m_broken;
    }

private:
    struct Link {
        int client;
        int server;
        bool isBroken;
    };
    void serve();
    bool pass(Link &link, bool fromClient);
    bool isFatal(const std::string &sent);

    std::string m_server;
    TemporaryFolder m_folder;
    int m_listener;
    std::mutex m_mutex;
    std::string m_words;
    int m_times = 0;
    Fate m_fate = Lost;
    std::atomic<int> m_broken{0};
    std::atomic<bool> m_ends{false};
    std::thread m_thread;
};
