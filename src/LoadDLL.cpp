// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "LoadDLL.h"

#include "Config.h"
#include "DBFuns.h"
#include "data.h"
#include "dbsymbols.h"
#include "foreigncall.h"
#include "libraryfile.h"

#include <QByteArray>
#include <QFile>

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <string>

DBGetSensorsFunction *FDBGetSensors = nullptr;
InitDBSensorsFunction *FInitDBSensors = nullptr;
DBGetEventsFunction *FDBGetEvents = nullptr;
InitDBEventsFunction *FInitDBEvents = nullptr;
DBGetCommandsFunction *FDBGetCommands = nullptr;
InitDBCommandsFunction *FInitDBCommands = nullptr;
DBPutCommandFunction *FDBPutCommand = nullptr;
DBPutEventFunction *FDBPutEvent = nullptr;
DBDeleteCommandFunction *FDBDeleteCommand = nullptr;
DBDeleteEventFunction *FDBDeleteEvent = nullptr;

namespace
{
/** Where the address of each function of DBSymbols belongs. */
void *const Pointers[DBFunctionCount] = {
    &FDBGetSensors,   &FInitDBSensors, &FDBGetEvents, &FInitDBEvents,    &FDBGetCommands,
    &FInitDBCommands, &FDBPutCommand,  &FDBPutEvent,  &FDBDeleteCommand, &FDBDeleteEvent,
};

/** The lines of the function-name map; none when there is no such file. */
struct NameMap {
    char lines[MaxDefLines][ConfigLineSize];
    int n = 0;

    explicit NameMap(const QByteArray &path)
    {
        if (FILE *file = openRegularFile(path.constData())) {
            GetDefs(file, lines, n);
            std::fclose(file);
        }
    }

    std::string name(const char *key, const char *otherwise) const
    {
        std::string value;
        findConfigValue(lines, n, key, value);
        if (value.empty())
            value = otherwise;
        return value;
    }
};

/** Tells why the system did not load the library; a library for another machine is named as such. */
void tellWhyNotOpened(const char *path)
{
    const char *reason = dlerror();
    const std::string fault = libraryFileFault(path);
    std::fprintf(stderr, "%s%s%s\n", reason, fault.empty() ? "" : "; ", fault.c_str());
}

/** Looks up one function and sets its pointer, to NULL when there is none. */
bool resolve(void *handle, void *pointer, const char *name)
{
    void *address = dlsym(handle, name);
    static_assert(sizeof(address) == sizeof(FDBGetSensors), "POSIX keeps functions and data in pointers of one width");
    std::memcpy(pointer, &address, sizeof(address));
    if (!address) {
        const char *reason = dlerror();
        std::fprintf(stderr, "%s: %s\n", name, reason ? reason : "the symbol has no address");
    }
    return address != nullptr;
}

/** Resolves the first `count` functions, up to the first that is missing. */
bool resolveAll(void *handle, int count, const char *DBSymbol::*symbol, const NameMap &names)
{
    for (int i = 0; i < count; ++i) {
        const char *usual = DBSymbols[i].*symbol;
        if (!resolve(handle, Pointers[i], names.name(DBSymbols[i].key, usual).c_str())) {
            // The usual name, also where the map gives another: it tells which function is meant.
            std::printf("Can't load function %s()\n\n", usual);
            return false;
        }
    }
    return true;
}

int load(const QString &dir)
{
    const QByteArray path = QFile::encodeName(dir + QLatin1String("/DBLib.a"));
    if (!FileExists(path.constData())) {
        std::printf("File with library %s not found\n", path.constData());
        return -1;
    }
    void *handle = dlopen(path.constData(), RTLD_LAZY | RTLD_GLOBAL);
    if (!handle)
        tellWhyNotOpened(path.constData());
    const NameMap names(QFile::encodeName(ConfigWD + QLatin1String("/Funs.def")));
    if (!handle) {
        std::printf("Can't open library %s\n", path.constData());
        return 0;
    }
    if (resolveAll(handle, DBFunctionCount, &DBSymbol::cxx, names)) {
        std::puts("C++ modules are loaded");
        return 0;
    }
    std::puts("Can't load C++ modules. Try to load C modules...");
    if (resolveAll(handle, DBCFunctionCount, &DBSymbol::key, names)) {
        std::puts("C modules are loaded");
        return 0;
    }
    return -1;
}
} // namespace

int LoadDLL(QString dir)
{
    return attempt("LoadDLL", [&] { return load(dir); }).value_or(-1);
}
