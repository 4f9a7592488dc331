// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "dblibrary.h"

#include "installation.h"
#include "libraryfile.h"
#include "namemap.h"

#include <cstring>
#include <dlfcn.h>
#include <utility>
#include <vector>

namespace
{
/** Loads the library; NULL, and the reason reported, when that fails. A library for another machine is named as such.
 */
void *open(const std::string &path, const LoaderWords &words)
{
    const std::string cutOff = cutOffFault(path.c_str());
    if (!cutOff.empty()) {
        words(stderr, cutOff + "\n");
        return nullptr;
    }
    void *handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_GLOBAL);
    if (!handle) {
        const std::string reason = dlerror();
        const std::string fault = libraryFileFault(path.c_str());
        words(stderr, reason + (fault.empty() ? "" : "; ") + fault + "\n");
    }
    return handle;
}

/** One pass over a library's symbols. */
struct Pass {
    void *handle;
    const NameMap &names;
    const DBFunctionPlaces &pointers;
    const LoaderWords &words;

    /** Sets the pointers of the first `count` functions, up to the first that is missing: its becomes NULL. */
    bool resolve(int count, const char *DBSymbol::*symbol) const
    {
        for (int i = 0; i < count; ++i) {
            const char *usual = DBSymbols[i].*symbol;
            const std::string name = names.name(DBSymbols[i].key, usual);
            void *address = dlsym(handle, name.c_str());
            static_assert(sizeof(address) == sizeof(DBFunctions::getSensors),
                          "POSIX keeps functions and data in pointers of one width");
            std::memcpy(pointers[std::size_t(i)], &address, sizeof(address));
            if (!address) {
                const char *reason = dlerror();
                words(stderr, name + ": " + (reason ? reason : "the symbol has no address") + "\n");
                // The usual name, also where the map gives another: it tells which function is meant.
                words(stdout, std::string("Can't load function ") + usual + "()\n\n");
                return false;
            }
        }
        return true;
    }
};
} // namespace

void printWords(std::FILE *stream, const std::string &lines)
{
    std::fputs(lines.c_str(), stream);
}

std::string dbLibraryIn(const std::string &libs)
{
    return libs + "/DBLib.a";
}

LoadOutcome loadDBLibrary(const std::string &path, const std::string &nameMap, const DBFunctionPlaces &pointers,
                          const LoaderWords &words)
{
    if (!isReadableFile(path.c_str())) {
        words(stdout, "File with library " + path + " not found\n");
        return LoadOutcome::NoFile;
    }
    void *handle = open(path, words);
    const NameMap names(nameMap);
    if (!handle) {
        words(stdout, "Can't open library " + path + "\n");
        return LoadOutcome::NotOpened;
    }
    const Pass pass = {handle, names, pointers, words};
    if (pass.resolve(DBFunctionCount, &DBSymbol::cxx)) {
        words(stdout, "C++ modules are loaded\n");
        return LoadOutcome::Cxx;
    }
    words(stdout, "Can't load C++ modules. Try to load C modules...\n");
    if (!pass.resolve(DBCFunctionCount, &DBSymbol::key))
        return LoadOutcome::Incomplete;
    words(stdout, "C modules are loaded\n");
    return LoadOutcome::C;
}

LoadOutcome loadInnerDBLibrary(const std::string &path, const std::string &nameMap, const DBFunctionPlaces &pointers)
{
    std::vector<std::pair<std::FILE *, std::string>> words;
    const LoadOutcome outcome =
        loadDBLibrary(path, nameMap, pointers, [&words](auto &&...piece) { words.emplace_back(piece...); });
    if (outcome != LoadOutcome::Cxx)
        for (const auto &[stream, lines] : words)
            printWords(stream, lines);
    return outcome;
}
