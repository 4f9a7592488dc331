// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "channel.h"
#include "recordkinds.h"

#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

/** A record of the target, as far as it is compared. */
struct Stored {
    int id;
    std::uint64_t sum;
};

/**
 * The installation that records are copied into, by its DB library in a process
 * of its own: two installations may have the same library, which knows one
 * database at a time. Every function throws Failure, which names the installation.
 */
class CopyTarget
{
public:
    /** To be made before this process loads a library. */
    explicit CopyTarget(const std::string &baseDirectory);
    ~CopyTarget();
    CopyTarget(const CopyTarget &) = delete;
    CopyTarget &operator=(const CopyTarget &) = delete;

    /** The names of all sensors, and of those that are alive. */
    std::vector<std::string> sensors();
    std::vector<std::string> sensorsAlive();

    /** Stores a record; that it failed is told by a later call. */
    template <class Record> void put(const Record &record);
    /** Waits until all that was put is stored. */
    void settle();

    /** All records by ascending identifier: beginStored(), then nextStored() until it returns false. */
    template <class Record> void beginStored();
    bool nextStored(Stored &stored);

private:
    std::vector<std::string> names(char question);
    Frame answer();
    [[noreturn]] void throwEnded();

    std::string m_directory;
    pid_t m_process = -1;
    std::unique_ptr<Channel> m_channel;
    int m_unsettled = 0;
    std::string m_portion; ///< of Stored
    std::size_t m_taken = 0;
};
