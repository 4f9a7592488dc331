// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "writerqueue.h"

#include "logranges.h"

#include <cerrno>
#include <fcntl.h>

namespace
{
using Sqlite::LogRanges::Numbers;
using Sqlite::LogRanges::Owners;

struct flock lockOn(short type, std::int64_t start, std::int64_t end)
{
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = end - start;
    return lock;
}

/** Behind a number that others have from `start` to `end`; `start` when there is none. */
std::int64_t behindTaken(int log, std::int64_t start, std::int64_t end)
{
    struct flock lock = lockOn(F_WRLCK, start, end);
    const bool taken = start < end && ::fcntl(log, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    return taken ? lock.l_start + lock.l_len : start;
}
} // namespace

namespace Sqlite
{
WriterQueue::~WriterQueue()
{
    if (m_number != None) {
        struct flock own = lockOn(F_UNLCK, m_number, m_number + 1);
        ::fcntl(m_log, F_OFD_SETLK, &own);
    }
}

void WriterQueue::join()
{
    if (m_log < 0 || m_number != None)
        return;
    std::int64_t number = Numbers;
    int result = -1;
    do {
        for (std::int64_t behind = 0; (behind = behindTaken(m_log, number, Owners)) != number;)
            number = behind;
        struct flock own = lockOn(F_WRLCK, number, number + 1);
        result = ::fcntl(m_log, F_OFD_SETLK, &own);
        // Another one may have taken this number since: then there is a further one.
    } while (result != 0 && (errno == EAGAIN || errno == EACCES));
    if (result == 0)
        m_number = number;
}

bool WriterQueue::isFirst() const
{
    return m_log < 0 || behindTaken(m_log, Numbers, m_number == None ? Owners : m_number) == Numbers;
}
} // namespace Sqlite
