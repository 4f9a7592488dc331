// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "failingcalls.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace
{
bool armed = false;
bool fromThenOn = false;
int callsLeft = 0;
bool refused = false;

bool isSqlite(const void *caller)
{
    Dl_info place = {};
    return ::dladdr(caller, &place) != 0 && place.dli_fname && std::strstr(place.dli_fname, "/libsqlite3.so");
}

bool failsNow(const void *caller)
{
    if (!armed || isSqlite(caller) || callsLeft-- > 0)
        return false;
    refused = true;
    armed = fromThenOn;
    callsLeft = 0;
    errno = EIO;
    return true;
}

/** The call that this program's own stands before. */
template <class Function> Function *next(Function *, const char *name)
{
    void *const address = ::dlsym(RTLD_NEXT, name);
    if (!address)
        std::abort();
    Function *function = nullptr;
    static_assert(sizeof function == sizeof address, "POSIX keeps functions and data in pointers of one width");
    std::memcpy(&function, &address, sizeof function);
    return function;
}
} // namespace

namespace FailingCalls
{
void refuse(int n, bool onwards)
{
    armed = true;
    fromThenOn = onwards;
    callsLeft = n;
    refused = false;
}

bool grant()
{
    armed = false;
    return refused;
}
} // namespace FailingCalls

/** A call of the system's that never throws, as the C library declares it. */
#define OBRIM_CALL(RESULT, NAME, PARAMETERS, ARGUMENTS, FAILURE)                                                       \
    RESULT NAME PARAMETERS noexcept                                                                                    \
    {                                                                                                                  \
        static auto *const real = next(&::NAME, #NAME);                                                                \
        return failsNow(__builtin_return_address(0)) ? FAILURE : real ARGUMENTS;                                       \
    }

// Programs that know large files have other names for some.
extern "C" {
int open(const char *path, int flags, ...)
{
    static auto *const real = next(&::open, "open");
    va_list more;
    va_start(more, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(more, mode_t) : 0;
    va_end(more);
    return failsNow(__builtin_return_address(0)) ? -1 : real(path, flags, mode);
}
int open64(const char *path, int flags, ...)
{
    static auto *const real = next(&::open64, "open64");
    va_list more;
    va_start(more, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(more, mode_t) : 0;
    va_end(more);
    return failsNow(__builtin_return_address(0)) ? -1 : real(path, flags, mode);
}
OBRIM_CALL(int, stat, (const char *path, struct stat *status), (path, status), -1)
OBRIM_CALL(int, stat64, (const char *path, struct stat64 *status), (path, status), -1)
OBRIM_CALL(int, lstat, (const char *path, struct stat *status), (path, status), -1)
OBRIM_CALL(int, lstat64, (const char *path, struct stat64 *status), (path, status), -1)
OBRIM_CALL(int, fstat, (int descriptor, struct stat *status), (descriptor, status), -1)
OBRIM_CALL(int, fstat64, (int descriptor, struct stat64 *status), (descriptor, status), -1)
OBRIM_CALL(int, statvfs, (const char *path, struct statvfs *volume), (path, volume), -1)
OBRIM_CALL(int, statvfs64, (const char *path, struct statvfs64 *volume), (path, volume), -1)
OBRIM_CALL(int, faccessat, (int folder, const char *path, int mode, int flags), (folder, path, mode, flags), -1)
OBRIM_CALL(int, mkdir, (const char *path, mode_t mode), (path, mode), -1)
OBRIM_CALL(std::FILE *, fdopen, (int descriptor, const char *mode), (descriptor, mode), nullptr)

char *fgets(char *line, int size, std::FILE *stream)
{
    static auto *const real = next(&::fgets, "fgets");
    if (failsNow(__builtin_return_address(0))) {
        // The stream must come to know of it: what it holds is dropped, and a folder cannot be read on.
        ::__fpurge(stream);
        const int folder = ::openat(AT_FDCWD, "/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ::dup2(folder, ::fileno(stream));
        ::close(folder);
    }
    return real(line, size, stream);
}
}
