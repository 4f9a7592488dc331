// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <stdexcept>
#include <string>

/** What ends a command with exit status 1. The message names the thing and, where it can, what to do. */
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** A command line that cannot be carried out: exit status 2. */
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** The exit statuses. */
enum ExitStatus { ExitWell = 0, ExitFailure = 1, ExitUsage = 2, ExitNotInTime = 3 };
