// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The ten functions of the DB library. Whatever goes wrong becomes one line on
 * standard error and a result of -1; nothing is thrown at the console.
 */
#include "Messages.h"
#include "settings.h"
#include "store.h"

#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

#define OBRIM_EXPORT __attribute__((visibility("default")))

namespace
{
constexpr int Failure = -1;

/** Arrays that were lent out, until they are handed back. */
template <class Record> using Loans = std::map<const Record *, std::unique_ptr<Records<Record>>>;

/** The open database and what was lent out of it. One caller at a time. */
class Library
{
public:
    int initialise(const char *dir)
    {
        return perform("cannot open the database", [&] {
            if (!dir)
                throw std::invalid_argument("no configuration directory was given");
            // Whatever fails from here on, no call may go to the database of before.
            m_settings.reset();
            m_configDir.clear();
            m_configDir = *dir ? dir : ".";
            store();
        });
    }

    /** `fetch` gets the records from the store; they are lent out through `n` and `records`. */
    template <class Record, class Fetch>
    int lend(const char *what, int *n, Record **records, Loans<Record> &loans, Fetch fetch)
    {
        return perform(what, [&] {
            if (n)
                *n = 0;
            if (!n || !records)
                throw std::invalid_argument("no place for the records was given");
            *records = nullptr;
            std::unique_ptr<Records<Record>> found = fetch();
            if (Record *array = found->data()) {
                const int count = found->size();
                loans.emplace(array, std::move(found));
                *records = array;
                *n = count;
            }
        });
    }

    /** Takes an array back. */
    template <class Record> int release(const char *what, Record **records, Loans<Record> &loans)
    {
        return perform(what, [&] {
            Record *const array = *records;
            *records = nullptr;
            if (array && loans.erase(array) == 0)
                throw std::invalid_argument("the array that was handed back is none of this library's");
        });
    }

    /** Runs an action; a fault becomes a message and Failure. */
    template <class Action> int perform(const char *what, Action action)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        try {
            action();
            forgetReport(what);
            return 0;
        } catch (const std::bad_alloc &) {
            report(what, "not enough memory");
        } catch (const std::exception &error) {
            report(what, error.what());
        }
        return Failure;
    }

    /** The open store. Throws why there is none. */
    Store &store()
    {
        if (m_configDir.empty())
            throw std::logic_error("the library was not initialised");
        if (!m_settings)
            m_settings = readSettings(m_configDir);
        leaveParentsStore();
        if (m_opened && (m_opened->path() != m_settings->database || !m_opened->isInPlace()))
            m_opened.reset();
        if (!m_opened) {
            m_opened = std::make_unique<Store>(m_settings->database, Sqlite::Durability::PowerLoss);
            m_owner = ::getpid();
        }
        return *m_opened;
    }

    /** Of an open store. */
    int deadAfter() const
    {
        return m_settings->deadAfterSeconds;
    }
    void close()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        leaveParentsStore();
        m_opened.reset();
    }

    Loans<CSensor> sensors;
    Loans<CMessageEvent> events;
    Loans<CMessageCommand> commands;

private:
    /** In a forked child the connection is still the parent's; closing it here would take the parent's locks. */
    void leaveParentsStore()
    {
        if (m_opened && m_owner != ::getpid()) {
            m_parents.push_back(nullptr);
            m_parents.back() = m_opened.release();
        }
    }
    /** Needs no memory: what has succeeded must not be told as a failure. */
    void forgetReport(const char *what) noexcept
    {
        const auto found = m_reported.find(what);
        if (found != m_reported.end())
            m_reported.erase(found);
    }
    /** One line; not again while the same action goes on failing for the same reason, as a timer may repeat it. */
    void report(const char *what, const char *reason) noexcept
    {
        try {
            std::string &last = m_reported[what];
            if (last == reason)
                return;
            last = reason;
        } catch (const std::bad_alloc &) {
            // The message matters more than its repetition.
        }
        std::fprintf(stderr, "DBLib: %s: %s\n", what, reason);
    }

    std::mutex m_mutex;
    std::string m_configDir;
    std::optional<Settings> m_settings; ///< read when they are needed first
    std::unique_ptr<Store> m_opened;
    pid_t m_owner = 0;
    std::vector<Store *> m_parents;
    std::map<std::string, std::string, std::less<>> m_reported;
};

/** Never destroyed: the console's own end may still call in. Needs no memory, as nothing may be thrown at the console.
 */
Library &library()
{
    alignas(Library) static char place[sizeof(Library)];
    static auto *const instance = new (place) Library;
    return *instance;
}

/** Closes the database when the process ends or the library is unloaded. */
struct CloseAtExit {
    ~CloseAtExit()
    {
        library().close();
    }
} const CloseAtExit;

template <class Request> void requireRequest(const Request *request)
{
    if (!request)
        throw std::invalid_argument("no request was given");
}
} // namespace

OBRIM_EXPORT int FInitDBSensors(const char *configDir)
{
    return library().initialise(configDir);
}

OBRIM_EXPORT int FInitDBEvents(const char *configDir)
{
    return library().initialise(configDir);
}

OBRIM_EXPORT int FInitDBCommands(const char *configDir)
{
    return library().initialise(configDir);
}

OBRIM_EXPORT int FDBGetSensors(int *n, CSensor **sensors)
{
    Library &lib = library();
    if (!n && !sensors)
        return SensorSize;
    if (!n)
        return lib.release("cannot release sensors", sensors, lib.sensors);
    return lib.lend("cannot read sensors", n, sensors, lib.sensors, [&] {
        Store &store = lib.store();
        return store.sensors(lib.deadAfter());
    });
}

OBRIM_EXPORT int FDBGetEvents(int *n, CMessageEvent **events, CMessageEventRequest *request)
{
    Library &lib = library();
    if (!n && !events && !request)
        return EventSizes;
    if (!n && events)
        return lib.release("cannot release events", events, lib.events);
    return lib.lend("cannot read events", n, events, lib.events, [&] {
        requireRequest(request);
        return lib.store().events(*request);
    });
}

OBRIM_EXPORT int FDBGetCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request)
{
    Library &lib = library();
    if (!n && !commands && !request)
        return CommandSizes;
    if (!n && commands)
        return lib.release("cannot release commands", commands, lib.commands);
    return lib.lend("cannot read commands", n, commands, lib.commands, [&] {
        requireRequest(request);
        return lib.store().commands(*request);
    });
}

OBRIM_EXPORT int FDBPutCommand(CMessageCommand *command)
{
    return library().perform("cannot store a command", [&] {
        requireRequest(command);
        library().store().put(*command);
    });
}

OBRIM_EXPORT int FDBPutEvent(CMessageEvent *event)
{
    return library().perform("cannot store an event", [&] {
        requireRequest(event);
        library().store().put(*event);
    });
}

OBRIM_EXPORT int FDBDeleteCommand(int id)
{
    return library().perform("cannot delete a command", [&] { library().store().deleteCommand(id); });
}

OBRIM_EXPORT int FDBDeleteEvent(int id)
{
    return library().perform("cannot delete an event", [&] { library().store().deleteEvent(id); });
}
