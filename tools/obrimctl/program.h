// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "commandline.h"

class Output;

/** Carries out what a command line asks for. Returns the exit status. Throws Failure, UsageError and OutputClosed. */
int run(const Invocation &invocation, Output &output);

/** The whole program: `arguments` without its name. Returns the exit status; errors are told on standard error. */
int runProgram(std::vector<std::string> arguments);
