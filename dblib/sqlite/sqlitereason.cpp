// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sqlitereason.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

namespace
{
/**
 * The system's error for a file that could not be opened. SQLite's own is that
 * of its last attempt, which says "No such file" where rights are missing.
 */
int openingError(const std::string &path, int otherwise)
{
    const auto error = [](const std::string &name, int access) {
        return ::faccessat(AT_FDCWD, name.c_str(), access, AT_EACCESS) == 0 ? 0 : errno;
    };
    int found = error(path, R_OK);
    if (found == ENOENT) {
        const std::size_t slash = path.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        found = error(folder, W_OK | X_OK);
    }
    return found ? found : otherwise;
}

bool isFull(int systemError)
{
    return systemError == ENOSPC || systemError == EDQUOT;
}

/** SQLite's messages quote names from the file, and end on a terminal: what would command it becomes '?'. */
std::string printable(std::string text)
{
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}
} // namespace

namespace Sqlite
{
std::string reasonOf(int code, sqlite3 *db, const std::string &path)
{
    const int primary = code & 0xff;
    int systemError = db ? sqlite3_system_errno(db) : 0;
    if (primary == SQLITE_CANTOPEN)
        systemError = openingError(path, systemError);
    const std::string system = systemError ? std::string(" (") + std::strerror(systemError) + ")" : std::string();
    if (primary == SQLITE_FULL || (primary == SQLITE_IOERR && isFull(systemError)))
        return "the disk is full";
    switch (primary) {
    case SQLITE_READONLY:
        return "the file or its folder cannot be written" + system;
    case SQLITE_NOTADB:
        return "this is not a database, or it is corrupt at its beginning";
    case SQLITE_CORRUPT:
        return "the database is corrupt";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL: // SQLite's own waiting came to an end
        return "the database is locked by another program";
    case SQLITE_CANTOPEN:
        return "the file cannot be opened or made" + system;
    case SQLITE_IOERR:
        return "reading or writing failed" + system;
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return "access is not permitted" + system;
    case SQLITE_INTERRUPT: // by the connection itself, which nobody else can
        return "a request to the file took too long and was ended";
    case SQLITE_NOMEM:
        return "not enough memory";
    default:
        return printable(db ? sqlite3_errmsg(db) : sqlite3_errstr(code));
    }
}
} // namespace Sqlite
