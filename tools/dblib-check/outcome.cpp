// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "outcome.h"

#include <utility>

const char *verdictName(Verdict verdict)
{
    static const char *const names[] = {"pass", "warn", "fail", "crash", "timeout", "skip"};
    return names[int(verdict)];
}

bool isFailure(Verdict verdict)
{
    return verdict == Verdict::Fail || verdict == Verdict::Crash || verdict == Verdict::Timeout;
}

Outcome passed(std::string finding)
{
    return {Verdict::Pass, std::move(finding)};
}

Outcome warned(std::string finding)
{
    return {Verdict::Warn, std::move(finding)};
}

Outcome failed(std::string finding)
{
    return {Verdict::Fail, std::move(finding)};
}

Outcome skipped(std::string finding)
{
    return {Verdict::Skip, std::move(finding)};
}
