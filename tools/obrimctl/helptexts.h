// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <vector>

/** A command line and what it does. */
struct Example {
    const char *command;
    const char *what;
};

/** What --help says of a command beside its options, and what a manual page is made of. */
struct CommandHelp {
    const char *name;
    const char *summary; ///< one line
    const char *more;    ///< what else is to be known; may be empty
    std::vector<Example> examples;
};

/** Of the program itself; its name is "obrimctl". */
const CommandHelp &programHelp();
/** Of each command that is shown, in the order of their use. */
const std::vector<CommandHelp> &commandHelps();
/** What the exit statuses mean, from 0 on. */
const std::vector<const char *> &exitStatuses();

/** What stands behind the options in --help. */
std::string footerOf(const CommandHelp &help);
