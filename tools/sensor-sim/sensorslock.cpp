// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sensorslock.h"

#include "filling.h"
#include "sqlite.h"
#include "translation.h"

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
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void SensorsLock::take(const std::string &path, int patience)
{
    m_descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    while (m_descriptor < 0 || ::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        if (error != EWOULDBLOCK)
            throw Sqlite::Error(path, filled(translated("the sensors cannot be taken (%1)"), std::strerror(error)));
        if (patience <= 0)
            throw Sqlite::Error(path, translated("another sensor-sim plays the sensors of this database"));
        ::usleep(PauseMilliseconds * 1000);
        patience -= PauseMilliseconds;
    }
}
