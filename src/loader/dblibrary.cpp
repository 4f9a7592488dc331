// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "dblibrary.h"

#include "installation.h"
#include "libraryfile.h"
#include "namemap.h"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>

namespace
{
/** Loads the library; NULL, and the reason reported, when that fails. A library for another machine is named as such.
 */
void *open(const std::string &path, LoaderWords &words)
{
    const std::string cutOff = cutOffFault(path.c_str());
    if (!cutOff.empty()) {
        words.reason(cutOff + "\n");
        return nullptr;
    }
    void *handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_GLOBAL);
    if (!handle) {
        const std::string reason = dlerror();
        const std::string fault = libraryFileFault(path.c_str());
        words.reason(reason + (fault.empty() ? "" : "; ") + fault + "\n");
    }
    return handle;
}

/** Looks up one function and sets its pointer, to NULL when there is none. */
bool resolve(void *handle, void *pointer, const std::string &name, LoaderWords &words)
{
    void *address = dlsym(handle, name.c_str());
    static_assert(sizeof(address) == sizeof(DBFunctions::getSensors),
                  "POSIX keeps functions and data in pointers of one width");
    std::memcpy(pointer, &address, sizeof(address));
    if (!address) {
        const char *reason = dlerror();
        words.reason(name + ": " + (reason ? reason : "the symbol has no address") + "\n");
    }
    return address != nullptr;
}

/** One pass over a library's symbols. */
struct Pass {
    void *handle;
    const NameMap &names;
    const DBFunctionPlaces &pointers;
    LoaderWords &words;

    /** Resolves the first `count` functions, up to the first that is missing. */
    bool resolveAll(int count, const char *DBSymbol::*symbol) const
    {
        for (int i = 0; i < count; ++i) {
            const char *usual = DBSymbols[i].*symbol;
            if (!resolve(handle, pointers[std::size_t(i)], names.name(DBSymbols[i].key, usual), words)) {
                // The usual name, also where the map gives another: it tells which function is meant.
                words.progress(std::string("Can't load function ") + usual + "()\n\n");
                return false;
            }
        }
        return true;
    }
};
} // namespace

void PrintedWords::progress(const std::string &lines)
{
    std::fputs(lines.c_str(), stdout);
}

void PrintedWords::reason(const std::string &line)
{
    std::fputs(line.c_str(), stderr);
}

std::string dbLibraryIn(const std::string &libs)
{
    return libs + "/DBLib.a";
}

LoadOutcome loadDBLibrary(const std::string &libs, const std::string &config, const DBFunctionPlaces &pointers,
                          LoaderWords &words)
{
    return loadDBLibraryFile(dbLibraryIn(libs), nameMapIn(config), pointers, words);
}

LoadOutcome loadDBLibraryFile(const std::string &path, const std::string &nameMap, const DBFunctionPlaces &pointers,
                              LoaderWords &words)
{
    if (!isReadableFile(path.c_str())) {
        words.progress("File with library " + path + " not found\n");
        return LoadOutcome::NoFile;
    }
    void *handle = open(path, words);
    const NameMap names = NameMap::ofFile(nameMap);
    if (!handle) {
        words.progress("Can't open library " + path + "\n");
        return LoadOutcome::NotOpened;
    }
    const Pass pass = {handle, names, pointers, words};
    if (pass.resolveAll(DBFunctionCount, &DBSymbol::cxx)) {
        words.progress("C++ modules are loaded\n");
        return LoadOutcome::Cxx;
    }
    words.progress("Can't load C++ modules. Try to load C modules...\n");
    if (!pass.resolveAll(DBCFunctionCount, &DBSymbol::key))
        return LoadOutcome::Incomplete;
    words.progress("C modules are loaded\n");
    return LoadOutcome::C;
}
