// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "settings.h"

#include "Config.h"
#include "storeerror.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace
{
constexpr char DefaultDatabase[] = "../Data/installation.db";
constexpr int DefaultDeadAfterSeconds = 10;

int positiveNumber(const std::string &text, int otherwise)
{
    int number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return whole && number > 0 ? number : otherwise;
}

std::string within(const std::string &folder, const std::string &path)
{
    return path.front() == '/' ? path : folder + "/" + path;
}

struct Closer {
    void operator()(std::FILE *file) const
    {
        std::fclose(file);
    }
};
using File = std::unique_ptr<std::FILE, Closer>;

/** A link that leads nowhere is there: the file that it means may be on a medium that is not. */
bool isMissing(const std::string &path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

[[noreturn]] void fail(const std::string &path, const char *reason)
{
    throw StoreError(path, std::string("the settings cannot be read (") + reason + ")");
}

/** NULL when there is no file. What is there but cannot be read may name another database than the default one. */
File openDefinitions(const std::string &path)
{
    errno = 0;
    File file(openRegularFile(path.c_str()));
    const int error = errno;
    if (!file && !isMissing(path))
        fail(path, error ? std::strerror(error) : "Not a regular file");
    return file;
}
} // namespace

Settings readSettings(const std::string &configDir)
{
    const std::string path = configDir + "/DBLib.def";
    const File file = openDefinitions(path);
    char lines[MaxDefLines][ConfigLineSize];
    int count = 0;
    GetDefs(file.get(), lines, count);
    if (file && std::ferror(file.get()))
        fail(path, std::strerror(errno));

    std::string database;
    std::string deadAfter;
    findConfigValue(lines, count, "Database", database);
    findConfigValue(lines, count, "DeadAfter", deadAfter);
    Settings settings;
    settings.database = within(configDir, database.empty() ? DefaultDatabase : database);
    settings.deadAfterSeconds = positiveNumber(deadAfter, DefaultDeadAfterSeconds);
    return settings;
}
