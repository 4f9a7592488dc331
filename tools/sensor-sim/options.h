// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <optional>
#include <string>

/** What the command line asks for. */
struct Options {
    std::string configDir;
    int sensors = 30;
    double rate = 20;               ///< events a second over all sensors
    std::optional<int> fill;        ///< write so many events of history and end
    std::optional<unsigned> seed;   ///< repeats a run; otherwise each differs
    std::optional<double> duration; ///< seconds to run, otherwise until a signal
    std::string log;                ///< file that gets a line for each event and command, or empty
    bool help = false;
    bool version = false;
};

/** Reads the command line. On a fault `fault` names it and the options do not count. */
Options parseOptions(int argc, char *const argv[], std::string &fault);

/** What --help shows. */
std::string usage();
