// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The ten functions of a DB library that stands in for another one. Nothing is
 * thrown at the console.
 */
#include "standin.h"

#include <cstdio>
#include <exception>
#include <mutex>
#include <new>
#include <string>

#define OBRIM_EXPORT __attribute__((visibility("default")))

namespace
{
constexpr int Failure = -1;

// A library that calls one of its own functions by its name comes here when this one was loaded before it.
std::recursive_mutex oneAtATime;

/** The fault that each function has last told, unless it has done well since: a timer may repeat a call. */
std::string &lastTold(DBFunction function)
{
    // Never destroyed: the console's own end may still call in.
    static auto *const texts = new std::string[DBFunctionCount];
    return texts[function];
}

void tellOnce(DBFunction function, const char *reason) noexcept
{
    try {
        if (lastTold(function) == reason)
            return;
        lastTold(function) = reason;
    } catch (const std::bad_alloc &) {
        // The message matters more than its repetition.
    }
    std::fprintf(stderr, "DBLib: %s: %s\n", DBSymbols[function].key, reason);
}

/** Runs a call; a fault becomes a message and Failure. */
template <class Call> int guarded(DBFunction function, Call call) noexcept
{
    const std::lock_guard<std::recursive_mutex> lock(oneAtATime);
    try {
        const int result = call();
        lastTold(function).clear();
        return result;
    } catch (const CallFault &fault) {
        tell(fault.what());
    } catch (const std::bad_alloc &) {
        tellOnce(function, "not enough memory");
    } catch (const std::exception &error) {
        tellOnce(function, error.what());
    }
    return Failure;
}

/** The three uses of a fetch function. */
template <class Record, class... Request> int serve(DBFunction function, int *n, Record **records, Request *...request)
{
    return guarded(function, [&] {
        if (!n && !records && (... && !request))
            return standIn().sizeQuery(function);
        if (!n && records)
            return standIn().release(records, request...);
        return standIn().fetch(n, records, request...);
    });
}

int initialise(DBFunction function, const char *configDir)
{
    return guarded(function, [&] { return standIn().initialise(function, configDir); });
}

struct CloseAtExit {
    ~CloseAtExit()
    {
        guarded(DBFunctionGetSensors, [] {
            standIn().close();
            return 0;
        });
    }
} const CloseAtExit;
} // namespace

void tell(const char *text) noexcept
{
    if (*text)
        std::fprintf(stderr, "DBLib: %s\n", text);
}

OBRIM_EXPORT int FInitDBSensors(const char *configDir)
{
    return initialise(DBFunctionInitSensors, configDir);
}

OBRIM_EXPORT int FInitDBEvents(const char *configDir)
{
    return initialise(DBFunctionInitEvents, configDir);
}

OBRIM_EXPORT int FInitDBCommands(const char *configDir)
{
    return initialise(DBFunctionInitCommands, configDir);
}

OBRIM_EXPORT int FDBGetSensors(int *n, CSensor **sensors)
{
    return serve(DBFunctionGetSensors, n, sensors);
}

OBRIM_EXPORT int FDBGetEvents(int *n, CMessageEvent **events, CMessageEventRequest *request)
{
    return serve(DBFunctionGetEvents, n, events, request);
}

OBRIM_EXPORT int FDBGetCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request)
{
    return serve(DBFunctionGetCommands, n, commands, request);
}

OBRIM_EXPORT int FDBPutCommand(CMessageCommand *command)
{
    return guarded(DBFunctionPutCommand, [&] { return standIn().put(command); });
}

OBRIM_EXPORT int FDBPutEvent(CMessageEvent *event)
{
    return guarded(DBFunctionPutEvent, [&] { return standIn().put(event); });
}

OBRIM_EXPORT int FDBDeleteCommand(int id)
{
    return guarded(DBFunctionDeleteCommand, [&] { return standIn().remove(DBFunctionDeleteCommand, id); });
}

OBRIM_EXPORT int FDBDeleteEvent(int id)
{
    return guarded(DBFunctionDeleteEvent, [&] { return standIn().remove(DBFunctionDeleteEvent, id); });
}
