// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "following.h"

#include "failure.h"
#include "output.h"
#include "visibletext.h"

#include <csignal>
#include <cstdio>

namespace
{
volatile int signalled = 0;

void noteSignal(int)
{
    signalled = 1;
}

constexpr int EndingSignals[] = {SIGINT, SIGTERM};
} // namespace

EndSignals::EndSignals()
{
    signalled = 0;
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = int(SA_RESETHAND);
    for (const int signal : EndingSignals)
        sigaction(signal, &action, nullptr);
}

EndSignals::~EndSignals()
{
    for (const int signal : EndingSignals)
        std::signal(signal, SIG_DFL);
}

const volatile int *EndSignals::ended() const
{
    return &signalled;
}

void keepLooking(Output &output, double interval, const std::function<void()> &look)
{
    const EndSignals signals;
    bool failed = false;
    do {
        try {
            look();
            if (failed)
                std::fputs("obrimctl: it works again\n", stderr);
            failed = false;
        } catch (const Failure &failure) {
            if (!failed) {
                std::fprintf(stderr, "obrimctl: %s; trying again every %g s\n", visibleText(failure.what()).c_str(),
                             interval);
            }
            failed = true;
        }
        output.flush();
    } while (output.wait(interval, signals.ended()));
}
