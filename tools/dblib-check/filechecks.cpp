// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"

#include "libraryfile.h"
#include "translation.h"

#include <cstring>
#include <strings.h>

namespace
{
Outcome checkFile(const Target &target)
{
    const std::string fault = libraryFileFault(target.library.c_str());
    return fault.empty() ? passed() : failed(fault);
}

Outcome checkLoad(const Target &target)
{
    stage("loading the library");
    const std::string fault = loadFault(target.library, false);
    if (!fault.empty())
        return failed(fault);
    return passed();
}

Outcome checkDependencies(const Target &target)
{
    stage("loading the library with every symbol it needs");
    // First in full: a library that is loaded already is not looked at again.
    const std::string fault = loadFault(target.library, true);
    if (fault.empty())
        return passed();
    return loadFault(target.library, false).empty() ? failed(fault) : skipped("the library cannot be loaded");
}

/** The names that the console would look for in vain in one pass. */
std::vector<std::string> missingSymbols(const Library &library, const NameMap &map, SymbolPass pass)
{
    std::vector<std::string> names;
    for (int i = 0; i < (pass == SymbolPass::Cxx ? int(DBFunctionCount) : DBCFunctionCount); ++i) {
        const DBSymbol &symbol = DBSymbols[i];
        const std::string configured = map.configured(symbol.key);
        const std::string name = !configured.empty() ? configured : pass == SymbolPass::Cxx ? symbol.cxx : symbol.key;
        if (!library.exports(name.c_str()))
            names.push_back(name);
    }
    return names;
}

std::string joined(const std::vector<std::string> &names)
{
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

Outcome checkSymbols(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    const NameMap map(nameMapIn(target.config));
    switch (session.library.pass()) {
    case SymbolPass::Cxx:
        return passed("all ten functions");
    case SymbolPass::C:
        return passed("a C library, seven functions; Funs.def gives it all ten, see the page for authors");
    case SymbolPass::Neither:
        break;
    }
    const std::vector<std::string> cxx = missingSymbols(session.library, map, SymbolPass::Cxx);
    const std::vector<std::string> c = missingSymbols(session.library, map, SymbolPass::C);
    // The nearer of the two is what the author meant.
    return cxx.size() <= c.size() ? failed("of the ten C++ symbols these are missing: " + joined(cxx))
                                  : failed("of the seven C names these are missing: " + joined(c));
}

/** What is wrong with one line of the map; empty when nothing is. */
std::string lineFault(const char *line)
{
    const char *equals = std::strchr(line, '=');
    const std::string key(line, equals ? std::size_t(equals - line) : std::strlen(line));
    for (const DBSymbol &symbol : DBSymbols)
        if (equals && strcasecmp(key.c_str(), symbol.key) == 0)
            return {};
    return "Funs.def: the line " + quoted(line) + " names none of the ten functions";
}

Outcome checkNameMap(const Target &target)
{
    const NameMap map(nameMapIn(target.config));
    if (!map.exists())
        return passed("no Funs.def: every function has its default name");
    const Session session(target, Session::LoadedOnly);
    for (const DBSymbol &symbol : DBSymbols) {
        const std::string name = map.configured(symbol.key);
        if (!name.empty() && !session.library.exports(name.c_str())) {
            return failed(std::string("Funs.def names ") + name + " for " + symbol.key +
                          ", which the library does not export");
        }
    }
    for (int i = 0; i < map.count(); ++i) {
        const std::string fault = lineFault(map.line(i));
        if (!fault.empty())
            return warned(fault);
    }
    return passed(std::to_string(map.count()) + " lines");
}
} // namespace

std::vector<Check> fileChecks()
{
    return {
        {"file", translatable("the file is a shared library for this word width and processor"),
         translatable("The console runs without the library and shows test data instead of the installation's."),
         checkFile},
        {"load", translatable("the system's loader takes the library, and loading it does no harm"),
         translatable("The console runs without the library and shows test data instead of the installation's."),
         checkLoad},
        {"dependencies", translatable("every symbol that the library needs exists"),
         translatable("The console ends in the middle of work, at the first call that needs the missing symbol."),
         checkDependencies},
        {"name-map", translatable("every name in Funs.def is exported, and every line names a function"),
         translatable("A renamed function is not found: its windows show test data."), checkNameMap},
        {"symbols",
         translatable("the functions are exported under their C++ symbols or C names"),
         translatable(
             "Functions that are not found fall back to test data, or do nothing when the operator uses them."),
         checkSymbols,
         {"name-map"}},
    };
}
