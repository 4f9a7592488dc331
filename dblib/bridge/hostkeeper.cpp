// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "hostkeeper.h"

#include "call.h"
#include "hostprotocol.h"
#include "standin.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <thread>

namespace
{
/** A pause up to this is waited for; during a longer one calls fail at once, and the console can be used. */
constexpr std::chrono::milliseconds LongestWait(1000);
/** How long a library may take for its end. */
constexpr std::chrono::milliseconds LeaveLimit(1000);

/** What is to be said of a call that may have been carried out. */
std::string unknownOutcome(DBFunction function, bool wasSent)
{
    const char *what = nullptr;
    switch (function) {
    case DBFunctionPutCommand:
        what = "the command was stored";
        break;
    case DBFunctionPutEvent:
        what = "the event was stored";
        break;
    case DBFunctionDeleteCommand:
        what = "the command was deleted";
        break;
    case DBFunctionDeleteEvent:
        what = "the event was deleted";
        break;
    default:
        return {};
    }
    return std::string("; ") + (wasSent ? "it is not known whether " : "it is not so that ") + what;
}
} // namespace

void HostKeeper::use(const BridgeSettings &settings)
{
    if (m_settings && *m_settings == settings)
        return;
    leave();
    m_settings = settings;
    m_initialisations.clear();
    m_pause.forget();
    m_lastRefusal.clear();
}

void HostKeeper::forget()
{
    leave();
    m_settings.reset();
}

void HostKeeper::noteInitialisation(DBFunction function, const std::string &directory)
{
    const auto isThis = [=](const auto &noted) { return noted.first == function; };
    m_initialisations.erase(std::remove_if(m_initialisations.begin(), m_initialisations.end(), isThis),
                            m_initialisations.end());
    m_initialisations.emplace_back(function, directory);
}

bool HostKeeper::isRunning() const
{
    return m_host && m_host->isOwn();
}

Deadline HostKeeper::deadline() const
{
    if (!m_settings)
        throw std::logic_error("the library was not initialised");
    return Deadline(m_settings->limit);
}

const Calls::Greeting &HostKeeper::greeting(DBFunction function, const Deadline &deadline)
{
    if (m_host && !m_host->isOwn())
        m_host.reset();
    if (m_host)
        tellEndBetweenCalls();
    if (!m_host) {
        waitForPause(deadline);
        start(deadline);
        initialiseAgain(function, deadline);
    }
    return m_host->greeting();
}

Received HostKeeper::call(Calls::Subject subject, const std::string &message, const Deadline &deadline)
{
    // What the library prints stands behind what the console has printed before.
    std::fflush(stdout);
    try {
        Received answer = m_host->call(message, deadline);
        if (!Calls::isInitFunction(subject.function) && subject.use != Calls::Use::Query)
            m_pause.forget();
        return answer;
    } catch (const HostFault &fault) {
        fail(subject.function, fault.what(), fault.wasSent());
    } catch (const std::exception &error) {
        fail(subject.function, std::string("cannot be called (") + error.what() + ")", true);
    }
}

void HostKeeper::failForRubbish(DBFunction function, const Calls::CorruptMessage &fault)
{
    fail(function, std::string("answered rubbish (") + fault.what() + ")", true);
}

void HostKeeper::leave()
{
    if (isRunning()) {
        const std::string how = m_host->leave(Deadline(LeaveLimit));
        if (!how.empty())
            tell((library() + " " + how + " at its end").c_str());
    }
    m_host.reset();
}

void HostKeeper::tellEndBetweenCalls()
{
    const std::string how = m_host->ending();
    if (how.empty())
        return;
    noteEnd(how);
    tell((library() + " " + how + " between two calls").c_str());
}

void HostKeeper::waitForPause(const Deadline &deadline)
{
    const auto left = m_pause.left(RestartPause::Clock::now());
    if (left > std::min(LongestWait, deadline.left()))
        refuse(library() + " is not started again yet: it " + m_lastEnd);
    std::this_thread::sleep_for(left);
}

void HostKeeper::start(const Deadline &deadline)
{
    if (std::getenv(HostMark))
        refuse("a bridge cannot work inside the host of another one: Library= leads back to it");
    std::fflush(stdout);
    try {
        m_host = std::make_unique<HostProcess>(m_settings->task, deadline);
    } catch (const HostFault &fault) {
        noteEnd(fault.what());
        refuse(library() + " " + fault.what() + " while it was loaded");
    } catch (const std::system_error &error) {
        noteEnd("could not be started");
        refuse(error.what());
    }
    if (!m_host->greeting().loaded) {
        noteEnd("could not be loaded");
        refuse(library() + " cannot be loaded by " + m_settings->task.program);
    }
    ++m_generation;
    m_lastRefusal.clear();
}

void HostKeeper::initialiseAgain(DBFunction function, const Deadline &deadline)
{
    for (const auto &[initialiser, directory] : m_initialisations)
        if (initialiser != function && m_host->greeting().has(initialiser))
            call({initialiser, Calls::Use::Plain}, Calls::initCall(initialiser, directory.c_str()), deadline);
}

void HostKeeper::noteEnd(const std::string &how)
{
    m_host.reset();
    m_lastEnd = how;
    m_pause.begin(RestartPause::Clock::now());
}

void HostKeeper::fail(DBFunction function, const std::string &how, bool wasSent)
{
    noteEnd(how);
    throw CallFault(library() + " " + how + " in " + DBSymbols[function].key + unknownOutcome(function, wasSent));
}

void HostKeeper::refuse(const std::string &reason)
{
    const bool isNews = reason != m_lastRefusal;
    m_lastRefusal = reason;
    throw CallFault(isNews ? reason : std::string());
}
