// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "dbsymbols.h"
#include "namemap.h"

#include <string>

/** What the console finds in a library. */
enum class SymbolPass { Cxx, C, Neither };

/**
 * The ten functions of a loaded library, called as the console calls them.
 *
 * Loading, a missing function and an exception that leaves the library end the
 * check: an Outcome is thrown. The library stays loaded until the process ends.
 */
class Library
{
public:
    /** Loads the library without calling anything. Throws a skip when that fails. */
    Library(const std::string &path, const std::string &config);

    /** Which pass of the console succeeds. */
    SymbolPass pass() const
    {
        return m_pass;
    }
    /** The first name that failed in each pass that did. */
    const std::string &missingCxx() const
    {
        return m_missingCxx;
    }
    const std::string &missingC() const
    {
        return m_missingC;
    }
    bool has(DBFunction function) const
    {
        return m_functions[function] != nullptr;
    }
    /** Whether the library exports anything of that name. */
    bool exports(const char *name) const;

    int getSensors(int *n, CSensor **sensors) const;
    int initSensors(const char *config) const;
    int getEvents(int *n, CMessageEvent **events, CMessageEventRequest *request) const;
    int initEvents(const char *config) const;
    int getCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request) const;
    int initCommands(const char *config) const;
    int putCommand(CMessageCommand *command) const;
    int putEvent(CMessageEvent *event) const;
    int deleteCommand(int id) const;
    int deleteEvent(int id) const;

private:
    void resolve(const NameMap &map);
    template <class Function, class... Arguments> int call(DBFunction which, Arguments... arguments) const;

    void *m_handle = nullptr;
    void *m_functions[DBFunctionCount] = {};
    SymbolPass m_pass = SymbolPass::Neither;
    std::string m_missingCxx;
    std::string m_missingC;
};

/** Why the system's loader refuses a library, as it says it; empty when it does not. Loads it. */
std::string loadFault(const std::string &path, bool everySymbol);
