// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

struct sqlite3;

namespace Sqlite
{
/** Which file stands at a path: device and inode, both 0 when there is none. */
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    bool exists() const
    {
        return inode != 0;
    }
    friend bool operator==(const FileIdentity &a, const FileIdentity &b)
    {
        return a.device == b.device && a.inode == b.inode;
    }
};

/**
 * The files of an open database: itself, its log and its shared memory.
 *
 * SQLite finds the last two by their names, also when the database was moved
 * away and another one put in its place: the rows of the one would appear in
 * the other. So a connection is used only while all three names lead to the
 * files that it has open. When the database has gone from its path, what its
 * log holds is written into it and the log is unlinked, before anything else is
 * opened there.
 *
 * A program that is new and finds a log cannot see whose it is. Each program
 * therefore holds a shared lock on the log, at the offset that is the inode of
 * its database: a lock at another offset means that the log is still in use for
 * another database. SQLite itself never locks the log. As programs may be killed,
 * the log also bears a note of whose it is, where the file system can keep one.
 */
class DatabaseFiles
{
public:
    /**
     * Notes what stands at the names of `path` and `db`, the connection that
     * opened it. Throws Sqlite::Error when that is another file by now.
     */
    DatabaseFiles(const std::string &path, sqlite3 *db);
    DatabaseFiles(const DatabaseFiles &) = delete;
    DatabaseFiles &operator=(const DatabaseFiles &) = delete;
    ~DatabaseFiles();

    /**
     * To be called when `db` has read, and so has its log open. False when the
     * log is in use for another database: nothing may be read or written then.
     * Throws Sqlite::Error when the log was left behind by users of another one.
     */
    bool takeLog();
    /** A descriptor of the log, for locks; -1 without one. */
    int log() const
    {
        return m_logDescriptor;
    }

    /** False when one of the names leads to another file or to none. What the system does not tell counts as true. */
    bool areInPlace() const;
    /** False when the log or the shared memory at its name is another one: others may have gone on without these. */
    bool mayEmptyLog() const;
    /** Unlinks the log, which must be empty, and the shared memory, unless the database is still in place. */
    void unlinkLog() const;

private:
    void noteOwner(bool isInUse) const;

    std::string m_path;         ///< as it was given
    std::string m_databasePath; ///< without symbolic links; empty for a file that the system does not know
    std::string m_logPath;
    std::string m_sharedPath;
    FileIdentity m_database;
    FileIdentity m_log;
    FileIdentity m_shared;
    int m_logDescriptor = -1;
};
} // namespace Sqlite
