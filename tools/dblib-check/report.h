// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "checks.h"
#include "isolate.h"

#include <string>
#include <vector>

/** A check with what came of it. */
struct Result {
    const Check *check = nullptr;
    IsolatedRun run;
};

/** The lines for one result: verdict and name, what was found, what it means, what was printed. */
std::string resultText(const Result &result);

/** A word and what it is for. */
struct HeadedText {
    const char *head;
    std::string text;
};
/** A line for each, the texts below each other. */
std::string headedLines(const std::vector<HeadedText> &lines);

/** What it means for the operator when the check fails, a line in the language that was set. */
std::string meaningText(const Check &check);

/** The last line: how many of each verdict. */
std::string summaryText(const std::vector<Result> &results);

/** All results as a JUnit test suite, in English: crashes and time-outs are errors, warnings passed tests with an
 * output. */
std::string junitText(const std::string &library, unsigned seed, const std::vector<Result> &results);
