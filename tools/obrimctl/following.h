// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>

class Output;

/** Ends at SIGINT or SIGTERM, which it catches as long as it lives; a second one ends the program. */
class EndSignals
{
public:
    EndSignals();
    ~EndSignals();
    EndSignals(const EndSignals &) = delete;
    EndSignals &operator=(const EndSignals &) = delete;

    const volatile int *ended() const;
};

/**
 * Calls `look` now and every `interval` seconds, until a signal ends it or the
 * reader of the output goes. A look that throws Failure is told on standard
 * error, once until one succeeds, and so is that.
 */
void keepLooking(Output &output, double interval, const std::function<void()> &look);
