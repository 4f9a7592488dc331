// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "databases.h"

#include "failure.h"
#include "libraryfile.h"
#include "visibletext.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace
{
/** A database whose library is installed with this program. */
struct KnownDatabase {
    const char *name;
    const char *library; ///< below the folder of libraries
    const char *settings;
    bool isInFolder;
};

const KnownDatabase KnownDatabases[] = {
    {"sqlite", "obrim/DBLib.a",
     "% Settings of the SQLite database.\n"
     "% The file; a relative path counts from this folder.\n"
     "Database=../Data/installation.db\n"
     "% A sensor that gave no sign of life for so many seconds counts as dead.\n"
     "DeadAfter=10\n",
     true},
};

constexpr const char *LibraryPrefix = "library:";

/** The library beside the program as it was installed, wherever that was moved to; else where it was to be installed.
 */
std::string installed(const std::string &library)
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path beside = (program.parent_path() / OBRIM_LIBRARIES_FROM_PROGRAM / library).lexically_normal();
    return !error && fs::exists(beside, error) ? beside.string() : std::string(OBRIM_LIBRARIES) + "/" + library;
}

/** Throws unless the file is a library that this program, and so the console beside it, can load. */
std::string checkedLibrary(const std::string &path)
{
    const std::string fault = libraryFileFault(path.c_str());
    if (!fault.empty())
        throw Failure(fault);
    return path;
}

std::string installedLibrary(const KnownDatabase &known)
{
    const std::string path = installed(known.library);
    std::error_code error;
    if (!fs::exists(path, error)) {
        throw Failure(visibleText(path) + ": the DB library for " + known.name +
                      " is not installed; --database library:FILE takes it from elsewhere");
    }
    return checkedLibrary(path);
}

std::string knownNames()
{
    std::string names;
    for (const KnownDatabase &known : KnownDatabases)
        names += std::string(known.name) + " or ";
    return names + "library:FILE";
}
} // namespace

Database databaseNamed(const std::string &name)
{
    for (const KnownDatabase &known : KnownDatabases)
        if (name == known.name)
            return {name, installedLibrary(known), known.settings, known.isInFolder};
    const std::string prefix = LibraryPrefix;
    if (name.rfind(prefix, 0) != 0 || name == prefix)
        throw UsageError("--database cannot be '" + visibleText(name) + "': " + knownNames() + " is expected");
    std::error_code error;
    const std::string path = fs::absolute(name.substr(prefix.size()), error).lexically_normal().string();
    return {name, checkedLibrary(path), "% Settings of the DB library, if it reads them here.\n", false};
}
