// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "SensorsLock.h"

#include "Sqlite.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace
{
constexpr int PauseMilliseconds = 20;
}

SensorsLock::~SensorsLock()
{
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

void SensorsLock::take(const std::string &path, int patience)
{
    descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    while (descriptor < 0 || ::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        if (error != EWOULDBLOCK) {
            throw Sqlite::Error(path, std::string("the sensors cannot be taken (") + std::strerror(error) + ")");
        }
        if (patience <= 0) {
            throw Sqlite::Error(path, "another sensor-sim plays the sensors of this database");
        }
        ::usleep(PauseMilliseconds * 1000);
        patience -= PauseMilliseconds;
    }
}
