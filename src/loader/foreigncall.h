// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <optional>
#include <string>

/** Reports on standard error what the function named has just thrown. Only inside a handler. */
void reportException(const char *function);

/** The same as a text: "FDBGetEvents threw an exception: the store is gone". Throws std::bad_alloc. */
std::string exceptionText(const char *function);

/**
 * As long as one lives, `pthread_exit` called in this thread throws an
 * exception instead: nothing can stop what it does otherwise, which is to end
 * the thread and, when that is the first, the program's work with it.
 */
class ForeignCall
{
public:
    ForeignCall();
    ~ForeignCall();
    ForeignCall(const ForeignCall &) = delete;
    ForeignCall &operator=(const ForeignCall &) = delete;
};

/**
 * Runs `call` for the function named and returns its result; nothing when it
 * threw or called `pthread_exit`, which is reported on standard error. An exception
 * must not unwind through the event loop, which has no place for it.
 */
template <class Call> std::optional<int> attempt(const char *function, Call call)
{
    try {
        const ForeignCall guard;
        return call();
    } catch (...) {
        reportException(function);
        return std::nullopt;
    }
}
