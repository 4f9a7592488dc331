// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"
#include "translation.h"

namespace
{
Outcome checkInitialise(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    const std::vector<int> results = session.initialise(target.config);
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i] != 0) {
            return warned("initialiser " + std::to_string(i + 1) + " of " + std::to_string(results.size()) +
                          " returned " + std::to_string(results[i]) + " for the configuration directory");
        }
    }
    return passed();
}

Outcome checkInitialiseTwice(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    const std::vector<int> first = session.initialise(target.config);
    if (target.fill)
        fillStore(session.library, target);
    const Snapshot before = takeSnapshot(session.library);
    for (int i = 0; i < 20; ++i) {
        if (session.initialise(target.config) != first)
            return failed("initialised again, the initialisers' results are others than the first time");
        const std::string changed = change(before, takeSnapshot(session.library));
        if (!changed.empty())
            return failed("initialised again, the store is another: " + changed);
    }
    return passed();
}

Outcome checkBeforeInitialise(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    useAsConsole(session.library);
    return passed();
}

Outcome checkMissingDirectory(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    session.initialise("/proc/no-such-directory/Config");
    useAsConsole(session.library);
    session.initialise(target.config);
    useAsConsole(session.library);
    return passed();
}
} // namespace

std::vector<Check> initialisationChecks()
{
    return {
        {"initialise", translatable("the three initialisers take the configuration directory"),
         translatable("The console starts, but the library was not ready: its windows may stay empty."),
         checkInitialise},
        {"initialise-twice", translatable("initialising again changes nothing, as a restored desktop session does it"),
         translatable("After a restored desktop session the windows show something else or nothing."),
         checkInitialiseTwice},
        {"before-initialise", translatable("calls before initialisation do no harm"),
         translatable("The console goes down when a window opens before the library is ready."), checkBeforeInitialise},
        {"missing-directory", translatable("a configuration directory that is not there does no harm"),
         translatable(
             "The console goes down on an installation whose files are missing, instead of showing empty windows."),
         checkMissingDirectory},
    };
}
