// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "outcome.h"
#include "sandbox.h"

#include <cstddef>
#include <functional>
#include <string>

/**
 * @file
 * Runs foreign code in a process of its own, so that whatever it does there
 * (crash, hang, eat memory, fork, close descriptors) ends with that process.
 */

/** What a process may use. */
struct Limits {
    int seconds = 45;     ///< from its start or its latest progress
    int megabytes = 2048; ///< of address space; not enforced in a sanitizer build, which reserves terabytes
};

/** How the process leaves once its verdict stands. */
enum class Leave {
    AtOnce,  ///< without running anything of the library's any more
    Normally ///< as a program does: its exit handlers and destructors run
};

/** How a process is run. */
struct Isolation {
    Limits limits;
    Sandbox sandbox;
    Leave leave = Leave::AtOnce;
    bool mayNotOutlive = false; ///< processes that it leaves behind are waited for, and are a failure when they stay
};

/** What came of a run. */
struct IsolatedRun {
    Outcome outcome;
    std::string printed;          ///< the first bytes of standard output and standard error
    std::size_t printedBytes = 0; ///< how many there were altogether
    double seconds = 0;
    bool hostile = false; ///< the library turned on the checker itself
    SandboxReport sandbox;
};

/**
 * Runs `body` in a child process and waits for its end. The child and every
 * process that it leaves behind are killed and reaped before this returns.
 * An exception out of `body` is the verdict if it is an Outcome.
 */
IsolatedRun runIsolated(const std::function<Outcome()> &body, const Isolation &isolation);

/** Within `body`: what is about to be done, told when the process does not survive it. */
void stage(const std::string &what);

/** Within `body`: a good part of a long work is done, and the time limit counts from now. */
void progress();

/** Within `body`: settles the verdict and leaves at once; for signal handlers too. */
[[noreturn]] void settle(Verdict verdict, const char *finding);

/** Lets every signal that would end this program, and can be caught, end the current run instead. */
void catchInterruptions();
/** Whether one of them came. */
bool interrupted();
