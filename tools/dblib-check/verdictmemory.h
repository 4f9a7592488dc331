// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "outcome.h"

#include <atomic>
#include <cstdint>

/**
 * Where a check's process leaves its verdict. It is memory shared with the
 * checker and not a pipe, because a library may close every descriptor that it
 * finds. The library is in the same process: what it writes there by accident
 * hits protected pages, and what it forges lacks the seal.
 */
class VerdictMemory
{
public:
    /** Throws std::system_error. */
    VerdictMemory();
    ~VerdictMemory();
    VerdictMemory(const VerdictMemory &) = delete;
    VerdictMemory &operator=(const VerdictMemory &) = delete;

    // For the check's process.

    /** From now on only settle writes the verdict. */
    void protect();
    /** For signal handlers too. */
    void settle(Verdict verdict, const char *finding);
    void setStage(const char *stage);
    void step();
    bool holds(const void *address) const;

    // For the checker.

    bool isSettled() const;
    /** Whether something was written that settle did not write. */
    bool isForged() const;
    Outcome outcome() const;
    std::string stage() const;
    unsigned steps() const;

private:
    struct Settled {
        Verdict verdict;
        char finding[4096];
        std::uint64_t seal;
        std::atomic<bool> written;
    };
    struct Running {
        std::atomic<unsigned> steps;
        char stage[1024];
    };
    std::uint64_t sealOf(const Settled &settled) const;

    Settled *m_settled; ///< on pages of its own
    Running *m_running;
    std::uint64_t m_key; ///< known to the two processes alone
};
