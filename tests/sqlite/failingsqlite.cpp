// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "failingsqlite.h"

#include "failingallocation.h"

#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>
#include <utility>

namespace
{
bool armed = false;
bool fromThenOn = false;
int operationsLeft = 0;
bool refused = false;
std::function<void()> interruption;

bool failsNow()
{
    if (!armed || operationsLeft-- > 0)
        return false;
    refused = true;
    if (interruption) {
        armed = false;
        interruption();
        return false;
    }
    armed = fromThenOn;
    operationsLeft = 0;
    return true;
}

// Memory.

sqlite3_mem_methods plainMemory;

void *allocate(int size)
{
    return FailingAllocation::failsNow() ? nullptr : plainMemory.xMalloc(size);
}

void *reallocate(void *block, int size)
{
    return FailingAllocation::failsNow() ? nullptr : plainMemory.xRealloc(block, size);
}

// Files. Unlocking and closing never fail: no system refuses them, and SQLite does not ask.

sqlite3_vfs *plainFiles = nullptr;

/** A file as SQLite sees it; the plain one lies behind it. */
struct File : sqlite3_file {
    sqlite3_file *plain()
    {
        return reinterpret_cast<sqlite3_file *>(this + 1);
    }
};

sqlite3_file *plainOf(sqlite3_file *file)
{
    return static_cast<File *>(file)->plain();
}

int closeFile(sqlite3_file *file)
{
    sqlite3_file *plain = plainOf(file);
    return plain->pMethods ? plain->pMethods->xClose(plain) : SQLITE_OK;
}

int readFile(sqlite3_file *file, void *bytes, int size, sqlite3_int64 at)
{
    return failsNow() ? SQLITE_IOERR_READ : plainOf(file)->pMethods->xRead(plainOf(file), bytes, size, at);
}

int writeFile(sqlite3_file *file, const void *bytes, int size, sqlite3_int64 at)
{
    if (failsNow()) {
        // What fails is mostly half done.
        plainOf(file)->pMethods->xWrite(plainOf(file), bytes, size / 2, at);
        return SQLITE_IOERR_WRITE;
    }
    return plainOf(file)->pMethods->xWrite(plainOf(file), bytes, size, at);
}

int truncateFile(sqlite3_file *file, sqlite3_int64 size)
{
    return failsNow() ? SQLITE_IOERR_TRUNCATE : plainOf(file)->pMethods->xTruncate(plainOf(file), size);
}

/** The power stays on in these tests, so nothing has to reach a disk. */
int syncFile(sqlite3_file *, int)
{
    return failsNow() ? SQLITE_IOERR_FSYNC : SQLITE_OK;
}

int fileSize(sqlite3_file *file, sqlite3_int64 *size)
{
    return failsNow() ? SQLITE_IOERR_FSTAT : plainOf(file)->pMethods->xFileSize(plainOf(file), size);
}

int lockFile(sqlite3_file *file, int lock)
{
    return failsNow() ? SQLITE_IOERR_LOCK : plainOf(file)->pMethods->xLock(plainOf(file), lock);
}

int unlockFile(sqlite3_file *file, int lock)
{
    return plainOf(file)->pMethods->xUnlock(plainOf(file), lock);
}

int checkReservedLock(sqlite3_file *file, int *reserved)
{
    return failsNow() ? SQLITE_IOERR_CHECKRESERVEDLOCK
                      : plainOf(file)->pMethods->xCheckReservedLock(plainOf(file), reserved);
}

int fileControl(sqlite3_file *file, int operation, void *argument)
{
    return plainOf(file)->pMethods->xFileControl(plainOf(file), operation, argument);
}

int sectorSize(sqlite3_file *file)
{
    return plainOf(file)->pMethods->xSectorSize(plainOf(file));
}

int deviceCharacteristics(sqlite3_file *file)
{
    return plainOf(file)->pMethods->xDeviceCharacteristics(plainOf(file));
}

int mapShared(sqlite3_file *file, int page, int size, int extend, void volatile **memory)
{
    return failsNow() ? SQLITE_IOERR_SHMMAP
                      : plainOf(file)->pMethods->xShmMap(plainOf(file), page, size, extend, memory);
}

int lockShared(sqlite3_file *file, int offset, int count, int flags)
{
    return (flags & SQLITE_SHM_LOCK) && failsNow()
               ? SQLITE_IOERR_SHMLOCK
               : plainOf(file)->pMethods->xShmLock(plainOf(file), offset, count, flags);
}

void barrier(sqlite3_file *file)
{
    plainOf(file)->pMethods->xShmBarrier(plainOf(file));
}

int unmapShared(sqlite3_file *file, int remove)
{
    return plainOf(file)->pMethods->xShmUnmap(plainOf(file), remove);
}

const sqlite3_io_methods Methods = {
    2,           closeFile,         readFile,    writeFile,  truncateFile,          syncFile,  fileSize,   lockFile,
    unlockFile,  checkReservedLock, fileControl, sectorSize, deviceCharacteristics, mapShared, lockShared, barrier,
    unmapShared, nullptr,           nullptr,
};

int openFile(sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *flagsUsed)
{
    file->pMethods = nullptr;
    if (failsNow())
        return SQLITE_CANTOPEN;
    const int code = plainFiles->xOpen(plainFiles, name, plainOf(file), flags, flagsUsed);
    file->pMethods = plainOf(file)->pMethods ? &Methods : nullptr;
    return code;
}

int deleteFile(sqlite3_vfs *, const char *name, int syncFolder)
{
    return failsNow() ? SQLITE_IOERR_DELETE : plainFiles->xDelete(plainFiles, name, syncFolder);
}

int access(sqlite3_vfs *, const char *name, int flags, int *result)
{
    return failsNow() ? SQLITE_IOERR_ACCESS : plainFiles->xAccess(plainFiles, name, flags, result);
}

int fullPathname(sqlite3_vfs *, const char *name, int size, char *full)
{
    return failsNow() ? SQLITE_CANTOPEN : plainFiles->xFullPathname(plainFiles, name, size, full);
}

/** Within an interruption nobody else goes on meanwhile, so waiting is in vain. */
int wait(sqlite3_vfs *, int microseconds)
{
    return interruption ? microseconds : plainFiles->xSleep(plainFiles, microseconds);
}

void require(int code)
{
    if (code != SQLITE_OK) {
        std::fprintf(stderr, "SQLite was in use before its memory and files were replaced: %d\n", code);
        std::abort();
    }
}

/** Before SQLite is used for the first time. */
const bool Installed = [] {
    require(sqlite3_config(SQLITE_CONFIG_GETMALLOC, &plainMemory));
    static sqlite3_mem_methods memory = plainMemory;
    memory.xMalloc = allocate;
    memory.xRealloc = reallocate;
    require(sqlite3_config(SQLITE_CONFIG_MALLOC, &memory));
    plainFiles = sqlite3_vfs_find(nullptr);
    static sqlite3_vfs files = *plainFiles;
    files.zName = "failing";
    files.szOsFile = int(sizeof(File)) + plainFiles->szOsFile;
    files.xOpen = openFile;
    files.xDelete = deleteFile;
    files.xAccess = access;
    files.xFullPathname = fullPathname;
    files.xSleep = wait;
    require(sqlite3_vfs_register(&files, 1));
    return true;
}();
} // namespace

namespace FailingFiles
{
void refuse(int n, bool onwards)
{
    armed = true;
    fromThenOn = onwards;
    operationsLeft = n;
    refused = false;
    interruption = nullptr;
}

void interrupt(int n, std::function<void()> action)
{
    refuse(n, false);
    interruption = std::move(action);
}

bool grant()
{
    armed = false;
    interruption = nullptr;
    return refused;
}
} // namespace FailingFiles
