// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The ten functions of the DB library. Whatever goes wrong becomes one line on
 * standard error and a result of -1; nothing is thrown at the console.
 */
#include "library.h"
#include <obrim/dblib.h>

namespace
{
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

int FInitDBSensors(const char *configDir)
{
    return library().initialise(configDir);
}

int FInitDBEvents(const char *configDir)
{
    return library().initialise(configDir);
}

int FInitDBCommands(const char *configDir)
{
    return library().initialise(configDir);
}

int FDBGetSensors(int *n, CSensor **sensors)
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

int FDBGetEvents(int *n, CMessageEvent **events, CMessageEventRequest *request)
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

int FDBGetCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request)
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

int FDBPutCommand(CMessageCommand *command)
{
    return library().perform("cannot store a command", [&] {
        requireRequest(command);
        library().store().put(*command);
    });
}

int FDBPutEvent(CMessageEvent *event)
{
    return library().perform("cannot store an event", [&] {
        requireRequest(event);
        library().store().put(*event);
    });
}

int FDBDeleteCommand(int id)
{
    return library().perform("cannot delete a command", [&] { library().store().deleteCommand(id); });
}

int FDBDeleteEvent(int id)
{
    return library().perform("cannot delete an event", [&] { library().store().deleteEvent(id); });
}
