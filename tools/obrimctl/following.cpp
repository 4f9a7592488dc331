// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "following.h"

#include "failure.h"
#include "filling.h"
#include "output.h"
#include "translation.h"
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
                std::fprintf(stderr, "obrimctl: %s\n", translated("it works again"));
            failed = false;
        } catch (const Failure &failure) {
            if (!failed) {
                const std::string text = filled(translated("%1; trying again every %2 s"), failure.what(), interval);
                std::fprintf(stderr, "obrimctl: %s\n", visibleText(text).c_str());
            }
            failed = true;
        }
        output.flush();
    } while (output.wait(interval, signals.ended()));
}
