// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "dbsymbols.h"

#include <array>
#include <cstdio>
#include <functional>
#include <string>

/** The ten functions of a DB library; NULL where it has none. They stay callable: no library is ever unloaded. */
struct DBFunctions {
    DBGetSensorsFunction *getSensors = nullptr;
    InitDBSensorsFunction *initSensors = nullptr;
    DBGetEventsFunction *getEvents = nullptr;
    InitDBEventsFunction *initEvents = nullptr;
    DBGetCommandsFunction *getCommands = nullptr;
    InitDBCommandsFunction *initCommands = nullptr;
    DBPutCommandFunction *putCommand = nullptr;
    DBPutEventFunction *putEvent = nullptr;
    DBDeleteCommandFunction *deleteCommand = nullptr;
    DBDeleteEventFunction *deleteEvent = nullptr;
};

/** Where the address of each function of DBSymbols belongs: the addresses of ten function pointers. */
using DBFunctionPlaces = std::array<void *, DBFunctionCount>;

/** The places of the ten pointers in `functions`, which must outlive their use. */
inline DBFunctionPlaces placesIn(DBFunctions &functions)
{
    return {&functions.getSensors,    &functions.initSensors,  &functions.getEvents,  &functions.initEvents,
            &functions.getCommands,   &functions.initCommands, &functions.putCommand, &functions.putEvent,
            &functions.deleteCommand, &functions.deleteEvent};
}

/** What came of loading a DB library. */
enum class LoadOutcome {
    NoFile,     ///< there is no such file
    NotOpened,  ///< the system does not load it
    Incomplete, ///< one of the seven C names is missing, after a C++ symbol was
    Cxx,        ///< all ten functions, by their C++ symbols
    C,          ///< seven functions, by their C names
};

/**
 * Takes what the loader reports, piece by piece in the order in which it happens: whole lines with their line feeds.
 * `stream` is where the console writes them: standard output for progress, standard error for the system's own reason
 * for a failure.
 */
using LoaderWords = std::function<void(std::FILE *stream, const std::string &lines)>;

/** Writes the words where the console does. */
void printWords(std::FILE *stream, const std::string &lines);

/** The file that is the DB library of the installation whose library directory is `libs`. */
std::string dbLibraryIn(const std::string &libs);

/**
 * Loads the library at `path` and looks its functions up: all ten by their C++
 * symbols, and when one is missing, the first seven again by their C names.
 * The file `nameMap` may give other names; they hold in both passes.
 *
 * Sets the pointers at `pointers`: a pass that fails leaves NULL in the one
 * that it failed at, and every one that it did not reach as it was. Each call
 * does everything again; the library is never unloaded.
 *
 * Throws what `words` throws, and std::bad_alloc.
 */
LoadOutcome loadDBLibrary(const std::string &path, const std::string &nameMap, const DBFunctionPlaces &pointers,
                          const LoaderWords &words);

/**
 * The same where one library loads another: prints the words only when the outcome is another one than Cxx, as the
 * console has told of its own load already.
 */
LoadOutcome loadInnerDBLibrary(const std::string &path, const std::string &nameMap, const DBFunctionPlaces &pointers);
