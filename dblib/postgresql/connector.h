// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "connection.h"

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace Postgres
{
/**
 * Makes connections to one server, or to the first of several that will do. An
 * attempt runs in a thread, as looking a name up or waiting for a machine that
 * is off may take longer than a window can stand still; no thread runs once it
 * has ended.
 *
 * As long as the server does not answer, connect() says so at once: the attempts
 * go on beside the program. After one that failed there is a pause, which
 * doubles up to LongestPause.
 */
class Connector
{
public:
    static constexpr std::chrono::milliseconds FirstPause{50};
    static constexpr std::chrono::milliseconds LongestPause{1000};

    /** `words`: libpq's connection string or URI. */
    Connector(std::string words, std::chrono::seconds patience);
    Connector(const Connector &) = delete;
    Connector &operator=(const Connector &) = delete;
    /** An attempt that is on its way is waited for as long as connect() would. */
    ~Connector();

    /** A fresh connection. Throws Error when there is none within the patience. */
    Handle connect();
    /** The server in words, never with a password. */
    const std::string &server() const
    {
        return m_server;
    }
    /** True when the words hold a password. */
    bool hasPassword() const
    {
        return m_hasPassword;
    }

private:
    struct Attempt;
    void describe();
    void start();
    Handle take();
    [[noreturn]] void fail(const std::string &reason);

    std::string m_words;
    std::chrono::seconds m_patience;
    std::string m_server;
    std::string m_fault; ///< in the words
    bool m_hasPassword = false;
    std::shared_ptr<Attempt> m_attempt;
    std::thread m_thread;
    bool m_isSilent = false; ///< the last attempt got no answer in time
    std::string m_reason;    ///< why the last attempt failed
    std::chrono::milliseconds m_pause{0};
    std::chrono::steady_clock::time_point m_next;
};
} // namespace Postgres
