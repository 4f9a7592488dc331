// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "connector.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <libpq-fe.h>
#include <mutex>
#include <new>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

struct OptionsCloser {
    void operator()(PQconninfoOption *options) const
    {
        PQconninfoFree(options);
    }
};
using Options = std::unique_ptr<PQconninfoOption, OptionsCloser>;

/** NULL when the words are none of libpq's; `fault` then says why. */
Options parsed(const std::string &words, std::string &fault)
{
    char *message = nullptr;
    Options options(PQconninfoParse(words.c_str(), &message));
    if (message)
        fault = Postgres::oneLine(message);
    PQfreemem(message);
    return options;
}

std::string valueOf(const PQconninfoOption *options, const char *keyword)
{
    for (const PQconninfoOption *option = options; option && option->keyword; ++option)
        if (std::strcmp(option->keyword, keyword) == 0)
            return option->val ? option->val : "";
    return {};
}

/** The signals are the program's: a thread of this library takes none. */
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;
    ~SignalsBlocked()
    {
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

private:
    sigset_t m_before;
};

/** What holds unless the words say otherwise, which come last. */
Postgres::Handle connectTo(const std::string &words, std::chrono::seconds patience)
{
    // libpq counts in whole seconds of the clock: whoever waits in between is never told of its limit before his own.
    const std::string timeout = std::to_string(patience.count() + 1);
    const char *const keywords[] = {"connect_timeout", "fallback_application_name", "dbname", "client_encoding",
                                    nullptr};
    const char *const values[] = {timeout.c_str(), "obrim", words.c_str(), "UTF8", nullptr};
    return Postgres::Handle(PQconnectdbParams(keywords, values, 1));
}
} // namespace

namespace Postgres
{
/** What the thread and the program share. */
struct Connector::Attempt {
    std::mutex mutex;
    std::condition_variable ended;
    bool hasEnded = false;
    Handle connection;
};

Connector::Connector(std::string words, std::chrono::seconds patience)
    : m_words(std::move(words))
    , m_patience(patience)
{
    describe();
}

Connector::~Connector()
{
    if (!m_thread.joinable())
        return;
    std::unique_lock<std::mutex> lock(m_attempt->mutex);
    const bool ended = m_attempt->ended.wait_for(lock, m_patience, [this] { return m_attempt->hasEnded; });
    lock.unlock();
    if (ended)
        m_thread.join();
    else
        m_thread.detach();
}

void Connector::describe()
{
    const Options options = parsed(m_words, m_fault);
    const std::string host = valueOf(options.get(), "host");
    const std::string address = valueOf(options.get(), "hostaddr");
    const std::string service = valueOf(options.get(), "service");
    m_server = !host.empty()      ? host
               : !address.empty() ? address
               : !service.empty() ? "service " + service
                                  : "local server";
    const std::string port = valueOf(options.get(), "port");
    const std::string database = valueOf(options.get(), "dbname");
    m_server += (port.empty() ? "" : " port " + port) + (database.empty() ? "" : " database " + database);
    m_hasPassword = !valueOf(options.get(), "password").empty();
}

void Connector::fail(const std::string &reason)
{
    m_reason = reason;
    throw Error(m_server, reason, Error::Lost);
}

void Connector::start()
{
    m_attempt = std::make_shared<Attempt>();
    const SignalsBlocked blocked;
    m_thread = std::thread([attempt = m_attempt, words = m_words, patience = m_patience] {
        Handle connection = connectTo(words, patience);
        const std::lock_guard<std::mutex> lock(attempt->mutex);
        attempt->connection = std::move(connection);
        attempt->hasEnded = true;
        attempt->ended.notify_all();
    });
}

Handle Connector::connect()
{
    if (!m_fault.empty())
        fail("Connection= is none of libpq's: " + m_fault);
    if (!m_thread.joinable()) {
        if (Clock::now() < m_next)
            fail(m_reason);
        start();
    }
    std::unique_lock<std::mutex> lock(m_attempt->mutex);
    const auto patience = m_isSilent ? std::chrono::seconds(0) : m_patience;
    if (!m_attempt->ended.wait_for(lock, patience, [this] { return m_attempt->hasEnded; })) {
        lock.unlock();
        m_isSilent = true;
        fail("no connection within " + std::to_string(m_patience.count()) + " s");
    }
    lock.unlock();
    return take();
}

/** What the attempt that has ended brought. */
Handle Connector::take()
{
    m_thread.join();
    Handle connection = std::move(m_attempt->connection);
    m_attempt.reset();
    if (!connection)
        throw std::bad_alloc();
    if (PQstatus(connection.get()) != CONNECTION_OK) {
        m_pause = std::clamp(m_pause * 2, FirstPause, LongestPause);
        m_next = Clock::now() + m_pause;
        // While nobody answers, the words that were told first stay.
        fail(m_isSilent ? m_reason : oneLine(PQerrorMessage(connection.get())));
    }
    m_isSilent = false;
    m_pause = std::chrono::milliseconds(0);
    return connection;
}
} // namespace Postgres
