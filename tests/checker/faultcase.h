// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "checkerrun.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

/** A library with one fault: which check must speak, in which words, and none else. */
struct FaultCase {
    const char *folder;
    Verdicts complaints;
    const char *sentence = "";
    const char *arguments = "";
    bool corruptsMemory = false; ///< a sanitizer ends the process at once, in every check that meets the fault
    const char *hanging = "";    ///< the check in which the library does not come back

    bool writes() const
    {
        return std::string(arguments) == "--write";
    }
};

void PrintTo(const FaultCase &fault, std::ostream *stream);

std::string testName(const testing::TestParamInfo<FaultCase> &info);

class DBLibCheckFault : public testing::TestWithParam<FaultCase>
{
};
