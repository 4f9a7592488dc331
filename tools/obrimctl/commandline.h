// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "completion.h"
#include "options.h"

#include <ctime>
#include <string>
#include <variant>
#include <vector>

enum class CommandName { Sensors, Events, Commands, Put, DeleteEvent, DeleteCommand, Status, Copy, Init, Complete };

/** A command line that was understood. */
struct Invocation {
    CommandName command = CommandName::Sensors;
    std::string directory; ///< of the installation; empty: the one that the working directory lies in
    ListOptions list;
    PutOptions put;
    DeleteOptions toDelete;
    StatusOptions status;
    std::string copyTo;
    InitOptions init;
    Completion completion;
};

/** A command line that ends the program at once, with this text on standard output or standard error. */
struct CommandLineEnd {
    int status;
    std::string out;
    std::string err;
};

/** Reads a command line without the program's name. `now` is what relative times are seen from. */
std::variant<Invocation, CommandLineEnd> readCommandLine(std::vector<std::string> arguments, std::time_t now);
