// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bridgesettings.h"
#include "hostprocess.h"
#include "restartpause.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/** Has a host at hand: starts one when a call needs it, and initialises its library again. */
class HostKeeper
{
public:
    /** Another library than before ends the host of the one before. */
    void use(const BridgeSettings &settings);
    /** No call is made until use() names a library again. */
    void forget();
    /** Notes an initialisation: a host that is started later gets it before anything else. */
    void noteInitialisation(DBFunction function, const std::string &directory);

    /** Whether a host runs that was started by this process. */
    bool isRunning() const;
    /** How many hosts were started so far. */
    int generation() const
    {
        return m_generation;
    }
    const std::string &library() const
    {
        return m_settings->task.library;
    }
    /** Of the call to come. Throws CallFault when there is no library. */
    Deadline deadline() const;
    /** Of the host that answers the call to come, which is started when there is none. Throws CallFault. */
    const Calls::Greeting &greeting(DBFunction function, const Deadline &deadline);
    /** Calls the library's function; a host runs since greeting(). Throws CallFault; the host is then gone. */
    Received call(Calls::Subject subject, const std::string &message, const Deadline &deadline);
    /** Ends a host whose answer cannot be read, and throws CallFault. */
    [[noreturn]] void failForRubbish(DBFunction function, const Calls::CorruptMessage &fault);
    /** Ends the host as a program ends. */
    void leave();

private:
    void ensureHost(DBFunction function, const Deadline &deadline);
    void waitForPause(const Deadline &deadline);
    void start(const Deadline &deadline);
    void initialiseAgain(DBFunction function, const Deadline &deadline);
    void tellEndBetweenCalls();
    void noteEnd(const std::string &how);
    [[noreturn]] void fail(DBFunction function, const std::string &how, bool wasSent);
    [[noreturn]] void refuse(const std::string &reason);

    std::optional<BridgeSettings> m_settings;
    std::vector<std::pair<DBFunction, std::string>> m_initialisations;
    std::unique_ptr<HostProcess> m_host;
    RestartPause m_pause;
    int m_generation = 0;
    std::string m_lastEnd;     ///< how the latest host ended
    std::string m_lastRefusal; ///< why none was started; not told twice
};
