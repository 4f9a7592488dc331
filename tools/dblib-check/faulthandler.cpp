// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "faulthandler.h"

#include "isolate.h"

#include <algorithm>
#include <csignal>

namespace
{
constexpr int MostExplanations = 8;
FaultHandler::Explanation explanations[MostExplanations] = {};
int explanationCount = 0;

void handle(int number, siginfo_t *info, void *)
{
    for (int i = 0; i < explanationCount; ++i)
        if (const char *sentence = explanations[i](info->si_addr))
            settle(Verdict::Fail, sentence);
    // Returning runs into the same fault again, and then the process ends by it.
    std::signal(number, SIG_DFL);
}
} // namespace

void FaultHandler::add(Explanation explain)
{
    FaultHandler::Explanation *const end = explanations + explanationCount;
    if (std::find(explanations, end, explain) == end && explanationCount < MostExplanations)
        explanations[explanationCount++] = explain;
    struct sigaction action = {};
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO;
    for (int number : {SIGSEGV, SIGBUS})
        sigaction(number, &action, nullptr);
}
