// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <vector>

/**
 * @file
 * Which system calls can change a file, reach a server or touch another
 * process, by their numbers on this processor.
 */

/** What a call does to the paths or processes that it names. */
enum class CallKind {
    Open,    ///< opens a file; creates or empties it where its flags say so
    Make,    ///< makes a directory, link, pipe or device
    Remove,  ///< removes a name
    Move,    ///< gives a file another name
    Change,  ///< changes length, owner or rights by path
    Connect, ///< connects a socket
    Signal,  ///< sends a signal
    Seize    ///< traces another process, writes its memory or limits it
};

/** One call; an argument's place is -1 where it has none of that sort. */
struct SystemCall {
    std::uint32_t number;
    CallKind kind;
    int directory = -1;      ///< descriptor that `path` is relative to
    int path = -1;           ///< the path, for Signal and Seize the process, for Connect the address
    int otherDirectory = -1; ///< of a move
    int otherPath = -1;      ///< of a move
    int flags = -1;          ///< of an open, and the signal's number
    int onlyValue = -1;      ///< the first argument, where only this value matters
};

/** The calls of programs that are as wide as this one. */
const std::vector<SystemCall> &nativeSystemCalls();

/** The calls of 32-bit programs on a 64-bit processor, which a library may start; elsewhere none. */
const std::vector<SystemCall> &foreignSystemCalls();
