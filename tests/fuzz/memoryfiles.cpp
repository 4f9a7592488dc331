// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "memoryfiles.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sqlite3.h>

namespace
{
/** A corrupt file may ask for pages gigabytes away: the disk is full before. */
constexpr sqlite3_int64 LargestFile = 4 << 20;

struct OpenFile {
    sqlite3_file base; // what SQLite sees; the rest is ours
    MemoryFile *file;
};

std::string &bytesOf(sqlite3_file *opened)
{
    return reinterpret_cast<OpenFile *>(opened)->file->bytes;
}

int close(sqlite3_file *)
{
    return SQLITE_OK;
}

int read(sqlite3_file *opened, void *to, int amount, sqlite3_int64 offset)
{
    const std::string &bytes = bytesOf(opened);
    const auto start = std::min(std::size_t(offset), bytes.size());
    const auto there = std::min(std::size_t(amount), bytes.size() - start);
    std::memcpy(to, bytes.data() + start, there);
    std::memset(static_cast<char *>(to) + there, 0, std::size_t(amount) - there);
    return there == std::size_t(amount) ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}

int write(sqlite3_file *opened, const void *from, int amount, sqlite3_int64 offset)
{
    if (offset + amount > LargestFile)
        return SQLITE_FULL;
    std::string &bytes = bytesOf(opened);
    bytes.resize(std::max(bytes.size(), std::size_t(offset + amount)));
    std::memcpy(&bytes[std::size_t(offset)], from, std::size_t(amount));
    return SQLITE_OK;
}

int truncate(sqlite3_file *opened, sqlite3_int64 size)
{
    if (size > LargestFile)
        return SQLITE_FULL;
    bytesOf(opened).resize(std::size_t(size));
    return SQLITE_OK;
}

int fileSize(sqlite3_file *opened, sqlite3_int64 *size)
{
    *size = sqlite3_int64(bytesOf(opened).size());
    return SQLITE_OK;
}

int succeed(sqlite3_file *, int)
{
    return SQLITE_OK; // nobody else is there to be locked out
}

int checkReservedLock(sqlite3_file *, int *reserved)
{
    *reserved = 0;
    return SQLITE_OK;
}

int control(sqlite3_file *, int, void *)
{
    return SQLITE_NOTFOUND;
}

int sectorSize(sqlite3_file *)
{
    return 512;
}

int characteristics(sqlite3_file *)
{
    return SQLITE_IOCAP_POWERSAFE_OVERWRITE;
}

int mapShared(sqlite3_file *opened, int region, int size, int extend, void volatile **memory)
{
    auto &shared = reinterpret_cast<OpenFile *>(opened)->file->shared;
    std::vector<char> &bytes = shared[region];
    if (extend && bytes.empty())
        bytes.resize(std::size_t(size));
    *memory = bytes.empty() ? nullptr : bytes.data();
    return SQLITE_OK;
}

int lockShared(sqlite3_file *, int, int, int)
{
    return SQLITE_OK;
}

void barrier(sqlite3_file *) {}

int unmapShared(sqlite3_file *opened, int)
{
    reinterpret_cast<OpenFile *>(opened)->file->shared.clear();
    return SQLITE_OK;
}

int open(sqlite3_vfs *, const char *name, sqlite3_file *opened, int flags, int *outFlags)
{
    static const sqlite3_io_methods methods = {
        2,
        close,
        read,
        write,
        truncate,
        succeed,
        fileSize,
        succeed,
        succeed,
        checkReservedLock,
        control,
        sectorSize,
        characteristics,
        mapShared,
        lockShared,
        barrier,
        unmapShared,
        nullptr,
        nullptr,
    };
    opened->pMethods = nullptr;
    auto &files = memoryFiles();
    if (!(flags & SQLITE_OPEN_CREATE) && files.count(name) == 0)
        return SQLITE_CANTOPEN;
    opened->pMethods = &methods;
    // Temporary files are kept in memory by SQLite itself, so every file has a name.
    reinterpret_cast<OpenFile *>(opened)->file = &files[name];
    if (outFlags)
        *outFlags = flags;
    return SQLITE_OK;
}

int remove(sqlite3_vfs *, const char *name, int)
{
    return memoryFiles().erase(name) > 0 ? SQLITE_OK : SQLITE_IOERR_DELETE_NOENT;
}

int access(sqlite3_vfs *, const char *name, int, int *result)
{
    *result = memoryFiles().count(name) > 0 ? 1 : 0;
    return SQLITE_OK;
}

int fullPathname(sqlite3_vfs *, const char *name, int size, char *full)
{
    std::snprintf(full, std::size_t(size), "%s", name);
    return SQLITE_OK;
}

/** The same at each run, so that an input always does the same. */
int randomness(sqlite3_vfs *, int size, char *bytes)
{
    std::memset(bytes, 1, std::size_t(size));
    return size;
}

int sleep(sqlite3_vfs *, int microseconds)
{
    return microseconds;
}

int lastError(sqlite3_vfs *, int, char *)
{
    return 0;
}

int currentTime(sqlite3_vfs *, double *julianDay)
{
    *julianDay = 2460000;
    return SQLITE_OK;
}
} // namespace

std::map<std::string, MemoryFile> &memoryFiles()
{
    static std::map<std::string, MemoryFile> files;
    return files;
}

void replaceDatabase(const std::string &name, std::string_view content, std::string_view log)
{
    MemoryFile &database = memoryFiles()[name];
    database.bytes = content;
    memoryFiles()[name + "-wal"].bytes = log;
    // Without its shared memory SQLite reads the log again, and keeps nothing that it knew of the file.
    for (auto &region : database.shared)
        std::fill(region.second.begin(), region.second.end(), '\0');
}

void useMemoryFiles()
{
    sqlite3_config(SQLITE_CONFIG_SINGLETHREAD);
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    static sqlite3_vfs vfs = {};
    vfs.iVersion = 1;
    vfs.szOsFile = sizeof(OpenFile);
    vfs.mxPathname = 100;
    vfs.zName = "memory";
    vfs.xOpen = open;
    vfs.xDelete = remove;
    vfs.xAccess = access;
    vfs.xFullPathname = fullPathname;
    vfs.xRandomness = randomness;
    vfs.xSleep = sleep;
    vfs.xCurrentTime = currentTime;
    vfs.xGetLastError = lastError;
    sqlite3_vfs_register(&vfs, 1);
}
