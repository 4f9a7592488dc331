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
constexpr int DefaultConnectSeconds = 3;
constexpr int DefaultStatementSeconds = 10;

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

/** The lines of a file. */
class Definitions
{
public:
    Definitions(const std::string &path, std::FILE *file)
    {
        GetDefs(file, m_lines, m_count);
        if (file && std::ferror(file))
            fail(path, std::strerror(errno));
        // A line beyond the reader's buffer comes in pieces, of which the first would pass for the whole.
        for (int i = 0; i < m_count; ++i)
            if (std::strlen(m_lines[i]) == ConfigLineSize - 1)
                fail(path, "a line is longer than 510 bytes");
    }
    std::string text(const char *key) const
    {
        std::string value;
        findConfigValue(m_lines, m_count, key, value);
        return value;
    }
    int number(const char *key, int otherwise) const
    {
        return positiveNumber(text(key), otherwise);
    }

private:
    char m_lines[MaxDefLines][ConfigLineSize];
    int m_count = 0;
};

bool isShared(std::FILE *file)
{
    struct stat status = {};
    return ::fstat(::fileno(file), &status) == 0 && (status.st_mode & (S_IRGRP | S_IROTH)) != 0;
}
} // namespace

Settings readSettings(const std::string &configDir)
{
    Settings settings;
    settings.file = configDir + "/DBLib.def";
    const File file = openDefinitions(settings.file);
    const Definitions definitions(settings.file, file.get());
    settings.isFileShared = file && isShared(file.get());
    settings.connection = definitions.text("Connection");
    settings.connectSeconds = definitions.number("ConnectTimeout", DefaultConnectSeconds);
    settings.statementSeconds = definitions.number("StatementTimeout", DefaultStatementSeconds);
    settings.deadAfterSeconds = definitions.number("DeadAfter", DefaultDeadAfterSeconds);
    const std::string database = definitions.text("Database");
    if (settings.connection.empty())
        settings.database = within(configDir, database.empty() ? DefaultDatabase : database);
    else if (!database.empty())
        throw StoreError(settings.file, "Database= and Connection= name two databases");
    return settings;
}
