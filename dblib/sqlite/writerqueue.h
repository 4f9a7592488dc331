// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

namespace Sqlite
{
/**
 * A place in the queue of those who want to write to a database. SQLite lets
 * whoever asks at the right moment go first: one that writes without a pause
 * keeps all others out for seconds.
 *
 * A number is a lock on the log at the offset of that number; each takes the
 * one behind the last. A program that dies leaves the queue by itself. Nothing
 * but the order depends on the queue: without locks nobody is ever before one.
 */
class WriterQueue
{
public:
    /** `log` is a descriptor of the log, -1 without one. */
    explicit WriterQueue(int log)
        : m_log(log)
    {
    }
    WriterQueue(const WriterQueue &) = delete;
    WriterQueue &operator=(const WriterQueue &) = delete;
    /** Leaves the queue. */
    ~WriterQueue();

    /** Takes a number, unless it has one. */
    void join();
    /** True when nobody has a lower number; without a number: when nobody waits. */
    bool isFirst() const;

private:
    int m_log;
    std::int64_t m_number = None;
    static constexpr std::int64_t None = -1;
};
} // namespace Sqlite
