// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "library.h"

#include "outcome.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <stdexcept>

Library::Library(const std::string &path, const std::string &config)
{
    // Loaded as the console loads it: what is never called is never missed, and its symbols are seen by all.
    m_handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_GLOBAL);
    if (!m_handle)
        throw skipped("the library cannot be loaded");
    resolve(NameMap(nameMapIn(config)));
}

bool Library::exports(const char *name) const
{
    return dlsym(m_handle, name) != nullptr;
}

void Library::resolve(const NameMap &map)
{
    void *cxx[DBFunctionCount] = {};
    void *c[DBFunctionCount] = {};
    for (int i = 0; i < DBFunctionCount; ++i) {
        const DBSymbol &symbol = DBSymbols[i];
        const std::string cxxName = map.name(symbol.key, symbol.cxx);
        const std::string cName = map.name(symbol.key, symbol.key);
        cxx[i] = dlsym(m_handle, cxxName.c_str());
        if (!cxx[i] && m_missingCxx.empty())
            m_missingCxx = cxxName;
        if (i < DBCFunctionCount) {
            c[i] = dlsym(m_handle, cName.c_str());
            if (!c[i] && m_missingC.empty())
                m_missingC = cName;
        }
        // Where a name is missing the rest of the library is still worth checking.
        m_functions[i] = cxx[i] ? cxx[i] : c[i];
    }
    if (m_missingCxx.empty())
        m_pass = SymbolPass::Cxx;
    else if (m_missingC.empty())
        m_pass = SymbolPass::C;
}

template <class Function, class... Arguments> int Library::call(DBFunction which, Arguments... arguments) const
{
    if (!m_functions[which])
        throw skipped(std::string("the library has no ") + DBSymbols[which].key);
    try {
        return reinterpret_cast<Function *>(m_functions[which])(arguments...);
    } catch (const std::exception &error) {
        throw failed(std::string(DBSymbols[which].key) + " threw an exception: " + error.what());
    } catch (abi::__forced_unwind &) {
        throw; // a thread that ends itself; it must not be stopped
    } catch (...) {
        throw failed(std::string(DBSymbols[which].key) + " threw an exception");
    }
}

int Library::getSensors(int *n, CSensor **sensors) const
{
    return call<DBGetSensorsFunction>(DBFunctionGetSensors, n, sensors);
}

int Library::initSensors(const char *config) const
{
    return call<InitDBSensorsFunction>(DBFunctionInitSensors, config);
}

int Library::getEvents(int *n, CMessageEvent **events, CMessageEventRequest *request) const
{
    return call<DBGetEventsFunction>(DBFunctionGetEvents, n, events, request);
}

int Library::initEvents(const char *config) const
{
    return call<InitDBEventsFunction>(DBFunctionInitEvents, config);
}

int Library::getCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request) const
{
    return call<DBGetCommandsFunction>(DBFunctionGetCommands, n, commands, request);
}

int Library::initCommands(const char *config) const
{
    return call<InitDBCommandsFunction>(DBFunctionInitCommands, config);
}

int Library::putCommand(CMessageCommand *command) const
{
    return call<DBPutCommandFunction>(DBFunctionPutCommand, command);
}

int Library::putEvent(CMessageEvent *event) const
{
    return call<DBPutEventFunction>(DBFunctionPutEvent, event);
}

int Library::deleteCommand(int id) const
{
    return call<DBDeleteCommandFunction>(DBFunctionDeleteCommand, id);
}

int Library::deleteEvent(int id) const
{
    return call<DBDeleteEventFunction>(DBFunctionDeleteEvent, id);
}

std::string loadFault(const std::string &path, bool everySymbol)
{
    if (dlopen(path.c_str(), (everySymbol ? RTLD_NOW : RTLD_LAZY) | RTLD_GLOBAL))
        return {};
    const char *reason = dlerror();
    return reason ? reason : "no reason given";
}
