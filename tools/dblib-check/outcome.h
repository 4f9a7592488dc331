// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/** What became of one check. */
enum class Verdict {
    Pass,
    Warn,    ///< works, but not as an operator would want it
    Fail,    ///< the contract is broken
    Crash,   ///< the process ended inside the library
    Timeout, ///< the library did not come back
    Skip     ///< nothing could be judged
};

/** The verdict as it is printed: "pass", "warn", ... */
const char *verdictName(Verdict verdict);

/** Whether the verdict counts as a failure of the library. */
bool isFailure(Verdict verdict);

/** A verdict with what was found, in a sentence without a full stop; may be empty for a pass. */
struct Outcome {
    Verdict verdict = Verdict::Pass;
    std::string finding;
};

Outcome passed(std::string finding = {});
Outcome warned(std::string finding);
Outcome failed(std::string finding);
Outcome skipped(std::string finding);
