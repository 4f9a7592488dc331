// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "databases.h"

#include "Config.h"
#include "failure.h"
#include "filling.h"
#include "libraryfile.h"
#include "translation.h"
#include "visibletext.h"

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
constexpr std::size_t MostLineBytes = ConfigLineSize - 2; ///< of settings, without line feed and NUL

/** What stands behind the name of a database and a colon. */
enum class Value {
    None,
    Library, ///< the file of its library
    Setting  ///< the value of the last of its settings
};

struct KnownDatabase {
    const char *name;
    Value value;
    const char *valueWord; ///< what people call it
    const char *library;   ///< below the folder of libraries, unless the value is the file
    const char *settings;
    bool isInFolder;
};

const KnownDatabase KnownDatabases[] = {
    {"sqlite", Value::None, "", "obrim/sqlite.so",
     "% Settings of the SQLite database.\n"
     "% The file; a relative path counts from this folder.\n"
     "Database=../Data/installation.db\n"
     "% A sensor that sent no heartbeat for so many seconds counts as dead.\n"
     "DeadAfter=10\n",
     true},
    {"postgresql", Value::Setting, "CONNECTION", "obrim/postgresql.so",
     "% Settings of the PostgreSQL database.\n"
     "% A sensor that sent no heartbeat for so many seconds counts as dead.\n"
     "DeadAfter=10\n"
     "% The server, in words of libpq.\n"
     "Connection=",
     false},
    {"library", Value::Library, "FILE", "", "% Settings of the DB library, if it reads them here.\n", false},
};

[[noreturn]] void refuse(const std::string &name, const std::string &reason)
{
    throw UsageError(filled(translated("%1 cannot be '%2': %3"), "--database", visibleText(name), reason));
}

/** The library beside the program as it was installed, wherever that was moved to; else where it was to be installed.
 */
std::string installed(const std::string &library)
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path beside = (program.parent_path() / OBRIM_LIBRARIES_FROM_PROGRAM / library).lexically_normal();
    return !error && fs::exists(beside, error) ? beside.string() : std::string(OBRIM_LIBRARIES) + "/" + library;
}

std::string libraryOf(const KnownDatabase &known, const std::string &value)
{
    std::error_code error;
    if (known.value == Value::Library)
        return fs::absolute(value, error).lexically_normal().string();
    std::string path = installed(known.library);
    if (!fs::exists(path, error)) {
        throw Failure(filled(translated("%1: the DB library for %2 is not installed; --database library:FILE takes it "
                                        "from elsewhere"),
                             visibleText(path), known.name));
    }
    return path;
}

/** Settings are read line by line. */
std::string settingsOf(const KnownDatabase &known, const std::string &name, const std::string &value)
{
    std::string settings = known.settings;
    if (known.value != Value::Setting)
        return settings;
    if (visibleText(value) != value)
        refuse(name, filled(translated("%1 must be one line of text"), known.valueWord));
    const std::size_t lineBegin = settings.rfind('\n') + 1;
    if (settings.size() - lineBegin + value.size() > MostLineBytes)
        refuse(name, filled(translated("%1 is too long for a line of settings"), known.valueWord));
    return settings + value + "\n";
}
} // namespace

Database databaseNamed(const std::string &name)
{
    for (const KnownDatabase &known : KnownDatabases) {
        const std::string prefix = std::string(known.name) + (known.value == Value::None ? "" : ":");
        if (known.value == Value::None ? name != prefix : name.rfind(prefix, 0) != 0 || name == prefix)
            continue;
        const std::string value = name.substr(prefix.size());
        const std::string settings = settingsOf(known, name, value);
        const std::string library = libraryOf(known, value);
        const std::string fault = libraryFileFault(library.c_str());
        if (!fault.empty())
            throw Failure(fault);
        return {name, library, settings, known.isInFolder};
    }
    refuse(name, filled(translated("%1 is expected"), databaseWords()));
}

std::vector<std::string> databaseBegins()
{
    std::vector<std::string> begins;
    for (const KnownDatabase &known : KnownDatabases)
        begins.push_back(std::string(known.name) + (known.value == Value::None ? "" : ":"));
    return begins;
}

std::string databaseWords()
{
    const auto word = [](const KnownDatabase &known) {
        return std::string(known.name) + (known.value == Value::None ? "" : ":") + known.valueWord;
    };
    static_assert(std::size(KnownDatabases) == 3);
    return filled(translated("%1, %2 or %3"), word(KnownDatabases[0]), word(KnownDatabases[1]),
                  word(KnownDatabases[2]));
}
