// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "isolate.h"

#include <string>
#include <vector>

/** What the command line asks for. */
struct Options {
    std::string library;
    std::string config; ///< empty: the one beside the library's folder
    std::vector<std::string> only;
    std::string report;
    bool list = false;
    bool help = false;
    bool version = false;
    bool onlyFailed = false;
    bool write = false;
    bool inPlace = false; ///< on the installation itself, not on a copy
    bool seeded = false;
    unsigned seed = 0;
    int fetches = 100000;
    int records = 1000000;
    Limits limits;
};

/** Reads the command line. Throws std::runtime_error with a message for the user. */
Options readOptions(int argc, char **argv);

/** What --help prints. */
std::string helpText();
