// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "databasefiles.h"

#include "logranges.h"
#include "sqlite.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace
{
using Sqlite::FileIdentity;

FileIdentity identityIn(const struct stat &status)
{
    return {std::uint64_t(status.st_dev), std::uint64_t(status.st_ino)};
}

/** Nothing when the system does not tell. */
std::optional<FileIdentity> identityAt(const std::string &path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0)
        return identityIn(status);
    return errno == ENOENT || errno == ENOTDIR ? std::optional(FileIdentity()) : std::nullopt;
}

bool isAt(const std::string &path, const FileIdentity &file)
{
    return identityAt(path).value_or(file) == file;
}

/** The locks that this file system has no notion of are not missed: they only tell of others. */
bool isLocked(int descriptor, off_t start, off_t length)
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = length;
    return ::fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

int openForLocks(const std::string &path)
{
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    const bool mayRead = descriptor < 0 && (errno == EACCES || errno == EROFS);
    return mayRead ? ::open(path.c_str(), O_RDONLY | O_CLOEXEC) : descriptor;
}

/** Of the log: which database it belongs to. A file system that keeps no such notes is no worse than without. */
constexpr char Owner[] = "user.obrim.database";

std::string ownerNote(const FileIdentity &database, const FileIdentity &log)
{
    // With the log's own inode, which a copy of both files that keeps the note does not have.
    return std::to_string(database.inode) + " " + std::to_string(log.inode);
}

/** True when the log was written for another file than `database`, and by nobody who has it open still. */
bool belongsElsewhere(int descriptor, const FileIdentity &database, const FileIdentity &log)
{
    char note[64];
    const ssize_t length = ::fgetxattr(descriptor, Owner, note, sizeof note);
    const std::string found(note, std::size_t(std::max<ssize_t>(length, 0)));
    const std::string ownEnd = " " + std::to_string(log.inode);
    const bool isNoCopy =
        found.size() > ownEnd.size() && found.compare(found.size() - ownEnd.size(), std::string::npos, ownEnd) == 0;
    return isNoCopy && found != ownerNote(database, log);
}

[[noreturn]] void fail(const std::string &path, int error)
{
    throw Sqlite::Error(path, std::string("the file cannot be opened or made (") + std::strerror(error) + ")");
}
} // namespace

namespace Sqlite
{
DatabaseFiles::DatabaseFiles(const std::string &path, sqlite3 *db)
    : m_path(path)
{
    int moved = 0;
    const std::optional<FileIdentity> found = identityAt(path);
    const int error = errno;
    if (sqlite3_file_control(db, "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_NOTFOUND)
        return; // a file in memory
    if (!found)
        fail(path, error);
    if (moved || !found->exists())
        throw Error(path, "the database was replaced while it was opened");
    m_database = *found;
    m_databasePath = sqlite3_db_filename(db, "main");
    m_logPath = m_databasePath + "-wal";
    m_sharedPath = m_databasePath + "-shm";
}

DatabaseFiles::~DatabaseFiles()
{
    if (m_logDescriptor >= 0)
        ::close(m_logDescriptor);
}

bool DatabaseFiles::takeLog()
{
    if (m_databasePath.empty())
        return true;
    m_shared = identityAt(m_sharedPath).value_or(FileIdentity());
    m_logDescriptor = openForLocks(m_logPath);
    if (m_logDescriptor < 0 && errno == ENOENT)
        return true;
    struct stat status = {};
    if (m_logDescriptor < 0 || ::fstat(m_logDescriptor, &status) != 0)
        fail(m_logPath, errno);
    m_log = identityIn(status);
    // First the own lock, then the look: of two that come at once, one at least sees the other.
    struct flock own = {};
    own.l_type = F_RDLCK;
    own.l_whence = SEEK_SET;
    own.l_start = LogRanges::ownerOffset(m_database.inode);
    own.l_len = 1;
    ::fcntl(m_logDescriptor, F_OFD_SETLK, &own);
    const off_t behind = own.l_start + 1;
    if (isLocked(m_logDescriptor, LogRanges::Owners, own.l_start - LogRanges::Owners) ||
        isLocked(m_logDescriptor, behind, LogRanges::End - behind))
        return false;
    noteOwner(status.st_size > 0);
    return true;
}

/** Whose the log is outlives those who have it open: they may be killed, and the database replaced then. */
void DatabaseFiles::noteOwner(bool isInUse) const
{
    if (isInUse && belongsElsewhere(m_logDescriptor, m_database, m_log))
        throw Error(m_path, "the log beside it, " + m_logPath + ", belongs to the file that was here before");
    const std::string note = ownerNote(m_database, m_log);
    ::fsetxattr(m_logDescriptor, Owner, note.data(), note.size(), 0);
}

bool DatabaseFiles::areInPlace() const
{
    return m_databasePath.empty() ||
           (isAt(m_path, m_database) && isAt(m_logPath, m_log) && isAt(m_sharedPath, m_shared));
}

bool DatabaseFiles::mayEmptyLog() const
{
    const auto isNoOther = [](const std::string &path, const FileIdentity &file) {
        return isAt(path, file) || isAt(path, FileIdentity());
    };
    return m_log.exists() && isNoOther(m_logPath, m_log) && isNoOther(m_sharedPath, m_shared);
}

void DatabaseFiles::unlinkLog() const
{
    if (isAt(m_databasePath, m_database))
        return;
    for (const auto &[path, file] : {std::pair(m_logPath, m_log), std::pair(m_sharedPath, m_shared)})
        if (file.exists() && identityAt(path) == std::optional(file))
            ::unlink(path.c_str());
}
} // namespace Sqlite
