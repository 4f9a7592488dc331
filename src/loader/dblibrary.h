// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dbfunctions.h"

#include <string>

/** What came of loading a DB library. */
enum class LoadOutcome {
    NoFile,     ///< there is no such file
    NotOpened,  ///< the system does not load it
    Incomplete, ///< one of the seven C names is missing, after a C++ symbol was
    Cxx,        ///< all ten functions, by their C++ symbols
    C,          ///< seven functions, by their C names
};

/** Takes what the loader reports, piece by piece in the order in which it happens. */
class LoaderWords
{
public:
    virtual ~LoaderWords() = default;

    /** Progress, which the console writes to standard output: whole lines with their line feeds. */
    virtual void progress(const std::string &lines) = 0;
    /** The system's own reason for a failure, which the console writes to standard error: one line likewise. */
    virtual void reason(const std::string &line) = 0;
};

/** Writes the words to standard output and standard error, as the console does. */
class PrintedWords : public LoaderWords
{
public:
    void progress(const std::string &lines) override;
    void reason(const std::string &line) override;
};

/** The file that is the DB library of the installation whose library directory is `libs`. */
std::string dbLibraryIn(const std::string &libs);

/**
 * Loads dbLibraryIn(`libs`) and looks its functions up: all ten by their C++
 * symbols, and when one is missing, the first seven again by their C names.
 * `config` + "/Funs.def" may give other names; they hold in both passes.
 *
 * Sets the pointers at `pointers`: a pass that fails leaves NULL in the one
 * that it failed at, and every one that it did not reach as it was. Each call
 * does everything again; the library is never unloaded.
 *
 * Throws what `words` throws, and std::bad_alloc.
 */
LoadOutcome loadDBLibrary(const std::string &libs, const std::string &config, const DBFunctionPlaces &pointers,
                          LoaderWords &words);

/** The same for the library at `path` with the function-name map at `nameMap`, whatever both are called. */
LoadOutcome loadDBLibraryFile(const std::string &path, const std::string &nameMap, const DBFunctionPlaces &pointers,
                              LoaderWords &words);
