// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <optional>

/** Tells on standard error what the function named has just thrown. Only inside a handler. */
void tellException(const char *function);

/**
 * Runs `call` for the function named and returns its result; nothing when it
 * threw, which is told on standard error. An exception must not unwind
 * through the event loop, which has no place for it.
 */
template <class Call> std::optional<int> attempt(const char *function, Call call)
{
    try {
        return call();
    } catch (...) {
        tellException(function);
        return std::nullopt;
    }
}
